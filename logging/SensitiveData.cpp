#include <elmu/logging/SensitiveData.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>

namespace elmu {

namespace {

constexpr std::string_view kMask = "****";

/// A tag without attributes of an element whose content may be masked.
struct Tag {
    std::size_t name; ///< its place among the names
    bool isClosing;
    std::size_t position;
};

/// Whether `text` begins with `name`, in any case, and a closing bracket.
bool isNamed(std::string_view text, std::string_view name) {
    return text.size() > name.size() && text[name.size()] == '>' &&
           std::equal(name.begin(), name.end(), text.begin(), [](char lower, char character) {
               return lower == static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
           });
}

void appendTagsAt(std::size_t position, std::string_view text, const std::vector<std::string>& names,
                  std::vector<Tag>& tags) {
    for (std::size_t name = 0; name < names.size(); ++name) {
        if (isNamed(text.substr(1), names[name])) {
            tags.push_back({name, false, position});
        }
        if (text.starts_with("</") && isNamed(text.substr(2), names[name])) {
            tags.push_back({name, true, position});
        }
    }
}

/// All tags of the elements `names`, in their order.
std::vector<Tag> tagsIn(std::string_view message, const std::vector<std::string>& names) {
    std::vector<Tag> tags;
    for (std::size_t at = message.find('<'); at != std::string_view::npos; at = message.find('<', at + 1)) {
        appendTagsAt(at, message.substr(at), names, tags);
    }
    return tags;
}

/// Where the first such tag is.
std::optional<std::size_t> firstOf(const std::vector<Tag>& tags, std::size_t name, bool isClosing) {
    const auto found = std::find_if(tags.begin(), tags.end(), [=](const Tag& tag) {
        return tag.name == name && tag.isClosing == isClosing;
    });
    return found == tags.end() ? std::nullopt : std::optional(found->position);
}

/// Where the tags are after the text between the two positions was replaced by the mask. If `end` comes
/// first, what is between the two is there twice, and so are its tags.
std::vector<Tag> movedTags(const std::vector<Tag>& tags, std::size_t begin, std::size_t end) {
    std::vector<Tag> moved;
    for (const Tag& tag : tags) {
        if (tag.position < begin) {
            moved.push_back(tag);
        }
    }
    for (const Tag& tag : tags) {
        if (tag.position >= end) {
            moved.push_back({tag.name, tag.isClosing, tag.position - end + begin + kMask.size()});
        }
    }
    return moved;
}

} // namespace

bool carriesToken(const char* message) {
    const char* token = std::strstr(message, "eyJ");
    return token != nullptr && std::strstr(token, ".eyJ") != nullptr;
}

bool mayHoldElement(const char* message) { return std::strchr(message, '<') != nullptr; }

void maskContent(std::string& text, std::size_t openPosition, std::size_t closePosition,
                 std::size_t openLength) {
    const std::size_t begin = std::min(text.size(), openPosition + openLength);
    if (begin <= closePosition && closePosition <= text.size()) {
        text.replace(begin, closePosition - begin, kMask);
        return;
    }
    const std::string tail = text.substr(closePosition);
    text.resize(begin);
    text.append(kMask).append(tail);
}

void maskElements(const std::vector<std::string>& names, std::string_view message, std::string& out) {
    std::vector<Tag> tags = tagsIn(message, names);
    for (std::size_t name = 0; name < names.size(); ++name) {
        const auto open = firstOf(tags, name, false);
        const auto close = firstOf(tags, name, true);
        const std::size_t openLength = names[name].size() + 2;
        if (!open || !close || *open + openLength == *close) {
            continue;
        }
        maskContent(out, *open, *close, openLength);
        tags = movedTags(tags, *open + openLength, *close);
    }
}

} // namespace elmu

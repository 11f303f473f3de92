#include "platform/PropertyList.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <plist/plist.h>

#include "platform/Files.h"
#include "platform/XmlTree.h"

namespace platform {

namespace {

struct TreeDeleter {
    void operator()(plist_t tree) const { ::plist_free(tree); }
};

using Tree = std::unique_ptr<void, TreeDeleter>;
using Number = std::optional<std::uint64_t>;

/// The number that `size` bytes at `position` hold, the highest byte first.
Number numberAt(std::string_view bytes, std::uint64_t position, std::uint64_t size) {
    if (size == 0 || size > sizeof(std::uint64_t) || position > bytes.size() ||
        size > bytes.size() - position) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const char byte : bytes.substr(static_cast<std::size_t>(position), static_cast<std::size_t>(size))) {
        number = number << 8 | static_cast<unsigned char>(byte);
    }
    return number;
}

/// A binary property list as far as its containers go. The library descends into them by recursion and
/// makes a copy of a value for every reference to it, so a small file can ask for more than a machine has:
/// `isTame` tells before.
class BinaryOutline {
  public:
    explicit BinaryOutline(std::string_view list)
        : content(list), trailer(list.substr(list.size() - std::min(list.size(), trailerSize))),
          offsetSize(trailerNumber(6, 1)), referenceSize(trailerNumber(7, 1)), count(trailerNumber(8, 8)),
          root(trailerNumber(16, 8)), offsetTable(trailerNumber(24, 8)) {}

    bool isTame() const {
        std::vector<Place> pending = {{root, 1}};
        for (std::size_t values = 1; !pending.empty();) {
            const Place place = pending.back();
            pending.pop_back();
            const auto parts = partsOf(place.value, mostValues - values);
            if (!parts || place.depth > deepest) {
                return false;
            }
            values += parts->size();
            for (const std::uint64_t part : *parts) {
                pending.push_back({part, place.depth + 1});
            }
        }
        return true;
    }

  private:
    struct Place {
        std::uint64_t value;
        int depth;
    };

    static constexpr std::size_t trailerSize = 32;
    static constexpr std::size_t mostValues = 100'000;
    static constexpr int deepest = 256;

    std::uint64_t trailerNumber(std::uint64_t position, std::uint64_t size) const {
        return numberAt(trailer, position, size).value_or(0);
    }

    Number positionOf(std::uint64_t value) const {
        if (value >= count || value > content.size() || offsetTable > content.size()) {
            return std::nullopt;
        }
        return numberAt(content, offsetTable + value * offsetSize, offsetSize);
    }

    /// The numbers of the values in a container; none for a value of another kind. Nothing when it is
    /// broken or has more than `most`.
    std::optional<std::vector<std::uint64_t>> partsOf(std::uint64_t value, std::uint64_t most) const {
        const Number position = positionOf(value);
        const Number marker = position ? numberAt(content, *position, 1) : std::nullopt;
        if (!marker) {
            return std::nullopt;
        }
        const std::uint64_t kind = *marker >> 4;
        const bool isContainer = kind >= 0xA && kind <= 0xD;
        return isContainer ? references(*position, kind == 0xD ? 2 : 1, most)
                           : std::optional<std::vector<std::uint64_t>>(std::in_place);
    }

    std::optional<std::vector<std::uint64_t>> references(std::uint64_t position, std::uint64_t perEntry,
                                                         std::uint64_t most) const {
        Number entries = *numberAt(content, position++, 1) & 0xF;
        if (*entries == 0xF) {
            const std::uint64_t size = std::uint64_t(1)
                                       << (numberAt(content, position++, 1).value_or(0) & 0xF);
            entries = numberAt(content, position, size);
            position += size;
        }
        if (!entries || *entries > most / perEntry) {
            return std::nullopt;
        }
        std::vector<std::uint64_t> result;
        for (std::uint64_t i = 0; i < *entries * perEntry; ++i) {
            const Number reference = numberAt(content, position + i * referenceSize, referenceSize);
            if (!reference) {
                return std::nullopt;
            }
            result.push_back(*reference);
        }
        return result;
    }

    std::string_view content;
    std::string_view trailer;
    std::uint64_t offsetSize;
    std::uint64_t referenceSize;
    std::uint64_t count;
    std::uint64_t root;
    std::uint64_t offsetTable;
};

/// Whether the text is whole, well-formed XML, no deeper than the XML parser goes.
bool isXml(const std::string& text) {
    const XmlParseResult result = parseXml(text.c_str());
    const bool isDocument = result.document != nullptr;
    releaseXml(result.document);
    return isDocument && text.find('\0') == std::string::npos;
}

std::string_view withoutByteOrderMark(std::string_view content) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return content.substr(content.starts_with(mark) ? mark.size() : 0);
}

Tree parsed(const std::string& file) {
    const std::string content(withoutByteOrderMark(file));
    if (!std::in_range<std::uint32_t>(content.size())) {
        return nullptr;
    }
    const auto size = static_cast<std::uint32_t>(content.size());
    const bool isBinary = ::plist_is_binary(content.data(), size);
    plist_t tree = nullptr;
    if (isBinary ? BinaryOutline(content).isTame() : isXml(content)) {
        ::plist_from_memory(content.data(), size, &tree);
    }
    return Tree(tree);
}

} // namespace

std::optional<std::string> propertyListText(const char* path, const char* key) {
    const auto content = readFile(path);
    const Tree tree = content ? parsed(*content) : nullptr;
    if (!tree || ::plist_get_node_type(tree.get()) != PLIST_DICT) {
        return std::nullopt;
    }
    auto* const value = ::plist_dict_get_item(tree.get(), key);
    if (!value || ::plist_get_node_type(value) != PLIST_STRING) {
        return std::nullopt;
    }
    const char* const text = ::plist_get_string_ptr(value, nullptr);
    return text ? std::optional<std::string>(text) : std::nullopt;
}

} // namespace platform

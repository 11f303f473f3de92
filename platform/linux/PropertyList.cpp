#include "platform/PropertyList.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include <plist/plist.h>

#include "../posix/BinaryList.h"
#include "../posix/ParsingCost.h"
#include "../posix/XmlForm.h"
#include "XmlListCost.h"
#include "platform/Files.h"

namespace platform {

namespace {

struct TreeDeleter {
    void operator()(plist_t tree) const { ::plist_free(tree); }
};

using Tree = std::unique_ptr<void, TreeDeleter>;

/// Returns the content from its markup on: the home platform's reader skips a byte order mark and the blanks
/// before an XML list. A list of another kind keeps its blanks, and is refused.
std::string_view plainForm(std::string_view content) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    const std::string_view unmarked = content.substr(content.starts_with(mark) ? mark.size() : 0);
    const std::size_t start = unmarked.find_first_not_of(" \t\r\n");
    const bool isMarkup = start != std::string_view::npos && unmarked[start] == '<';
    return isMarkup ? unmarked.substr(start) : unmarked;
}

Tree parsed(const std::string& file) {
    const std::string_view content = plainForm(file);
    if (!std::in_range<std::uint32_t>(content.size())) {
        return nullptr;
    }
    const auto size = static_cast<std::uint32_t>(content.size());
    plist_t tree = nullptr;
    if (::plist_is_binary(content.data(), size) != 0) {
        if (isTameBinaryList(content)) {
            ::plist_from_bin(content.data(), size, &tree);
        }
    } else if (!mayCostTooMuch(content) && isWholeXml(content) && !mayTakeLongToRead(content)) {
        ::plist_from_xml(content.data(), size, &tree);
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

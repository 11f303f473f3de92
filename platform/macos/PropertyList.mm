#include "platform/PropertyList.h"

#include <algorithm>

#include "../posix/BinaryList.h"
#include "../posix/ParsingCost.h"
#include "Foundation.h"
#include "platform/Files.h"
#include "platform/XmlTree.h"

namespace platform {

namespace {

/// Whether the text is whole, well-formed XML, no deeper than the XML parser goes.
bool isXml(const std::string& text) {
    const XmlParseResult result = parseXml(text.c_str());
    const bool isDocument = result.document != nullptr;
    releaseXml(result.document);
    return isDocument;
}

/// Whether a list of the oldest kind, of nested brackets, is of a depth that a parser can descend to.
bool isShallow(std::string_view text) {
    constexpr std::ptrdiff_t deepest = 256;
    return std::count(text.begin(), text.end(), '(') + std::count(text.begin(), text.end(), '{') <= deepest;
}

bool isTame(const std::string& content) {
    if (content.starts_with("bplist")) {
        return isTameBinaryList(content);
    }
    const bool isBytewise = content.find('\0') == std::string::npos; // and no text of wider characters
    return isBytewise && (content.starts_with('<') ? isXml(content) : isShallow(content));
}

/// The content without a byte order mark and, of an XML list, blanks before it.
std::string_view withoutStart(std::string_view content) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    content.remove_prefix(content.starts_with(mark) ? mark.size() : 0);
    const std::size_t start = content.find_first_not_of(" \t\r\n");
    const bool isMarkup = start != std::string_view::npos && content[start] == '<';
    return isMarkup ? content.substr(start) : content;
}

/// The content as every version of the framework reads it: an XML list with a declaration. Empty for one that
/// would cost too much: not even a copy of it is made.
std::string plainForm(std::string_view content) {
    const std::string_view markup = withoutStart(content);
    if (!markup.starts_with('<')) {
        return std::string(markup);
    }
    if (mayCostTooMuch(markup)) {
        return {};
    }
    return std::string(markup.starts_with("<?xml") ? "" : "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n")
        .append(markup);
}

NSDictionary* dictionaryIn(const std::string& content) {
    NSData* const data = [NSData dataWithBytes:content.data() length:content.size()];
    id const list = valueOr(static_cast<id>(nil), [&] {
        return [NSPropertyListSerialization propertyListWithData:data
                                                         options:NSPropertyListImmutable
                                                          format:nullptr
                                                           error:nullptr];
    });
    return [list isKindOfClass:[NSDictionary class]] ? list : nil;
}

} // namespace

std::optional<std::string> propertyListText(const char* path, const char* key) {
    const AutoreleasePool pool;
    const auto file = readFile(path);
    const std::string content = file ? plainForm(*file) : "";
    NSDictionary* const dictionary = isTame(content) ? dictionaryIn(content) : nil;
    NSString* const name = stringOf(key);
    id const value = name ? [dictionary objectForKey:name] : nil;
    return [value isKindOfClass:[NSString class]] ? std::optional(textOf(value)) : std::nullopt;
}

} // namespace platform

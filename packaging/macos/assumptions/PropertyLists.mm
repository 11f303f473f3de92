#include "Assumption.h"
#include "Cocoa.h"

namespace assumptions {

namespace {

const std::string heading = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const std::string list = "<plist version=\"1.0\"><dict><key>k</key><string>v</string></dict></plist>";

/// The value of "k", or what else the data turned out to be.
std::string valueIn(NSData* data) {
    id const content = [NSPropertyListSerialization propertyListWithData:data
                                                                 options:NSPropertyListImmutable
                                                                  format:nullptr
                                                                   error:nullptr];
    if (!content) {
        return "(nil)";
    }
    return [content isKindOfClass:[NSDictionary class]] ? textOf([content objectForKey:@"k"])
                                                        : "no dictionary";
}

Assumption content(const char* name, const std::string& text, const char* expected) {
    return {std::string("property list: ") + name, {expected}, [text] {
                const Pool pool;
                return valueIn([NSData dataWithBytes:text.data() length:text.size()]);
            }};
}

Found binaryList() {
    const Pool pool;
    NSDictionary* const values = [NSDictionary dictionaryWithObject:@"v" forKey:@"k"];
    NSData* const data = [NSPropertyListSerialization dataWithPropertyList:values
                                                                    format:NSPropertyListBinaryFormat_v1_0
                                                                   options:0
                                                                     error:nullptr];
    const bool isBinary =
        [data length] > 6 && std::string(static_cast<const char*>([data bytes]), 6) == "bplist";
    return isBinary ? valueIn(data) : "not written";
}

} // namespace

Assumptions aboutPropertyLists() {
    return {
        content("XML", heading + list, "v"),
        content("XML without a declaration", list, "v"),
        content("XML with a byte order mark", "\xEF\xBB\xBF" + heading + list, "v"),
        {"property list: binary", {"v"}, binaryList},
        content("of the oldest kind", "{ k = v; }", "v"),
        content("nothing", "", "(nil)"),
        content("root is no dictionary", heading + "<plist version=\"1.0\"><array/></plist>",
                "no dictionary"),
        content("cut off", heading + list.substr(0, 50), "(nil)"),
        content("key without a value", heading + "<plist version=\"1.0\"><dict><key>k</key></dict></plist>",
                "(nil)"),
        content("another document", "<r/>", "(nil)"),
    };
}

} // namespace assumptions

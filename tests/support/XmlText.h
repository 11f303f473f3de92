#pragma once

#include <string>

/// XML texts compared by content.
namespace support {

/// The encoding as the host's printer names it in a declaration.
inline const std::string encodingName = HCD_XML_ENCODING;

/// `xml` without its declaration, without the white space between tags, and with empty elements as an opening
/// and a closing tag.
inline std::string withoutLayout(std::string xml) {
    if (xml.compare(0, 5, "<?xml") == 0) {
        xml.erase(0, xml.find("?>") + 2);
    }
    std::string text;
    for (std::size_t at = 0; at < xml.size();) {
        const std::size_t mark = xml.find_first_not_of(" \t\r\n", at);
        const bool layout = (text.empty() || text.back() == '>') && mark != at &&
                            (mark == std::string::npos || xml[mark] == '<');
        if (layout) {
            at = mark;
            continue;
        }
        text += xml[at++];
        if (text.size() > 1 && text.compare(text.size() - 2, 2, "/>") == 0) {
            const std::size_t start = text.rfind('<') + 1;
            const std::string name = text.substr(start, text.find_first_of(" /", start) - start);
            text.replace(text.size() - 2, 2, "></" + name + ">");
        }
    }
    return text;
}

} // namespace support

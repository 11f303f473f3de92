#include "../../../../platform/posix/XmlForm.h"

#include <algorithm>
#include <memory>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libxml/parser.h>

using platform::isWholeXml;

namespace {

void ignoreReport(void* /*context*/, const char* /*format*/, ...) {}

/// What libxml2 says.
bool isDocument(const std::string& text) {
    constexpr int options = XML_PARSE_NONET | XML_PARSE_IGNORE_ENC | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)> context(xmlNewParserCtxt(),
                                                                           &xmlFreeParserCtxt);
    context->vctxt.error = &ignoreReport;
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(xmlCtxtReadMemory(context.get(), text.data(),
                                                                                static_cast<int>(text.size()),
                                                                                nullptr, "UTF-8", options),
                                                              &xmlFreeDoc);
    return document && text.find('\0') == std::string::npos;
}

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// Whether an attribute, a literal of the document type or an instruction may hold a quote or a bracket.
bool mayHideMarkup(const std::string& text) {
    static const std::regex literal(R"re((=|SYSTEM|PUBLIC|['"])\s*('[^']*[<>"\[\]]|"[^"]*[<>\[\]]))re");
    static const std::regex instruction(R"re(<\?(?!xml\s)[^>]*")re");
    return std::regex_search(text, literal) || std::regex_search(text, instruction);
}

/// Whether libxml2 may take what is refused here: declarations and what they stand for, what other readers
/// take for markup, a byte order mark, which is taken off before, and two of its own errors that it forgives.
bool mayBeStricter(const std::string& text) {
    const bool hasType = holds(text, "<!DOCTYPE") && (holds(text, "[") || holds(text, "&"));
    return hasType || mayHideMarkup(text) || text.starts_with("\uFEFF") || holds(text, "xmlns") ||
           holds(text, "encoding");
}

const std::vector<std::string> documents = {
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n<dict>\n\t<key>a</key>"
    "<string>x &amp; &#65; &#x42;</string><true/><data>\n\tAAEC\n\t</data></dict>\n</plist>\n",
    "<?xml version='1.0' standalone='yes' ?><a b = '1'  c=\"&lt;\"><!-- c - c --><?p i?><![CDATA[x]]>]]"
    "<d:e d:f=''/></a ><!--x--><?q?>\n",
    "<!DOCTYPE a SYSTEM 'x' ><a><b></b>\u00E9\u20AC\U0001F600</a>",
    "<!DOCTYPE a><a b='&quot;'/>",
    "<a xml:lang='en' xml:id='1' xmlns='' xmlns:b='u'>text</a>",
    "<plist><dict><key>v</key><array><string>x</string><date/></array></dict></plist>",
};

const std::vector<std::string> pieces = {"<",
                                         ">",
                                         "/>",
                                         "</",
                                         "<!--",
                                         "-->",
                                         "--",
                                         "<?",
                                         "?>",
                                         "xml",
                                         "<![CDATA[",
                                         "]]>",
                                         "]]",
                                         "&",
                                         "&amp;",
                                         "&#0;",
                                         "&#x41;",
                                         "&#xD800;",
                                         "&#xFFFE;",
                                         "&#X41;",
                                         "&#;",
                                         ";",
                                         "&b;",
                                         "'",
                                         "\"",
                                         "=",
                                         " c='1'",
                                         "c='1'",
                                         " ",
                                         "\n",
                                         "\t",
                                         "\x01",
                                         "\x7F",
                                         "\xFF",
                                         "\u00E9",
                                         "\xEF\xBF\xBE",
                                         "\xED\xA0\x80",
                                         "\xC0\x80",
                                         "<a>",
                                         "</a>",
                                         "<b/>",
                                         "[",
                                         "<!DOCTYPE a>",
                                         "<?xml version='1.0'?>",
                                         "version='1.1'",
                                         "standalone='no'",
                                         ":",
                                         "a:",
                                         "-",
                                         ".",
                                         "1",
                                         "\xCC\x80",
                                         "!",
                                         "?",
                                         "PUBLIC",
                                         "SYSTEM"};

template <typename List> auto& oneOf(const List& list, std::mt19937& random) {
    return list[random() % list.size()];
}

std::string mutated(std::string text, std::mt19937& random) {
    for (std::size_t changes = random() % 5; changes > 0; --changes) {
        const std::size_t at = random() % (text.size() + 1);
        switch (random() % 5) {
        case 0:
            text.insert(at, oneOf(pieces, random));
            break;
        case 1:
            text.replace(at, std::min<std::size_t>(1, text.size() - at), oneOf(pieces, random));
            break;
        case 2:
            text.erase(at, 1 + random() % 6);
            break;
        case 3:
            text.insert(at, text.substr(random() % (text.size() + 1), random() % 20));
            break;
        default:
            text.replace(at, std::min<std::size_t>(1, text.size() - at), 1,
                         static_cast<char>(random() % 256));
        }
    }
    return random() % 30 == 0 ? text.substr(0, random() % (text.size() + 1)) : text;
}

} // namespace

TEST(XmlFormAndLibrary, AgreeOnMutatedDocuments) {
    std::mt19937 random(20250314);
    int wholeCount = 0;
    for (int round = 0; round < 40'000; ++round) {
        const std::string text = mutated(oneOf(documents, random), random);
        const bool isWhole = isWholeXml(text);
        wholeCount += isWhole ? 1 : 0;
        if (isWhole || !mayBeStricter(text)) {
            EXPECT_EQ(isWhole, isDocument(text)) << text;
        }
    }
    EXPECT_GT(wholeCount, 5'000);
}

TEST(XmlFormAndLibrary, AgreeOnWhatIsTooDeep) {
    std::string start;
    std::string end;
    for (int depth = 1; depth < 300; ++depth) {
        start += "<a>";
        end += "</a>";
        for (const std::string& text : {start + end, start + "<b/>" + end}) {
            EXPECT_TRUE(isDocument(text) || !isWholeXml(text)) << depth;
        }
    }
}

#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Child.h"
#include "platform/PropertyList.h"
#include "platform/XmlTree.h"
#include "support/TempFolder.h"

using namespace platform;
using support::TempFolder;
using testing::AnyOf;

namespace {

constexpr std::size_t kibibyte = 1024;
constexpr std::size_t mebibyte = 1024 * kibibyte;
const std::string tooMuch = "The document would take too much memory or time";

using Part = std::function<std::string(int)>;

/// `start`, as many parts as fit, and `end`: not quite `size` bytes.
std::string filled(std::size_t size, const std::string& start, const Part& part, const std::string& end) {
    std::string text = start;
    text.reserve(size);
    for (int i = 0;; ++i) {
        const std::string next = part(i);
        if (text.size() + next.size() + end.size() > size) {
            return text + end;
        }
        text += next;
    }
}

std::string filled(std::size_t size, const std::string& start, const std::string& part,
                   const std::string& end) {
    std::string block = part;
    while (block.size() < kibibyte) {
        block += part;
    }
    return filled(size, start, [&](int) { return block; }, end);
}

Part numbered(const std::string& before, const std::string& after) {
    return [=](int i) { return before + std::to_string(i) + after; };
}

std::string withAttributes(int count) {
    std::string tag = "<b";
    for (int i = 0; i < count; ++i) {
        tag += " a" + std::to_string(i) + "=''";
    }
    return tag + "/>";
}

std::string nested(const std::string& open, const std::string& close, int depth) {
    std::string start;
    std::string end;
    for (int level = 0; level < depth; ++level) {
        start += open;
        end += close;
    }
    return start + end;
}

struct Shape {
    std::string name;
    std::function<std::string(std::size_t)> text;
    std::size_t affordable; ///< a size that is accepted
};

const std::vector<Shape> shapes = {
    {"elements", [](auto size) { return filled(size, "<a>", "<b/>", "</a>"); }, 600 * kibibyte},
    {"elements and texts", [](auto size) { return filled(size, "<a>", "<b/>x", "</a>"); }, 700 * kibibyte},
    {"pairs of tags", [](auto size) { return filled(size, "<a>", "<b>x</b>y", "</a>"); }, 700 * kibibyte},
    {"names", [](auto size) { return filled(size, "<a>", numbered("<b", "/>"), "</a>"); }, mebibyte},
    {"comments", [](auto size) { return filled(size, "<a>", "<!---->", "</a>"); }, mebibyte},
    {"instructions", [](auto size) { return filled(size, "<a>", "<?b?>", "</a>"); }, 700 * kibibyte},
    {"depth", [](auto size) { return filled(size, "<a>", nested("<b>", "</b>", 250), "</a>"); },
     600 * kibibyte},
    {"attributes", [](auto size) { return filled(size, "<a", numbered(" b", "=''"), "/>"); }, 256 * kibibyte},
    {"hundreds of attributes", [](auto size) { return filled(size, "<a>", withAttributes(200), "</a>"); },
     900 * kibibyte},
    {"namespaces",
     [](auto size) {
         return filled(size, filled(size / 2, "<a", numbered(" xmlns:b", "='c'"), ">"), "<d/>", "</a>");
     },
     512 * kibibyte},
    {"an attribute", [](auto size) { return filled(size, "<a b='", "&amp;", "'/>"); }, 8 * mebibyte},
    {"texts", [](auto size) { return filled(size, "<a>", std::string(kibibyte, 'x') + "<b/>", "</a>"); },
     8 * mebibyte},
    {"references", [](auto size) { return filled(size, "<!DOCTYPE a [<!ENTITY e 'x'>]><a>", "&e;", "</a>"); },
     512 * kibibyte},
    {"references in an attribute",
     [](auto size) { return filled(size, "<!DOCTYPE a [<!ENTITY e 'x'>]><a b='", "&e;", "'/>"); },
     512 * kibibyte},
    {"references outside",
     [](auto size) { return filled(size, "<!DOCTYPE a SYSTEM 'nowhere'><a>", "&e;x", "</a>"); },
     8 * kibibyte},
    {"references in disguise",
     [](auto size) {
         const std::string text(50'000, 'x');
         return filled(size, "<!DOCTYPE a [<!ENTITY e '&#x0026;f;'><!ENTITY f '" + text + "'>]><a>",
                       "<b c='&e;'/>", "</a>");
     },
     52 * kibibyte},
    {"entities",
     [](auto size) { return filled(size, "<!DOCTYPE a [", numbered("<!ENTITY e", " ''>"), "]><a/>"); },
     700 * kibibyte},
    {"preset attributes",
     [](auto size) {
         return filled(size, "<!DOCTYPE a [<!ATTLIST b c CDATA '" + std::string(50'000, 'x') + "'>]><a>",
                       "<b/>", "</a>");
     },
     50'400},
    {"declared attributes",
     [](auto size) {
         return filled(size, "<!DOCTYPE a [", numbered("<!ATTLIST a b", " CDATA #IMPLIED>"), "]><a/>");
     },
     512 * kibibyte},
    {"choices",
     [](auto size) {
         return filled(size, "<!DOCTYPE a [<!ATTLIST a b (c", numbered("|d", ""), ") #IMPLIED>]><a/>");
     },
     256 * kibibyte},
    {"a content model",
     [](auto size) { return filled(size, "<!DOCTYPE a [<!ELEMENT a (b", "|b", ")>]><a/>"); }, 64 * kibibyte},
};

/// What `work` gives when it may take 64 MiB more than is in use and its input needs, and ten seconds; under
/// the address sanitizer, which needs memory of its own, whatever it takes. "no limit" where that cannot be
/// arranged.
std::string withinLimits([[maybe_unused]] std::size_t input,
                         [[maybe_unused]] const std::function<std::string()>& work) {
#if defined(__SANITIZE_ADDRESS__)
    return work();
#elif defined(__linux__)
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t memory = pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) + input + 64 * mebibyte;
    const rlimit memoryLimit = {memory, memory};
    const rlimit tenSeconds = {10, 10};
    if (pages != 0 && ::setrlimit(RLIMIT_AS, &memoryLimit) == 0 &&
        ::setrlimit(RLIMIT_CPU, &tenSeconds) == 0) {
        return work();
    }
#endif
    return "no limit";
}

std::string parsingOf(const std::string& text) {
    return child::resultOf([&] {
        return withinLimits(0, [&] {
            const XmlParseResult result = parseXml(text.c_str());
            releaseXml(result.document);
            return result.document && !result.error ? "accepted" : result.error.value_or("no reason");
        });
    });
}

std::string listOf(const std::string& content) {
    return "<plist><dict><key>k</key>" + content + "<key>v</key><string>1</string></dict></plist>";
}

std::string arrayOf(std::size_t size, const std::string& part) {
    return listOf(filled(size, "<array>", part, "</array>"));
}

/// What is read under "v" of a property list.
std::string readingOf(const std::string& content) {
    const TempFolder folder;
    const std::string file = folder / "list";
    support::writeFile(file, content);
    return child::resultOf([&] {
        return withinLimits(content.size(),
                            [&] { return propertyListText(file.c_str(), "v").value_or("nothing"); });
    });
}

class ParsingCost : public testing::Test {
  protected:
    void SetUp() override {
        if (parsingOf("<a/>") == "no limit") {
            GTEST_SKIP() << "needs /proc/self/statm: it limits the memory in use";
        }
    }
};

} // namespace

TEST_F(ParsingCost, IsKnownBeforeALargeDocumentIsParsed) {
    for (const Shape& shape : shapes) {
        EXPECT_EQ(parsingOf(shape.text(16 * mebibyte)), tooMuch) << shape.name;
    }
}

TEST_F(ParsingCost, IsWhatAnAcceptedDocumentCanAfford) {
    for (const Shape& shape : shapes) {
        EXPECT_EQ(parsingOf(shape.text(shape.affordable)), "accepted") << shape.name;
    }
}

TEST_F(ParsingCost, OfAReferenceIsTheLengthOfWhatItStandsFor) {
    const std::string type =
        "<!DOCTYPE a [<!ENTITY short 'x'><!ENTITY long '" + std::string(100'000, 'y') + "'>]>";
    const std::string text(mebibyte, 'z');
    EXPECT_NE(parsingOf(filled(2 * mebibyte, type + "<a>" + text, "&short; some words here ", "</a>")),
              tooMuch);
    EXPECT_NE(parsingOf(type + "<a>&long;&long;&long;" + text + "</a>"), tooMuch);
    EXPECT_EQ(parsingOf(filled(102'000, type + "<a>", "&long;", "</a>")), tooMuch);
}

TEST_F(ParsingCost, IsThatOfEntitiesInTheDocumentTypeAlone) {
    const std::string other = "<!ENTITY % p \"\">";
    const std::string type = "<!DOCTYPE a [<!-- " + other + " --><?x " + other + "?><!ENTITY e '>]'>]>";
    EXPECT_EQ(parsingOf(type + "<a b='&e;'><!-- " + other + " --><![CDATA[" + other + "]]></a>"), "accepted");
    EXPECT_EQ(parsingOf("<!DOCTYPE a [<!ENTITY e '>]'>" + other + "]><a/>"), tooMuch);
}

TEST_F(ParsingCost, OfAPropertyListIsLimited) {
    for (const std::string part : {"<true/>", "<string>x</string>", "<string>x</string><!---->", "<dict/>",
                                   "<array><array/></array>", "<string>&amp;</string>"}) {
        EXPECT_EQ(readingOf(arrayOf(16 * mebibyte, part)), "nothing") << part;
        EXPECT_EQ(readingOf(arrayOf(300 * kibibyte, part)), "1") << part;
    }
}

TEST_F(ParsingCost, OfManyReferencesInATextIsBounded) {
    EXPECT_THAT(readingOf(listOf(filled(8 * mebibyte, "<string>", "&amp;", "</string>"))),
                AnyOf("nothing", "1"));
    EXPECT_EQ(readingOf(listOf(filled(512 * kibibyte, "<string>", "&amp;", "</string>"))), "1");
}

TEST_F(ParsingCost, OfRepeatedKeysIsBounded) {
    const std::string known = filled(512 * kibibyte, "<dict>", numbered("<key>a", "</key><true/>"), "");
    for (const std::string again :
         {"<key>a19000</key><true/>", "<key>a1900&#48;</key><true/>", "<key>a19000</key><dict/>",
          "<key >a19000</key><true/>", "<key>a19000</key><!--<dict>--><true/>",
          "<key>a19000</key><string><![CDATA[<dict>]]></string>"}) {
        EXPECT_THAT(readingOf(listOf(filled(mebibyte, known, again, "</dict>"))), AnyOf("nothing", "1"))
            << again;
    }
    EXPECT_EQ(readingOf(listOf(known + "</dict>")), "1");
    EXPECT_THAT(readingOf(listOf(filled(8 * mebibyte, "<dict><!-- ", "<key>", "</key> --></dict>"))),
                AnyOf("nothing", "1"))
        << "keys without an end, in a comment";
    const std::string dictionary = "<dict><key>a</key><true/><key>b</key><true/></dict>";
    EXPECT_EQ(readingOf(arrayOf(700 * kibibyte, dictionary)), "1");
}

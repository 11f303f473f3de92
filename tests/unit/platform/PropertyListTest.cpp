#include "platform/PropertyList.h"

#include <filesystem>
#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "Child.h"
#include "support/TempFolder.h"

using namespace platform;
namespace fs = std::filesystem;

namespace {

const std::string versionKey = "CFBundleShortVersionString";

/// The text under `key` in a property-list file of that content; "nothing" if there is none.
std::string textIn(const std::string& content, const std::string& key = versionKey) {
    const support::TempFolder folder;
    support::writeFile(folder / "Info.plist", content);
    return propertyListText((folder / "Info.plist").c_str(), key.c_str()).value_or("nothing");
}

std::string xmlList(const std::string& root) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">" +
           root + "</plist>\n";
}

std::string xmlEntry(const std::string& value) {
    return xmlList("<dict><key>Other</key><integer>1</integer><key>" + versionKey + "</key>" + value +
                   "</dict>");
}

/// `number` in `size` bytes, the highest first.
std::string bytesOf(std::uint64_t number, int size) {
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        bytes += static_cast<char>(number >> shift & 0xFF);
    }
    return bytes;
}

/// The marker of a binary value of that kind and number of parts.
std::string marker(int kind, std::uint64_t parts) {
    return parts < 15 ? bytesOf(static_cast<std::uint64_t>(kind) << 4 | parts, 1)
                      : bytesOf(static_cast<std::uint64_t>(kind) << 4 | 0xF, 1) + bytesOf(0x12, 1) +
                            bytesOf(parts, 4);
}

std::string binaryText(const std::string& text) { return marker(0x5, text.size()) + text; }

/// A container of that kind which refers to the values of these numbers.
std::string binaryContainer(int kind, std::uint64_t entries, const std::vector<std::uint64_t>& values) {
    std::string bytes = marker(kind, entries);
    for (const std::uint64_t value : values) {
        bytes += bytesOf(value, 4);
    }
    return bytes;
}

std::string binaryArray(const std::vector<std::uint64_t>& values) {
    return binaryContainer(0xA, values.size(), values);
}

std::string binaryDictionary(const std::vector<std::uint64_t>& keysAndValues) {
    return binaryContainer(0xD, keysAndValues.size() / 2, keysAndValues);
}

std::string trailer(std::uint64_t count, std::uint64_t root, std::uint64_t table) {
    return std::string(6, '\0') + bytesOf(4, 1) + bytesOf(4, 1) + bytesOf(count, 8) + bytesOf(root, 8) +
           bytesOf(table, 8);
}

/// A binary property list of these values, the first of which is its root.
std::string binaryList(const std::vector<std::string>& values) {
    std::string list = "bplist00";
    std::string offsets;
    for (const std::string& value : values) {
        offsets += bytesOf(list.size(), 4);
        list += value;
    }
    return list + offsets + trailer(values.size(), 0, list.size());
}

std::string binaryEntry(const std::string& value) {
    return binaryList({binaryDictionary({1, 2, 3, 4}), binaryText("Other"), binaryText(versionKey),
                       binaryText("x"), value, binaryText("unused")});
}

/// Values that are arrays of the next one, `fold` times over.
std::vector<std::string> chainOfArrays(std::uint64_t length, std::size_t fold) {
    std::vector<std::string> values = {binaryDictionary({1, 2}), binaryText(versionKey)};
    for (std::uint64_t i = 3; i < length; ++i) {
        values.push_back(binaryArray(std::vector<std::uint64_t>(fold, i)));
    }
    values.push_back(binaryText("end"));
    return values;
}

std::string repeated(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

#ifdef __SANITIZE_ADDRESS__
constexpr long mostKibibytes = 2'000'000; // the sanitizer's memory counts too
#else
constexpr long mostKibibytes = 200'000;
#endif

/// What `textIn` gives with little time and memory.
std::string textWithinLimits(const std::string& content) {
    return child::resultOf([&] {
        const rlimit tenSeconds = {10, 10};
        ::setrlimit(RLIMIT_CPU, &tenSeconds);
        rusage before = {};
        rusage after = {};
        ::getrusage(RUSAGE_SELF, &before);
        const std::string text = textIn(content);
        ::getrusage(RUSAGE_SELF, &after);
        return after.ru_maxrss - before.ru_maxrss > mostKibibytes ? "too much memory" : text;
    });
}

/// `content` with some bytes changed, taken out or put in, or its end cut off.
std::string damaged(std::string content, std::mt19937& random) {
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (std::size_t change = 0; change <= below(4); ++change) {
        const std::size_t at = below(content.size());
        switch (below(4)) {
        case 0:
            content[at] = static_cast<char>(below(256));
            break;
        case 1:
            content[at] = below(2) ? '\xFF' : '\0';
            break;
        case 2:
            content.insert(at, content.substr(below(content.size()), 1 + below(20)));
            break;
        default:
            content.erase(at, 1 + below(8));
        }
    }
    return below(8) ? content : content.substr(0, below(content.size()));
}

} // namespace

TEST(PropertyList, GivesATextOfAnXmlList) { EXPECT_EQ(textIn(xmlEntry("<string>4.3.0</string>")), "4.3.0"); }

TEST(PropertyList, ResolvesWhatIsEscapedInAnXmlList) {
    EXPECT_EQ(textIn(xmlEntry("<string>&lt;ä&#8364;&amp;&gt;</string>")), "<ä€&>");
    EXPECT_EQ(textIn(xmlEntry("<string>a<![CDATA[<b>]]></string>")), "a<b>");
}

TEST(PropertyList, GivesAnEmptyText) {
    EXPECT_EQ(textIn(xmlEntry("<string></string>")), "");
    EXPECT_EQ(textIn(xmlEntry("<string/>")), "");
}

TEST(PropertyList, ReadsAnXmlListWithoutADeclaration) {
    EXPECT_EQ(textIn("<plist><dict><key>" + versionKey + "</key><string>1</string></dict></plist>"), "1");
}

TEST(PropertyList, ReadsAnXmlListWithAByteOrderMark) {
    EXPECT_EQ(textIn("\xEF\xBB\xBF" + xmlEntry("<string>4.3.0</string>")), "4.3.0");
}

TEST(PropertyList, ReadsAnXmlListWithBlanksBeforeItsDeclaration) {
    const std::string list = xmlEntry("<string>4.3.0</string>");
    for (const std::string blanks : {"\n", "\r\n", " ", "\t", "\n\n \t\r\n", "\xEF\xBB\xBF\n"}) {
        EXPECT_EQ(textIn(blanks + list), "4.3.0") << blanks;
    }
}

TEST(PropertyList, ReadsAnXmlListWithBlanksBeforeItsFirstTag) {
    EXPECT_EQ(textIn("\n <plist><dict><key>" + versionKey + "</key><string>1</string></dict></plist>"), "1");
}

TEST(PropertyList, GivesNothingForABinaryListWithBlanksBeforeIt) {
    EXPECT_EQ(textIn("\n" + binaryEntry(binaryText("4.3.0"))), "nothing");
}

TEST(PropertyList, FindsTheKeyAmongContainers) {
    EXPECT_EQ(textIn(xmlList("<dict><key>a</key><dict><key>" + versionKey +
                             "</key><string>inner</string></dict><key>" + versionKey +
                             "</key><string>outer</string></dict>")),
              "outer");
}

TEST(PropertyList, GivesNothingForAnAbsentKey) {
    EXPECT_EQ(textIn(xmlEntry("<string>1</string>"), "Absent"), "nothing");
    EXPECT_EQ(textIn(xmlEntry("<string>1</string>"), "cfbundleshortversionstring"), "nothing");
    EXPECT_EQ(textIn(xmlList("<dict/>")), "nothing");
    EXPECT_EQ(textIn(binaryList({binaryDictionary({})})), "nothing");
}

TEST(PropertyList, GivesNothingForAValueThatIsNoText) {
    for (const std::string value :
         {"<integer>1</integer>", "<real>1.5</real>", "<true/>", "<data>YQ==</data>",
          "<date>2020-01-01T00:00:00Z</date>", "<array><string>1</string></array>", "<dict/>"}) {
        EXPECT_EQ(textIn(xmlEntry(value)), "nothing") << value;
    }
}

TEST(PropertyList, GivesNothingWhenTheRootIsNoDictionary) {
    EXPECT_EQ(textIn(xmlList("<string>1</string>")), "nothing");
    EXPECT_EQ(textIn(xmlList("<array><key>" + versionKey + "</key><string>1</string></array>")), "nothing");
    EXPECT_EQ(textIn(binaryList({binaryText(versionKey)})), "nothing");
    EXPECT_EQ(textIn(binaryList({binaryArray({1}), binaryText(versionKey)})), "nothing");
}

TEST(PropertyList, GivesATextOfABinaryList) {
    EXPECT_EQ(textIn(binaryEntry(binaryText("4.3.0"))), "4.3.0");
    EXPECT_EQ(textIn(binaryEntry(binaryText("a text of more than fifteen letters"))),
              "a text of more than fifteen letters");
}

TEST(PropertyList, GivesAWideTextOfABinaryListAsUtf8) {
    EXPECT_EQ(textIn(binaryEntry(marker(0x6, 4) + bytesOf(0x00E4'20AC, 4) + bytesOf(0xD83D'DE0E, 4))),
              "ä€😎");
}

TEST(PropertyList, GivesNothingForABinaryValueThatIsNoText) {
    EXPECT_EQ(textIn(binaryEntry(bytesOf(0x1001, 2))), "nothing");
    EXPECT_EQ(textIn(binaryEntry(bytesOf(0x09, 1))), "nothing");
    EXPECT_EQ(textIn(binaryEntry(binaryArray({5}))), "nothing");
}

TEST(PropertyList, ReadsValuesThatAreReferredToMoreThanOnce) {
    EXPECT_EQ(textIn(binaryList({binaryDictionary({1, 2, 3, 3}), binaryText(versionKey), binaryText("a"),
                                 binaryArray({3, 3}).substr(0, 1) + bytesOf(4, 4) + bytesOf(4, 4),
                                 binaryText("shared")})),
              "nothing");
    EXPECT_EQ(textIn(binaryList({binaryDictionary({1, 2, 3, 3}), binaryText("a"), binaryText(versionKey),
                                 binaryText("shared")})),
              "shared");
}

TEST(PropertyList, GivesNothingForFilesOfOtherKinds) {
    for (const std::string content : {"", " ", "\n\n", "text", "{\"CFBundleShortVersionString\": \"1\"}",
                                      "bplist00", "<html><body/></html>", "\xFE\xFF", "PK\x03\x04"}) {
        EXPECT_EQ(textIn(content), "nothing") << content;
    }
}

TEST(PropertyList, GivesNothingForAnXmlListCutOffAnywhere) {
    const std::string whole = xmlEntry("<string>1</string>");
    for (std::size_t length = 0; length < whole.size() - 1; ++length) {
        EXPECT_EQ(textIn(whole.substr(0, length)), "nothing") << length;
    }
}

TEST(PropertyList, GivesNothingForABinaryListCutOffAnywhere) {
    const std::string whole = binaryEntry(binaryText("1"));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(textIn(whole.substr(0, length)), "nothing") << length;
    }
}

TEST(PropertyList, GivesNothingForWhatIsNoReadableFile) {
    const support::TempFolder folder;
    ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);

    EXPECT_FALSE(propertyListText((folder / "missing").c_str(), "a"));
    EXPECT_FALSE(propertyListText((folder / "fifo").c_str(), "a"));
    EXPECT_FALSE(propertyListText(folder.path().c_str(), "a"));
    EXPECT_FALSE(propertyListText("", "a"));
}

TEST(PropertyList, FollowsLinks) {
    const support::TempFolder folder;
    support::writeFile(folder / "file", xmlEntry("<string>1</string>"));
    fs::create_symlink("file", folder / "link");

    EXPECT_EQ(propertyListText((folder / "link").c_str(), versionKey.c_str()), "1");
}

TEST(PropertyList, SurvivesContainersOfAnyDepth) {
    EXPECT_EQ(textIn(xmlEntry(repeated("<array>", 300'000) + repeated("</array>", 300'000))), "nothing");
    EXPECT_EQ(textIn(xmlEntry(repeated("<dict><key>a</key>", 300'000))), "nothing");
    EXPECT_EQ(textIn(binaryList(chainOfArrays(300'000, 1))), "nothing");
}

TEST(PropertyList, SurvivesAListThatHoldsItself) {
    EXPECT_EQ(textIn(binaryList({binaryArray({0})})), "nothing");
    EXPECT_EQ(textIn(binaryList({binaryDictionary({1, 0}), binaryText(versionKey)})), "nothing");
    EXPECT_EQ(textIn(binaryList(
                  {binaryDictionary({1, 2}), binaryText(versionKey), binaryArray({3}), binaryArray({2})})),
              "nothing");
}

TEST(PropertyList, RefusesReferencesThatMultiplyWithoutMeasure) {
    EXPECT_EQ(textWithinLimits(binaryList(chainOfArrays(60, 2))), "nothing");
    EXPECT_EQ(textWithinLimits(binaryList(chainOfArrays(10, 100))), "nothing");
}

TEST(PropertyList, TakesAsManyBinaryValuesAsAnXmlListMayHave) {
    const std::string yes = "\x09";
    const auto valuesIn = [&](std::size_t count) {
        return binaryList({binaryDictionary({1, 2, 3, 4}), binaryText("Other"), binaryText(versionKey),
                           binaryArray(std::vector<std::uint64_t>(count, 5)), binaryText("1"), yes});
    };
    const auto tagsOf = [](int count) {
        return xmlList("<dict><key>Other</key><array>" + repeated("<true/>", count) + "</array><key>" +
                       versionKey + "</key><string>1</string></dict>");
    };
    EXPECT_EQ(textWithinLimits(tagsOf(150'000)), "1");
    EXPECT_EQ(textWithinLimits(valuesIn(150'000)), "1");
    EXPECT_EQ(textWithinLimits(valuesIn(1'000'000)), "nothing");
}

TEST(PropertyList, RefusesTextsThatMultiplyWithoutMeasure) {
    const std::vector<std::uint64_t> references(5000, 5);
    EXPECT_EQ(textWithinLimits(binaryList({binaryDictionary({1, 2, 3, 4}), binaryText("Other"),
                                           binaryText(versionKey), binaryArray(references), binaryText("1"),
                                           binaryText(std::string(1'000'000, 'x'))})),
              "nothing");
}

TEST(PropertyList, RefusesEntitiesThatMultiplyWithoutMeasure) {
    std::string entities = "<!ENTITY e0 \"laugh\">";
    for (int i = 1; i < 20; ++i) {
        entities += "<!ENTITY e" + std::to_string(i) + " \"" +
                    repeated("&e" + std::to_string(i - 1) + ";", 10) + "\">";
    }
    EXPECT_EQ(textWithinLimits("<!DOCTYPE plist [" + entities + "]><plist><dict><key>" + versionKey +
                               "</key><string>&e19;</string></dict></plist>"),
              "nothing");
}

TEST(PropertyList, SurvivesNumbersBeyondTheFile) {
    const std::uint64_t most = ~std::uint64_t(0);
    const std::string values = "bplist00" + binaryText("1");
    const std::string offsets = bytesOf(8, 4);
    for (const std::uint64_t number :
         {std::uint64_t(1) << 31, std::uint64_t(1) << 32, most / 4, most / 2, most}) {
        EXPECT_EQ(textIn(values + offsets + trailer(number, 0, values.size())), "nothing");
        EXPECT_EQ(textIn(values + offsets + trailer(1, number, values.size())), "nothing");
        EXPECT_EQ(textIn(values + offsets + trailer(1, 0, number)), "nothing");
        EXPECT_EQ(textIn(values + offsets + trailer(number, number - 1, number)), "nothing");
        EXPECT_EQ(textIn(binaryEntry(bytesOf(0x5F13, 2) + bytesOf(number, 8))), "nothing");
        EXPECT_EQ(textIn(binaryEntry(bytesOf(0xAF13, 2) + bytesOf(number, 8))), "nothing");
        EXPECT_EQ(textIn(binaryEntry(bytesOf(0xDF13, 2) + bytesOf(number, 8))), "nothing");
    }
}

TEST(PropertyList, SurvivesDamagedFiles) {
    const std::vector<std::string> wholes = {
        xmlEntry("<string>4.3.0</string>"),
        xmlEntry(
            "<array><dict><key>a</key><data>YWJj</data></dict><date>2020-01-01T00:00:00Z</date></array>"),
        binaryEntry(binaryText("4.3.0")),
        binaryList({binaryDictionary({1, 2, 3, 4}), binaryText("a"), binaryText(versionKey),
                    binaryArray({5, 6, 7}), marker(0x6, 2) + bytesOf(0xD83D'DE0E, 4), marker(0x4, 3) + "abc",
                    bytesOf(0x1301, 2) + bytesOf(2, 7), bytesOf(0x23, 1) + bytesOf(0x3FF0, 8),
                    bytesOf(0x33, 1) + bytesOf(1, 8)}),
    };
    std::mt19937 random(20241116);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (int round = 0; round < 500; ++round) {
        for (const std::string& whole : wholes) {
            textIn(damaged(whole, random));
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

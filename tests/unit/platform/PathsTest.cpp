#include "platform/Paths.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "support/TempFolder.h"

using namespace platform;

namespace {

/// One row of the table of rules: an operation with its arguments and what it gives, nothing being "(nil)".
struct Rule {
    std::string operation;
    std::string input;
    std::string argument;
    std::string expected;
};

std::ostream& operator<<(std::ostream& out, const Rule& rule) {
    return out << rule.operation << " of \"" << rule.input << "\" with \"" << rule.argument << '"';
}

Rule ruleIn(const std::string& line) {
    std::istringstream columns(line);
    Rule rule;
    for (std::string* column : {&rule.operation, &rule.input, &rule.argument, &rule.expected}) {
        std::getline(columns, *column, '\t');
    }
    return rule;
}

std::vector<Rule> rulesOfTheTable() {
    std::ifstream file(HCD_TEST_DATA "/path-rules.tsv");
    std::string line;
    std::getline(file, line);
    std::vector<Rule> rules;
    while (std::getline(file, line)) {
        rules.push_back(ruleIn(line));
    }
    return rules;
}

using Operation = std::function<std::optional<std::string>(const Rule&)>;

const std::map<std::string, Operation> operations = {
    {"stringByAppendingPathComponent:",
     [](auto& rule) { return appendingPathComponent(rule.input, rule.argument); }},
    {"stringByDeletingLastPathComponent", [](auto& rule) { return deletingLastPathComponent(rule.input); }},
    {"stringByDeletingPathExtension", [](auto& rule) { return deletingPathExtension(rule.input); }},
    {"stringByAppendingPathExtension:",
     [](auto& rule) { return appendingPathExtension(rule.input, rule.argument); }},
    {"lastPathComponent", [](auto& rule) { return lastPathComponent(rule.input); }},
    {"stringByStandardizingPath", [](auto& rule) { return standardizedPath(rule.input); }},
};

/// `path` as the host names it: the home platform drops "/private" at the start.
std::string withoutPrivate(const std::string& path) {
#ifdef __APPLE__
    constexpr std::string_view extra = "/private";
    return path.substr(path.starts_with(extra) ? extra.size() : 0);
#else
    return path;
#endif
}

} // namespace

TEST(Paths, TheTableOfRulesIsWhole) { EXPECT_EQ(rulesOfTheTable().size(), 104u); }

TEST(Paths, EveryRuleOfTheTableHolds) {
    for (const Rule& rule : rulesOfTheTable()) {
        ASSERT_TRUE(operations.contains(rule.operation)) << rule;
        EXPECT_EQ(operations.at(rule.operation)(rule).value_or("(nil)"), rule.expected) << rule;
    }
}

TEST(Paths, PartsOfUnusualPathsAreThoseOfTheHomePlatform) {
    struct Row {
        std::string path, last, parent, withoutExtension;
    };
    const std::vector<Row> rows = {
        {"", "", "", ""},
        {"/", "/", "/", "/"},
        {"//", "/", "/", "/"},
        {"/////", "/", "/", "/"},
        {"a/", "a", "", "a"},
        {"a//", "a", "", "a"},
        {"//a", "a", "/", "/a"},
        {"//a/b/", "b", "/a", "/a/b"},
        {"/a//b", "b", "/a", "/a/b"},
        {".log", ".log", "", ".log"},
        {"/x/.log", ".log", "/x", "/x/.log"},
        {"a.", "a.", "", "a."},
        {"a..b", "a..b", "", "a."},
        {"..", "..", "", ".."},
        {"/..", "..", "/", "/.."},
        {"a b.c d", "a b.c d", "", "a b.c d"},
        {"~", "~", "", "~"},
        {"~root/x", "x", "~root", "~root/x"},
        {"C:\\A\\f.plist", "C:\\A\\f.plist", "", "C:\\A\\f"},
        {"ä/ö.ü", "ö.ü", "ä", "ä/ö"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(lastPathComponent(row.path), row.last) << row.path;
        EXPECT_EQ(deletingLastPathComponent(row.path), row.parent) << row.path;
        EXPECT_EQ(deletingPathExtension(row.path), row.withoutExtension) << row.path;
    }
}

TEST(Paths, AppendingJoinsWithExactlyOneSlash) {
    EXPECT_EQ(appendingPathComponent("//a", "x"), "/a/x");
    EXPECT_EQ(appendingPathComponent("a//", "//b//"), "a/b");
    EXPECT_EQ(appendingPathComponent("/", "/b"), "/b");
}

TEST(Paths, AppendingToNothingGivesTheComponent) {
    EXPECT_EQ(appendingPathComponent("", "/b"), "/b");
    EXPECT_EQ(appendingPathComponent("", ""), "");
    EXPECT_EQ(appendingPathComponent("", "/"), "/");
}

TEST(Paths, AppendingNothingGivesThePath) { EXPECT_EQ(appendingPathComponent("/a/", ""), "/a"); }

TEST(Paths, BytesThatAreNoUtf8AreOrdinaryCharacters) {
    EXPECT_EQ(appendingPathComponent("/\xFF", "\xC3"), "/\xFF/\xC3");
    EXPECT_EQ(lastPathComponent("/\xFF/\x80."), "\x80.");
    EXPECT_EQ(deletingPathExtension("/\xE2\x80.\xE2\x80"), "/\xE2\x80");
}

TEST(Paths, ADirectionMarkAfterTheDotMakesNoExtension) {
    for (const std::string mark : {"\u061C", "\u200E", "\u200F", "\u202A", "\u202B", "\u202C", "\u202D",
                                   "\u202E", "\u2066", "\u2067", "\u2068", "\u2069"}) {
        EXPECT_EQ(deletingPathExtension("a.b" + mark + "c"), "a.b" + mark + "c");
        EXPECT_EQ(appendingPathExtension("a", "b" + mark), std::nullopt);
    }
}

TEST(Paths, NeighboursOfTheDirectionMarksAreOrdinaryCharacters) {
    for (const std::string letter :
         {"\u061B", "\u061D", "\u200D", "\u2010", "\u2029", "\u202F", "\u2065", "\u206A", "\t", "\u00A0"}) {
        EXPECT_EQ(deletingPathExtension("a.b" + letter), "a");
        EXPECT_EQ(appendingPathExtension("a", letter), "a." + letter);
    }
}

TEST(Paths, ABlankBeforeTheDotDoesNotMatter) {
    EXPECT_EQ(deletingPathExtension("HCD 2026-11-16.log"), "HCD 2026-11-16");
}

TEST(Paths, AnEmptyExtensionLeavesThePathUnchanged) {
    EXPECT_EQ(appendingPathExtension("foo", ""), "foo");
    EXPECT_EQ(appendingPathExtension("/tmp/a.b", ""), "/tmp/a.b");
}

TEST(Paths, TextThatIsNoExtensionIsRefused) {
    for (const std::string extension : {" ", "a/b", "a.", ".", "a b", "/bar", "/", "x.y z"}) {
        EXPECT_EQ(appendingPathExtension("foo", extension), std::nullopt) << '"' << extension << '"';
    }
}

TEST(Paths, AnExtensionMayHoldDots) {
    EXPECT_EQ(appendingPathExtension("foo", "tar.gz"), "foo.tar.gz");
    EXPECT_EQ(appendingPathExtension("foo", "a b.gz"), "foo.a b.gz");
}

TEST(Paths, NeitherNothingNorTheRootTakesAnExtension) {
    for (const std::string path : {"", "/", "//"}) {
        EXPECT_EQ(appendingPathExtension(path, "log"), std::nullopt) << path;
        EXPECT_EQ(appendingPathExtension(path, ""), std::nullopt) << path;
    }
}

TEST(Paths, StandardizingRemovesDotsAndNeedlessSlashes) {
    EXPECT_EQ(standardizedPath("//a/./b/."), "/a/b");
    EXPECT_EQ(standardizedPath("./a//b/"), "a/b");
    EXPECT_EQ(standardizedPath("/"), "/");
    EXPECT_EQ(standardizedPath("///"), "/");
    EXPECT_EQ(standardizedPath("/./"), "/");
    EXPECT_EQ(standardizedPath(""), "");
}

TEST(Paths, StandardizingResolvesDoubleDotsOfAnAbsolutePath) {
    EXPECT_EQ(standardizedPath("/no such folder/b/../c"), "/no such folder/c");
    EXPECT_EQ(standardizedPath("/no such folder/b/../../c"), "/c");
    EXPECT_EQ(standardizedPath("/tmp/no such folder/.."), "/tmp");
    EXPECT_EQ(standardizedPath("/../../a"), "/a");
}

TEST(Paths, StandardizingKeepsDoubleDotsOfARelativePath) {
    EXPECT_EQ(standardizedPath("../a/.."), "../a/..");
    EXPECT_EQ(standardizedPath("a/./../b"), "a/../b");
}

TEST(Paths, StandardizingGoesToTheRealParentOfALink) {
    const support::TempFolder folder;
    std::filesystem::create_directories(folder / "real/inner");
    std::filesystem::create_directory_symlink("real/inner", folder / "link");

    EXPECT_EQ(standardizedPath(folder / "link/.."), withoutPrivate(folder / "real"));
    EXPECT_EQ(standardizedPath(folder / "link/../x"), withoutPrivate(folder / "real/x"));
}

TEST(Paths, StandardizingKeepsALinkThatNoDoubleDotsFollow) {
    const support::TempFolder folder;
    std::filesystem::create_directories(folder / "real/inner");
    std::filesystem::create_directory_symlink("real", folder / "link");

    EXPECT_EQ(standardizedPath(folder / "link/inner"), withoutPrivate(folder / "link/inner"));
    EXPECT_EQ(standardizedPath(folder / "link/inner/.."), withoutPrivate(folder / "link"));
}

TEST(Paths, StandardizingTakesADanglingLinkAsAnyName) {
    const support::TempFolder folder;
    std::filesystem::create_symlink("nowhere/at/all", folder / "link");

    EXPECT_EQ(standardizedPath(folder / "link/.."), withoutPrivate(folder.path()));
}

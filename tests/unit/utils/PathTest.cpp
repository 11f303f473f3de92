#include <string>

#include <gtest/gtest.h>

#include "support/InChild.h"
#include "support/ReportReceivers.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"
#include <elmu/utils/FileUtils.h>

namespace fs = std::filesystem;

using ELMUUtils::FileUtils;
using support::Receiver;
using support::ReportReceivers;
using support::TempFolder;
using support::WorkingFolder;
using support::writeFile;

namespace {

struct AppendRow {
    std::string path;
    std::string component;
    bool result;
    std::string joined;
};

void PrintTo(const AppendRow& row, std::ostream* out) {
    *out << "\"" << row.path << "\" and \"" << row.component << "\"";
}

class PathJoinTable : public testing::TestWithParam<AppendRow> {};

bool exists(const std::string& path) { return FileUtils::PathExists(path, nullptr); }

class PathExists : public testing::Test {
  protected:
    TempFolder temp;
};

} // namespace

TEST_P(PathJoinTable, JoinsWithOneSlash) {
    std::string path = GetParam().path;
    EXPECT_EQ(FileUtils::AppendPath(path, GetParam().component, nullptr), GetParam().result);
    EXPECT_EQ(path, GetParam().joined);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, PathJoinTable,
    testing::Values(AppendRow{"/a", "b", true, "/a/b"}, AppendRow{"/a/", "b", true, "/a/b"},
                    AppendRow{"/a", "/b", true, "/a/b"}, AppendRow{"/a/", "//b/", true, "/a/b/"},
                    AppendRow{"/a", "b/c//d", true, "/a/b/c//d"}, AppendRow{"/a//", "b", true, "/a//b"},
                    AppendRow{"/", "b", true, "/b"}, AppendRow{"/", "/", true, "/"},
                    AppendRow{"a", "..", true, "a/.."}, AppendRow{"\xff", "\xfe", true, "\xff/\xfe"}));

INSTANTIATE_TEST_SUITE_P(ComponentsOfOnlySlashes, PathJoinTable,
                         testing::Values(AppendRow{"/a", "///", true, "/a/"},
                                         AppendRow{"/a/", "///", true, "/a/"},
                                         AppendRow{"a", "/", true, "a/"}));

INSTANTIATE_TEST_SUITE_P(EmptyParts, PathJoinTable,
                         testing::Values(AppendRow{"", "b", false, ""}, AppendRow{"/a", "", false, "/a"},
                                         AppendRow{"", "", false, ""}, AppendRow{"", "/", false, ""},
                                         AppendRow{"/a/", "", false, "/a/"}));

TEST(PathJoin, KeepsVeryLongPartsWhole) {
    const std::string part(100000, 'p');
    std::string path = part;
    EXPECT_TRUE(FileUtils::AppendPath(path, part, nullptr));
    EXPECT_EQ(path, part + "/" + part);
}

TEST(PathJoin, AppendsAPathToItself) {
    std::string path = "/a";
    EXPECT_TRUE(FileUtils::AppendPath(path, path, nullptr));
    EXPECT_EQ(path, "/a/a");
}

TEST(PathJoin, AppendsAgainTheSecondTime) {
    std::string path = "/a";
    EXPECT_TRUE(FileUtils::AppendPath(path, "b", nullptr));
    EXPECT_TRUE(FileUtils::AppendPath(path, "b", nullptr));
    EXPECT_EQ(path, "/a/b/b");
}

TEST(PathJoin, ReportsNothing) {
    ReportReceivers receivers(Receiver::OwnLogger);
    std::string path;
    EXPECT_FALSE(FileUtils::AppendPath(path, "b", receivers.logger()));
    EXPECT_FALSE(FileUtils::AppendPath(path, "b", nullptr));
    EXPECT_TRUE(receivers.records().empty());
}

TEST_F(PathExists, IsTrueForAFolder) {
    EXPECT_TRUE(exists(temp.path()));
    EXPECT_TRUE(exists(temp.path() + "/"));
    EXPECT_TRUE(exists("/"));
}

TEST_F(PathExists, IsTrueForAFile) {
    writeFile(temp / "x", "");
    EXPECT_TRUE(exists(temp / "x"));
}

TEST_F(PathExists, IsTrueForADevice) { EXPECT_TRUE(exists("/dev/null")); }

TEST_F(PathExists, IsTrueForANameThatIsNotUtf8) {
    writeFile(temp / "\xff", "");
    EXPECT_TRUE(exists(temp / "\xff"));
}

TEST_F(PathExists, IsTrueForALinkToSomething) {
    writeFile(temp / "x", "");
    fs::create_symlink(temp / "x", temp / "file-link");
    fs::create_directory_symlink(temp.path(), temp / "folder-link");
    EXPECT_TRUE(exists(temp / "file-link"));
    EXPECT_TRUE(exists(temp / "folder-link"));
}

TEST_F(PathExists, IsFalseForADanglingLink) {
    fs::create_symlink(temp / "nowhere", temp / "link");
    EXPECT_FALSE(exists(temp / "link"));
}

TEST_F(PathExists, IsFalseForALinkToItself) {
    fs::create_symlink(temp / "link", temp / "link");
    EXPECT_FALSE(exists(temp / "link"));
}

TEST_F(PathExists, IsFalseForNothing) {
    EXPECT_FALSE(exists(temp / "x"));
    EXPECT_FALSE(exists(temp / "x/y"));
    EXPECT_FALSE(exists(""));
}

TEST_F(PathExists, IsFalseBelowAFile) {
    writeFile(temp / "x", "");
    EXPECT_FALSE(exists(temp / "x/y"));
}

TEST_F(PathExists, IsFalseForAPathThatIsTooLong) {
    EXPECT_FALSE(exists(temp / std::string(256, 'n')));
    EXPECT_FALSE(exists("/" + std::string(100000, '/') + "tmp"));
}

TEST_F(PathExists, IsFalseWhereItMayNotLook) {
    writeFile(temp / "x/y", "");
    fs::permissions(temp / "x", fs::perms(0));
    fs::permissions(temp.path(), fs::perms(0755));
    support::asOrdinaryUser([this] { EXPECT_FALSE(exists(temp / "x/y")); });
}

TEST_F(PathExists, EndsItsPathAtANulByte) {
    EXPECT_TRUE(exists(temp.path() + std::string("\0/x", 3)));
    EXPECT_FALSE(exists(std::string("\0/tmp", 5)));
}

TEST_F(PathExists, WorksFromTheWorkingFolder) {
    writeFile(temp / "x", "");
    WorkingFolder inside(temp.path());
    EXPECT_TRUE(exists("x"));
    EXPECT_FALSE(exists("y"));
}

TEST_F(PathExists, ReportsNothing) {
    ReportReceivers receivers(Receiver::OwnLogger);
    EXPECT_FALSE(FileUtils::PathExists(temp / "x", receivers.logger()));
    EXPECT_FALSE(FileUtils::PathExists(temp / "x", nullptr));
    EXPECT_TRUE(receivers.records().empty());
}

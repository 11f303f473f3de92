#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/InChild.h"
#include "support/ReportReceivers.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"
#include <elmu/utils/FileUtils.h>

namespace fs = std::filesystem;

using elmu::INFO;
using elmu::WARN;
using ELMUUtils::FileUtils;
using support::Line;
using support::Lines;
using support::Receiver;
using support::ReportReceivers;
using support::TempFolder;
using support::WorkingFolder;
using support::writeFile;

namespace {

bool deleteItem(const std::string& path) {
    return FileUtils::DeleteDirectoryAtPath(path, false, false, nullptr, false);
}

bool deleteRecursively(const std::string& path) {
    return FileUtils::DeleteDirectoryAtPath(path, true, false, nullptr, false);
}

/// Whether there is an entry, dangling links included.
bool present(const std::string& path) { return fs::symlink_status(path).type() != fs::file_type::not_found; }

class Removal : public testing::Test {
  protected:
    /// A folder with entries of every kind, some of them links to `outside`.
    std::string makeTree() const {
        const std::string tree = temp / "tree";
        fs::create_directories(tree + "/empty");
        writeFile(tree + "/a/b/c/deep", "content");
        writeFile(tree + "/.hidden", "content");
        fs::permissions(tree + "/.hidden", fs::perms(0));
        makeOutside();
        fs::create_directory_symlink(temp / "outside", tree + "/a/folder-link");
        fs::create_symlink(temp / "outside/file", tree + "/a/file-link");
        fs::create_symlink(temp / "nowhere", tree + "/a/dangling-link");
        return tree;
    }
    void makeOutside() const { writeFile(temp / "outside/file", "outside"); }
    void expectOutsideUntouched() const { EXPECT_EQ(support::readFile(temp / "outside/file"), "outside"); }

    TempFolder temp;
};

} // namespace

TEST_F(Removal, RefusesAFolderWithEntriesUnlessItIsRecursive) {
    const std::string tree = makeTree();
    EXPECT_FALSE(deleteItem(tree));
    EXPECT_EQ(support::readFile(tree + "/a/b/c/deep"), "content");
}

TEST_F(Removal, RefusesAFolderWhoseOnlyEntryIsHidden) {
    writeFile(temp / "x/.hidden", "content");
    EXPECT_FALSE(deleteItem(temp / "x"));
    EXPECT_TRUE(present(temp / "x/.hidden"));
}

TEST_F(Removal, TakesAnEmptyFolder) {
    fs::create_directory(temp / "x");
    EXPECT_TRUE(deleteItem(temp / "x"));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(Removal, TakesAnEmptyFolderRecursively) {
    fs::create_directory(temp / "x");
    EXPECT_TRUE(deleteRecursively(temp / "x"));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(Removal, TakesAPlainFile) {
    writeFile(temp / "x", "content");
    writeFile(temp / "y", "content");
    EXPECT_TRUE(deleteItem(temp / "x"));
    EXPECT_TRUE(deleteRecursively(temp / "y"));
    EXPECT_TRUE(fs::is_empty(temp.path()));
}

TEST_F(Removal, TakesAFolderWithEverythingInItRecursively) {
    const std::string tree = makeTree();
    EXPECT_TRUE(deleteRecursively(tree));
    EXPECT_FALSE(present(tree));
}

TEST_F(Removal, TakesAFolderWithANameThatIsNotUtf8InIt) {
    writeFile(temp / "x/\xff", "content");
    EXPECT_TRUE(deleteRecursively(temp / "x"));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(Removal, NeverFollowsLinksInsideTheFolder) {
    deleteRecursively(makeTree());
    expectOutsideUntouched();
}

TEST_F(Removal, TakesALinkToAFolderButNotTheFolder) {
    makeOutside();
    fs::create_directory_symlink(temp / "outside", temp / "link");
    EXPECT_TRUE(deleteRecursively(temp / "link"));
    EXPECT_FALSE(present(temp / "link"));
    expectOutsideUntouched();
}

TEST_F(Removal, RefusesALinkToAFolderWithEntriesUnlessItIsRecursive) {
    makeOutside();
    fs::create_directory_symlink(temp / "outside", temp / "link");
    EXPECT_FALSE(deleteItem(temp / "link"));
    EXPECT_TRUE(present(temp / "link"));
    expectOutsideUntouched();
}

TEST_F(Removal, TakesALinkToAnEmptyFolder) {
    fs::create_directory(temp / "empty");
    fs::create_directory_symlink(temp / "empty", temp / "link");
    EXPECT_TRUE(deleteItem(temp / "link"));
    EXPECT_FALSE(present(temp / "link"));
    EXPECT_TRUE(present(temp / "empty"));
}

TEST_F(Removal, TakesALinkToAFileButNotTheFile) {
    makeOutside();
    fs::create_symlink(temp / "outside/file", temp / "link");
    EXPECT_TRUE(deleteItem(temp / "link"));
    EXPECT_FALSE(present(temp / "link"));
    expectOutsideUntouched();
}

TEST_F(Removal, TakesADanglingLink) {
    fs::create_symlink(temp / "nowhere", temp / "x");
    fs::create_symlink(temp / "nowhere", temp / "y");
    EXPECT_TRUE(deleteItem(temp / "x"));
    EXPECT_TRUE(deleteRecursively(temp / "y"));
    EXPECT_TRUE(fs::is_empty(temp.path()));
}

TEST_F(Removal, AcceptsATrailingSlash) {
    writeFile(temp / "x/file", "content");
    EXPECT_TRUE(deleteRecursively(temp / "x/"));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(Removal, TakesADeepFolder) {
    std::string path = temp / "x";
    for (int level = 0; level < 500; ++level) {
        path += "/y";
    }
    fs::create_directories(path);
    EXPECT_TRUE(deleteRecursively(temp / "x"));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(Removal, EndsItsPathAtANulByte) {
    writeFile(temp / "x", "content");
    EXPECT_TRUE(deleteItem(temp / std::string("x\0y", 3)));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(Removal, FailsForAMissingPath) {
    EXPECT_FALSE(deleteItem(temp / "x"));
    EXPECT_FALSE(deleteRecursively(temp / "x"));
}

TEST_F(Removal, FailsTheSecondTime) {
    fs::create_directory(temp / "x");
    EXPECT_TRUE(deleteRecursively(temp / "x"));
    EXPECT_FALSE(deleteRecursively(temp / "x"));
}

TEST_F(Removal, FailsBelowAFile) {
    writeFile(temp / "x", "content");
    EXPECT_FALSE(deleteRecursively(temp / "x/y"));
    EXPECT_TRUE(present(temp / "x"));
}

TEST_F(Removal, FailsForAnEmptyPath) {
    WorkingFolder inside(temp.path());
    writeFile(temp / "x", "content");
    EXPECT_FALSE(deleteItem(""));
    EXPECT_FALSE(deleteRecursively(""));
    EXPECT_TRUE(present(temp / "x"));
}

TEST_F(Removal, NeverTakesTheWorkingFolderOrItsParent) {
    writeFile(temp / "x/y/z", "content");
    WorkingFolder inside(temp / "x/y");
    EXPECT_FALSE(deleteRecursively("."));
    EXPECT_FALSE(deleteRecursively(".."));
    EXPECT_TRUE(present(temp / "x/y/z"));
}

TEST_F(Removal, FailsForANameThatIsTooLong) {
    EXPECT_FALSE(deleteItem(temp / std::string(256, 'n')));
    EXPECT_FALSE(deleteRecursively(temp / std::string(256, 'n')));
}

TEST_F(Removal, IgnoresItsFlag) {
    for (const bool flag : {false, true}) {
        writeFile(temp / "x/file", "content");
        EXPECT_FALSE(FileUtils::DeleteDirectoryAtPath(temp / "x", false, flag, nullptr, false));
        EXPECT_TRUE(FileUtils::DeleteDirectoryAtPath(temp / "x", true, flag, nullptr, false));
    }
}

TEST_F(Removal, NeitherReadsNorFillsTheListOfSkippedItems) {
    writeFile(temp / "x/file", "content");
    const std::vector<std::string> items{temp / "x/file", "file", ""};
    std::vector<std::string> skipped = items;
    EXPECT_FALSE(FileUtils::DeleteDirectoryAtPath(temp / "x", skipped, false, true, nullptr, false));
    EXPECT_EQ(skipped, items);
    EXPECT_TRUE(FileUtils::DeleteDirectoryAtPath(temp / "x", skipped, true, true, nullptr, false));
    EXPECT_EQ(skipped, items);
    EXPECT_FALSE(FileUtils::DeleteDirectoryAtPath(temp / "x", skipped, true, true, nullptr, false));
    EXPECT_EQ(skipped, items);
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(Removal, FailsWhereItMayNotWrite) {
    writeFile(temp / "x/locked/file", "content");
    fs::permissions(temp.path(), fs::perms(0755));
    fs::permissions(temp / "x/locked", fs::perms(0555));
    support::asOrdinaryUser([this] { EXPECT_FALSE(deleteRecursively(temp / "x")); });
    EXPECT_EQ(support::readFile(temp / "x/locked/file"), "content");
}

TEST_F(Removal, FailsForAFolderThatItMayNotRead) {
    writeFile(temp / "x/closed/file", "content");
    fs::permissions(temp.path(), fs::perms(0777));
    fs::permissions(temp / "x", fs::perms(0777));
    fs::permissions(temp / "x/closed", fs::perms(0));
    support::asOrdinaryUser([this] {
        EXPECT_FALSE(deleteItem(temp / "x/closed"));
        EXPECT_FALSE(deleteRecursively(temp / "x/closed"));
    });
    fs::permissions(temp / "x/closed", fs::perms(0700));
    EXPECT_EQ(support::readFile(temp / "x/closed/file"), "content");
}

// What is reported.

class RemovalReports : public testing::TestWithParam<Receiver> {
  protected:
    bool deleteItem(const std::string& path, bool recursive, bool logSuccess) {
        return FileUtils::DeleteDirectoryAtPath(path, recursive, true, receivers.logger(), logSuccess);
    }
    Lines lines() const { return receivers.lines("FileUtils"); }

    /// The one failure that was reported names a reason.
    void expectOneFailure() const {
        const Lines reported = lines();
        ASSERT_EQ(reported.size(), 1U);
        const std::string start = "Failed to remove file. Error: ";
        EXPECT_EQ(reported[0].level, WARN);
        EXPECT_EQ(reported[0].message.substr(0, start.size()), start);
        EXPECT_GT(reported[0].message.size(), start.size());
        EXPECT_EQ(receivers.records()[0].format, "Failed to remove file. Error: %s");
    }

    Line removed(const std::string& path, const std::string& recursive) const {
        return {INFO, "Successfully deleted directory from path: " + path + ". Recursive: " + recursive};
    }

    ReportReceivers receivers{GetParam()};
    TempFolder temp;
};

TEST_P(RemovalReports, ARecursiveSuccessWhenAskedTo) {
    writeFile(temp / "x/file", "content");
    EXPECT_TRUE(deleteItem(temp / "x", true, true));
    EXPECT_EQ(lines(), (Lines{removed(temp / "x", "1")}));
    EXPECT_EQ(receivers.records()[0].format, "Successfully deleted directory from path: %s. Recursive: %d");
}

TEST_P(RemovalReports, ASuccessThatIsNotRecursiveWhenAskedTo) {
    fs::create_directory(temp / "x");
    EXPECT_TRUE(deleteItem(temp / "x", false, true));
    EXPECT_EQ(lines(), (Lines{removed(temp / "x", "0")}));
}

TEST_P(RemovalReports, ASuccessWithAPlainFileWhenAskedTo) {
    writeFile(temp / "x", "content");
    EXPECT_TRUE(deleteItem(temp / "x", false, true));
    EXPECT_EQ(lines(), (Lines{removed(temp / "x", "0")}));
}

TEST_P(RemovalReports, NoSuccessUnlessAskedTo) {
    writeFile(temp / "x/file", "content");
    EXPECT_TRUE(deleteItem(temp / "x", true, false));
    EXPECT_TRUE(receivers.records().empty());
}

TEST_P(RemovalReports, NothingForAFolderWithEntriesUnlessItIsRecursive) {
    writeFile(temp / "x/file", "content");
    EXPECT_FALSE(deleteItem(temp / "x", false, true));
    EXPECT_TRUE(receivers.records().empty());
}

TEST_P(RemovalReports, NothingForAnEmptyPath) {
    EXPECT_FALSE(deleteItem("", false, true));
    EXPECT_FALSE(deleteItem("", true, true));
    EXPECT_TRUE(receivers.records().empty());
}

TEST_P(RemovalReports, AFailureOfARecursiveRemoval) {
    EXPECT_FALSE(deleteItem(temp / "x", true, true));
    expectOneFailure();
}

TEST_P(RemovalReports, AFailureOfARemovalThatIsNotRecursive) {
    EXPECT_FALSE(deleteItem(temp / "x", false, false));
    expectOneFailure();
}

TEST_P(RemovalReports, PercentSignsOfAPathAsText) {
    writeFile(temp / "%s%d", "content");
    EXPECT_TRUE(deleteItem(temp / "%s%d", false, true));
    EXPECT_EQ(lines(), (Lines{removed(temp / "%s%d", "0")}));
}

TEST_P(RemovalReports, TheLongFormAsTheShortOne) {
    writeFile(temp / "x", "content");
    std::vector<std::string> skipped;
    EXPECT_TRUE(FileUtils::DeleteDirectoryAtPath(temp / "x", skipped, true, false, receivers.logger(), true));
    EXPECT_EQ(lines(), (Lines{removed(temp / "x", "1")}));
}

INSTANTIATE_TEST_SUITE_P(Report, RemovalReports, testing::ValuesIn(support::allReceivers()),
                         support::receiverName);

TEST_F(Removal, FailsInSilenceWhenNobodyListens) {
    ReportReceivers receivers(Receiver::Nobody);
    EXPECT_FALSE(deleteRecursively(temp / "x"));
    EXPECT_TRUE(receivers.records().empty());
}

// Single files.

namespace {

bool deleteFile(const std::string& path) { return FileUtils::DeleteFileAtPath(path, true, nullptr); }

class FileRemoval : public Removal {};

} // namespace

TEST_F(FileRemoval, TakesAFile) {
    writeFile(temp / "x", "content");
    EXPECT_TRUE(deleteFile(temp / "x"));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(FileRemoval, TakesAnEmptyFolder) {
    fs::create_directory(temp / "x");
    EXPECT_TRUE(deleteFile(temp / "x"));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(FileRemoval, FailsForAFolderWithEntries) {
    writeFile(temp / "x/file", "content");
    EXPECT_FALSE(deleteFile(temp / "x"));
    EXPECT_TRUE(present(temp / "x/file"));
}

TEST_F(FileRemoval, SucceedsForAMissingPath) {
    EXPECT_TRUE(deleteFile(temp / "x"));
    EXPECT_TRUE(deleteFile(temp / "no folder/x"));
}

TEST_F(FileRemoval, SucceedsForAnEmptyPath) { EXPECT_TRUE(deleteFile("")); }

TEST_F(FileRemoval, SucceedsForADanglingLink) {
    fs::create_symlink(temp / "nowhere", temp / "x");
    EXPECT_TRUE(deleteFile(temp / "x"));
}

TEST_F(FileRemoval, SucceedsTheSecondTime) {
    writeFile(temp / "x", "content");
    EXPECT_TRUE(deleteFile(temp / "x"));
    EXPECT_TRUE(deleteFile(temp / "x"));
}

TEST_F(FileRemoval, TakesALinkButNotItsTarget) {
    makeOutside();
    fs::create_symlink(temp / "outside/file", temp / "file-link");
    fs::create_directory_symlink(temp / "outside", temp / "folder-link");
    EXPECT_TRUE(deleteFile(temp / "file-link"));
    EXPECT_TRUE(deleteFile(temp / "folder-link"));
    EXPECT_FALSE(present(temp / "file-link"));
    EXPECT_FALSE(present(temp / "folder-link"));
    expectOutsideUntouched();
}

TEST_F(FileRemoval, EndsItsPathAtANulByte) {
    writeFile(temp / "x", "content");
    EXPECT_TRUE(deleteFile(temp / std::string("x\0y", 3)));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(FileRemoval, IgnoresItsFlag) {
    writeFile(temp / "x/file", "content");
    EXPECT_FALSE(FileUtils::DeleteFileAtPath(temp / "x", false, nullptr));
    EXPECT_TRUE(FileUtils::DeleteFileAtPath(temp / "x/file", false, nullptr));
    EXPECT_TRUE(FileUtils::DeleteFileAtPath(temp / "x", false, nullptr));
    EXPECT_FALSE(present(temp / "x"));
}

TEST_F(FileRemoval, FailsWhereItMayNotWrite) {
    writeFile(temp / "x", "content");
    fs::permissions(temp.path(), fs::perms(0555));
    support::asOrdinaryUser([this] { EXPECT_FALSE(deleteFile(temp / "x")); });
    EXPECT_TRUE(present(temp / "x"));
}

TEST_F(FileRemoval, ReportsNothing) {
    ReportReceivers receivers(Receiver::OwnLogger);
    writeFile(temp / "x/file", "content");
    EXPECT_FALSE(FileUtils::DeleteFileAtPath(temp / "x", true, receivers.logger()));
    EXPECT_TRUE(FileUtils::DeleteFileAtPath(temp / "x/file", true, receivers.logger()));
    EXPECT_TRUE(FileUtils::DeleteFileAtPath(temp / "y", true, receivers.logger()));
    EXPECT_TRUE(receivers.records().empty());
}

TEST_F(FileRemoval, ReportsNothingToTheProcessWideReceiversEither) {
    ReportReceivers receivers(Receiver::ProcessWideFunction);
    writeFile(temp / "x/file", "content");
    EXPECT_FALSE(deleteFile(temp / "x"));
    EXPECT_TRUE(receivers.records().empty());
}

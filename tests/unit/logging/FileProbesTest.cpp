#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "support/InChild.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"
#include <elmu/logging/FileProbes.h>

namespace {

namespace fs = std::filesystem;

using support::modeOf;
using support::readFile;
using support::ScopedUmask;
using support::TempFolder;
using support::writeFile;

bool fileExists(std::string path) { return elmu::fileExistsAtPath(path); }

TEST(FileExistsAtPath, IsTrueForAFile) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    EXPECT_TRUE(fileExists(folder / "file"));
}

TEST(FileExistsAtPath, IsFalseForAFolder) {
    const TempFolder folder;
    EXPECT_FALSE(fileExists(folder.path()));
}

TEST(FileExistsAtPath, IsFalseForNothing) {
    const TempFolder folder;
    EXPECT_FALSE(fileExists(folder / "missing"));
    EXPECT_FALSE(fileExists(folder / "missing/below"));
    EXPECT_FALSE(fileExists(""));
}

TEST(FileExistsAtPath, IsFalseBehindAFile) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    EXPECT_FALSE(fileExists(folder / "file/below"));
}

TEST(FileExistsAtPath, FollowsLinks) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    fs::create_symlink("file", folder / "to file");
    fs::create_symlink(".", folder / "to folder");
    fs::create_symlink("missing", folder / "to nothing");
    EXPECT_TRUE(fileExists(folder / "to file"));
    EXPECT_FALSE(fileExists(folder / "to folder"));
    EXPECT_FALSE(fileExists(folder / "to nothing"));
}

TEST(FileExistsAtPath, IsTrueForAnythingThatIsNoFolder) {
    const TempFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_TRUE(fileExists(folder / "pipe"));
    EXPECT_TRUE(fileExists("/dev/null"));
}

TEST(FileExistsAtPath, LeavesItsArgumentAlone) {
    std::string path = "/dev//null";
    elmu::fileExistsAtPath(path);
    EXPECT_EQ(path, "/dev//null");
}

TEST(FolderExitsAtPath, IsTrueForAFolder) {
    const TempFolder folder;
    EXPECT_TRUE(elmu::folderExitsAtPath(folder.path()));
    EXPECT_TRUE(elmu::folderExitsAtPath(folder.path() + "/"));
}

TEST(FolderExitsAtPath, IsFalseForAFile) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    EXPECT_FALSE(elmu::folderExitsAtPath(folder / "file"));
}

TEST(FolderExitsAtPath, IsFalseForNothing) {
    const TempFolder folder;
    EXPECT_FALSE(elmu::folderExitsAtPath(folder / "missing"));
    EXPECT_FALSE(elmu::folderExitsAtPath(""));
}

TEST(FolderExitsAtPath, FollowsLinks) {
    const TempFolder folder;
    fs::create_symlink(".", folder / "to folder");
    fs::create_symlink("missing", folder / "to nothing");
    EXPECT_TRUE(elmu::folderExitsAtPath(folder / "to folder"));
    EXPECT_FALSE(elmu::folderExitsAtPath(folder / "to nothing"));
}

TEST(CreateDirectoryPath, MakesEveryMissingParent) {
    const TempFolder folder;
    EXPECT_TRUE(elmu::createDirectoryPath(folder / "a/b/c"));
    EXPECT_TRUE(fs::is_directory(folder / "a/b/c"));
}

TEST(CreateDirectoryPath, GivesNewFoldersTheUsualMode) {
    const TempFolder folder;
    const ScopedUmask umask(027);
    ASSERT_TRUE(elmu::createDirectoryPath(folder / "a/b"));
    EXPECT_EQ(modeOf(folder / "a"), 0750U);
    EXPECT_EQ(modeOf(folder / "a/b"), 0750U);
}

TEST(CreateDirectoryPath, CountsAnExistingFolderAsSuccess) {
    const TempFolder folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0711), 0);
    EXPECT_TRUE(elmu::createDirectoryPath(folder.path()));
    EXPECT_EQ(modeOf(folder.path()), 0711U);
}

TEST(CreateDirectoryPath, FailsWhereAFileIs) {
    const TempFolder folder;
    writeFile(folder / "file", "content");
    EXPECT_FALSE(elmu::createDirectoryPath(folder / "file"));
    EXPECT_FALSE(elmu::createDirectoryPath(folder / "file/below"));
    EXPECT_EQ(readFile(folder / "file"), "content");
}

TEST(CreateDirectoryPath, FailsForAnEmptyPath) { EXPECT_FALSE(elmu::createDirectoryPath("")); }

TEST(CreateDirectoryPath, FailsForANameThatIsTooLong) {
    const TempFolder folder;
    EXPECT_FALSE(elmu::createDirectoryPath(folder / std::string(300, 'n')));
}

TEST(CreateDirectoryPath, FailsWithoutPermission) {
    const TempFolder folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    support::asOrdinaryUser([&] { EXPECT_FALSE(elmu::createDirectoryPath(folder / "a")); });
    EXPECT_FALSE(fs::exists(folder / "a"));
}

TEST(GetFileSize, IsTheNumberOfBytes) {
    const TempFolder folder;
    writeFile(folder / "empty", "");
    writeFile(folder / "five", "12345");
    long long size = -1;
    EXPECT_TRUE(elmu::getFileSize(folder / "empty", size));
    EXPECT_EQ(size, 0);
    EXPECT_TRUE(elmu::getFileSize(folder / "five", size));
    EXPECT_EQ(size, 5);
}

TEST(GetFileSize, HoldsBeyondFourGibibytes) {
    const TempFolder folder;
    writeFile(folder / "large", "");
    fs::resize_file(folder / "large", 5368709121);
    long long size = -1;
    EXPECT_TRUE(elmu::getFileSize(folder / "large", size));
    EXPECT_EQ(size, 5368709121);
}

TEST(GetFileSize, FailsForNothingAndLeavesItsOutput) {
    const TempFolder folder;
    long long size = 77;
    EXPECT_FALSE(elmu::getFileSize(folder / "missing", size));
    EXPECT_FALSE(elmu::getFileSize("", size));
    EXPECT_EQ(size, 77);
}

TEST(GetFileSize, DoesNotFollowLinks) {
    const TempFolder folder;
    fs::create_symlink("missing", folder / "link");
    long long size = -1;
    EXPECT_TRUE(elmu::getFileSize(folder / "link", size));
    EXPECT_EQ(size, 7);
}

bool copied(const std::string& source, std::string target) {
    return elmu::copyContentOfFileToFile(source, target);
}

std::string randomBytes(std::size_t count) {
    std::mt19937 generator(static_cast<std::mt19937::result_type>(count));
    std::string bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(generator());
    }
    return bytes;
}

class CopyOfSize : public testing::TestWithParam<std::size_t> {};

TEST_P(CopyOfSize, HasEveryByte) {
    const TempFolder folder;
    const std::string content = randomBytes(GetParam());
    writeFile(folder / "source", content);
    EXPECT_TRUE(copied(folder / "source", folder / "target"));
    EXPECT_TRUE(readFile(folder / "target") == content);
    EXPECT_TRUE(readFile(folder / "source") == content);
}

INSTANTIATE_TEST_SUITE_P(CopyContentOfFileToFile, CopyOfSize,
                         testing::Values(0, 1, 4095, 4096, 4097, 8192, 1048576));

TEST(CopyContentOfFileToFile, ReplacesALongerContent) {
    const TempFolder folder;
    writeFile(folder / "source", "new");
    writeFile(folder / "target", "earlier and longer");
    EXPECT_TRUE(copied(folder / "source", folder / "target"));
    EXPECT_EQ(readFile(folder / "target"), "new");
}

TEST(CopyContentOfFileToFile, EmptiesTheTargetForAnEmptySource) {
    const TempFolder folder;
    writeFile(folder / "source", "");
    writeFile(folder / "target", "earlier");
    EXPECT_TRUE(copied(folder / "source", folder / "target"));
    EXPECT_EQ(readFile(folder / "target"), "");
}

TEST(CopyContentOfFileToFile, CreatesNothingForAMissingSource) {
    const TempFolder folder;
    EXPECT_FALSE(copied(folder / "missing", folder / "target"));
    EXPECT_FALSE(fs::exists(folder / "target"));
}

TEST(CopyContentOfFileToFile, LeavesTheTargetAloneForAMissingSource) {
    const TempFolder folder;
    writeFile(folder / "target", "earlier");
    EXPECT_FALSE(copied(folder / "missing", folder / "target"));
    EXPECT_EQ(readFile(folder / "target"), "earlier");
}

TEST(CopyContentOfFileToFile, FailsWhenTheTargetCannotBeOpened) {
    const TempFolder folder;
    writeFile(folder / "source", "content");
    EXPECT_FALSE(copied(folder / "source", folder.path()));
    EXPECT_FALSE(copied(folder / "source", folder / "missing/target"));
    EXPECT_FALSE(copied(folder / "source", ""));
}

TEST(CopyContentOfFileToFile, FailsForASourceThatIsAFolder) {
    const TempFolder folder;
    EXPECT_FALSE(copied(folder.path(), folder / "target"));
}

TEST(CopyContentOfFileToFile, FailsWhenReadingFails) {
    if (!fs::exists("/proc/self/mem")) {
        GTEST_SKIP() << "needs /proc/self/mem: it reads a file whose first byte cannot be read";
    }
    const TempFolder folder;
    EXPECT_FALSE(copied("/proc/self/mem", folder / "target"));
}

TEST(CopyContentOfFileToFile, FailsWhenTheSourceMayNotBeRead) {
    const TempFolder folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    writeFile(folder / "source", "content");
    ASSERT_EQ(::chmod((folder / "source").c_str(), 0), 0);
    support::asOrdinaryUser([&] { EXPECT_FALSE(copied(folder / "source", folder / "target")); });
    EXPECT_FALSE(fs::exists(folder / "target"));
}

TEST(CopyContentOfFileToFile, FailsWhenTheDiskIsFullHalfWay) {
    const TempFolder folder;
    writeFile(folder / "source", randomBytes(100000));
    bool result = true;
    {
        const support::ScopedFileSizeLimit limit(50000);
        result = copied(folder / "source", folder / "target");
    }
    EXPECT_FALSE(result);
}

TEST(CopyContentOfFileToFile, FailsWhenTheDiskIsFullAtTheLastByte) {
    const TempFolder folder;
    writeFile(folder / "source", randomBytes(100));
    bool result = true;
    {
        const support::ScopedFileSizeLimit limit(99);
        result = copied(folder / "source", folder / "target");
    }
    EXPECT_FALSE(result);
}

TEST(CopyContentOfFileToFile, SetsNoMode) {
    const TempFolder folder;
    const ScopedUmask umask(022);
    writeFile(folder / "source", "content");
    writeFile(folder / "earlier", "");
    ASSERT_EQ(::chmod((folder / "source").c_str(), 0640), 0);
    ASSERT_EQ(::chmod((folder / "earlier").c_str(), 0600), 0);
    ASSERT_TRUE(copied(folder / "source", folder / "earlier"));
    ASSERT_TRUE(copied(folder / "source", folder / "new"));
    EXPECT_EQ(modeOf(folder / "earlier"), 0600U);
    EXPECT_EQ(modeOf(folder / "new"), 0644U);
}

} // namespace

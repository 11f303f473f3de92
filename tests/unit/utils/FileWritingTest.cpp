#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include "support/InChild.h"
#include "support/ReportReceivers.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"
#include <elmu/utils/FileUtils.h>

namespace fs = std::filesystem;

using ELMUUtils::FileUtils;
using support::modeOf;
using support::readFile;
using support::Receiver;
using support::ReportReceivers;
using support::ScopedUmask;
using support::TempFolder;
using support::WorkingFolder;
using support::writeFile;

namespace {

bool put(const std::string& path, const std::string& content) {
    return FileUtils::CreateFileWithContentAtPath(path, content, nullptr);
}

class FileWriting : public testing::Test {
  protected:
    /// Whether `name` is the folder's only entry.
    bool holdsOnly(const std::string& name) const {
        const auto entries = fs::directory_iterator(temp.path());
        return std::distance(begin(entries), end(entries)) == 1 &&
               fs::exists(fs::symlink_status(temp / name));
    }

    ScopedUmask mask{022};
    TempFolder temp;
};

} // namespace

TEST_F(FileWriting, PutsTheContentIntoANewFile) {
    EXPECT_TRUE(put(temp / "x", "content\n"));
    EXPECT_EQ(readFile(temp / "x"), "content\n");
    EXPECT_TRUE(holdsOnly("x"));
}

TEST_F(FileWriting, MakesAnEmptyFileForEmptyContent) {
    EXPECT_TRUE(put(temp / "x", ""));
    EXPECT_TRUE(fs::is_regular_file(temp / "x"));
    EXPECT_EQ(readFile(temp / "x"), "");
}

TEST_F(FileWriting, ReplacesTheWholeContentOfAnExistingFile) {
    writeFile(temp / "x", "a much longer content than the new one");
    EXPECT_TRUE(put(temp / "x", "new"));
    EXPECT_EQ(readFile(temp / "x"), "new");
    EXPECT_TRUE(put(temp / "x", ""));
    EXPECT_EQ(readFile(temp / "x"), "");
    EXPECT_TRUE(holdsOnly("x"));
}

TEST_F(FileWriting, GivesTheSameFileTheSecondTime) {
    EXPECT_TRUE(put(temp / "x", "content"));
    EXPECT_TRUE(put(temp / "x", "content"));
    EXPECT_EQ(readFile(temp / "x"), "content");
    EXPECT_TRUE(holdsOnly("x"));
}

TEST_F(FileWriting, KeepsEveryByteOfTheContent) {
    std::string content;
    for (int repetition = 0; repetition < 3; ++repetition) {
        for (int byte = 0; byte < 256; ++byte) {
            content.push_back(static_cast<char>(byte));
        }
    }
    EXPECT_TRUE(put(temp / "x", content));
    EXPECT_EQ(readFile(temp / "x"), content);
}

TEST_F(FileWriting, KeepsLargeContentWhole) {
    std::string content(9 << 20, 'c');
    content.back() = 'd';
    EXPECT_TRUE(put(temp / "x", content));
    EXPECT_TRUE(readFile(temp / "x") == content);
}

TEST_F(FileWriting, LeavesOpenReadersTheOldContent) {
    writeFile(temp / "x", "old content");
    std::ifstream reader(temp / "x");
    EXPECT_TRUE(put(temp / "x", "new"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old content");
}

TEST_F(FileWriting, LeavesAnotherNameOfTheOldFileAlone) {
    writeFile(temp / "x", "old content");
    fs::create_hard_link(temp / "x", temp / "y");
    EXPECT_TRUE(put(temp / "x", "new"));
    EXPECT_EQ(readFile(temp / "y"), "old content");
}

TEST_F(FileWriting, GivesANewFile0666LessTheUmask) {
    EXPECT_TRUE(put(temp / "x", "content"));
    EXPECT_EQ(modeOf(temp / "x"), 0644U);
    ScopedUmask wide(0);
    EXPECT_TRUE(put(temp / "y", "content"));
    EXPECT_EQ(modeOf(temp / "y"), 0666U);
    ScopedUmask narrow(077);
    EXPECT_TRUE(put(temp / "z", "content"));
    EXPECT_EQ(modeOf(temp / "z"), 0600U);
}

TEST_F(FileWriting, KeepsTheModeOfTheFileThatItReplaces) {
    for (const unsigned mode : {0640U, 0666U, 0777U, 0600U}) {
        writeFile(temp / "x", "old");
        fs::permissions(temp / "x", fs::perms(mode));
        EXPECT_TRUE(put(temp / "x", "new"));
        EXPECT_EQ(modeOf(temp / "x"), mode);
        EXPECT_EQ(readFile(temp / "x"), "new");
    }
}

TEST_F(FileWriting, ReplacesAReadOnlyFileAndLeavesItReadOnly) {
    writeFile(temp / "x", "old");
    fs::permissions(temp / "x", fs::perms(0444));
    fs::permissions(temp.path(), fs::perms(0777));
    support::asOrdinaryUser([this] { EXPECT_TRUE(put(temp / "x", "new")); });
    EXPECT_EQ(modeOf(temp / "x"), 0444U);
    EXPECT_EQ(readFile(temp / "x"), "new");
}

TEST_F(FileWriting, ReplacesALinkAndLeavesItsTargetAlone) {
    writeFile(temp / "target", "target");
    fs::create_symlink(temp / "target", temp / "link");
    EXPECT_TRUE(put(temp / "link", "new"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(temp / "link")));
    EXPECT_EQ(readFile(temp / "link"), "new");
    EXPECT_EQ(readFile(temp / "target"), "target");
}

TEST_F(FileWriting, TreatsWhatReplacesALinkAsANewFile) {
    writeFile(temp / "target", "target");
    fs::permissions(temp / "target", fs::perms(0600));
    fs::create_symlink(temp / "target", temp / "link");
    EXPECT_TRUE(put(temp / "link", "new"));
    EXPECT_EQ(modeOf(temp / "link"), 0644U);
    EXPECT_EQ(modeOf(temp / "target"), 0600U);
}

TEST_F(FileWriting, ReplacesADanglingLink) {
    fs::create_symlink(temp / "nowhere", temp / "link");
    EXPECT_TRUE(put(temp / "link", "new"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(temp / "link")));
    EXPECT_FALSE(fs::exists(temp / "nowhere"));
}

TEST_F(FileWriting, ReplacesALinkToAFolder) {
    fs::create_directory(temp / "folder");
    fs::create_directory_symlink(temp / "folder", temp / "link");
    EXPECT_TRUE(put(temp / "link", "new"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(temp / "link")));
    EXPECT_TRUE(fs::is_empty(temp / "folder"));
}

TEST_F(FileWriting, TakesANameOf255Bytes) {
    const std::string name(255, 'n');
    EXPECT_TRUE(put(temp / name, "content"));
    EXPECT_EQ(readFile(temp / name), "content");
    EXPECT_TRUE(put(temp / name, "again"));
    EXPECT_EQ(readFile(temp / name), "again");
    EXPECT_TRUE(holdsOnly(name));
}

TEST_F(FileWriting, FailsForANameThatIsTooLong) {
    EXPECT_FALSE(put(temp / std::string(256, 'n'), "content"));
    EXPECT_TRUE(fs::is_empty(temp.path()));
}

TEST_F(FileWriting, TakesANameThatIsNotUtf8) {
    EXPECT_TRUE(put(temp / "\xff", "content"));
    EXPECT_EQ(readFile(temp / "\xff"), "content");
}

TEST_F(FileWriting, EndsItsPathAtANulByte) {
    EXPECT_TRUE(put(temp / std::string("x\0y", 3), "content"));
    EXPECT_EQ(readFile(temp / "x"), "content");
    EXPECT_TRUE(holdsOnly("x"));
}

TEST_F(FileWriting, WorksFromTheWorkingFolder) {
    WorkingFolder inside(temp.path());
    EXPECT_TRUE(put("x", "content"));
    EXPECT_EQ(readFile(temp / "x"), "content");
}

TEST_F(FileWriting, FailsForAnEmptyPath) {
    WorkingFolder inside(temp.path());
    EXPECT_FALSE(put("", "content"));
    EXPECT_FALSE(put(std::string("\0x", 2), "content"));
    EXPECT_TRUE(fs::is_empty(temp.path()));
}

TEST_F(FileWriting, FailsInAMissingFolderAndMakesNone) {
    EXPECT_FALSE(put(temp / "folder/x", "content"));
    EXPECT_TRUE(fs::is_empty(temp.path()));
}

TEST_F(FileWriting, FailsBelowAFile) {
    writeFile(temp / "file", "old");
    EXPECT_FALSE(put(temp / "file/x", "content"));
    EXPECT_EQ(readFile(temp / "file"), "old");
    EXPECT_TRUE(holdsOnly("file"));
}

TEST_F(FileWriting, FailsForAFolderAndLeavesItAlone) {
    fs::create_directory(temp / "folder");
    EXPECT_FALSE(put(temp / "folder", "content"));
    EXPECT_TRUE(fs::is_directory(temp / "folder"));
    EXPECT_TRUE(fs::is_empty(temp / "folder"));
    EXPECT_TRUE(holdsOnly("folder"));
}

TEST_F(FileWriting, FailsWhereItMayNotWrite) {
    writeFile(temp / "x", "old");
    fs::permissions(temp / "x", fs::perms(0666));
    fs::permissions(temp.path(), fs::perms(0555));
    support::asOrdinaryUser([this] {
        EXPECT_FALSE(put(temp / "x", "new"));
        EXPECT_FALSE(put(temp / "y", "new"));
    });
    EXPECT_EQ(readFile(temp / "x"), "old");
    EXPECT_TRUE(holdsOnly("x"));
}

TEST_F(FileWriting, LeavesTheOldFileWholeWhenThereIsNoRoomForTheNewOne) {
    writeFile(temp / "x", "old");
    {
        support::ScopedFileSizeLimit limit(4096);
        EXPECT_FALSE(put(temp / "x", std::string(100000, 'n')));
    }
    EXPECT_EQ(readFile(temp / "x"), "old");
    EXPECT_TRUE(holdsOnly("x"));
}

TEST_F(FileWriting, LeavesNothingWhenThereIsNoRoomForANewFile) {
    {
        support::ScopedFileSizeLimit limit(4096);
        EXPECT_FALSE(put(temp / "x", std::string(100000, 'n')));
    }
    EXPECT_TRUE(fs::is_empty(temp.path()));
}

TEST_F(FileWriting, LeavesTheOldFileWholeWhenNoFileCanBeOpened) {
    writeFile(temp / "x", "old");
    support::inChild([this] {
        const rlimit limit{0, 0};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        EXPECT_FALSE(put(temp / "x", "new"));
    });
    EXPECT_EQ(readFile(temp / "x"), "old");
    EXPECT_TRUE(holdsOnly("x"));
}

TEST_F(FileWriting, ReportsNothing) {
    ReportReceivers receivers(Receiver::OwnLogger);
    EXPECT_TRUE(FileUtils::CreateFileWithContentAtPath(temp / "x", "content", receivers.logger()));
    EXPECT_FALSE(FileUtils::CreateFileWithContentAtPath("", "content", receivers.logger()));
    EXPECT_FALSE(FileUtils::CreateFileWithContentAtPath(temp / "y/z", "content", receivers.logger()));
    EXPECT_FALSE(put(temp / "y/z", "content"));
    EXPECT_TRUE(receivers.records().empty());
}

#include "platform/Files.h"

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "support/TempFolder.h"

using namespace platform;
using support::readFile;
using support::TempFolder;
using support::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

TEST(TreeEntries, AreAllPathsBelowWithAFolderBeforeItsContentAndSiblingsInByteOrder) {
    const TempFolder folder;
    for (const char* name : {"b/inner/leaf", "b/a", "a", "b.txt", "B", "c d", ".hidden"}) {
        writeFile(folder / name, "");
    }
    fs::create_directory(folder / "empty");
    EXPECT_THAT(treeEntries(folder.path().c_str()), ElementsAre(".hidden", "B", "a", "b", "b/a", "b/inner",
                                                                "b/inner/leaf", "b.txt", "c d", "empty"));
}

TEST(TreeEntries, OrderNamesByUnsignedBytes) {
    const TempFolder folder;
    for (const char* name : {"x\xc3\xa9", "xz", "x\xff"}) {
        writeFile(folder / name, "");
    }
    EXPECT_THAT(treeEntries(folder.path().c_str()), ElementsAre("xz", "x\xc3\xa9", "x\xff"));
}

TEST(TreeEntries, HoldLinksButNotWhatTheyLeadTo) {
    const TempFolder folder;
    const TempFolder elsewhere;
    writeFile(elsewhere / "inside", "");
    fs::create_directory_symlink(elsewhere.path(), folder / "link");
    fs::create_symlink("nowhere", folder / "dangling");
    fs::create_directory_symlink(".", folder / "loop");
    EXPECT_THAT(treeEntries(folder.path().c_str()), ElementsAre("dangling", "link", "loop"));
}

TEST(TreeEntries, AreNoneForWhatIsNoFolder) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    for (const std::string& path : {folder / "file", folder / "missing"}) {
        EXPECT_THAT(treeEntries(path.c_str()), IsEmpty()) << path;
    }
}

TEST(TreeEntries, AreNoneForAnEmptyPath) {
    EXPECT_TRUE(treeEntries("").empty()) << "it names nothing, least of all the root folder";
}

TEST(TreeEntries, AreNoneInAnEmptyFolder) {
    const TempFolder folder;
    EXPECT_THAT(treeEntries(folder.path().c_str()), IsEmpty());
}

TEST(TreeEntries, GoDownManyLevels) {
    const TempFolder folder;
    std::string path = "0";
    for (int level = 1; level < 100; ++level) {
        path.append("/").append(std::to_string(level));
    }
    fs::create_directories(folder / path);
    const auto entries = treeEntries(folder.path().c_str());
    ASSERT_EQ(entries.size(), 100U);
    EXPECT_EQ(entries.back(), path);
}

TEST(SyncFile, SucceedsForAFileAndFailsForNothing) {
    const TempFolder folder;
    writeFile(folder / "file", "content");
    EXPECT_FALSE(syncFile((folder / "file").c_str()));
    EXPECT_EQ(readFile(folder / "file"), "content");
    EXPECT_EQ(syncFile((folder / "missing").c_str()), std::errc::no_such_file_or_directory);
    EXPECT_EQ(syncFile(""), std::errc::no_such_file_or_directory);
}

TEST(SyncFile, MakesNoFile) {
    const TempFolder folder;
    syncFile((folder / "missing").c_str());
    EXPECT_FALSE(entryExists((folder / "missing").c_str()));
}

TEST(MoveFile, GivesAFileANewName) {
    const TempFolder folder;
    writeFile(folder / "from", "content");
    EXPECT_FALSE(moveFile((folder / "from").c_str(), (folder / "to").c_str()));
    EXPECT_FALSE(entryExists((folder / "from").c_str()));
    EXPECT_EQ(readFile(folder / "to"), "content");
}

TEST(MoveFile, ReplacesWhatIsThere) {
    const TempFolder folder;
    writeFile(folder / "from", "content");
    writeFile(folder / "to", "earlier and longer");
    EXPECT_FALSE(moveFile((folder / "from").c_str(), (folder / "to").c_str()));
    EXPECT_EQ(readFile(folder / "to"), "content");
}

TEST(MoveFile, MovesALinkItself) {
    const TempFolder folder;
    fs::create_symlink("nowhere", folder / "from");
    EXPECT_FALSE(moveFile((folder / "from").c_str(), (folder / "to").c_str()));
    EXPECT_EQ(fs::read_symlink(folder / "to"), "nowhere");
}

TEST(MoveFile, LeavesEverythingAsItWasWhenItFails) {
    const TempFolder folder;
    writeFile(folder / "from", "content");
    writeFile(folder / "full/file", "");
    EXPECT_TRUE(moveFile((folder / "from").c_str(), (folder / "full").c_str()));
    EXPECT_EQ(moveFile((folder / "from").c_str(), (folder / "missing/to").c_str()),
              std::errc::no_such_file_or_directory);
    EXPECT_EQ(moveFile((folder / "missing").c_str(), (folder / "to").c_str()),
              std::errc::no_such_file_or_directory);
    EXPECT_EQ(readFile(folder / "from"), "content");
    EXPECT_TRUE(entryExists((folder / "full/file").c_str()));
}

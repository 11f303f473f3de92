#include "platform/Files.h"

#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "Child.h"
#include "support/Descriptors.h"
#include "support/TempFolder.h"

using namespace platform;
using support::TempFolder;
using support::writeFile;
using testing::IsEmpty;
using testing::Optional;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

void makeFifo(const std::string& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }

/// A folder with the file "file" that only its owner gets into.
class ClosedFolder {
  public:
    ClosedFolder() {
        writeFile(file(), "secret");
        fs::permissions(folder.path(), fs::perms::none);
    }
    ~ClosedFolder() { fs::permissions(folder.path(), fs::perms::owner_all); }
    ClosedFolder(const ClosedFolder&) = delete;
    ClosedFolder& operator=(const ClosedFolder&) = delete;

    std::string path() const { return folder.path(); }
    std::string file() const { return folder / "file"; }

  private:
    TempFolder folder;
};

} // namespace

TEST(ItemAtPath, TellsFilesFromFolders) {
    const TempFolder folder;
    writeFile(folder / "file", "");

    EXPECT_EQ(itemAtPath((folder / "file").c_str()), ItemKind::File);
    EXPECT_EQ(itemAtPath(folder.path().c_str()), ItemKind::Folder);
    EXPECT_EQ(itemAtPath((folder.path() + "/").c_str()), ItemKind::Folder);
}

TEST(ItemAtPath, TakesWhateverIsNoFolderForAFile) {
    const TempFolder folder;
    makeFifo(folder / "fifo");

    EXPECT_EQ(itemAtPath((folder / "fifo").c_str()), ItemKind::File);
    EXPECT_EQ(itemAtPath("/dev/null"), ItemKind::File);
}

TEST(ItemAtPath, FollowsLinks) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    fs::create_symlink("file", folder / "to file");
    fs::create_symlink(".", folder / "to folder");

    EXPECT_EQ(itemAtPath((folder / "to file").c_str()), ItemKind::File);
    EXPECT_EQ(itemAtPath((folder / "to folder").c_str()), ItemKind::Folder);
}

TEST(ItemAtPath, FindsNothingBehindADanglingLink) {
    const TempFolder folder;
    fs::create_symlink("nowhere", folder / "link");

    EXPECT_EQ(itemAtPath((folder / "link").c_str()), ItemKind::Missing);
}

TEST(ItemAtPath, FindsNothingAtPathsThatNameNothing) {
    const TempFolder folder;
    writeFile(folder / "file", "");

    EXPECT_EQ(itemAtPath(""), ItemKind::Missing);
    EXPECT_EQ(itemAtPath((folder / "missing").c_str()), ItemKind::Missing);
    EXPECT_EQ(itemAtPath((folder / "file/").c_str()), ItemKind::Missing);
    EXPECT_EQ(itemAtPath((folder / std::string(256, 'x')).c_str()), ItemKind::Missing);
}

TEST(ItemAtPath, FindsNothingWhereItMayNotLook) {
    const ClosedFolder closed;
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  return itemAtPath(closed.file().c_str()) == ItemKind::Missing ? "missing" : "found";
              }),
              "missing");
}

TEST(EntryExists, CountsADanglingLink) {
    const TempFolder folder;
    fs::create_symlink("nowhere", folder / "link");

    EXPECT_TRUE(entryExists((folder / "link").c_str()));
}

TEST(EntryExists, CountsFilesAndFoldersButNothingElse) {
    const TempFolder folder;
    writeFile(folder / "file", "");

    EXPECT_TRUE(entryExists((folder / "file").c_str()));
    EXPECT_TRUE(entryExists(folder.path().c_str()));
    EXPECT_FALSE(entryExists((folder / "missing").c_str()));
    EXPECT_FALSE(entryExists(""));
}

TEST(EntryInfo, TellsSizeAndOwnerOfAFile) {
    const TempFolder folder;
    writeFile(folder / "file", "12345");

    const auto info = entryInfo((folder / "file").c_str());

    ASSERT_TRUE(info);
    EXPECT_EQ(info->size, 5);
    EXPECT_EQ(info->owner, ::geteuid());
    EXPECT_FALSE(info->isLink);
}

TEST(EntryInfo, TellsSizesBeyondFourGigabytes) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    fs::resize_file(folder / "file", 5'000'000'000);

    const auto info = entryInfo((folder / "file").c_str());

    ASSERT_TRUE(info);
    EXPECT_EQ(info->size, 5'000'000'000);
}

TEST(EntryInfo, DescribesALinkItself) {
    const TempFolder folder;
    writeFile(folder / "file", "12345");
    fs::create_symlink("./file", folder / "link");

    const auto info = entryInfo((folder / "link").c_str());

    ASSERT_TRUE(info);
    EXPECT_TRUE(info->isLink);
    EXPECT_EQ(info->size, 6);
}

TEST(EntryInfo, TellsOwnerAndGroupOfOthers) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it gives a file to another user";
    }
    const TempFolder folder;
    writeFile(folder / "file", "");
    ASSERT_EQ(::chown((folder / "file").c_str(), 501, 20), 0);

    const auto info = entryInfo((folder / "file").c_str());

    ASSERT_TRUE(info);
    EXPECT_EQ(info->owner, 501u);
    EXPECT_EQ(info->group, 20u);
}

TEST(EntryInfo, GivesNothingForNothing) {
    const TempFolder folder;
    EXPECT_FALSE(entryInfo((folder / "missing").c_str()));
    EXPECT_FALSE(entryInfo(""));
}

TEST(FolderEntries, ListsEveryNameButTheDots) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    writeFile(folder / ".hidden", "");
    writeFile(folder / "..more", "");
    writeFile(folder / "inner/deeper", "");
    fs::create_symlink("nowhere", folder / "link");

    EXPECT_THAT(folderEntries(folder.path().c_str()),
                Optional(UnorderedElementsAre("file", ".hidden", "..more", "inner", "link")));
}

TEST(FolderEntries, ListsNamesThatAreNoUtf8) {
    const TempFolder folder;
    writeFile(folder / "\xFF\xC3", "");

    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("\xFF\xC3")));
}

TEST(FolderEntries, ListsALargeFolderWhole) {
    const TempFolder folder;
    for (int i = 0; i < 3000; ++i) {
        writeFile(folder / std::to_string(i), "");
    }

    const auto names = folderEntries(folder.path().c_str());

    ASSERT_TRUE(names);
    EXPECT_EQ(names->size(), 3000u);
    EXPECT_EQ(std::count(names->begin(), names->end(), "2999"), 1);
}

TEST(FolderEntries, ListsNothingInAnEmptyFolder) {
    const TempFolder folder;
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(IsEmpty()));
}

TEST(FolderEntries, FollowsALinkToAFolder) {
    const TempFolder folder;
    writeFile(folder / "real/file", "");
    fs::create_symlink("real", folder / "link");

    EXPECT_THAT(folderEntries((folder / "link").c_str()), Optional(UnorderedElementsAre("file")));
}

TEST(FolderEntries, GivesNothingForWhatIsNoFolder) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    makeFifo(folder / "fifo");

    EXPECT_FALSE(folderEntries((folder / "file").c_str()));
    EXPECT_FALSE(folderEntries((folder / "fifo").c_str()));
    EXPECT_FALSE(folderEntries((folder / "missing").c_str()));
    EXPECT_FALSE(folderEntries(""));
}

TEST(FolderEntries, GivesNothingForAFolderThatMayNotBeRead) {
    const ClosedFolder closed;
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  return folderEntries(closed.path().c_str()) ? "listed" : "nothing";
              }),
              "nothing");
}

#ifdef __linux__
TEST(FolderEntries, GivesNothingRatherThanAPart) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    const std::string result = child::resultOf([&] {
        if (!child::refuseSystemCall(SYS_getdents64, EIO)) {
            return "not arranged";
        }
        return folderEntries(folder.path().c_str()) ? "listed" : "nothing";
    });
    if (result == "not arranged") {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    EXPECT_EQ(result, "nothing");
}
#endif

TEST(ReadFile, GivesEveryByte) {
    const TempFolder folder;
    const std::string content("a\0b\r\n\xFF", 6);
    writeFile(folder / "file", content);

    EXPECT_EQ(readFile((folder / "file").c_str()), content);
}

TEST(ReadFile, GivesLargeFilesWhole) {
    const TempFolder folder;
    std::string content;
    for (int i = 0; content.size() < 3'000'000; ++i) {
        content += std::to_string(i) + ",";
    }
    writeFile(folder / "file", content);

    EXPECT_TRUE(readFile((folder / "file").c_str()) == content);
}

TEST(ReadFile, GivesAnEmptyTextForAnEmptyFile) {
    const TempFolder folder;
    writeFile(folder / "file", "");

    EXPECT_EQ(readFile((folder / "file").c_str()), "");
}

TEST(ReadFile, FollowsLinks) {
    const TempFolder folder;
    writeFile(folder / "file", "content");
    fs::create_symlink("file", folder / "link");

    EXPECT_EQ(readFile((folder / "link").c_str()), "content");
}

#ifdef __linux__
TEST(ReadFile, ReadsFilesThatDoNotTellTheirSize) {
    EXPECT_THAT(readFile("/proc/self/stat"), Optional(testing::StartsWith(std::to_string(::getpid()) + " ")));
}
#endif

TEST(ReadFile, GivesNothingForWhatIsNoRegularFileAndDoesNotWait) {
    const TempFolder folder;
    makeFifo(folder / "fifo");

    EXPECT_FALSE(readFile((folder / "fifo").c_str()));
    EXPECT_FALSE(readFile(folder.path().c_str()));
    EXPECT_FALSE(readFile("/dev/zero"));
    EXPECT_FALSE(readFile((folder / "missing").c_str()));
    EXPECT_FALSE(readFile(""));
}

#ifdef __linux__
TEST(ReadFile, GivesNothingWhenReadingFails) { EXPECT_FALSE(readFile("/proc/self/mem")); }
#endif

TEST(ReadFile, GivesNothingForAFileThatMayNotBeRead) {
    const ClosedFolder closed;
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  return readFile(closed.file().c_str()).value_or("nothing");
              }),
              "nothing");
}

TEST(RemoveEntry, RemovesFilesLinksAndEmptyFolders) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    fs::create_symlink("file", folder / "link");
    fs::create_directory(folder / "inner");

    EXPECT_FALSE(removeEntry((folder / "link").c_str()));
    EXPECT_FALSE(removeEntry((folder / "inner").c_str()));
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("file")));
    EXPECT_FALSE(removeEntry((folder / "file").c_str()));
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(IsEmpty()));
}

TEST(RemoveEntry, KeepsAFolderThatIsNotEmpty) {
    const TempFolder folder;
    writeFile(folder / "inner/file", "");

    EXPECT_TRUE(removeEntry((folder / "inner").c_str()));
    EXPECT_TRUE(fs::exists(folder / "inner/file"));
}

TEST(RemoveEntry, FailsForNothing) {
    const TempFolder folder;
    EXPECT_EQ(removeEntry((folder / "missing").c_str()), std::errc::no_such_file_or_directory);
    EXPECT_TRUE(removeEntry(""));
}

TEST(CopyContent, CopiesEveryByte) {
    const TempFolder folder;
    std::string content(100000, 'x');
    content[50000] = '\0';
    writeFile(folder / "from", content);
    writeFile(folder / "to", content + "and more");
    EXPECT_FALSE(copyContent((folder / "from").c_str(), (folder / "to").c_str()));
    EXPECT_TRUE(support::readFile(folder / "to") == content);
}

TEST(CopyContent, TellsWhyReadingFailed) {
    const TempFolder folder;
#ifdef __linux__
    EXPECT_EQ(copyContent("/proc/self/mem", (folder / "to").c_str()), std::errc::io_error);
#endif
    EXPECT_EQ(copyContent(folder.path().c_str(), (folder / "to").c_str()), std::errc::is_a_directory);
    EXPECT_EQ(copyContent((folder / "missing").c_str(), (folder / "to").c_str()),
              std::errc::no_such_file_or_directory);
}

TEST(CopyContent, TellsWhyWritingFailed) {
    const TempFolder folder;
    writeFile(folder / "from", "content");
#ifdef __linux__
    EXPECT_EQ(copyContent((folder / "from").c_str(), "/dev/full"), std::errc::no_space_on_device);
#endif
    EXPECT_EQ(copyContent((folder / "from").c_str(), folder.path().c_str()), std::errc::is_a_directory);
}

TEST(Files, LeaveNoDescriptorOpen) {
    const TempFolder folder;
    const std::string file = folder / "file";
    const auto before = support::openDescriptors();

    const FolderAttributes attributes = {std::nullopt, std::nullopt, 0755};
    EXPECT_FALSE(createFolders((folder / "a/b").c_str(), &attributes));
    EXPECT_FALSE(writeFileAtomically(file.c_str(), "content"));
    EXPECT_TRUE(writeFileAtomically((folder / "a").c_str(), "content"));
    EXPECT_TRUE(readFile(file.c_str()));
    EXPECT_FALSE(readFile(folder.path().c_str()));
    EXPECT_TRUE(folderEntries(folder.path().c_str()));
    EXPECT_FALSE(folderEntries(file.c_str()));
    EXPECT_FALSE(removeTree((folder / "a").c_str()));

    EXPECT_EQ(support::openDescriptors(), before);
}

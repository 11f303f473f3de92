#include "platform/OpenFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "../../../platform/posix/FileDescriptor.h"
#include "Child.h"
#include "support/Descriptors.h"
#include "support/OtherUsers.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"

using namespace platform;
using support::anna;
using support::makeFolder;
using support::makeLink;
using support::modeOf;
using support::readFile;
using support::TempFolder;
using support::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> treeBelow(const std::string& path, const std::string& prefix = "") {
    OpenFolder folder;
    folder.open(path);
    return folder.tree(prefix);
}

} // namespace

TEST(Tree, IsAllPathsBelowWithAFolderBeforeItsContentAndSiblingsInByteOrder) {
    const TempFolder folder;
    for (const char* name : {"b/inner/leaf", "b/a", "a", "b.txt", "B", "c d", ".hidden"}) {
        writeFile(folder / name, "");
    }
    fs::create_directory(folder / "empty");
    EXPECT_THAT(treeBelow(folder.path()), ElementsAre(".hidden", "B", "a", "b", "b/a", "b/inner",
                                                      "b/inner/leaf", "b.txt", "c d", "empty"));
}

TEST(Tree, OrdersNamesByUnsignedBytes) {
    const TempFolder folder;
    for (const char* name : {"x\xc3\xa9", "xz", "x\xff"}) {
        writeFile(folder / name, "");
    }
    EXPECT_THAT(treeBelow(folder.path()), ElementsAre("xz", "x\xc3\xa9", "x\xff"));
}

TEST(Tree, HoldsLinksButNotWhatTheyLeadTo) {
    const TempFolder folder;
    const TempFolder elsewhere;
    writeFile(elsewhere / "inside", "");
    fs::create_directory_symlink(elsewhere.path(), folder / "link");
    fs::create_symlink("nowhere", folder / "dangling");
    fs::create_directory_symlink(".", folder / "loop");
    EXPECT_THAT(treeBelow(folder.path()), ElementsAre("dangling", "link", "loop"));
}

TEST(Tree, IsNothingForWhatIsNoFolder) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    for (const std::string& path : {folder / "file", folder / "missing"}) {
        EXPECT_THAT(treeBelow(path), IsEmpty()) << path;
    }
}

TEST(Tree, IsNothingInAnEmptyFolder) {
    const TempFolder folder;
    EXPECT_THAT(treeBelow(folder.path()), IsEmpty());
}

TEST(Tree, GoesDownManyLevels) {
    const TempFolder folder;
    std::string path = "0";
    for (int level = 1; level < 100; ++level) {
        path.append("/").append(std::to_string(level));
    }
    fs::create_directories(folder / path);
    const auto entries = treeBelow(folder.path());
    ASSERT_EQ(entries.size(), 100U);
    EXPECT_EQ(entries.back(), path);
}

TEST(Tree, EndsAtAHundredAndTwentyEightLevels) {
    const TempFolder folder;
    std::string path = "0";
    for (int level = 1; level < 200; ++level) {
        path.append("/").append(std::to_string(level));
    }
    fs::create_directories(folder / path);
    EXPECT_EQ(treeBelow(folder.path()).size(), 129U);
}

TEST(Tree, IsNothingIfItsPathsTakeMoreThanSixtyFourMebibytes) {
    const TempFolder folder;
    const std::string longName(250, 'n');
    FileDescriptor deepest(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
    for (int level = 0; level < 120; ++level) {
        ASSERT_EQ(::mkdirat(deepest.get(), longName.c_str(), 0755), 0);
        deepest = FileDescriptor(deepest, longName.c_str(), O_RDONLY | O_DIRECTORY);
    }
    const auto makeFiles = [&deepest](int from, int to) {
        for (int i = from; i < to; ++i) {
            const std::string name = "file" + std::to_string(i);
            ASSERT_TRUE(FileDescriptor(deepest, name.c_str(), O_WRONLY | O_CREAT, 0600).isOpen());
        }
    };
    makeFiles(0, 2000);
    EXPECT_EQ(treeBelow(folder.path()).size(), 2120U) << "some 60 MiB";
    makeFiles(2000, 2300);
    EXPECT_THAT(treeBelow(folder.path()), IsEmpty()) << "some 69 MiB";
    EXPECT_THAT(treeBelow(folder.path(), "other"), IsEmpty());
    writeFile(folder / "other", "");
    EXPECT_THAT(treeBelow(folder.path(), "other"), ElementsAre("other"));
    EXPECT_FALSE(removeTree((folder / longName).c_str()));
}

TEST(Tree, HoldsOnlyWhatBeginsWithThePrefix) {
    const TempFolder folder;
    for (const char* name : {"a", "ab/c", "abc", "b", "x/ab"}) {
        writeFile(folder / name, "");
    }
    EXPECT_THAT(treeBelow(folder.path(), "ab"), ElementsAre("ab", "ab/c", "abc"));
}

TEST(GiveFolder, SetsOwnerGroupAndMode) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it gives a folder to another user";
    }
    const TempFolder folder;
    const support::ScopedUmask umask(077);
    fs::create_directories(folder / "outer/inner");

    EXPECT_FALSE(giveFolder(folder / "outer/inner", 502, 21, 0770, ""));
    EXPECT_FALSE(giveFolder(folder / "outer", 501, 20, 0777, "inner"));
    EXPECT_FALSE(giveFolder(folder / "outer", 501, 20, 0777, "inner")) << "it is his already";
    EXPECT_FALSE(giveFolder(folder / "outer/inner", 502, 21, 0770, "")) << "it is his already";

    EXPECT_EQ(entryInfo((folder / "outer").c_str())->owner, 501u);
    EXPECT_EQ(entryInfo((folder / "outer").c_str())->group, 20u);
    EXPECT_EQ(modeOf(folder / "outer"), 0777u);
    EXPECT_EQ(entryInfo((folder / "outer/inner").c_str())->owner, 502u);
    EXPECT_EQ(modeOf(folder / "outer/inner"), 0770u);
}

TEST(GiveFolder, TakesNoFolderFromAThirdUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes folders of other users";
    }
    const TempFolder folder;
    fs::create_directory(folder / "theirs");
    ASSERT_EQ(::chown((folder / "theirs").c_str(), 503, 503), 0);
    EXPECT_EQ(giveFolder(folder / "theirs", 501, 20, 0777, ""), std::errc::operation_not_permitted);
    EXPECT_EQ(entryInfo((folder / "theirs").c_str())->owner, 503u);
}

TEST(GiveFolder, TakesNoFolderOfItsUserThatHoldsMore) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it gives a folder to another user";
    }
    const TempFolder folder;
    fs::create_directories(folder / "full/inner");
    writeFile(folder / "full/precious", "");
    for (const char* child : {"", "inner", "precious"}) {
        EXPECT_EQ(giveFolder(folder / "full", 501, 20, 0777, child), std::errc::operation_not_permitted);
        EXPECT_EQ(entryInfo((folder / "full").c_str())->owner, 0u);
    }
}

TEST(GiveFolder, OpensNoFolderThatItsOwnerFilled) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes folders of other users";
    }
    const TempFolder folder;
    makeFolder(anna, folder / "annas", 0700);
    writeFile(folder / "annas/letter", "");
    EXPECT_EQ(giveFolder(folder / "annas", anna, anna, 0777, ""), std::errc::operation_not_permitted);
    EXPECT_EQ(modeOf(folder / "annas"), 0700u);
    EXPECT_FALSE(giveFolder(folder / "annas", anna, anna, 0777, "HCD")) << "the outer one may hold more";
    EXPECT_EQ(modeOf(folder / "annas"), 0777u);
}

TEST(GiveFolder, FollowsNoSymlinkOfAnotherUserToRootsFolder) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes symlinks of other users";
    }
    const TempFolder folder;
    fs::create_directory(folder / "precious");
    fs::permissions(folder / "precious", fs::perms::owner_all);
    fs::create_directory_symlink("precious", folder / "link");
    ASSERT_EQ(::lchown((folder / "link").c_str(), 501, 20), 0);
    EXPECT_EQ(giveFolder(folder / "link", 501, 20, 0777, ""), std::errc::too_many_symbolic_link_levels);
    EXPECT_EQ(modeOf(folder / "precious"), 0700u);
    EXPECT_EQ(entryInfo((folder / "precious").c_str())->owner, 0u);
}

TEST(GiveFolder, FailsForWhatIsNoFolder) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    EXPECT_TRUE(giveFolder(folder / "file", ::getuid(), ::getgid(), 0777, ""));
    EXPECT_TRUE(giveFolder(folder / "missing", ::getuid(), ::getgid(), 0777, ""));
    EXPECT_TRUE(giveFolder(folder / "missing/inner", ::getuid(), ::getgid(), 0777, ""));
    EXPECT_TRUE(giveFolder("", ::getuid(), ::getgid(), 0777, ""));
}

TEST(GiveFolder, SetsTheModeAlsoWhenTheOwnerIsRefused) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  fs::create_directory(folder / "own");
                  return giveFolder(folder / "own", ::getuid() + 1, ::getgid(), 0750, "") ? "refused"
                                                                                          : "given";
              }),
              "refused");
    EXPECT_EQ(modeOf(folder / "own"), 0750u);
}

namespace {

class FolderHeldOpen : public testing::Test {
  protected:
    FolderHeldOpen() {
        fs::create_directory(top / "folder");
        EXPECT_FALSE(folder.open(top / "folder"));
    }

    bool isAt(const std::string& path) const { return support::isOn(folder.descriptor().get(), path); }

    TempFolder top;
    OpenFolder folder;
};

} // namespace

TEST_F(FolderHeldOpen, IsNotOpenAtFirst) {
    const OpenFolder none;
    EXPECT_FALSE(none.isOpen());
    EXPECT_FALSE(none.descriptor().isOpen());
    EXPECT_EQ(none.entry("x"), std::nullopt);
    EXPECT_EQ(none.fileHead("x", 10), std::nullopt);
    EXPECT_THAT(none.tree(""), IsEmpty());
    EXPECT_TRUE(none.remove("x"));
    EXPECT_TRUE(none.rename("x", "y"));
    EXPECT_TRUE(none.sync());
}

TEST_F(FolderHeldOpen, WorksWithoutOneInNoFolderAtAll) {
    const support::WorkingFolder working(top.path());
    writeFile(top / "x", "content");
    const OpenFolder none;
    EXPECT_EQ(none.entry("x"), std::nullopt);
    EXPECT_EQ(none.fileHead("x", 10), std::nullopt);
    EXPECT_THAT(none.tree(""), IsEmpty());
    EXPECT_TRUE(none.remove("x"));
    EXPECT_TRUE(fs::exists(top / "x"));
}

TEST_F(FolderHeldOpen, IsNoneForAnEmptyPath) {
    EXPECT_EQ(folder.open(""), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(folder.isOpen());
    EXPECT_TRUE(folder.tree("").empty());
}

TEST_F(FolderHeldOpen, FailsForWhatIsNoFolder) {
    writeFile(top / "file", "");
    EXPECT_EQ(folder.open(top / "file"), std::errc::not_a_directory);
    EXPECT_FALSE(folder.isOpen());
    EXPECT_EQ(folder.open(top / "missing"), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(folder.isOpen());
}

TEST_F(FolderHeldOpen, CanBeClosed) {
    const auto before = support::openDescriptors();
    folder.close();
    EXPECT_FALSE(folder.isOpen());
    EXPECT_EQ(support::openDescriptors(), before - 1);
}

TEST_F(FolderHeldOpen, MovesOn) {
    OpenFolder other(std::move(folder));
    EXPECT_TRUE(other.isOpen());
    folder = std::move(other);
    EXPECT_TRUE(isAt(top / "folder"));
}

TEST_F(FolderHeldOpen, IsNotPassedOnToOtherPrograms) {
    EXPECT_EQ(::fcntl(folder.descriptor().get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(FolderHeldOpen, StaysTheSameWhateverItsPathLeadsTo) {
    fs::rename(top / "folder", top / "moved");
    writeFile(top / "folder/x", "foreign");
    writeFile(top / "moved/x", "own");
    writeFile(top / "moved/sub/leaf", "");
    EXPECT_TRUE(isAt(top / "moved"));
    EXPECT_THAT(folder.tree(""), ElementsAre("sub", "sub/leaf", "x"));
    EXPECT_EQ(folder.entry("x")->size, 3);
    EXPECT_THAT(folder.fileHead("x", 10), Optional(std::string("own")));
    EXPECT_FALSE(folder.rename("x", "y"));
    EXPECT_FALSE(folder.sync());
    EXPECT_FALSE(folder.remove("sub/leaf"));
    EXPECT_FALSE(folder.remove("sub"));
    EXPECT_FALSE(folder.remove("y"));
    EXPECT_TRUE(fs::is_empty(top / "moved"));
    EXPECT_EQ(readFile(top / "folder/x"), "foreign");
}

TEST_F(FolderHeldOpen, TellsOfTheEntryItself) {
    writeFile(top / "folder/file", "12345");
    fs::create_symlink("file", top / "folder/link");
    EXPECT_EQ(folder.entry("file")->size, 5);
    EXPECT_EQ(folder.entry("file")->owner, ::geteuid());
    EXPECT_FALSE(folder.entry("file")->isLink);
    EXPECT_TRUE(folder.entry("link")->isLink);
    EXPECT_EQ(folder.entry("link")->size, 4);
    EXPECT_EQ(folder.entry("missing"), std::nullopt);
}

TEST_F(FolderHeldOpen, GivesTheHeadOfAFile) {
    writeFile(top / "folder/file", "12345");
    EXPECT_THAT(folder.fileHead("file", 3), Optional(std::string("123")));
    EXPECT_THAT(folder.fileHead("file", 5), Optional(std::string("12345")));
    EXPECT_THAT(folder.fileHead("file", 100), Optional(std::string("12345")));
    EXPECT_THAT(folder.fileHead("file", 0), Optional(std::string()));
    writeFile(top / "folder/empty", "");
    EXPECT_THAT(folder.fileHead("empty", 9), Optional(std::string()));
    fs::create_symlink("file", top / "folder/link");
    EXPECT_THAT(folder.fileHead("link", 9), Optional(std::string("12345")));
}

TEST_F(FolderHeldOpen, GivesNoHeadOfAnythingElseAndNeverBlocks) {
    const support::ScopedAlarm deadline(30);
    fs::create_directory(top / "folder/sub");
    ASSERT_EQ(::mkfifo((top / "folder/pipe").c_str(), 0666), 0);
    fs::create_symlink("pipe", top / "folder/link");
    fs::create_symlink("/dev/zero", top / "folder/device");
    for (const char* name : {"sub", "pipe", "link", "device", "missing"}) {
        EXPECT_EQ(folder.fileHead(name, 10), std::nullopt) << name;
    }
}

TEST_F(FolderHeldOpen, RemovesOneEntry) {
    writeFile(top / "folder/sub/file", "");
    fs::create_symlink("sub", top / "folder/link");
    EXPECT_TRUE(folder.remove("sub")) << "it is not empty";
    EXPECT_FALSE(folder.remove("link"));
    EXPECT_FALSE(folder.remove("sub/file"));
    EXPECT_FALSE(folder.remove("sub"));
    EXPECT_EQ(folder.remove("sub"), std::errc::no_such_file_or_directory);
    EXPECT_TRUE(fs::is_empty(top / "folder"));
}

TEST_F(FolderHeldOpen, RemovesNothingBehindASymlink) {
    writeFile(top / "outside/file", "precious");
    fs::create_directory_symlink(top / "outside", top / "folder/link");
    fs::create_directory_symlink("../outside", top / "folder/relative");
    writeFile(top / "folder/sub/inner/file", "");
    fs::remove_all(top / "folder/sub/inner");
    fs::create_directory_symlink(top / "outside", top / "folder/sub/inner");
    for (const char* path : {"link/file", "relative/file", "sub/inner/file"}) {
        EXPECT_TRUE(folder.remove(path)) << path;
    }
    EXPECT_EQ(readFile(top / "outside/file"), "precious");
    EXPECT_THAT(folder.tree(""), ElementsAre("link", "relative", "sub", "sub/inner"));
}

TEST_F(FolderHeldOpen, RenamesAnEntryOverAnother) {
    writeFile(top / "folder/from", "new");
    writeFile(top / "folder/to", "old");
    EXPECT_FALSE(folder.rename("from", "to"));
    EXPECT_EQ(readFile(top / "folder/to"), "new");
    EXPECT_EQ(folder.rename("from", "to"), std::errc::no_such_file_or_directory);
    fs::create_symlink("to", top / "folder/link");
    EXPECT_FALSE(folder.rename("link", "moved"));
    EXPECT_TRUE(fs::is_symlink(top / "folder/moved"));
}

TEST_F(FolderHeldOpen, LeavesNoDescriptorOpen) {
    const auto before = support::openDescriptors();
    writeFile(top / "folder/a/b/c", "x");
    folder.tree("");
    folder.entry("a");
    folder.fileHead("a", 1);
    folder.remove("a/b/missing");
    folder.remove("a/b/c");
    folder.open(top / "missing");
    EXPECT_EQ(support::openDescriptors(), before - 1);
}

namespace {

/// Root's "precious/file" in a folder of root; links in "shared", which is anna's and where
/// everybody can write.
class FolderAmongUsers : public FolderHeldOpen {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "needs root: it makes symlinks of other users";
        }
        fs::permissions(top.path(), fs::perms(0755));
        makeFolder(0, top / "precious", 0755);
        writeFile(top / "precious/file", "secret");
        makeFolder(anna, top / "shared", 0777);
        makeFolder(anna, top / "annas", 0755);
        writeFile(top / "annas/file", "hers");
        support::give(top / "annas/file", anna);
        makeLink(anna, "../precious", top / "shared/bad");
        makeLink(anna, "../annas", top / "shared/good");
        makeLink(anna, "../precious/file", top / "shared/badfile");
        makeLink(anna, "../annas/file", top / "shared/goodfile");
        makeLink(0, "../precious/file", top / "shared/roots");
    }
};

} // namespace

TEST_F(FolderAmongUsers, IsNotOpenedBehindAnUntrustedLink) {
    EXPECT_EQ(folder.open(top / "shared/bad"), std::errc::too_many_symbolic_link_levels);
    EXPECT_FALSE(folder.isOpen());
    EXPECT_FALSE(folder.open(top / "shared/good"));
    EXPECT_TRUE(isAt(top / "annas"));
}

TEST_F(FolderAmongUsers, GivesNoHeadOfAFileBehindAnUntrustedLink) {
    ASSERT_FALSE(folder.open(top / "shared"));
    EXPECT_EQ(folder.fileHead("badfile", 10), std::nullopt);
    EXPECT_EQ(folder.fileHead("roots", 10), std::nullopt);
    EXPECT_THAT(folder.fileHead("goodfile", 10), Optional(std::string("hers")));
}

TEST_F(FolderAmongUsers, HoldsNoFolderMadeBehindAnUntrustedLink) {
    EXPECT_EQ(createFoldersSafely(top / "shared/bad/new/inner"), std::errc::too_many_symbolic_link_levels);
    EXPECT_TRUE(createFoldersSafely(top / "shared/roots/new"));
    EXPECT_FALSE(fs::exists(top / "precious/new"));
    EXPECT_FALSE(createFoldersSafely(top / "shared/good/new/inner"));
    EXPECT_TRUE(fs::is_directory(top / "annas/new/inner"));
    EXPECT_EQ(createFolder((top / "shared/bad/new").c_str(), 0700), std::errc::too_many_symbolic_link_levels);
    EXPECT_FALSE(fs::exists(top / "precious/new"));
}

TEST_F(FolderAmongUsers, TellsOfNoFileBehindAnUntrustedLink) {
    EXPECT_FALSE(isFileSafely(top / "shared/badfile"));
    EXPECT_FALSE(isFileSafely(top / "shared/roots"));
    EXPECT_FALSE(isFileSafely(top / "shared/bad/file"));
    EXPECT_TRUE(isFileSafely(top / "shared/goodfile"));
    EXPECT_TRUE(isFileSafely(top / "shared/good/file"));
}

TEST(IsFileSafely, IsTrueOfWhatIsNoFolder) {
    const support::ScopedAlarm deadline(30);
    const TempFolder top;
    writeFile(top / "file", "");
    fs::create_directory(top / "folder");
    ASSERT_EQ(::mkfifo((top / "pipe").c_str(), 0666), 0);
    fs::create_symlink("file", top / "link");
    fs::create_directory_symlink("folder", top / "folderlink");
    fs::create_symlink("nowhere", top / "dangling");
    for (const char* name : {"file", "pipe", "link"}) {
        EXPECT_TRUE(isFileSafely(top / name)) << name;
    }
    for (const char* name : {"folder", "folderlink", "dangling", "missing", "missing/file", "file/more"}) {
        EXPECT_FALSE(isFileSafely(top / name)) << name;
    }
    EXPECT_FALSE(isFileSafely(""));
}

TEST(IsFileSafely, NeedsNoPermissionToReadTheFile) {
    const TempFolder top;
    writeFile(top / "file", "");
    fs::permissions(top.path(), fs::perms(0755));
    fs::permissions(top / "file", fs::perms::none);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  return isFileSafely(top / "file") ? "file" : "nothing";
              }),
              "file");
}

TEST(CreateFoldersSafely, MakesMissingFoldersLessTheUmask) {
    const TempFolder top;
    const support::ScopedUmask umask(027);
    EXPECT_FALSE(createFoldersSafely(top / "a/b"));
    EXPECT_FALSE(createFoldersSafely(top / "a/b"));
    EXPECT_EQ(modeOf(top / "a"), 0750u);
    EXPECT_EQ(modeOf(top / "a/b"), 0750u);
    writeFile(top / "file", "");
    EXPECT_EQ(createFoldersSafely(top / "file"), std::errc::not_a_directory);
    EXPECT_EQ(createFoldersSafely(top / "file/a"), std::errc::not_a_directory);
}

TEST(CreateFolder, CountsAnythingOfItsNameAsSuccess) {
    const TempFolder top;
    const support::ScopedUmask umask(022);
    EXPECT_FALSE(createFolder((top / "new").c_str(), 0777));
    EXPECT_EQ(modeOf(top / "new"), 0755u);
    EXPECT_FALSE(createFolder((top / "new").c_str(), 0700));
    EXPECT_EQ(modeOf(top / "new"), 0755u) << "it was there already";
    writeFile(top / "file", "content");
    EXPECT_FALSE(createFolder((top / "file").c_str(), 0700));
    fs::create_symlink("nowhere", top / "dangling");
    EXPECT_FALSE(createFolder((top / "dangling").c_str(), 0700));
    EXPECT_FALSE(fs::exists(top / "nowhere"));
    EXPECT_EQ(createFolder((top / "missing/new").c_str(), 0700), std::errc::no_such_file_or_directory);
}

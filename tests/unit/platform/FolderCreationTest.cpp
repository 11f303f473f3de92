#include "platform/Files.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Child.h"
#include "support/TempFolder.h"

using namespace platform;
using support::modeOf;
using support::ScopedUmask;
using support::TempFolder;
using support::writeFile;
namespace fs = std::filesystem;

namespace {

FolderAttributes onlyMode(mode_t mode) { return {std::nullopt, std::nullopt, mode}; }

} // namespace

TEST(CreateFolders, MakesEveryMissingParent) {
    const TempFolder folder;
    EXPECT_FALSE(createFolders((folder / "a/b/c").c_str(), nullptr));
    EXPECT_TRUE(fs::is_directory(folder / "a/b/c"));
}

TEST(CreateFolders, TakesRelativePaths) {
    const TempFolder folder;
    EXPECT_EQ(child::resultOf([&] {
                  fs::current_path(folder.path());
                  return createFolders("a/b", nullptr) ? "failed" : "made";
              }),
              "made");
    EXPECT_TRUE(fs::is_directory(folder / "a/b"));
}

TEST(CreateFolders, GivesEveryNewFolderAllRightsLessTheUmask) {
    for (const mode_t mask : {0u, 022u, 027u, 077u}) {
        const TempFolder folder;
        const ScopedUmask umask(mask);
        EXPECT_FALSE(createFolders((folder / "a/b").c_str(), nullptr));
        EXPECT_EQ(modeOf(folder / "a"), 0777 & ~mask);
        EXPECT_EQ(modeOf(folder / "a/b"), 0777 & ~mask);
    }
}

TEST(CreateFolders, WorksInItsOwnFoldersWhateverTheUmask) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  ::umask(0777);
                  return createFolders((folder / "a/b").c_str(), nullptr).message();
              }),
              std::error_code().message());
    EXPECT_EQ(modeOf(folder / "a"), 0300u);
}

TEST(CreateFolders, GivesTheModeExactlyToEveryFolderItMakes) {
    for (const mode_t mode : {0775u, 0700u, 01777u, 02755u}) {
        const TempFolder folder;
        const ScopedUmask umask(077);
        const FolderAttributes attributes = onlyMode(mode);
        EXPECT_FALSE(createFolders((folder / "a/b/c").c_str(), &attributes));
        EXPECT_EQ(modeOf(folder / "a"), mode);
        EXPECT_EQ(modeOf(folder / "a/b"), mode);
        EXPECT_EQ(modeOf(folder / "a/b/c"), mode);
    }
}

TEST(CreateFolders, GivesTheModeThoughTheUmaskTakesAllRightsAway) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  ::umask(0777);
                  const FolderAttributes attributes = onlyMode(0750);
                  return createFolders((folder / "a/b").c_str(), &attributes).message();
              }),
              std::error_code().message());
    EXPECT_EQ(modeOf(folder / "a"), 0750u);
    EXPECT_EQ(modeOf(folder / "a/b"), 0750u);
}

TEST(CreateFolders, GivesOwnerAndGroupToEveryFolderItMakes) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it gives a folder to another user";
    }
    const TempFolder folder;
    const FolderAttributes attributes = {501, 20, 0775};

    EXPECT_FALSE(createFolders((folder / "a/b").c_str(), &attributes));

    for (const std::string& path : {folder / "a", folder / "a/b"}) {
        const auto info = entryInfo(path.c_str());
        ASSERT_TRUE(info);
        EXPECT_EQ(info->owner, 501u);
        EXPECT_EQ(info->group, 20u);
        EXPECT_EQ(modeOf(path), 0775u);
    }
}

TEST(CreateFolders, MayGiveTheGroupAlone) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it gives a folder to another group";
    }
    const TempFolder folder;
    const FolderAttributes attributes = {std::nullopt, 20, 0775};

    EXPECT_FALSE(createFolders((folder / "a").c_str(), &attributes));

    EXPECT_EQ(entryInfo((folder / "a").c_str())->owner, ::geteuid());
    EXPECT_EQ(entryInfo((folder / "a").c_str())->group, 20u);
}

TEST(CreateFolders, SucceedsThoughTheOwnerIsRefused) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  const FolderAttributes attributes = {0, 0, 0750};
                  return createFolders((folder / "a").c_str(), &attributes).message();
              }),
              std::error_code().message());
    EXPECT_EQ(modeOf(folder / "a"), 0750u);
}

TEST(CreateFolders, LeavesAnExistingFolderAsItIs) {
    const TempFolder folder;
    fs::create_directories(folder / "a/b");
    ASSERT_EQ(::chmod((folder / "a").c_str(), 0711), 0);
    ASSERT_EQ(::chmod((folder / "a/b").c_str(), 0701), 0);
    const FolderAttributes attributes = onlyMode(0775);

    EXPECT_FALSE(createFolders((folder / "a/b").c_str(), &attributes));
    EXPECT_FALSE(createFolders((folder / "a/b/c").c_str(), &attributes));

    EXPECT_EQ(modeOf(folder / "a"), 0711u);
    EXPECT_EQ(modeOf(folder / "a/b"), 0701u);
    EXPECT_EQ(modeOf(folder / "a/b/c"), 0775u);
}

TEST(CreateFolders, TakesALinkToAFolderForTheFolder) {
    const TempFolder folder;
    fs::create_directory(folder / "real");
    ASSERT_EQ(::chmod((folder / "real").c_str(), 0711), 0);
    fs::create_symlink("real", folder / "link");
    const FolderAttributes attributes = onlyMode(0775);

    EXPECT_FALSE(createFolders((folder / "link").c_str(), &attributes));
    EXPECT_FALSE(createFolders((folder / "link/a").c_str(), &attributes));

    EXPECT_TRUE(fs::is_directory(folder / "real/a"));
    EXPECT_EQ(modeOf(folder / "real"), 0711u);
}

TEST(CreateFolders, AcceptsSlashesAtTheEndAndInARow) {
    const TempFolder folder;
    EXPECT_FALSE(createFolders((folder / "a//b///").c_str(), nullptr));
    EXPECT_TRUE(fs::is_directory(folder / "a/b"));
    EXPECT_FALSE(createFolders("/", nullptr));
}

TEST(CreateFolders, AcceptsDotsInThePath) {
    const TempFolder folder;
    EXPECT_FALSE(createFolders((folder / "a/./b/../c/.").c_str(), nullptr));
    EXPECT_TRUE(fs::is_directory(folder / "a/c"));
}

TEST(CreateFolders, FailsWhenAFileIsInTheWay) {
    const TempFolder folder;
    writeFile(folder / "file", "content");

    EXPECT_TRUE(createFolders((folder / "file").c_str(), nullptr));
    EXPECT_TRUE(createFolders((folder / "file/").c_str(), nullptr));
    EXPECT_TRUE(createFolders((folder / "file/a").c_str(), nullptr));

    EXPECT_EQ(support::readFile(folder / "file"), "content");
}

TEST(CreateFolders, FailsAtADanglingLink) {
    const TempFolder folder;
    fs::create_symlink("nowhere", folder / "link");

    EXPECT_TRUE(createFolders((folder / "link").c_str(), nullptr));
    EXPECT_TRUE(createFolders((folder / "link/a").c_str(), nullptr));

    EXPECT_FALSE(fs::exists(folder / "nowhere"));
}

TEST(CreateFolders, FailsForAnEmptyPath) {
    EXPECT_EQ(createFolders("", nullptr), std::errc::no_such_file_or_directory);
}

TEST(CreateFolders, FailsWithoutTheRightToWrite) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    fs::create_directory(folder / "closed");
    fs::permissions(folder / "closed", fs::perms::none);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  return createFolders((folder / "closed/a").c_str(), nullptr) ? "failed" : "made";
              }),
              "failed");
}

TEST(CreateFolders, KeepsTheParentsItMadeBeforeAFailure) {
    const TempFolder folder;
    EXPECT_EQ(createFolders((folder / ("a/" + std::string(256, 'x') + "/b")).c_str(), nullptr),
              std::errc::filename_too_long);
    EXPECT_TRUE(fs::is_directory(folder / "a"));
}

TEST(CreateFolders, DoesNotMindOthersWhoMakeTheSameFolders) {
    const TempFolder folder;
    const auto makeThemAll = [&] {
        for (int i = 0; i < 300; ++i) {
            if (createFolders((folder / (std::to_string(i) + "/a/b/c")).c_str(), nullptr)) {
                ::_exit(1);
            }
        }
        ::_exit(0);
    };
    for (int i = 0; i < 4; ++i) {
        if (::fork() == 0) {
            makeThemAll();
        }
    }
    for (int i = 0; i < 4; ++i) {
        int status = 0;
        ASSERT_GT(::wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
}

TEST(CreateFolder, GivesTheModeLessTheUmask) {
    const TempFolder folder;
    const ScopedUmask umask(027);

    EXPECT_FALSE(createFolder((folder / "a").c_str(), 0777));
    EXPECT_FALSE(createFolder((folder / "b").c_str(), 0700));

    EXPECT_EQ(modeOf(folder / "a"), 0750u);
    EXPECT_EQ(modeOf(folder / "b"), 0700u);
}

TEST(CreateFolder, TakesAnyEntryOfThatNameForASuccess) {
    const TempFolder folder;
    writeFile(folder / "file", "content");
    fs::create_symlink("nowhere", folder / "link");

    EXPECT_FALSE(createFolder((folder / "file").c_str(), 0700));
    EXPECT_FALSE(createFolder((folder / "link").c_str(), 0700));

    EXPECT_EQ(support::readFile(folder / "file"), "content");
    EXPECT_FALSE(fs::exists(folder / "nowhere"));
}

TEST(CreateFolder, LeavesTheModeOfAnExistingFolder) {
    const TempFolder folder;
    fs::create_directory(folder / "a");
    ASSERT_EQ(::chmod((folder / "a").c_str(), 0711), 0);

    EXPECT_FALSE(createFolder((folder / "a").c_str(), 0700));

    EXPECT_EQ(modeOf(folder / "a"), 0711u);
}

TEST(CreateFolder, MakesNoParents) {
    const TempFolder folder;
    EXPECT_EQ(createFolder((folder / "a/b").c_str(), 0700), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fs::exists(folder / "a"));
}

TEST(CreateFolder, FailsForAnEmptyPath) { EXPECT_TRUE(createFolder("", 0700)); }

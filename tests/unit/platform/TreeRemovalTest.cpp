#include "platform/Files.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Child.h"
#include "support/TempFolder.h"

using namespace platform;
using support::TempFolder;
using support::writeFile;
namespace fs = std::filesystem;

TEST(RemoveTree, RemovesAFolderWithEverythingBelow) {
    const TempFolder folder;
    writeFile(folder / "tree/.hidden", "");
    writeFile(folder / "tree/a/b/file", "");
    fs::create_directories(folder / "tree/empty");
    ASSERT_EQ(::mkfifo((folder / "tree/fifo").c_str(), 0600), 0);
    writeFile(folder / "beside", "");

    EXPECT_FALSE(removeTree((folder / "tree").c_str()));

    EXPECT_FALSE(fs::exists(folder / "tree"));
    EXPECT_TRUE(fs::exists(folder / "beside"));
}

TEST(RemoveTree, RemovesASingleFile) {
    const TempFolder folder;
    writeFile(folder / "file", "");

    EXPECT_FALSE(removeTree((folder / "file").c_str()));

    EXPECT_FALSE(fs::exists(folder / "file"));
}

TEST(RemoveTree, RemovesALinkAndKeepsWhatItLeadsTo) {
    const TempFolder folder;
    writeFile(folder / "real/file", "");
    for (const std::string ending : {"", "/", "//"}) {
        fs::create_symlink("real", folder / "link");
        EXPECT_FALSE(removeTree((folder / ("link" + ending)).c_str()));
        EXPECT_FALSE(fs::is_symlink(folder / "link"));
        EXPECT_TRUE(fs::exists(folder / "real/file"));
    }
}

TEST(RemoveTree, RemovesADanglingLink) {
    const TempFolder folder;
    fs::create_symlink("nowhere", folder / "link");

    EXPECT_FALSE(removeTree((folder / "link").c_str()));

    EXPECT_FALSE(fs::is_symlink(folder / "link"));
}

TEST(RemoveTree, FollowsNoLinkInTheTree) {
    const TempFolder folder;
    writeFile(folder / "real/file", "");
    fs::create_directory(folder / "tree");
    fs::create_symlink("../real", folder / "tree/link");
    fs::create_symlink("..", folder / "tree/up");

    EXPECT_FALSE(removeTree((folder / "tree").c_str()));

    EXPECT_FALSE(fs::exists(folder / "tree"));
    EXPECT_TRUE(fs::exists(folder / "real/file"));
}

TEST(RemoveTree, AcceptsATrailingSlash) {
    const TempFolder folder;
    writeFile(folder / "tree/file", "");

    EXPECT_FALSE(removeTree((folder / "tree//").c_str()));

    EXPECT_FALSE(fs::exists(folder / "tree"));
}

TEST(RemoveTree, FailsForNothing) {
    const TempFolder folder;
    EXPECT_EQ(removeTree((folder / "missing").c_str()), std::errc::no_such_file_or_directory);
    EXPECT_TRUE(removeTree((folder / "missing/").c_str()));
    EXPECT_TRUE(removeTree(""));
}

TEST(RemoveTree, FailsForAFileNamedLikeAFolder) {
    const TempFolder folder;
    writeFile(folder / "file", "");

    EXPECT_TRUE(removeTree((folder / "file/").c_str()));

    EXPECT_TRUE(fs::exists(folder / "file"));
}

TEST(RemoveTree, RefusesDotsAndRemovesNothing) {
    const TempFolder folder;
    writeFile(folder / "a/b/file", "");
    for (const std::string path : {".", "..", "./", "..//", "a/.", "a/b/..", "a/b/../"}) {
        EXPECT_EQ(child::resultOf([&] {
                      fs::current_path(folder / "a/b");
                      const std::string whole = path.starts_with('.') ? path : folder / path;
                      return removeTree(whole.c_str()) ? "refused" : "removed";
                  }),
                  "refused")
            << path;
        EXPECT_TRUE(fs::exists(folder / "a/b/file")) << path;
    }
}

TEST(RemoveTree, RefusesTheRoot) {
    const child::Machine machine;
    machine.put("/file", "");
    const auto result = machine.resultOf([] { return removeTree("//") ? "refused" : "removed"; });
    if (!result) {
        GTEST_SKIP() << "needs a user namespace: it changes its root folder";
    }
    EXPECT_EQ(*result, "refused");
    EXPECT_TRUE(fs::exists(machine.outside("/file")));
}

TEST(RemoveTree, FailsAtAFolderThatMayNotBeRead) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  fs::create_directories(folder / "tree/closed");
                  fs::permissions(folder / "tree/closed", fs::perms::none);
                  const std::string error = removeTree((folder / "tree").c_str()) ? "failed" : "removed";
                  return error + (fs::exists(folder / "tree/closed") ? " and kept" : "");
              }),
              "failed and kept");
}

TEST(RemoveTree, FailsAtAFolderThatMayNotBeChanged) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  writeFile(folder / "tree/closed/file", "");
                  fs::permissions(folder / "tree/closed", fs::perms::owner_read | fs::perms::owner_exec);
                  const std::string error = removeTree((folder / "tree").c_str()) ? "failed" : "removed";
                  return error + (fs::exists(folder / "tree/closed/file") ? " and kept" : "");
              }),
              "failed and kept");
}

TEST(RemoveTree, GoesAsDeepAsAPathCan) {
    const TempFolder folder;
    std::string path = folder / "tree";
    while (path.size() < 4000) {
        path += "/folder";
    }
    fs::create_directories(path);

    EXPECT_FALSE(removeTree((folder / "tree").c_str()));

    EXPECT_FALSE(fs::exists(folder / "tree"));
}

TEST(RemoveTree, DoesNotMindOthersWhoRemoveTheSameTree) {
    const TempFolder folder;
    for (int i = 0; i < 2000; ++i) {
        writeFile(folder / ("tree/" + std::to_string(i % 40) + "/" + std::to_string(i)), "");
    }
    const auto removeAndLeave = [&] {
        const std::error_code error = removeTree((folder / "tree").c_str());
        const bool isDone = !fs::exists(folder / "tree");
        ::_exit(isDone && (!error || error == std::errc::no_such_file_or_directory) ? 0 : 1);
    };
    for (int i = 0; i < 3; ++i) {
        if (::fork() == 0) {
            removeAndLeave();
        }
    }
    for (int i = 0; i < 3; ++i) {
        int status = 0;
        ASSERT_GT(::wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
}

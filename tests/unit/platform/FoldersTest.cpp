#include "platform/Folders.h"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Child.h"
#include "platform/Users.h"

using namespace platform;
using child::Machine;
using support::modeOf;
namespace fs = std::filesystem;

namespace {

/// A standard folder on an empty machine, asked for with that home and the strictest umask but one. The home
/// is both on record and in HOME: hosts differ in which of the two counts.
std::optional<std::string> folderThere(const Machine& machine, FolderDomain domain, FolderKind kind,
                                       const std::string& home = "/home/ann") {
    machine.put("/etc/passwd", "root:x:0:0:root:" + home + ":/bin/sh\n");
    return machine.resultOf([=] {
        ::umask(077);
        ::setenv("HOME", home.c_str(), 1);
        return standardFolder(domain, kind).value_or("nothing");
    });
}

class StandardFolder : public testing::Test {
  protected:
    void SetUp() override {
        if (!machine.resultOf([] { return "works"; })) {
            GTEST_SKIP() << "needs a user namespace: it changes its root folder";
        }
    }

    std::optional<std::string> local(FolderKind kind) const {
        return folderThere(machine, FolderDomain::Local, kind);
    }
    std::optional<std::string> ofUser(FolderKind kind) const {
        return folderThere(machine, FolderDomain::User, kind);
    }
    mode_t modeThere(const std::string& path) const { return modeOf(machine.outside(path)); }

    Machine machine;
};

} // namespace

TEST_F(StandardFolder, LocalFoldersAreAtTheirUsualPlaces) {
    EXPECT_EQ(local(FolderKind::Applications), "/Applications");
    EXPECT_EQ(local(FolderKind::Utilities), "/Applications/Utilities");
    EXPECT_EQ(local(FolderKind::ApplicationSupport), "/Library/Application Support");
    EXPECT_EQ(local(FolderKind::Preferences), "/Library/Preferences");
    EXPECT_EQ(local(FolderKind::SharedUserData), "/Users/Shared");
}

TEST_F(StandardFolder, LocalFoldersAreMadeForEverybodyToRead) {
    for (const FolderKind kind :
         {FolderKind::Utilities, FolderKind::ApplicationSupport, FolderKind::Preferences}) {
        local(kind);
    }
    for (const std::string path : {"/Applications", "/Applications/Utilities", "/Library",
                                   "/Library/Application Support", "/Library/Preferences"}) {
        EXPECT_TRUE(fs::is_directory(machine.outside(path))) << path;
        EXPECT_EQ(modeThere(path), 0755u) << path;
    }
}

TEST_F(StandardFolder, TheSharedFolderIsMadeForEverybodyToWrite) {
    local(FolderKind::SharedUserData);
    EXPECT_EQ(modeThere("/Users/Shared"), 01777u);
    EXPECT_EQ(modeThere("/Users"), 0755u);
}

TEST_F(StandardFolder, UserFoldersAreBelowTheHomeFolder) {
    EXPECT_EQ(ofUser(FolderKind::Documents), "/home/ann/Documents");
    EXPECT_EQ(ofUser(FolderKind::ApplicationSupport), "/home/ann/Library/Application Support");
    EXPECT_EQ(ofUser(FolderKind::DomainRoot), "/home/ann");
}

TEST_F(StandardFolder, UserFoldersAreMadeForTheUserAlone) {
    ofUser(FolderKind::Documents);
    ofUser(FolderKind::ApplicationSupport);
    for (const std::string path :
         {"/home/ann/Documents", "/home/ann/Library", "/home/ann/Library/Application Support"}) {
        EXPECT_TRUE(fs::is_directory(machine.outside(path))) << path;
        EXPECT_EQ(modeThere(path), 0700u) << path;
    }
}

TEST_F(StandardFolder, ExistingFoldersStayAsTheyAre) {
    machine.put("/Library/Application Support/file", "");
    machine.put("/home/ann/file", "");
    ASSERT_EQ(::chmod(machine.outside("/Library/Application Support").c_str(), 0711), 0);
    ASSERT_EQ(::chmod(machine.outside("/home/ann").c_str(), 0711), 0);

    EXPECT_EQ(local(FolderKind::ApplicationSupport), "/Library/Application Support");
    EXPECT_EQ(ofUser(FolderKind::DomainRoot), "/home/ann");
    EXPECT_EQ(ofUser(FolderKind::Documents), "/home/ann/Documents");

    EXPECT_EQ(modeThere("/Library/Application Support"), 0711u);
    EXPECT_EQ(modeThere("/home/ann"), 0711u);
}

TEST_F(StandardFolder, AMissingHomeFolderIsMade) {
    EXPECT_EQ(ofUser(FolderKind::DomainRoot), "/home/ann");
    EXPECT_EQ(modeThere("/home/ann"), 0700u);
}

TEST_F(StandardFolder, TheRootMayBeAHomeFolder) {
    EXPECT_EQ(folderThere(machine, FolderDomain::User, FolderKind::Documents, "/"), "/Documents");
    EXPECT_EQ(folderThere(machine, FolderDomain::User, FolderKind::DomainRoot, "/"), "/");
}

TEST_F(StandardFolder, ADomainLacksSomeFolders) {
    EXPECT_EQ(local(FolderKind::Documents), "nothing");
    EXPECT_EQ(local(FolderKind::DomainRoot), "nothing");
    for (const FolderKind kind : {FolderKind::Applications, FolderKind::Preferences,
                                  FolderKind::SharedUserData, FolderKind::Utilities}) {
        EXPECT_EQ(ofUser(kind), "nothing");
    }
    fs::remove_all(machine.outside("/etc"));
    EXPECT_TRUE(fs::is_empty(machine.outside("/")));
}

TEST_F(StandardFolder, IsNothingWhenItCannotBeMade) {
    machine.put("/Library", "a file");
    machine.put("/home/ann/Documents", "a file");

    EXPECT_EQ(local(FolderKind::ApplicationSupport), "nothing");
    EXPECT_EQ(ofUser(FolderKind::Documents), "nothing");
}

TEST_F(StandardFolder, IsNothingForAUserWithoutAHome) {
    EXPECT_EQ(folderThere(machine, FolderDomain::User, FolderKind::Documents, ""), "nothing");
    EXPECT_EQ(folderThere(machine, FolderDomain::User, FolderKind::DomainRoot, ""), "nothing");
}

TEST_F(StandardFolder, BelongsToTheEffectiveUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it acts as another user";
    }
    machine.put("/etc/passwd", "ann:x:501:20:Ann:/home/ann:/bin/sh\n");
    fs::create_directories(machine.outside("/home/ann"));
    ASSERT_EQ(::chown(machine.outside("/home/ann").c_str(), 501, 20), 0);
    EXPECT_EQ(machine.resultOf([] {
        const EffectiveUserSwitch acting(501);
        return standardFolder(FolderDomain::User, FolderKind::ApplicationSupport).value_or("nothing");
    }),
              "/home/ann/Library/Application Support");
    struct stat info = {};
    ASSERT_EQ(::stat(machine.outside("/home/ann/Library/Application Support").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 501u);
}

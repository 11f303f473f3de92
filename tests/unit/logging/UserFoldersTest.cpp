#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include "support/InChild.h"
#include "support/LogHome.h"
#include "support/OtherUsers.h"
#include <elmu/logging/UserFolders.h>

namespace {

namespace fs = std::filesystem;

using platform::FolderDomain;
using platform::FolderKind;
using scripted::host;
using support::LogHome;
using support::modeOf;
using support::ScopedUmask;
using support::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

std::string tempPath() {
    std::string folder = "earlier";
    return elmu::getTempPath(folder) ? folder : "<failed>" + folder;
}

std::string userFolder() {
    std::string home = "earlier";
    return elmu::getUserFolder(home) ? home : "<failed>" + home;
}

/// A tool run by root while user 501 is logged in.
void runAsRootForUser501() {
    host().effectiveUser = 0;
    host().consoleUser = platform::ConsoleUser{"anna", 501, 20};
    host().homes = {{0, "/root-home"}, {501, "/anna-home"}};
}

TEST(GetUserFolderPath, IsTheHomeOfTheEffectiveUser) {
    const LogHome home;
    runAsRootForUser501();
    std::string path = "earlier";
    EXPECT_TRUE(elmu::getUserFolderPath(path));
    EXPECT_EQ(path, "/root-home");
}

TEST(GetUserFolderPath, IsTrueWithItsOutputUntouchedWhenThereIsNoHome) {
    const LogHome home;
    host().folders[{FolderDomain::User, FolderKind::DomainRoot}] = std::nullopt;
    std::string path = "earlier";
    EXPECT_TRUE(elmu::getUserFolderPath(path));
    EXPECT_EQ(path, "earlier");
}

TEST(GetUserFolderPath, HasRoomFor1023Bytes) {
    const LogHome home;
    const std::string longest = "/" + std::string(1022, 'h');
    std::string path = "earlier";
    host().folders[{FolderDomain::User, FolderKind::DomainRoot}] = longest;
    EXPECT_TRUE(elmu::getUserFolderPath(path));
    EXPECT_EQ(path, longest);
}

TEST(GetUserFolderPath, IsTrueWithItsOutputUntouchedForALongerHome) {
    const LogHome home;
    host().folders[{FolderDomain::User, FolderKind::DomainRoot}] = "/" + std::string(1023, 'h');
    std::string path = "earlier";
    EXPECT_TRUE(elmu::getUserFolderPath(path));
    EXPECT_EQ(path, "earlier");
}

TEST(GetUserFolder, IsTheHomeOfTheConsoleUser) {
    const LogHome home;
    runAsRootForUser501();
    EXPECT_EQ(userFolder(), "/anna-home");
}

TEST(GetUserFolder, ActsAsTheConsoleUserDuringTheLookupOnly) {
    const LogHome home;
    runAsRootForUser501();
    userFolder();
    EXPECT_THAT(host().lookupUsers, ElementsAre(501U));
    EXPECT_THAT(host().userSwitches, ElementsAre(501U, 0U));
    EXPECT_EQ(host().effectiveUser, 0U);
}

TEST(GetUserFolder, SwitchesNobodyWhenTheProcessIsTheConsoleUser) {
    const LogHome home;
    runAsRootForUser501();
    host().effectiveUser = 501;
    EXPECT_EQ(userFolder(), "/anna-home");
    EXPECT_THAT(host().userSwitches, IsEmpty());
}

TEST(GetUserFolder, IsTheHomeOfTheEffectiveUserWithoutAConsoleUser) {
    const LogHome home;
    runAsRootForUser501();
    host().consoleUser.reset();
    EXPECT_EQ(userFolder(), "/root-home");
    EXPECT_THAT(host().userSwitches, IsEmpty());
}

TEST(GetUserFolder, FailsWhenTheSwitchIsRefused) {
    const LogHome home;
    runAsRootForUser501();
    host().refusesUserSwitch = true;
    EXPECT_EQ(userFolder(), "<failed>earlier");
    EXPECT_THAT(host().lookupUsers, IsEmpty());
    EXPECT_EQ(host().effectiveUser, 0U);
}

TEST(GetTempPath, IsLibraryLogsInTheHomeFolder) {
    const LogHome home;
    EXPECT_EQ(tempPath(), home / "Library/Logs");
}

TEST(GetTempPath, IsInTheHomeOfTheConsoleUser) {
    const LogHome home;
    runAsRootForUser501();
    fs::create_directory(home / "anna");
    host().homes[501] = home / "anna";
    EXPECT_EQ(tempPath(), home / "anna/Library/Logs");
}

TEST(GetTempPath, MakesBothFoldersForTheirOwnerOnly) {
    const LogHome home;
    const ScopedUmask umask(0);
    tempPath();
    EXPECT_EQ(modeOf(home / "Library"), 0700U);
    EXPECT_EQ(modeOf(home / "Library/Logs"), 0700U);
}

TEST(GetTempPath, MakesLogsInAnExistingLibrary) {
    const LogHome home;
    fs::create_directory(home / "Library");
    ASSERT_EQ(::chmod((home / "Library").c_str(), 0755), 0);
    EXPECT_EQ(tempPath(), home / "Library/Logs");
    EXPECT_EQ(modeOf(home / "Library"), 0755U);
    EXPECT_EQ(modeOf(home / "Library/Logs"), 0700U);
}

TEST(GetTempPath, KeepsTheModeOfExistingFolders) {
    const LogHome home;
    fs::create_directories(home / "Library/Logs");
    ASSERT_EQ(::chmod((home / "Library").c_str(), 0755), 0);
    ASSERT_EQ(::chmod((home / "Library/Logs").c_str(), 0770), 0);
    EXPECT_EQ(tempPath(), home / "Library/Logs");
    EXPECT_EQ(modeOf(home / "Library"), 0755U);
    EXPECT_EQ(modeOf(home / "Library/Logs"), 0770U);
}

TEST(GetTempPath, IsTheSameAtEveryCall) {
    const LogHome home;
    EXPECT_EQ(tempPath(), tempPath());
}

TEST(GetTempPath, FailsWhenLibraryIsAFile) {
    const LogHome home;
    writeFile(home / "Library", "");
    EXPECT_EQ(tempPath(), "<failed>earlier");
}

TEST(GetTempPath, DoesNotLookAtWhatIsAlreadyCalledLogs) {
    const LogHome home;
    writeFile(home / "Library/Logs", "");
    EXPECT_EQ(tempPath(), home / "Library/Logs");
}

TEST(GetTempPath, MakesNothingBehindASymlinkThatAnotherUserPutThere) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes symlinks of other users";
    }
    const LogHome home;
    support::makeFolder(0, home / "precious", 0755);
    support::makeLink(support::anna, "precious", home / "Library");
    EXPECT_EQ(tempPath(), home / "Library/Logs") << "the log does not go elsewhere instead";
    EXPECT_TRUE(fs::is_empty(home / "precious"));
}

TEST(GetTempPath, LeadsThroughAUsersSymlinkToHisOwnFolder) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes symlinks of other users";
    }
    const LogHome home;
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0) << "she can go there herself";
    support::makeFolder(support::anna, home / "own", 0755);
    support::makeLink(support::anna, "own", home / "Library");
    EXPECT_EQ(tempPath(), home / "Library/Logs");
    EXPECT_EQ(modeOf(home / "own/Logs"), 0700U);
}

TEST(GetTempPath, FailsWhenTheHomeFolderIsMissing) {
    const LogHome home;
    host().homeFolder = home / "missing";
    EXPECT_EQ(tempPath(), "<failed>earlier");
    EXPECT_FALSE(fs::exists(home / "missing"));
}

TEST(GetTempPath, FailsWhenTheUserFolderFails) {
    const LogHome home;
    host().consoleUser = platform::ConsoleUser{"anna", 501, 20};
    host().refusesUserSwitch = true;
    EXPECT_EQ(tempPath(), "<failed>earlier");
    EXPECT_FALSE(fs::exists(home / "Library"));
}

TEST(GetTempPath, FailsWhenThereIsNoHome) {
    const LogHome home;
    host().folders[{FolderDomain::User, FolderKind::DomainRoot}] = std::nullopt;
    EXPECT_EQ(tempPath(), "<failed>earlier");
}

TEST(GetTempPath, FailsWithoutPermission) {
    const LogHome home;
    ASSERT_EQ(::chmod(home.path().c_str(), 0555), 0);
    support::asOrdinaryUser([] { EXPECT_EQ(tempPath(), "<failed>earlier"); });
}

} // namespace

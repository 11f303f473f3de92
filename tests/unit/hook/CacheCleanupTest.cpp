#include "hook/CacheCleanup.h"

#include <string>

#include <gtest/gtest.h>

#include "support/HookMachine.h"
#include "support/InChild.h"
#include "support/ReportReceivers.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"

namespace fs = std::filesystem;

using support::HookLogger;
using support::HookMachine;
using support::Lines;
using support::readFile;
using support::Receiver;
using support::ReportReceivers;
using support::WorkingFolder;
using support::writeFile;

namespace {

class CacheCleanup : public testing::Test {
  protected:
    bool present(const std::string& path) const {
        return fs::symlink_status(path).type() != fs::file_type::not_found;
    }

    HookMachine machine;
    HookLogger logger;
};

} // namespace

TEST_F(CacheCleanup, SucceedsWithoutACache) {
    fs::create_directories(machine.installFolder);
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_TRUE(fs::is_directory(machine.installFolder));
}

TEST_F(CacheCleanup, SucceedsWithoutAnInstallFolderAndMakesNone) {
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_FALSE(present(machine.installFolder));
}

TEST_F(CacheCleanup, RemovesTheCacheWithEverythingInIt) {
    writeFile(machine.cacheFolder + "/a/b/c/deep", "content");
    writeFile(machine.cacheFolder + "/.hidden", "content");
    fs::create_directories(machine.cacheFolder + "/empty");
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_FALSE(present(machine.cacheFolder));
}

TEST_F(CacheCleanup, RemovesAnEmptyCache) {
    fs::create_directories(machine.cacheFolder);
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_FALSE(present(machine.cacheFolder));
}

TEST_F(CacheCleanup, RemovesAFileInThePlaceOfTheCache) {
    writeFile(machine.cacheFolder, "content");
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_FALSE(present(machine.cacheFolder));
}

TEST_F(CacheCleanup, RemovesALinkButNothingBehindIt) {
    writeFile(machine / "elsewhere/file", "content");
    fs::create_directories(machine.installFolder);
    fs::create_directory_symlink(machine / "elsewhere", machine.cacheFolder);
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_FALSE(present(machine.cacheFolder));
    EXPECT_EQ(readFile(machine / "elsewhere/file"), "content");
}

TEST_F(CacheCleanup, RemovesNothingBehindLinksInTheCache) {
    writeFile(machine / "elsewhere/file", "content");
    fs::create_directories(machine.cacheFolder);
    fs::create_directory_symlink(machine / "elsewhere", machine.cacheFolder + "/link");
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_FALSE(present(machine.cacheFolder));
    EXPECT_EQ(readFile(machine / "elsewhere/file"), "content");
}

TEST_F(CacheCleanup, TakesADanglingLinkForNoCache) {
    fs::create_directories(machine.installFolder);
    fs::create_symlink(machine / "nowhere", machine.cacheFolder);
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_TRUE(present(machine.cacheFolder));
}

TEST_F(CacheCleanup, LeavesTheApplicationAlone) {
    writeFile(machine.installFolder + "/HCD/Halcyra.app/Contents/Info.plist", "list");
    writeFile(machine.installFolder + "/CEF2/file", "content");
    writeFile(machine.installFolder + "/cef/file", "content");
    writeFile(machine.cacheFolder + "/file", "content");
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_EQ(readFile(machine.installFolder + "/HCD/Halcyra.app/Contents/Info.plist"), "list");
    EXPECT_EQ(readFile(machine.installFolder + "/CEF2/file"), "content");
    EXPECT_EQ(readFile(machine.installFolder + "/cef/file"), "content");
}

TEST_F(CacheCleanup, SucceedsTheSecondTime) {
    writeFile(machine.cacheFolder + "/file", "content");
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_TRUE(deleteCEFFolder(&logger));
}

TEST_F(CacheCleanup, SucceedsWhereTheUserMayNotDelete) {
    writeFile(machine.cacheFolder + "/locked/file", "content");
    fs::permissions(machine.path(), fs::perms(0755));
    fs::permissions(machine.cacheFolder + "/locked", fs::perms(0555));
    support::asOrdinaryUser([this] {
        EXPECT_TRUE(deleteCEFFolder(&logger));
        EXPECT_TRUE(logger.lines().empty());
    });
    EXPECT_EQ(readFile(machine.cacheFolder + "/locked/file"), "content");
}

TEST_F(CacheCleanup, RemovesCefInTheWorkingFolderWhenTheUtilitiesFolderIsNotFound) {
    HookMachine::loseStandardFolders();
    writeFile(machine / "work/CEF/a/file", "content");
    writeFile(machine / "work/other", "content");
    WorkingFolder inside(machine / "work");
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_FALSE(present(machine / "work/CEF"));
    EXPECT_EQ(readFile(machine / "work/other"), "content");
}

TEST_F(CacheCleanup, SucceedsWithNothingInTheWorkingFolderWhenTheUtilitiesFolderIsNotFound) {
    HookMachine::loseStandardFolders();
    WorkingFolder inside(machine.path());
    EXPECT_TRUE(deleteCEFFolder(&logger));
}

TEST_F(CacheCleanup, SparesTheWorkingFolderWhenTheUtilitiesFolderIsFound) {
    writeFile(machine / "work/CEF/file", "content");
    WorkingFolder inside(machine / "work");
    EXPECT_TRUE(deleteCEFFolder(&logger));
    EXPECT_EQ(readFile(machine / "work/CEF/file"), "content");
}

TEST_F(CacheCleanup, TellsItsLoggerNothing) {
    writeFile(machine.cacheFolder + "/file", "content");
    deleteCEFFolder(&logger);
    deleteCEFFolder(&logger);
    EXPECT_TRUE(logger.lines().empty());
}

TEST_F(CacheCleanup, NeedsNoLogger) {
    writeFile(machine.cacheFolder + "/file", "content");
    EXPECT_TRUE(deleteCEFFolder(nullptr));
    EXPECT_FALSE(present(machine.cacheFolder));
}

TEST_F(CacheCleanup, TellsTheProcessWideReceiversOfARemoval) {
    ReportReceivers receivers(Receiver::ProcessWideLogger);
    writeFile(machine.cacheFolder + "/file", "content");
    deleteCEFFolder(&logger);
    EXPECT_EQ(receivers.lines("FileUtils"),
              (Lines{{elmu::INFO, "Successfully deleted directory from path: " + machine.cacheFolder +
                                      ". Recursive: 1"}}));
}

TEST_F(CacheCleanup, TellsTheProcessWideReceiversNothingWithoutACache) {
    ReportReceivers receivers(Receiver::ProcessWideFunction);
    deleteCEFFolder(&logger);
    EXPECT_TRUE(receivers.records().empty());
}

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/LogHome.h"
#include "support/RecordingTarget.h"

namespace {

namespace fs = std::filesystem;

using support::LogHome;
using support::RecordingTarget;
using support::writeFile;

class LevelMarkers : public testing::Test {
  protected:
    void mark(const std::string& name) { writeFile(home.inLogs(name), ""); }
    void makeFolder(const std::string& name) { fs::create_directories(home.inLogs(name)); }

    elmu::Log_Level levelFor(elmu::Log_Level level) {
        target.setLogLevel(level);
        EXPECT_EQ(target.getLogLevel(), target.logLevel);
        return target.getLogLevel();
    }

    static elmu::Log_Level number(int level) { return static_cast<elmu::Log_Level>(level); }

    LogHome home;
    RecordingTarget target{"markers"};
};

TEST_F(LevelMarkers, LeaveTheLevelAloneWhenThereAreNone) {
    for (const int level : {0, 10, 20, 30, 40, 50, 60, 70, 35, -1}) {
        EXPECT_EQ(levelFor(number(level)), level);
    }
}

TEST_F(LevelMarkers, AreLookedForWhenATargetIsMade) {
    mark("ELMU.trace");
    EXPECT_EQ(RecordingTarget("new").getLogLevel(), elmu::TRACE);
}

TEST_F(LevelMarkers, AreLookedForAnewAtEveryCall) {
    mark("ELMU.trace");
    EXPECT_EQ(levelFor(elmu::FATAL), elmu::TRACE);
    fs::remove(home.inLogs("ELMU.trace"));
    EXPECT_EQ(levelFor(elmu::FATAL), elmu::FATAL);
}

TEST_F(LevelMarkers, OwnTraceForcesTrace) {
    mark("ELMU.trace");
    for (const int level : {0, 10, 20, 30, 60, 70}) {
        EXPECT_EQ(levelFor(number(level)), elmu::TRACE) << level;
    }
}

TEST_F(LevelMarkers, OwnDebugLowersALevelAboveDebug) {
    mark("ELMU.debug");
    for (const int level : {21, 30, 40, 60, 70}) {
        EXPECT_EQ(levelFor(number(level)), elmu::DEBUG) << level;
    }
}

TEST_F(LevelMarkers, OwnDebugKeepsALevelUpToDebug) {
    mark("ELMU.debug");
    for (const int level : {0, 10, 15, 20}) {
        EXPECT_EQ(levelFor(number(level)), level);
    }
}

TEST_F(LevelMarkers, SharedTraceForcesTrace) {
    mark("ruk.trace");
    for (const int level : {0, 10, 20, 30, 60, 70}) {
        EXPECT_EQ(levelFor(number(level)), elmu::TRACE) << level;
    }
}

TEST_F(LevelMarkers, SharedDebugLowersALevelAboveDebug) {
    mark("ruk.debug");
    for (const int level : {21, 30, 70}) {
        EXPECT_EQ(levelFor(number(level)), elmu::DEBUG) << level;
    }
}

TEST_F(LevelMarkers, SharedDebugKeepsALevelUpToDebug) {
    mark("ruk.debug");
    for (const int level : {0, 10, 20}) {
        EXPECT_EQ(levelFor(number(level)), level);
    }
}

TEST_F(LevelMarkers, OwnTraceComesBeforeOwnDebug) {
    mark("ELMU.trace");
    mark("ELMU.debug");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::TRACE);
}

TEST_F(LevelMarkers, OwnDebugComesBeforeSharedTrace) {
    mark("ELMU.debug");
    mark("ruk.trace");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::DEBUG);
}

TEST_F(LevelMarkers, OwnDebugShutsOutTheSharedOnesEvenWhereItLowersNothing) {
    mark("ELMU.debug");
    mark("ruk.trace");
    EXPECT_EQ(levelFor(elmu::DEBUG), elmu::DEBUG);
    EXPECT_EQ(levelFor(number(15)), 15);
}

TEST_F(LevelMarkers, SharedTraceComesBeforeSharedDebug) {
    mark("ruk.trace");
    mark("ruk.debug");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::TRACE);
}

TEST_F(LevelMarkers, CountAsAbsentWhenTheyAreFolders) {
    for (const char* name : {"ELMU.trace", "ELMU.debug", "ruk.trace", "ruk.debug"}) {
        makeFolder(name);
        EXPECT_EQ(levelFor(elmu::INFO), elmu::INFO) << name;
    }
}

TEST_F(LevelMarkers, FollowLinks) {
    writeFile(home / "elsewhere", "");
    makeFolder("");
    fs::create_symlink(home / "elsewhere", home.inLogs("ELMU.debug"));
    EXPECT_EQ(levelFor(elmu::INFO), elmu::DEBUG);
}

TEST_F(LevelMarkers, CountAsAbsentWhenTheyAreLinksToNothing) {
    makeFolder("");
    fs::create_symlink(home / "missing", home.inLogs("ELMU.debug"));
    EXPECT_EQ(levelFor(elmu::INFO), elmu::INFO);
}

TEST_F(LevelMarkers, OfOtherNamesCountForNothing) {
    mark("HCD.trace");
    mark("elmu.trace.log");
    mark("ELMU.log.trace");
    mark("ruk");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::INFO);
}

TEST_F(LevelMarkers, OutsideTheFolderOfLogsCountForNothing) {
    writeFile(home / "ELMU.trace", "");
    writeFile(home.inDefaultFolder("ELMU.trace"), "");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::INFO);
}

TEST_F(LevelMarkers, BearTheNameOfTheLogAtTheTimeOfTheCall) {
    mark("HCD.debug");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::INFO);
    ASSERT_TRUE(target.setLogFile("HCD.log", home.path().c_str()));
    EXPECT_EQ(target.getLogLevel(), elmu::INFO) << "a new name alone changes no level";
    EXPECT_EQ(levelFor(elmu::INFO), elmu::DEBUG);
}

TEST_F(LevelMarkers, BearTheBaseNameOnlyUpToItsExtension) {
    target.logFileName = "tool.old.log";
    mark("tool.old.debug");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::DEBUG);
}

TEST_F(LevelMarkers, BearTheWholeNameOfALogWithoutExtension) {
    target.logFileName = ".tool";
    mark(".tool.debug");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::DEBUG);
}

TEST_F(LevelMarkers, AreNotLookedForWhenTheLogsNameTakesNoExtension) {
    mark("ruk.trace");
    for (const char* name : {"", "/"}) {
        target.logFileName = name;
        EXPECT_EQ(levelFor(elmu::INFO), elmu::INFO) << name;
    }
}

TEST_F(LevelMarkers, AreLookedForInTheConsoleUsersHome) {
    fs::create_directory(home / "anna");
    scripted::host().consoleUser = platform::ConsoleUser{"anna", 501, 20};
    scripted::host().homes[501] = home / "anna";
    writeFile(home / "anna/Library/Logs/ELMU.debug", "");
    EXPECT_EQ(levelFor(elmu::INFO), elmu::DEBUG);
}

TEST(LevelMarkersWithoutAFolder, LeaveTheLevelAlone) {
    const LogHome home;
    home.blockLogs();
    RecordingTarget target("markers");
    EXPECT_EQ(target.getLogLevel(), elmu::INFO);
    target.setLogLevel(elmu::FATAL);
    EXPECT_EQ(target.getLogLevel(), elmu::FATAL);
}

} // namespace

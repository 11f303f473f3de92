#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "support/InChild.h"
#include "support/LogHome.h"
#include "support/OtherUsers.h"
#include "support/RecordingTarget.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/LoggingCore.h>

namespace {

namespace fs = std::filesystem;

using elmu::LoggingCore;
using elmu::LogTargetDefault;
using support::LogHome;
using support::modeOf;
using support::readFile;
using support::RecordingTarget;
using support::ScopedUmask;
using support::writeFile;
using testing::ElementsAre;
using testing::EndsWith;

class SetLogFile : public testing::Test {
  protected:
    ~SetLogFile() override { LoggingCore::getInstance()->unregisterTarget(&target); }

    /// A console user of this test's own: with another id where this process may give files away.
    static platform::ConsoleUser somebody() {
        return ::geteuid() == 0 ? platform::ConsoleUser{"anna", 12345, 23456}
                                : platform::ConsoleUser{"anna", ::geteuid(), ::getegid()};
    }

    void expectGivenTo(const platform::ConsoleUser& user, const std::string& path) {
        struct stat info = {};
        ASSERT_EQ(::stat(path.c_str(), &info), 0) << path;
        EXPECT_EQ(info.st_uid, user.uid) << path;
        EXPECT_EQ(info.st_gid, user.gid) << path;
        EXPECT_EQ(info.st_mode & 07777, 0777U) << path;
    }

    void writeRecord(const char* message) {
        LoggingCore::getInstance()->log("set-log-file", elmu::FATAL, "", "", "", "", "", "", message, nullptr,
                                        0);
    }

    bool inHome(const char* name) { return target.setLogFile(name, home.path().c_str()); }

    LogHome home;
    LogTargetDefault target{"set-log-file"};
};

TEST_F(SetLogFile, TakesNameAndFolderAsGiven) {
    EXPECT_TRUE(inHome("HCD.log"));
    EXPECT_EQ(target.logFilePath, home / "HCD.log");
    EXPECT_EQ(target.logFileName, "HCD.log");
    EXPECT_TRUE(target.logFileValid);
}

TEST_F(SetLogFile, JoinsFolderAndNameWithOneSlash) {
    EXPECT_TRUE(target.setLogFile("HCD.log", (home.path() + "/").c_str()));
    EXPECT_EQ(target.logFilePath, home / "HCD.log");
}

TEST_F(SetLogFile, CreatesTheFileAndLeavesItClosed) {
    inHome("HCD.log");
    EXPECT_EQ(readFile(home / "HCD.log"), "");
    EXPECT_FALSE(target.stream.is_open());
    EXPECT_FALSE(target.streamAttached);
}

TEST_F(SetLogFile, LetsEveryUserWriteToTheNewFile) {
    const ScopedUmask umask(077);
    inHome("HCD.log");
    EXPECT_EQ(modeOf(home / "HCD.log"), 0666U);
}

TEST_F(SetLogFile, KeepsContentAndModeOfAnExistingFile) {
    writeFile(home / "HCD.log", "earlier\n");
    ASSERT_EQ(::chmod((home / "HCD.log").c_str(), 0640), 0);
    EXPECT_TRUE(inHome("HCD.log"));
    EXPECT_EQ(readFile(home / "HCD.log"), "earlier\n");
    EXPECT_EQ(modeOf(home / "HCD.log"), 0640U);
}

TEST_F(SetLogFile, MakesNoFolderThatWasGiven) {
    EXPECT_FALSE(target.setLogFile("HCD.log", (home / "missing").c_str()));
    EXPECT_FALSE(target.logFileValid);
    EXPECT_FALSE(fs::exists(home / "missing"));
}

TEST_F(SetLogFile, FailsWhereAFolderIs) {
    fs::create_directory(home / "HCD.log");
    EXPECT_FALSE(inHome("HCD.log"));
    EXPECT_FALSE(target.logFileValid);
}

TEST_F(SetLogFile, FailsForNamesOfFoldersAbove) {
    EXPECT_FALSE(inHome(".."));
    EXPECT_FALSE(inHome("."));
    EXPECT_FALSE(inHome("/"));
}

TEST_F(SetLogFile, FailsForANameThatIsTooLong) {
    EXPECT_FALSE(inHome(std::string(300, 'n').c_str()));
    EXPECT_FALSE(target.logFileValid);
}

TEST_F(SetLogFile, FailsWithoutPermission) {
    writeFile(home / "HCD.log", "");
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod((home / "HCD.log").c_str(), 0444), 0);
    support::asOrdinaryUser([this] { EXPECT_FALSE(inHome("HCD.log")); });
}

TEST_F(SetLogFile, TakesNamesOfAnyBytes) {
    for (const char* name : {"two words.log", "\xe2\x82\xac.log", "\xff\xfe.log", "a\nb.log"}) {
        EXPECT_TRUE(inHome(name)) << name;
        EXPECT_TRUE(fs::exists(home / name)) << name;
        EXPECT_EQ(target.logFileName, name);
    }
}

TEST_F(SetLogFile, RefusesANameWithAFolderPart) {
    fs::create_directory(home / "sub");
    EXPECT_FALSE(inHome("sub/x.log"));
    EXPECT_FALSE(target.logFileValid);
    EXPECT_EQ(target.logFileName, "ELMU.log");
    EXPECT_FALSE(fs::exists(home / "sub/x.log"));
}

TEST_F(SetLogFile, RefusesANameWithAFolderPartInTheDefaultFolder) {
    EXPECT_FALSE(target.setLogFile("sub/x.log", ""));
    EXPECT_FALSE(target.logFileValid);
}

TEST_F(SetLogFile, HasItsFolderBeforeItLooksAtTheName) {
    target.setLogFile("sub/x.log", "");
    EXPECT_EQ(target.logFilePath + "/", home.inDefaultFolder(""));
    EXPECT_TRUE(fs::is_directory(home.inDefaultFolder("")));
}

TEST_F(SetLogFile, RefusesANameWithASlashAtItsEnd) {
    EXPECT_FALSE(inHome("x.log/"));
    EXPECT_FALSE(target.logFileValid);
}

TEST_F(SetLogFile, KeepsItsNameForANullOrEmptyOne) {
    EXPECT_TRUE(inHome(nullptr));
    EXPECT_EQ(target.logFilePath, home / "ELMU.log");
    ASSERT_TRUE(inHome("HCD.log"));
    EXPECT_TRUE(inHome(""));
    EXPECT_EQ(target.logFilePath, home / "HCD.log");
}

TEST_F(SetLogFile, DoesNotExamineTheNameItAlreadyHad) {
    fs::create_directory(home / "sub");
    target.logFileName = "sub/x.log";
    EXPECT_TRUE(inHome(nullptr));
    EXPECT_EQ(target.logFilePath, home / "sub/x.log");
    EXPECT_EQ(target.logFileName, "x.log");
}

TEST_F(SetLogFile, UsesTheDefaultFolderForNullsAndEmptyTexts) {
    EXPECT_TRUE(target.setLogFile(nullptr, nullptr));
    EXPECT_EQ(target.logFilePath, home.inDefaultFolder("ELMU.log"));
    EXPECT_TRUE(target.setLogFile("HCD.log", ""));
    EXPECT_EQ(target.logFilePath, home.inDefaultFolder("HCD.log"));
    EXPECT_TRUE(fs::exists(home.inDefaultFolder("HCD.log")));
}

TEST_F(SetLogFile, MakesTheDefaultFolderWithTheUsualModeWithoutAConsoleUser) {
    const ScopedUmask umask(027);
    ASSERT_TRUE(target.setLogFile("HCD.log", ""));
    EXPECT_EQ(modeOf(home.inLogs("Halcyra")), 0750U);
    EXPECT_EQ(modeOf(home.inLogs("Halcyra/HCD")), 0750U);
}

TEST_F(SetLogFile, GivesTheNewDefaultFolderToTheConsoleUser) {
    const ScopedUmask umask(077);
    scripted::host().consoleUser = somebody();
    ASSERT_TRUE(target.setLogFile("HCD.log", ""));
    expectGivenTo(somebody(), home.inLogs("Halcyra"));
    expectGivenTo(somebody(), home.inLogs("Halcyra/HCD"));
}

TEST_F(SetLogFile, GivesNothingElseToTheConsoleUser) {
    scripted::host().consoleUser = somebody();
    ASSERT_TRUE(target.setLogFile("HCD.log", ""));
    for (const std::string& path :
         {home / "Library", home / "Library/Logs", home.inDefaultFolder("HCD.log")}) {
        struct stat info = {};
        ASSERT_EQ(::stat(path.c_str(), &info), 0) << path;
        EXPECT_EQ(info.st_uid, ::geteuid()) << path;
    }
    EXPECT_EQ(modeOf(home / "Library/Logs"), 0700U);
}

TEST_F(SetLogFile, MakesTheDefaultFolderInTheConsoleUsersHome) {
    fs::create_directory(home / "anna");
    scripted::host().consoleUser = somebody();
    scripted::host().effectiveUser = somebody().uid + 1;
    scripted::host().homes[somebody().uid] = home / "anna";
    EXPECT_TRUE(target.setLogFile("HCD.log", ""));
    EXPECT_EQ(target.logFilePath, home / "anna/Library/Logs/Halcyra/HCD/HCD.log");
    expectGivenTo(somebody(), home / "anna/Library/Logs/Halcyra");
}

TEST_F(SetLogFile, LeavesAnExistingDefaultFolderToItsOwner) {
    fs::create_directories(home.inLogs("Halcyra/HCD"));
    ASSERT_EQ(::chmod(home.inLogs("Halcyra").c_str(), 0750), 0);
    ASSERT_EQ(::chmod(home.inLogs("Halcyra/HCD").c_str(), 0700), 0);
    scripted::host().consoleUser = somebody();
    ASSERT_TRUE(target.setLogFile("HCD.log", ""));
    EXPECT_EQ(modeOf(home.inLogs("Halcyra")), 0750U);
    EXPECT_EQ(modeOf(home.inLogs("Halcyra/HCD")), 0700U);
    struct stat info = {};
    ASSERT_EQ(::stat(home.inLogs("Halcyra/HCD").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, ::geteuid());
}

TEST_F(SetLogFile, GivesAnOlderOuterFolderAwayTogetherWithANewInnerOne) {
    fs::create_directories(home.inLogs("Halcyra"));
    ASSERT_EQ(::chmod(home.inLogs("Halcyra").c_str(), 0750), 0);
    scripted::host().consoleUser = somebody();
    ASSERT_TRUE(target.setLogFile("HCD.log", ""));
    expectGivenTo(somebody(), home.inLogs("Halcyra"));
    expectGivenTo(somebody(), home.inLogs("Halcyra/HCD"));
}

TEST_F(SetLogFile, DoesTheSameWhateverIsBehindASymlinkThatIsNotFollowed) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes symlinks of other users";
    }
    scripted::host().consoleUser = somebody();
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
    support::makeFolder(0, home / "precious", 0700);
    support::makeFolder(0, home / "precious/there", 0700);
    fs::create_directories(home.inLogs("Halcyra"));
    support::give(home.inLogs("Halcyra"), somebody().uid);
    for (const char* place : {"precious/there", "precious/missing", "precious/missing/inner"}) {
        ASSERT_EQ(::chmod(home.inLogs("Halcyra").c_str(), 0755), 0);
        support::makeLink(somebody().uid, home / place, home.inLogs("Halcyra/HCD"));
        EXPECT_FALSE(target.setLogFile("HCD.log", "")) << place;
        EXPECT_EQ(modeOf(home.inLogs("Halcyra")), 0755U) << place;
        fs::remove(home.inLogs("Halcyra/HCD"));
    }
    EXPECT_TRUE(fs::is_empty(home / "precious/there"));
    EXPECT_FALSE(fs::exists(home / "precious/missing"));
}

TEST_F(SetLogFile, FailsWhenTheDefaultFolderCannotBeMade) {
    writeFile(home.inLogs("Halcyra"), "in the way");
    EXPECT_FALSE(target.setLogFile("HCD.log", ""));
    EXPECT_FALSE(target.logFileValid);
    EXPECT_EQ(readFile(home.inLogs("Halcyra")), "in the way");
}

TEST_F(SetLogFile, RecoversWithTheNextGoodFile) {
    ASSERT_FALSE(inHome("sub/x.log"));
    EXPECT_TRUE(inHome("x.log"));
    EXPECT_TRUE(target.logFileValid);
}

TEST_F(SetLogFile, MayBeGivenTheTargetsOwnTexts) {
    ASSERT_TRUE(inHome("a-name-too-long-for-the-string-itself.log"));
    target.logFilePath = home.path();
    EXPECT_TRUE(target.setLogFile(target.logFileName.c_str(), target.logFilePath.c_str()));
    EXPECT_EQ(target.logFilePath, home / "a-name-too-long-for-the-string-itself.log");
    EXPECT_EQ(target.logFileName, "a-name-too-long-for-the-string-itself.log");
}

TEST_F(SetLogFile, MovesARegisteredTargetToTheNewFile) {
    ASSERT_TRUE(inHome("first.log"));
    ASSERT_TRUE(LoggingCore::getInstance()->registerTarget(&target));
    writeRecord("one");
    EXPECT_TRUE(inHome("second.log"));
    writeRecord("two");
    EXPECT_TRUE(target.stream.is_open());
    EXPECT_THAT(readFile(home / "first.log"), EndsWith(" | one\n"));
    EXPECT_THAT(readFile(home / "second.log"), EndsWith(" | two\n"));
}

TEST_F(SetLogFile, LosesTheRecordsOfARegisteredTargetWithoutAUsableFile) {
    ASSERT_TRUE(inHome("first.log"));
    ASSERT_TRUE(LoggingCore::getInstance()->registerTarget(&target));
    EXPECT_FALSE(target.setLogFile("second.log", (home / "missing").c_str()));
    EXPECT_FALSE(target.logFileValid);
    writeRecord("lost");
    EXPECT_EQ(readFile(home / "first.log"), "");
}

TEST_F(SetLogFile, BringsARegisteredTargetBackWithAUsableFile) {
    ASSERT_TRUE(inHome("first.log"));
    ASSERT_TRUE(LoggingCore::getInstance()->registerTarget(&target));
    ASSERT_FALSE(target.setLogFile("second.log", (home / "missing").c_str()));
    ASSERT_TRUE(inHome("third.log"));
    writeRecord("back");
    EXPECT_THAT(readFile(home / "third.log"), EndsWith(" | back\n"));
}

TEST(SetLogFileOfAnyTarget, OpensAnotherStreamThanItsOwnWhileNoneIsAttached) {
    const LogHome home;
    RecordingTarget target("any");
    EXPECT_TRUE(target.setLogFile("x.log", home.path().c_str()));
    ASSERT_EQ(target.openedStreams.size(), 1U);
    EXPECT_NE(target.openedStreams[0], &target.stream);
    EXPECT_THAT(target.openedPaths, ElementsAre(home / "x.log"));
}

TEST(SetLogFileOfAnyTarget, OpensItsOwnStreamWhileThatIsAttached) {
    const LogHome home;
    RecordingTarget target("any");
    target.streamAttached = true;
    EXPECT_TRUE(target.setLogFile("x.log", home.path().c_str()));
    EXPECT_THAT(target.openedStreams, ElementsAre(&target.stream));
    EXPECT_THAT(target.openedPaths, ElementsAre(home / "x.log"));
}

TEST(SetLogFileOfAnyTarget, IsAsGoodAsTheOpening) {
    const LogHome home;
    for (const bool attached : {false, true}) {
        RecordingTarget target("any");
        target.streamAttached = attached;
        target.opens = false;
        EXPECT_FALSE(target.setLogFile("x.log", home.path().c_str()));
        EXPECT_FALSE(target.logFileValid);
    }
}

TEST(SetLogFileOfAnyTarget, OpensNothingForANameWithAFolderPart) {
    const LogHome home;
    RecordingTarget target("any");
    EXPECT_FALSE(target.setLogFile("sub/x.log", home.path().c_str()));
    EXPECT_TRUE(target.openedStreams.empty());
}

TEST(SetLogFileOfAnyTarget, HasTheNewNameBeforeItOpens) {
    const LogHome home;
    RecordingTarget target("any");
    target.opens = false;
    target.setLogFile("x.log", home.path().c_str());
    EXPECT_EQ(target.logFileName, "x.log");
}

TEST(SetLogFileWithoutAFolderOfLogs, AppendsTheDefaultFolderToThePathItHad) {
    const LogHome home;
    home.blockLogs();
    LogTargetDefault target("any");
    target.logFilePath = home / "earlier";
    EXPECT_TRUE(target.setLogFile("x.log", ""));
    EXPECT_EQ(target.logFilePath, home / "earlier/Halcyra/HCD/x.log");
    EXPECT_TRUE(fs::exists(home / "earlier/Halcyra/HCD/x.log"));
}

TEST(SetLogFileWithoutAFolderOfLogs, FailsWhenThePathItHadIsAFile) {
    const LogHome home;
    home.blockLogs();
    LogTargetDefault target("any");
    ASSERT_TRUE(target.setLogFile("x.log", home.path().c_str()));
    EXPECT_FALSE(target.setLogFile("y.log", nullptr));
    EXPECT_FALSE(target.logFileValid);
    EXPECT_EQ(target.logFilePath, home / "x.log/Halcyra/HCD/y.log");
}

} // namespace

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "support/Clock.h"
#include "support/FileTargetTest.h"
#include "support/InChild.h"
#include "support/RefusedCalls.h"
#include "support/Scopes.h"
#include <elmu/logging/BinaryLock.h>
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/LoggingCore.h>

namespace {

namespace fs = std::filesystem;

using elmu::LoggingCore;
using elmu::LogTargetDefault;
using scripted::host;
using support::lockMember;
using support::LogHome;
using support::memberValue;
using support::modeOf;
using support::readFile;
using support::ScopedUmask;
using support::semaphoreSetExists;
using support::userCount;
using support::writeFile;
using testing::EndsWith;

TEST(NewFileTarget, HasTheGivenIdentifier) {
    const LogHome home;
    EXPECT_EQ(LogTargetDefault("HCDCustomHook").getIdentifier(), "HCDCustomHook");
}

TEST(NewFileTarget, HasNoIdentifierForNull) {
    const LogHome home;
    EXPECT_EQ(LogTargetDefault(nullptr).getIdentifier(), "");
}

TEST(NewFileTarget, HasTheBasesDefaults) {
    const LogHome home;
    const LogTargetDefault target("new");
    EXPECT_EQ(target.separator, " | ");
    EXPECT_EQ(target.logFileName, "ELMU.log");
    EXPECT_EQ(target.logFilePath, "");
    EXPECT_EQ(target.getLogLevel(), elmu::INFO);
    EXPECT_TRUE(target.logFileValid);
    EXPECT_FALSE(target.streamAttached);
    EXPECT_EQ(target.getRefCount(), 0);
}

TEST(NewFileTarget, HasNeitherLockNorStream) {
    const LogHome home;
    const LogTargetDefault target("new");
    EXPECT_EQ(target.logLock, nullptr);
    EXPECT_FALSE(target.stream.is_open());
}

TEST(NewFileTarget, OwesNoHeader) {
    const LogHome home;
    const LogTargetDefault target("new");
    EXPECT_FALSE(target.headerPending);
    EXPECT_EQ(target.headerData, "");
}

TEST(NewFileTarget, TakesMarkersIntoAccount) {
    const LogHome home;
    writeFile(home.inLogs("ELMU.debug"), "");
    EXPECT_EQ(LogTargetDefault("new").getLogLevel(), elmu::DEBUG);
}

TEST(NewFileTarget, CreatesNoLog) {
    const LogHome home;
    {
        const LogTargetDefault target("new");
    }
    EXPECT_FALSE(fs::exists(home.inLogs("ELMU.log")));
    EXPECT_FALSE(fs::exists(home.inLogs("Halcyra")));
}

TEST(NewFileTarget, KeepsItsFieldsInTheirOrder) {
    const LogHome home;
    const LogTargetDefault target("new");
    const std::vector<const void*> fields{&target.refCountMutex,  &target.logLock,
                                          &target.headerPending,  &target.useThreadSelfId,
                                          &target.headerData,     &target.lastSegmentCheckTime,
                                          &target.lastRecordTime, &target.xmlTagNameList};
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end()));
}

bool knowsThreads(platform::SystemVersion version) {
    const LogHome home;
    host().systemVersion = version;
    return LogTargetDefault("new").useThreadSelfId;
}

TEST(NewFileTarget, WritesNoThreadOnSystemsOfMajorUpTo10AndMinorUpTo5) {
    EXPECT_FALSE(knowsThreads({10, 4, 11}));
    EXPECT_FALSE(knowsThreads({10, 5, 0}));
    EXPECT_FALSE(knowsThreads({10, 5, 8}));
    EXPECT_FALSE(knowsThreads({6, 1, 0}));
    EXPECT_FALSE(knowsThreads({10, 0, 0}));
}

TEST(NewFileTarget, WritesThreadsOnAllOtherSystems) {
    EXPECT_TRUE(knowsThreads({10, 6, 0}));
    EXPECT_TRUE(knowsThreads({10, 15, 7}));
    EXPECT_TRUE(knowsThreads({9, 9, 9}));
    EXPECT_TRUE(knowsThreads({11, 0, 0}));
    EXPECT_TRUE(knowsThreads({11, 3, 0}));
    EXPECT_TRUE(knowsThreads({26, 1, 0}));
}

TEST(NewFileTarget, WritesThreadsWhenTheVersionCannotBeRead) {
    const LogHome home;
    host().offersSystemVersion = false;
    EXPECT_TRUE(LogTargetDefault("new").useThreadSelfId);
    host().olderVersionNumbers = {10, 4, std::nullopt};
    EXPECT_TRUE(LogTargetDefault("new").useThreadSelfId);
}

TEST(NewFileTarget, JudgesByTheOlderVersionSourceToo) {
    const LogHome home;
    host().offersSystemVersion = false;
    host().olderVersionNumbers = {10, 5, 8};
    EXPECT_FALSE(LogTargetDefault("new").useThreadSelfId);
    host().olderVersionNumbers = {10, 6, 8};
    EXPECT_TRUE(LogTargetDefault("new").useThreadSelfId);
}

class FileTarget : public support::FileTargetTest<> {};

TEST_F(FileTarget, OpensStreamAndLockWhenItIsRegistered) {
    EXPECT_TRUE(enroll());
    EXPECT_TRUE(target.streamAttached);
    EXPECT_TRUE(target.stream.is_open());
    ASSERT_NE(target.logLock, nullptr);
    EXPECT_NE(set(), -1);
    EXPECT_EQ(target.logLock->semId, set());
}

TEST_F(FileTarget, RefusesToBeRegisteredWithAFileFoundUnusable) {
    target.logFileValid = false;
    EXPECT_FALSE(enroll());
    EXPECT_FALSE(target.streamAttached);
    EXPECT_FALSE(target.stream.is_open());
    EXPECT_EQ(target.logLock, nullptr);
}

TEST_F(FileTarget, HoldsTheLockOnlyDuringItsWork) {
    enroll();
    EXPECT_EQ(memberValue(set(), userCount), 1);
    EXPECT_EQ(memberValue(set(), lockMember), 1);
    write("text");
    EXPECT_EQ(memberValue(set(), userCount), 1);
    EXPECT_EQ(memberValue(set(), lockMember), 1);
}

TEST_F(FileTarget, RemembersTheSecondOfItsRegistration) {
    const std::time_t before = support::now();
    enroll();
    EXPECT_GE(target.lastSegmentCheckTime, before);
    EXPECT_LE(target.lastSegmentCheckTime, support::now());
    EXPECT_EQ(target.lastRecordTime, target.lastSegmentCheckTime);
}

TEST_F(FileTarget, WritesNothingWhenItIsRegistered) {
    enroll();
    EXPECT_EQ(content(), "");
    EXPECT_FALSE(target.headerPending);
}

TEST_F(FileTarget, KeepsItsLockWhenItIsRegisteredAgain) {
    enroll();
    const auto* lock = target.logLock;
    EXPECT_TRUE(enroll());
    EXPECT_EQ(target.logLock, lock);
    EXPECT_EQ(memberValue(set(), userCount), 1);
    EXPECT_EQ(memberValue(set(), lockMember), 1);
}

TEST_F(FileTarget, GoesOnInTheSameFileWhenItIsRegisteredAgain) {
    enroll();
    write("one");
    enroll();
    write("two");
    EXPECT_THAT(content(), testing::MatchesRegex(".* \\| one\n.* \\| two\n"));
}

TEST_F(FileTarget, ClosesEverythingWhenItIsUnregistered) {
    enroll();
    const int id = set();
    EXPECT_TRUE(leave());
    EXPECT_FALSE(target.stream.is_open());
    EXPECT_FALSE(target.streamAttached);
    EXPECT_EQ(target.logLock, nullptr);
    EXPECT_FALSE(semaphoreSetExists(id));
}

TEST_F(FileTarget, LeavesAStreamThatOthersCanOpenOnAnotherFile) {
    ASSERT_TRUE(target.onRegisterTarget());
    ASSERT_TRUE(target.onUnregisterTarget());
    target.stream.open(home / "other", std::ios::out | std::ios::app);
    target.WriteStream("a line");
    EXPECT_TRUE(target.stream.good());
    EXPECT_EQ(readFile(home / "other"), "a line\n");
}

TEST_F(FileTarget, OpensTheStreamOfAnotherTargetOnItsOwnFile) {
    ASSERT_TRUE(target.onRegisterTarget());
    LogTargetDefault other("other");
    other.logFilePath = home / "other";
    EXPECT_TRUE(other.SetStreamHandle(target.stream));
    target.stream << "a line" << std::flush;
    EXPECT_EQ(readFile(home / "other"), "a line");
    target.onUnregisterTarget();
}

TEST_F(FileTarget, ClosesEverythingAtOnceAfterARepeatedRegistration) {
    enroll();
    enroll();
    const int id = set();
    EXPECT_TRUE(leave());
    EXPECT_FALSE(target.stream.is_open());
    EXPECT_FALSE(semaphoreSetExists(id));
}

TEST_F(FileTarget, LeavesTheLockAlsoWhenItsStreamFailed) {
    enroll();
    const int id = set();
    target.stream.setstate(std::ios::badbit);
    EXPECT_TRUE(leave());
    EXPECT_FALSE(target.streamAttached);
    EXPECT_EQ(target.logLock, nullptr);
    EXPECT_FALSE(semaphoreSetExists(id));
}

TEST_F(FileTarget, IsUnregisteredWellWithoutEverHavingBeenRegistered) {
    EXPECT_TRUE(target.onUnregisterTarget());
    EXPECT_FALSE(target.streamAttached);
}

TEST_F(FileTarget, CanBeRegisteredAnewAfterItLeft) {
    enroll();
    write("one");
    leave();
    EXPECT_TRUE(enroll());
    EXPECT_EQ(memberValue(set(), userCount), 1);
    write("two");
    EXPECT_THAT(content(), testing::MatchesRegex(".* \\| one\n.* \\| two\n"));
}

TEST_F(FileTarget, LeavesTheSetToAnotherTargetOfTheSameFile) {
    LogTargetDefault other("other");
    ASSERT_TRUE(other.setLogFile("test.log", home.path().c_str()));
    enroll();
    ASSERT_TRUE(LoggingCore::getInstance()->registerTarget(&other));
    EXPECT_EQ(memberValue(set(), userCount), 2);
    leave();
    EXPECT_EQ(memberValue(set(), userCount), 1);
    const int id = set();
    LoggingCore::getInstance()->unregisterTarget(&other);
    EXPECT_FALSE(semaphoreSetExists(id));
}

TEST_F(FileTarget, RefusesRegistrationAfterItsFileWasFoundUnusable) {
    ASSERT_FALSE(target.setLogFile("sub/x.log", home.path().c_str()));
    EXPECT_FALSE(enroll());
    EXPECT_EQ(target.getRefCount(), 0);
    EXPECT_FALSE(target.streamAttached);
    EXPECT_FALSE(target.stream.is_open());
    EXPECT_EQ(target.logLock, nullptr);
}

TEST_F(FileTarget, AcceptsRegistrationAfterAUsableFileWasFound) {
    ASSERT_FALSE(target.setLogFile("sub/x.log", home.path().c_str()));
    ASSERT_TRUE(target.setLogFile("x.log", home.path().c_str()));
    EXPECT_TRUE(enroll());
}

TEST_F(FileTarget, RefusesRegistrationWhenItsFileCannotBeOpenedAnyMore) {
    fs::remove(path);
    fs::create_directory(path);
    EXPECT_FALSE(enroll());
    EXPECT_FALSE(target.streamAttached);
    EXPECT_EQ(target.logLock, nullptr);
    EXPECT_EQ(set(), -1);
}

TEST_F(FileTarget, LeavesTheLockWhenItIsDestroyed) {
    auto passing = std::make_unique<LogTargetDefault>("passing");
    ASSERT_TRUE(passing->setLogFile("test.log", home.path().c_str()));
    ASSERT_TRUE(passing->onRegisterTarget());
    const int id = set();
    passing.reset();
    EXPECT_FALSE(semaphoreSetExists(id));
}

TEST(FileTargetWithoutAFile, LogsToTheLibrarysOwnFileInTheFolderOfLogs) {
    const LogHome home;
    LogTargetDefault target("plain");
    EXPECT_TRUE(LoggingCore::getInstance()->registerTarget(&target));
    EXPECT_EQ(target.logFilePath, home.inLogs("ELMU.log"));
    target.writeLog(elmu::INFO, "", "", "", "", "", "", "text", nullptr, 0, true);
    EXPECT_THAT(readFile(home.inLogs("ELMU.log")), EndsWith(" | text\n"));
    LoggingCore::getInstance()->unregisterTarget(&target);
}

TEST(FileTargetWithoutAFile, LogsUnderTheNameItHas) {
    const LogHome home;
    LogTargetDefault target("plain");
    target.logFileName = "Tool.log";
    EXPECT_TRUE(target.onRegisterTarget());
    EXPECT_TRUE(fs::exists(home.inLogs("Tool.log")));
    target.onUnregisterTarget();
}

TEST(FileTargetWithoutAFile, RefusesRegistrationWithoutAFolderOfLogs) {
    const LogHome home;
    home.blockLogs();
    LogTargetDefault target("plain");
    EXPECT_FALSE(LoggingCore::getInstance()->registerTarget(&target));
    EXPECT_EQ(target.logFilePath, "");
    EXPECT_FALSE(target.streamAttached);
    EXPECT_EQ(target.getRefCount(), 0);
}

TEST(SetStreamPath, IsTheNameInTheFolderOfLogs) {
    const LogHome home;
    LogTargetDefault target("plain");
    target.logFilePath = "/earlier";
    EXPECT_TRUE(target.SetStreamPath("x.log"));
    EXPECT_EQ(target.logFilePath, home.inLogs("x.log"));
    EXPECT_FALSE(fs::exists(home.inLogs("x.log")));
}

TEST(SetStreamPath, LeavesThePathAloneWithoutAFolderOfLogs) {
    const LogHome home;
    home.blockLogs();
    LogTargetDefault target("plain");
    target.logFilePath = "/earlier";
    EXPECT_FALSE(target.SetStreamPath("x.log"));
    EXPECT_EQ(target.logFilePath, "/earlier");
}

class StreamHandle : public testing::Test {
  protected:
    bool open(const std::string& file) {
        target.logFilePath = file;
        return target.SetStreamHandle(stream);
    }

    LogHome home;
    std::string path = home / "stream.log";
    LogTargetDefault target{"stream"};
    std::fstream stream;
};

TEST_F(StreamHandle, CreatesAMissingFileForEveryUserWhateverTheUmask) {
    for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
        const ScopedUmask umask(mask);
        fs::remove(path);
        EXPECT_TRUE(open(path));
        EXPECT_EQ(modeOf(path), 0666U);
    }
}

TEST_F(StreamHandle, AppendsToAnExistingFile) {
    writeFile(path, "earlier ");
    EXPECT_TRUE(open(path));
    stream << "later" << std::flush;
    EXPECT_EQ(readFile(path), "earlier later");
}

TEST_F(StreamHandle, AppendsBehindWhatOthersAppended) {
    EXPECT_TRUE(open(path));
    stream << "1" << std::flush;
    std::ofstream(path, std::ios::app) << "2";
    stream << "3" << std::flush;
    EXPECT_EQ(readFile(path), "123");
}

TEST_F(StreamHandle, KeepsTheModeOfAnExistingFile) {
    writeFile(path, "");
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    EXPECT_TRUE(open(path));
    EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(StreamHandle, KeepsTheModeOfAFileBehindALink) {
    writeFile(home / "real.log", "");
    ASSERT_EQ(::chmod((home / "real.log").c_str(), 0640), 0);
    fs::create_symlink("real.log", path);
    EXPECT_TRUE(open(path));
    EXPECT_EQ(modeOf(home / "real.log"), 0640U);
}

TEST_F(StreamHandle, TakesALinkToNothingForAnExistingFile) {
    const ScopedUmask umask(077);
    fs::create_symlink("real.log", path);
    EXPECT_TRUE(open(path));
    EXPECT_EQ(modeOf(home / "real.log"), 0600U);
}

TEST_F(StreamHandle, FailsWhereAFolderIs) {
    EXPECT_FALSE(open(home.path()));
    EXPECT_FALSE(stream.is_open());
}

TEST_F(StreamHandle, FailsInAMissingFolderAndWithoutAPath) {
    EXPECT_FALSE(open(home / "missing/x.log"));
    EXPECT_FALSE(open(""));
}

TEST_F(StreamHandle, FailsWithoutPermissionToWrite) {
    writeFile(path, "");
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    support::asOrdinaryUser([this] { EXPECT_FALSE(open(path)); });
}

TEST_F(StreamHandle, ClosesAStreamThatIsOpen) {
    ASSERT_TRUE(open(home / "first.log"));
    EXPECT_TRUE(open(home / "second.log"));
    stream << "text" << std::flush;
    EXPECT_EQ(readFile(home / "first.log"), "");
    EXPECT_EQ(readFile(home / "second.log"), "text");
}

TEST_F(StreamHandle, KeepsWhatAnOpenStreamHadNotYetWritten) {
    ASSERT_TRUE(open(home / "first.log"));
    stream << "text";
    EXPECT_TRUE(open(home / "second.log"));
    EXPECT_EQ(readFile(home / "first.log"), "text");
}

TEST_F(StreamHandle, MakesAFailedStreamGoodAgain) {
    stream.setstate(std::ios::badbit | std::ios::failbit);
    EXPECT_TRUE(open(path));
    EXPECT_TRUE(stream.good());
}

TEST_F(StreamHandle, MakesAFailedOpenStreamGoodAgain) {
    ASSERT_TRUE(open(path));
    stream.setstate(std::ios::badbit);
    EXPECT_TRUE(open(path));
    stream << "text" << std::flush;
    EXPECT_EQ(readFile(path), "text");
}

TEST_F(StreamHandle, LeavesTheTargetsOwnStreamAlone) {
    EXPECT_TRUE(open(path));
    EXPECT_FALSE(target.stream.is_open());
}

TEST_F(StreamHandle, SaysOnStandardErrorWhenTheModeOfANewFileCannotBeSet) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    const ScopedUmask umask(022);
    const auto openWithoutModes = [this] {
        const bool refused = support::refuseCalls(support::modeChanges());
        ::_exit(refused && open(path) ? 0 : 1);
    };
    EXPECT_EXIT(openWithoutModes(), testing::ExitedWithCode(0),
                testing::Eq("\n Error Set File permissions. errno = " + std::string(std::strerror(EPERM))));
    EXPECT_EQ(modeOf(path), 0644U);
}

TEST_F(StreamHandle, SaysNothingAboutAnExistingFile) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    writeFile(path, "");
    const auto openWithoutModes = [this] {
        const bool refused = support::refuseCalls(support::modeChanges());
        ::_exit(refused && open(path) ? 0 : 1);
    };
    EXPECT_EXIT(openWithoutModes(), testing::ExitedWithCode(0), testing::Eq(""));
}

class CleanFile : public support::FileTargetTest<> {};

TEST_F(CleanFile, EmptiesTheFileAndLeavesTheStreamClosed) {
    enroll();
    write("text");
    EXPECT_TRUE(target.cleanFile());
    EXPECT_EQ(content(), "");
    EXPECT_FALSE(target.stream.is_open());
}

TEST_F(CleanFile, EmptiesTheFileOfAClosedStream) {
    writeFile(path, "text");
    EXPECT_TRUE(target.cleanFile());
    EXPECT_EQ(content(), "");
    EXPECT_FALSE(target.stream.is_open());
}

TEST_F(CleanFile, KeepsTheModeOfTheFile) {
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    EXPECT_TRUE(target.cleanFile());
    EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(CleanFile, CreatesAMissingFile) {
    fs::remove(path);
    EXPECT_TRUE(target.cleanFile());
    EXPECT_EQ(content(), "");
}

TEST_F(CleanFile, FailsWhereAFolderIs) {
    fs::remove(path);
    fs::create_directory(path);
    EXPECT_FALSE(target.cleanFile());
}

TEST_F(CleanFile, FailsWithoutPermissionToWrite) {
    writeFile(path, "text");
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    support::asOrdinaryUser([this] { EXPECT_FALSE(target.cleanFile()); });
    EXPECT_EQ(content(), "text");
}

TEST_F(CleanFile, LetsTheCallerOpenTheStreamAnew) {
    enroll();
    write("one");
    ASSERT_TRUE(target.cleanFile());
    ASSERT_TRUE(target.SetStreamHandle(target.stream));
    write("two");
    EXPECT_THAT(content(), EndsWith(" | two\n"));
    EXPECT_THAT(content(), testing::Not(testing::HasSubstr("one")));
}

} // namespace

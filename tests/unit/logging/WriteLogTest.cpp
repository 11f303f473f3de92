#include <algorithm>
#include <cstdarg>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/sem.h>

#include "Allocations.h"
#include "support/Clock.h"
#include "support/FileTargetTest.h"
#include "support/Scopes.h"
#include "support/WriteCalls.h"
#include <elmu/logging/ArgumentList.h>
#include <elmu/logging/BinaryLock.h>
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

namespace {

namespace fs = std::filesystem;

using elmu::LogTargetDefault;
using support::lockMember;
using support::memberValue;
using support::readFile;
using support::ScopedAlarm;
using support::ScopedFileSizeLimit;
using support::ScopedTimeZone;
using support::writeCalls;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class WriteLog : public support::FileTargetTest<> {
  protected:
    bool writeFormatted(const char* format, ...) {
        std::va_list list;
        va_start(list, format);
        const bool written = target.writeLog(elmu::INFO, "", "", "", "", "", "", format,
                                             elmu::travellingArguments(list), 0, true);
        va_end(list);
        return written;
    }

    /// The message of the only record.
    std::string message() const {
        const std::string text = content();
        const std::string before = " | 4711 | ";
        const std::size_t start = text.find(before);
        EXPECT_NE(start, std::string::npos) << text;
        EXPECT_EQ(text.back(), '\n');
        return text.substr(start + before.size(), text.size() - start - before.size() - 1);
    }
};

TEST_F(WriteLog, AppendsOneLine) {
    const ScopedTimeZone utc("UTC0");
    enroll();
    EXPECT_TRUE(target.writeLog(elmu::ERROR, "c1", "c2", "c3", "c4", "d1", "d2", "message", nullptr,
                                1794804088007ULL, true));
    EXPECT_EQ(content(), "11/16/26 04:41:28:007 | [ERROR] | c1 | c2 | c3 | c4 | d1 | d2 | 4711 | message\n");
}

TEST_F(WriteLog, ShowsTheCurrentTimeForNone) {
    const ScopedTimeZone utc("UTC0");
    enroll();
    const std::time_t before = support::now();
    write("message");
    std::tm parsed = {};
    ASSERT_NE(::strptime(content().c_str(), "%D %T", &parsed), nullptr);
    EXPECT_GE(::timegm(&parsed), before);
    EXPECT_LE(::timegm(&parsed), support::now());
}

TEST_F(WriteLog, HasEachLineInTheFileAtOnce) {
    enroll();
    write("one");
    EXPECT_THAT(content(), EndsWith(" | one\n"));
    write("two");
    EXPECT_THAT(content(), EndsWith(" | two\n"));
}

TEST_F(WriteLog, KeepsWhatTheFileHeld) {
    support::writeFile(path, "earlier\n");
    enroll();
    write("message");
    EXPECT_THAT(content(), MatchesRegex("earlier\n.* \\| message\n"));
}

TEST_F(WriteLog, KeepsTenFieldsForNulls) {
    const ScopedTimeZone utc("UTC0");
    enroll();
    target.writeLog(elmu::INFO, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "message", nullptr,
                    1794804088007ULL, true);
    EXPECT_EQ(content(), "11/16/26 04:41:28:007 | [INFO] |  |  |  |  |  |  | 4711 | message\n");
}

TEST_F(WriteLog, ShowsANullMessageAsAnEmptyOne) {
    enroll();
    EXPECT_TRUE(write(nullptr));
    EXPECT_EQ(message(), "");
}

TEST_F(WriteLog, ShowsANullFormatWithArgumentsAsAnEmptyMessage) {
    enroll();
    EXPECT_TRUE(writeFormatted(nullptr, 1));
    EXPECT_EQ(message(), "");
}

TEST_F(WriteLog, LeavesTheThreadEmptyOnOldSystems) {
    target.useThreadSelfId = false;
    enroll();
    write("message");
    EXPECT_THAT(content(), EndsWith(" |  |  |  |  |  |  |  | message\n"));
}

TEST_F(WriteLog, WritesRecordsOfItsLevelAndAbove) {
    enroll();
    target.setLogLevel(elmu::WARN);
    EXPECT_TRUE(write("info", elmu::INFO));
    EXPECT_TRUE(write("39", static_cast<elmu::Log_Level>(39)));
    EXPECT_TRUE(write("warn", elmu::WARN));
    EXPECT_TRUE(write("error", elmu::ERROR));
    EXPECT_THAT(content(), MatchesRegex("[^\n]* \\| warn\n[^\n]* \\| error\n"));
}

TEST_F(WriteLog, WritesNoFatalRecordAtNone) {
    enroll();
    target.setLogLevel(elmu::NONE);
    EXPECT_TRUE(write("fatal", elmu::FATAL));
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, WritesEveryRecordAtTheLowestLevels) {
    enroll();
    for (const elmu::Log_Level level : {elmu::TRACE, elmu::ALL}) {
        target.setLogLevel(level);
        fs::resize_file(path, 0);
        write("trace", elmu::TRACE);
        EXPECT_EQ(message(), "trace");
    }
}

TEST_F(WriteLog, WritesDebugRecordsOnlyAtDebugAndBelow) {
    enroll();
    write("debug", elmu::DEBUG);
    EXPECT_EQ(content(), "");
    target.setLogLevel(elmu::DEBUG);
    write("debug", elmu::DEBUG);
    EXPECT_EQ(message(), "debug");
}

TEST_F(WriteLog, RemembersTheTimeOfEveryRecord) {
    enroll();
    target.writeLog(elmu::INFO, "", "", "", "", "", "", "x", nullptr, 1794804088007ULL, true);
    EXPECT_EQ(target.lastRecordTime, 1794804088);
}

TEST_F(WriteLog, DoesNotRememberTheTimeOfAFilteredRecord) {
    enroll();
    const auto before = target.lastRecordTime;
    target.writeLog(elmu::DEBUG, "", "", "", "", "", "", "x", nullptr, 1794804088007ULL, true);
    EXPECT_EQ(target.lastRecordTime, before);
}

TEST_F(WriteLog, DoesNotWaitForTheLockForAFilteredRecord) {
    const ScopedAlarm deadline(100);
    enroll();
    elmu::BinaryLock holder;
    ASSERT_TRUE(holder.create(path, support::logProject));
    ASSERT_TRUE(holder.wait());
    EXPECT_TRUE(write("x", elmu::DEBUG));
    EXPECT_TRUE(holder.release());
}

TEST_F(WriteLog, WritesAnUnlockedRecordWhileAnotherHoldsTheLock) {
    const ScopedAlarm deadline(100);
    enroll();
    elmu::BinaryLock holder;
    ASSERT_TRUE(holder.create(path, support::logProject));
    ASSERT_TRUE(holder.wait());
    EXPECT_TRUE(writeUnlocked("unlocked"));
    EXPECT_TRUE(holder.release());
    EXPECT_EQ(message(), "unlocked");
}

TEST_F(WriteLog, ExpandsTheMessageBeforeItWaitsForTheLock) {
    const ScopedAlarm deadline(100);
    enroll();
    elmu::BinaryLock holder;
    ASSERT_TRUE(holder.create(path, support::logProject));
    ASSERT_TRUE(holder.wait());
    std::string argument = "before";
    std::thread writer([&] { writeFormatted("%s %5d", argument.c_str(), 1); });
    support::untilSomebodyWaits(holder.semId);
    argument = "behind";
    EXPECT_TRUE(holder.release());
    writer.join();
    EXPECT_EQ(message(), "before     1");
}

TEST_F(WriteLog, TakesTheTimeWhenItHasTheLock) {
    const ScopedAlarm deadline(100);
    enroll();
    elmu::BinaryLock holder;
    ASSERT_TRUE(holder.create(path, support::logProject));
    ASSERT_TRUE(holder.wait());
    std::thread writer([&] { write("x"); });
    support::untilSomebodyWaits(holder.semId);
    char whenItWaited[256];
    LogTargetDefault("clock").getTimeStr(0, whenItWaited);
    EXPECT_TRUE(holder.release());
    writer.join();
    EXPECT_GE(content(), whenItWaited);
}

TEST_F(WriteLog, TakesNoMemoryAfterTheFirstRecords) {
    enroll();
    const std::string longMessage(4000, 'x');
    const auto writeSome = [&] {
        writeFormatted("%s %d %lu", "text", 1, 2UL);
        writeFormatted("%s %5.2f", longMessage.c_str(), 1.5);
        write("a < b");
    };
    writeSome();
    EXPECT_EQ(allocationsOf(writeSome), 0);
}

TEST_F(WriteLog, DropsALockedRecordWithoutRegistration) {
    EXPECT_TRUE(write("x"));
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, DropsALockedRecordWithoutRegistrationEvenWithAnOpenStream) {
    ASSERT_TRUE(target.SetStreamHandle(target.stream));
    EXPECT_TRUE(write("x"));
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, WritesAnUnlockedRecordToAnOpenStreamWithoutRegistration) {
    ASSERT_TRUE(target.SetStreamHandle(target.stream));
    EXPECT_TRUE(writeUnlocked("unlocked"));
    EXPECT_EQ(message(), "unlocked");
}

TEST_F(WriteLog, DropsAnUnlockedRecordWithoutAnOpenStream) {
    EXPECT_TRUE(writeUnlocked("x"));
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, DropsRecordsAfterUnregistration) {
    enroll();
    leave();
    EXPECT_TRUE(write("x"));
    EXPECT_TRUE(writeUnlocked("x"));
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, DropsALockedRecordWhenTheLockCannotBeTaken) {
    enroll();
    support::removeSemaphoreSet(set());
    EXPECT_TRUE(write("x"));
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, WritesAgainAfterANewRegistrationWhenTheLockCouldNotBeTaken) {
    enroll();
    support::removeSemaphoreSet(set());
    write("lost");
    EXPECT_TRUE(leave());
    ASSERT_TRUE(enroll());
    write("found");
    EXPECT_EQ(message(), "found");
}

TEST_F(WriteLog, FormatsTheArguments) {
    enroll();
    EXPECT_TRUE(writeFormatted("%d of %s, %lld, %.2f", 3, "five", 5000000000LL, 0.25));
    EXPECT_EQ(message(), "3 of five, 5000000000, 0.25");
}

TEST_F(WriteLog, TakesAMessageWithoutArgumentsAsItIs) {
    enroll();
    write("100% %s %d %n");
    EXPECT_EQ(message(), "100% %s %d %n");
}

TEST_F(WriteLog, CutsAFormattedMessageAfter4094Characters) {
    for (const std::size_t length : {4093UL, 4094UL, 4095UL, 4096UL, 5000UL, 100000UL}) {
        std::string text(length, 'x');
        text[std::min<std::size_t>(length, 4094) - 1] = 'z';
        enroll();
        EXPECT_TRUE(writeFormatted("%s", text.c_str()));
        leave();
        EXPECT_EQ(message(), text.substr(0, 4094)) << length;
        fs::resize_file(path, 0);
    }
}

TEST_F(WriteLog, WritesAFinishedMessageOfAnyLengthWhole) {
    enroll();
    for (const std::size_t length : {4095UL, 8191UL, 8192UL, 100000UL}) {
        fs::resize_file(path, 0);
        EXPECT_TRUE(write(std::string(length, 'x').c_str()));
        EXPECT_EQ(message().size(), length);
    }
}

TEST_F(WriteLog, DoesNotCutTheOtherFields) {
    enroll();
    const std::string text(9000, 'x');
    target.writeLog(elmu::INFO, text.c_str(), "", "", "", "", text.c_str(), "m", nullptr, 0, true);
    EXPECT_THAT(content(), AllOf(HasSubstr(" | [INFO] | " + text + " | "), EndsWith(text + " | 4711 | m\n")));
}

TEST_F(WriteLog, KeepsNewlinesInsideAMessage) {
    enroll();
    write("one\ntwo\r\n");
    EXPECT_EQ(message(), "one\ntwo\r\n");
}

TEST_F(WriteLog, KeepsBytesOfEveryKind) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    enroll();
    write(bytes.c_str());
    EXPECT_EQ(message(), bytes);
    fs::resize_file(path, 0);
    writeFormatted("%s", bytes.c_str());
    EXPECT_EQ(message(), bytes);
}

TEST_F(WriteLog, KeepsBytesOfEveryKindInContexts) {
    enroll();
    target.writeLog(elmu::INFO, "\xff", "\xc3\x28", "\n", "\x01", " | ", "\xe2\x82\xac", "m", nullptr, 0,
                    true);
    EXPECT_THAT(content(),
                EndsWith(" | [INFO] | \xff | \xc3\x28 | \n | \x01 |  |  | \xe2\x82\xac | 4711 | m\n"));
}

class OneWrite : public WriteLog, public testing::WithParamInterface<std::size_t> {};

TEST_P(OneWrite, TakesALineOfAnyLength) {
    if (!writeCalls()) {
        GTEST_SKIP() << "needs /proc/self/io: it counts writes";
    }
    enroll();
    const std::string text(GetParam(), 'x');
    const long before = *writeCalls();
    write(text.c_str());
    const long after = *writeCalls();
    EXPECT_EQ(after - before, 1);
    EXPECT_EQ(message().size(), text.size());
}

TEST_P(OneWrite, TakesAnyLineAfterAnother) {
    if (!writeCalls()) {
        GTEST_SKIP() << "needs /proc/self/io: it counts writes";
    }
    enroll();
    const std::string text(GetParam(), 'x');
    write("first");
    const long before = *writeCalls();
    write(text.c_str());
    write(text.c_str());
    EXPECT_EQ(*writeCalls() - before, 2);
}

INSTANTIATE_TEST_SUITE_P(RecordOf, OneWrite,
                         testing::Values(1, 500, 1000, 1023, 1024, 4000, 4095, 4096, 8100, 8191, 8192, 8193,
                                         20000, 100000, 1000000));

TEST_F(WriteLog, NeedsNoWriteForADroppedRecord) {
    if (!writeCalls()) {
        GTEST_SKIP() << "needs /proc/self/io: it counts writes";
    }
    enroll();
    const long before = *writeCalls();
    write("x", elmu::DEBUG);
    EXPECT_EQ(*writeCalls(), before);
}

TEST_F(WriteLog, DropsARecordThatCannotBeWritten) {
    enroll();
    write("one");
    const std::string before = content();
    bool result = false;
    {
        const ScopedFileSizeLimit full(before.size());
        result = write("lost");
    }
    EXPECT_TRUE(result);
    EXPECT_EQ(content(), before);
}

TEST_F(WriteLog, TakesBackTheHalfOfALineThatGotIntoTheFile) {
    enroll();
    write("one");
    const std::string before = content();
    for (const std::string& message :
         {std::string("lost"), std::string("lost\non two lines"), std::string(6000, 'x')}) {
        {
            const ScopedFileSizeLimit full(before.size() + 30);
            EXPECT_TRUE(write(message.c_str()));
        }
        EXPECT_EQ(content(), before);
        target.SetStreamHandle(target.stream);
    }
}

TEST_F(WriteLog, TakesBackNothingOfAnEarlierRecordThatTheLostOneBeginsWith) {
    enroll();
    constexpr unsigned long long time = 1794804547123;
    target.writeLog(elmu::INFO, "", "", "", "", "", "", "step done", nullptr, time, true);
    const std::string before = content();
    {
        const ScopedFileSizeLimit full(before.size());
        target.writeLog(elmu::INFO, "", "", "", "", "", "", "step done\nsecond line", nullptr, time, true);
    }
    EXPECT_EQ(content(), before);
}

TEST_F(WriteLog, GivesTheLockBackAfterARecordThatCannotBeWritten) {
    enroll();
    {
        const ScopedFileSizeLimit full(0);
        write("lost");
    }
    EXPECT_EQ(memberValue(set(), lockMember), 1);
}

TEST_F(WriteLog, LosesEveryLaterRecordAfterAFailedWrite) {
    enroll();
    {
        const ScopedFileSizeLimit full(0);
        write("lost");
    }
    EXPECT_FALSE(target.stream.good());
    EXPECT_TRUE(write("lost too"));
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, WritesAgainAfterANewRegistrationWhenAWriteFailed) {
    enroll();
    {
        const ScopedFileSizeLimit full(0);
        write("lost");
    }
    leave();
    ASSERT_TRUE(enroll());
    write("found");
    EXPECT_EQ(message(), "found");
}

TEST_F(WriteLog, WritesAgainAfterARepeatedRegistrationWhenAWriteFailed) {
    enroll();
    {
        const ScopedFileSizeLimit full(0);
        write("lost");
    }
    ASSERT_TRUE(enroll());
    write("found");
    EXPECT_EQ(message(), "found");
}

TEST_F(WriteLog, LosesARecordWhenSomebodyClosedTheStream) {
    enroll();
    target.stream.close();
    write("lost");
    EXPECT_TRUE(target.stream.bad());
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, LosesARecordWhenTheStreamCouldNotMove) {
    enroll();
    target.logFilePath = home / "missing/test.log";
    EXPECT_FALSE(target.SetStreamHandle(target.stream));
    write("lost");
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, StandsAmongTextsThatOthersInsertIntoTheStream) {
    enroll();
    target.stream << "before\n";
    write("message");
    target.stream << "after\n";
    EXPECT_THAT(content(), MatchesRegex("before\n.* \\| message\nafter\n"));
}

TEST_F(WriteLog, DropsRecordsOnADeviceThatIsFull) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "needs /dev/full: it fills a disk";
    }
    fs::create_symlink("/dev/full", home / "full.log");
    target.logFilePath = home / "full.log";
    ASSERT_TRUE(target.SetStreamHandle(target.stream));
    EXPECT_TRUE(writeUnlocked("lost"));
    EXPECT_TRUE(writeUnlocked("lost too"));
    EXPECT_FALSE(target.stream.good());
}

TEST_F(WriteLog, WritesNothingOfALostRecordWhenItIsUnregistered) {
    enroll();
    {
        const ScopedFileSizeLimit full(0);
        write("lost");
    }
    leave();
    EXPECT_EQ(content(), "");
}

TEST_F(WriteLog, WritesNothingOfALostRecordWhenTheTargetIsDestroyed) {
    auto passing = std::make_unique<LogTargetDefault>("passing");
    ASSERT_TRUE(passing->setLogFile("test.log", home.path().c_str()));
    ASSERT_TRUE(passing->onRegisterTarget());
    {
        const ScopedFileSizeLimit full(0);
        passing->writeLog(elmu::INFO, "", "", "", "", "", "", "lost", nullptr, 0, true);
    }
    passing.reset();
    EXPECT_EQ(content(), "");
}

class WriteStream : public support::FileTargetTest<> {};

TEST_F(WriteStream, PutsTextAndNewlineIntoTheFileAtOnce) {
    enroll();
    target.WriteStream("any text");
    EXPECT_EQ(content(), "any text\n");
}

TEST_F(WriteStream, WritesAnEmptyLine) {
    enroll();
    target.WriteStream("");
    EXPECT_EQ(content(), "\n");
}

TEST_F(WriteStream, MarksTheStreamBadForNull) {
    enroll();
    target.WriteStream(nullptr);
    EXPECT_TRUE(target.stream.bad());
    EXPECT_EQ(content(), "");
}

TEST_F(WriteStream, LosesEverythingAfterNull) {
    enroll();
    target.WriteStream(nullptr);
    target.WriteStream("lost");
    write("lost too");
    EXPECT_EQ(content(), "");
}

TEST_F(WriteStream, WritesAgainAfterANewRegistration) {
    enroll();
    target.WriteStream(nullptr);
    leave();
    ASSERT_TRUE(enroll());
    target.WriteStream("found");
    EXPECT_EQ(content(), "found\n");
}

TEST_F(WriteStream, DoesNothingToAClosedStreamsFile) {
    target.WriteStream("lost");
    EXPECT_EQ(content(), "");
}

/// What the lock was like whenever a line was written.
class WatchedTarget : public LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;

    void WriteStream(const char* text) override {
        lines.emplace_back(text);
        const auto set = support::semaphoreSetOf(logFilePath);
        lockValues.push_back(set ? memberValue(*set, lockMember) : -1);
        LogTargetDefault::WriteStream(text);
    }

    std::vector<std::string> lines;
    std::vector<int> lockValues;
};

class WatchedWriteLog : public support::FileTargetTest<WatchedTarget> {};

TEST_F(WatchedWriteLog, HandsTheLineWithoutNewlineToTheVirtualWriteStream) {
    enroll();
    write("message");
    ASSERT_EQ(target.lines.size(), 1U);
    EXPECT_THAT(target.lines[0], EndsWith(" | [INFO] |  |  |  |  |  |  | 4711 | message"));
}

TEST_F(WatchedWriteLog, HoldsTheLockWhileItWrites) {
    enroll();
    write("message");
    EXPECT_THAT(target.lockValues, ElementsAre(0));
    EXPECT_EQ(memberValue(set(), lockMember), 1);
}

TEST_F(WatchedWriteLog, TakesNoLockForAnUnlockedRecord) {
    enroll();
    writeUnlocked("message");
    EXPECT_THAT(target.lockValues, ElementsAre(1));
    EXPECT_EQ(memberValue(set(), lockMember), 1) << "and gives none back";
}

TEST_F(WatchedWriteLog, WritesNoLineForAFilteredRecord) {
    enroll();
    write("message", elmu::DEBUG);
    EXPECT_THAT(target.lines, IsEmpty());
}

/// A target whose log vanishes as soon as it is open, so that its lock cannot be made.
class VanishingLog : public LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;

    bool SetStreamHandle(std::fstream& s) override {
        const bool opened = LogTargetDefault::SetStreamHandle(s);
        fs::remove(logFilePath);
        return opened;
    }
};

class LocklessWriteLog : public support::FileTargetTest<VanishingLog> {};

TEST_F(LocklessWriteLog, IsRegisteredAllTheSame) {
    EXPECT_TRUE(enroll());
    EXPECT_TRUE(target.streamAttached);
    ASSERT_NE(target.logLock, nullptr);
    EXPECT_EQ(target.logLock->semId, -1);
}

TEST_F(LocklessWriteLog, DropsLockedRecordsOnly) {
    enroll();
    ASSERT_EQ(target.stream.tellp(), 0);
    EXPECT_TRUE(write("x"));
    EXPECT_EQ(target.stream.tellp(), 0);
    EXPECT_TRUE(writeUnlocked("x"));
    EXPECT_GT(target.stream.seekp(0, std::ios::end).tellp(), 0);
}

TEST_F(LocklessWriteLog, IsUnregisteredWell) {
    enroll();
    EXPECT_TRUE(leave());
    EXPECT_EQ(target.logLock, nullptr);
}

class LoggerToFile : public support::FileTargetTest<> {
  protected:
    elmu::Logger logger{"file-target", "HCDCustomHook", "", "HCD", "HCDCustomHook"};
};

TEST_F(LoggerToFile, WritesItsFieldsInTheirOrder) {
    enroll();
    logger.log(elmu::WARN, "d1", "d2", "%s %d", "number", 7);
    EXPECT_THAT(content(),
                EndsWith(" | [WARN] | HCDCustomHook |  | HCD | HCDCustomHook | d1 | d2 | 4711 | number 7\n"));
}

TEST_F(LoggerToFile, IsFilteredByTheTargetsLevel) {
    enroll();
    logger.debug("%s", "dropped");
    logger.info("%s", "written");
    EXPECT_THAT(content(), AllOf(Not(HasSubstr("dropped")), EndsWith(" | written\n")));
}

TEST_F(LoggerToFile, WritesToEveryTargetOfItsIdentifier) {
    LogTargetDefault second("file-target");
    ASSERT_TRUE(second.setLogFile("second.log", home.path().c_str()));
    enroll();
    ASSERT_TRUE(elmu::LoggingCore::getInstance()->registerTarget(&second));
    logger.error("detail", "%s %lld %.1f", "text", 5000000000LL, 2.5);
    EXPECT_TRUE(elmu::LoggingCore::getInstance()->unregisterTarget(&second));
    EXPECT_THAT(content(), EndsWith(" | detail |  | 4711 | text 5000000000 2.5\n"));
    EXPECT_THAT(readFile(home / "second.log"), EndsWith(" | detail |  | 4711 | text 5000000000 2.5\n"));
}

TEST_F(LoggerToFile, CutsAVeryLongMessage) {
    enroll();
    logger.info("%s", std::string(5000, 'x').c_str());
    EXPECT_THAT(content(), EndsWith(" | " + std::string(4094, 'x') + "\n"));
}

TEST_F(LoggerToFile, WritesNothingForANullFormat) {
    enroll();
    logger.fatal("detail", nullptr);
    EXPECT_EQ(content(), "");
}

TEST_F(LoggerToFile, WritesAnEmptyLineEndForALogitWithoutAnything) {
    enroll();
    logger.logit(elmu::INFO, nullptr, nullptr, nullptr, nullptr);
    EXPECT_THAT(content(), EndsWith(" | [INFO] | HCDCustomHook |  | HCD | HCDCustomHook |  |  | 4711 | \n"));
}

} // namespace

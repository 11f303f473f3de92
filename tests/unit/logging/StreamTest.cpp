#include <filesystem>
#include <fstream>
#include <ios>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include "support/Descriptors.h"
#include "support/FileTargetTest.h"
#include "support/Scopes.h"
#include "support/WriteCalls.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/LoggingCore.h>

namespace {

namespace fs = std::filesystem;

using support::readFile;
using support::writeCalls;
using support::writeFile;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// What the owner of a target sees of its stream, and does with it.
class Stream : public support::FileTargetTest<> {
  protected:
    Stream() { writeFile(other, ""); }

    void openStreamAgain(const std::string& file, std::ios::openmode mode = std::ios::out | std::ios::app) {
        target.stream.close();
        target.stream.open(file, mode);
    }

    void expectRecordsInTheLog() {
        const std::string before = content();
        const std::string elsewhere = readFile(other);
        EXPECT_TRUE(write("to the log"));
        EXPECT_THAT(content(), AllOf(StartsWith(before), EndsWith(" | to the log\n")));
        EXPECT_EQ(readFile(other), elsewhere);
    }

    void expectRecordsOnlyInTheOther() {
        const std::string before = content();
        EXPECT_TRUE(write("elsewhere"));
        EXPECT_TRUE(write("elsewhere too"));
        EXPECT_THAT(readFile(other), AllOf(HasSubstr(" | elsewhere\n"), EndsWith(" | elsewhere too\n")));
        EXPECT_EQ(content(), before);
    }

    void expectRecordsNowhere() {
        const std::string before = content();
        const std::string elsewhere = readFile(other);
        EXPECT_TRUE(write("lost"));
        EXPECT_EQ(content(), before);
        EXPECT_EQ(readFile(other), elsewhere);
    }

    std::string other = home / "other.log";
};

TEST_F(Stream, IsOpenAndGoodAfterRegistration) {
    ASSERT_TRUE(enroll());
    EXPECT_TRUE(target.stream.is_open());
    EXPECT_TRUE(target.stream.good());
    EXPECT_TRUE(target.streamAttached);
    leave();
    EXPECT_FALSE(target.stream.is_open());
}

TEST_F(Stream, PutsEachTextIntoTheFileAtOnce) {
    enroll();
    std::string expected;
    for (const std::string& text : {std::string("a"), std::string("two words\n"), std::string(100000, 'x'),
                                    std::string("a\0b", 3), std::string("end")}) {
        target.stream << text;
        expected += text;
        EXPECT_TRUE(content() == expected) << text.substr(0, 20);
    }
    target.stream << "literal";
    EXPECT_THAT(content(), EndsWith("endliteral"));
    target.stream.write("bytes", 5);
    EXPECT_THAT(content(), EndsWith("literalbytes"));
    EXPECT_TRUE(target.stream.good());
}

TEST_F(Stream, NeedsOneWriteForEachText) {
    if (!writeCalls()) {
        GTEST_SKIP() << "needs /proc/self/io: it counts writes";
    }
    enroll();
    // libc++ goes through the C library, which writes blocks of 4,096 bytes.
#ifdef _LIBCPP_VERSION
    constexpr std::size_t longest = 4095;
#else
    constexpr std::size_t longest = 100'000;
#endif
    for (const std::string& text : {std::string("a"), std::string(longest, 'x')}) {
        long before = *writeCalls();
        target.stream << text;
        EXPECT_EQ(*writeCalls() - before, 1);
        before = *writeCalls();
        target.stream.write(text.data(), static_cast<std::streamsize>(text.size()));
        EXPECT_EQ(*writeCalls() - before, 1);
        before = *writeCalls();
        target.stream.flush();
        EXPECT_EQ(*writeCalls() - before, 0);
    }
}

TEST_F(Stream, IsMixedWithRecordsInTheirOrder) {
    enroll();
    target.stream << "before\n";
    write("record");
    target.stream << "after\n";
    EXPECT_THAT(content(), AllOf(StartsWith("before\n"), EndsWith(" | record\nafter\n")));
}

TEST_F(Stream, AppendsBehindWhatOthersAppended) {
    enroll();
    target.stream << "1";
    std::ofstream(path, std::ios::app) << "2";
    target.stream << "3";
    std::ofstream(path, std::ios::app) << "4\n";
    write("record");
    EXPECT_THAT(content(), AllOf(StartsWith("1234\n"), EndsWith(" | record\n")));
}

TEST_F(Stream, TellsAPositionThatGrows) {
    writeFile(path, "earlier\n");
    enroll();
    write("one");
    // The C library under libc++ remembers the position until it is told to look.
    const auto position = [this] { return target.stream.seekp(0, std::ios::end).tellp(); };
    const auto first = position();
    EXPECT_EQ(first, static_cast<std::streamoff>(content().size()));
    write("two");
    EXPECT_GT(position(), first);
    target.stream << "text";
    EXPECT_EQ(position(), static_cast<std::streamoff>(content().size()));
}

TEST_F(Stream, DropsRecordsInAFailedStateUntilTheNextRegistration) {
    for (const auto state : {std::ios::badbit, std::ios::failbit}) {
        ASSERT_TRUE(enroll());
        target.stream.setstate(state);
        expectRecordsNowhere();
        expectRecordsNowhere();
        EXPECT_EQ(target.stream.rdstate() & state, state);
        ASSERT_TRUE(enroll());
        EXPECT_TRUE(target.stream.good());
        expectRecordsInTheLog();
    }
}

TEST_F(Stream, TakesRecordsAgainWhenItsOwnerClearsIt) {
    enroll();
    target.stream.setstate(std::ios::badbit);
    expectRecordsNowhere();
    target.stream.clear();
    expectRecordsInTheLog();
}

TEST_F(Stream, LosesRecordsWhileItIsClosed) {
    enroll();
    target.stream.close();
    expectRecordsNowhere();
    ASSERT_TRUE(enroll());
    expectRecordsInTheLog();
}

TEST_F(Stream, LeadsRecordsToTheFileThatItsOwnerOpens) {
    enroll();
    write("first");
    openStreamAgain(other);
    expectRecordsOnlyInTheOther();
    ASSERT_TRUE(enroll());
    expectRecordsInTheLog();
}

TEST_F(Stream, LeadsRecordsToAFileThatWasOpenedInAnyMode) {
    for (const auto mode : {std::ios::out, std::ios::out | std::ios::trunc, std::ios::in | std::ios::out,
                            std::ios::in | std::ios::out | std::ios::app}) {
        enroll();
        writeFile(other, "");
        openStreamAgain(other, mode);
        expectRecordsOnlyInTheOther();
    }
}

TEST_F(Stream, LeadsRecordsToAFileOpenedAfterAFailure) {
    enroll();
    openStreamAgain(home / "missing/other.log");
    expectRecordsNowhere();
    target.stream.clear();
    target.stream.open(other, std::ios::out | std::ios::app);
    expectRecordsOnlyInTheOther();
}

TEST_F(Stream, LeadsRecordsToTheLogThatItsOwnerOpensAgain) {
    enroll();
    write("first");
    openStreamAgain(path);
    expectRecordsInTheLog();
    expectRecordsInTheLog();
}

TEST_F(Stream, LeadsRecordsToAnotherFileThatTookTheLogsName) {
    enroll();
    fs::rename(path, home / "moved.log");
    writeFile(path, "");
    openStreamAgain(path);
    expectRecordsInTheLog();
    EXPECT_EQ(readFile(home / "moved.log"), "");
}

TEST_F(Stream, StaysWithItsFileWhateverItsName) {
    enroll();
    fs::rename(path, home / "moved.log");
    writeFile(path, "foreign");
    write("record");
    EXPECT_THAT(readFile(home / "moved.log"), EndsWith(" | record\n"));
    EXPECT_EQ(readFile(path), "foreign");
}

TEST_F(Stream, LosesRecordsAfterItWasMovedAway) {
    enroll();
    std::fstream moved(std::move(target.stream));
    EXPECT_TRUE(moved.is_open());
    expectRecordsNowhere();
    moved << "still open" << std::flush;
    EXPECT_EQ(content(), "still open");
    moved.close();
    ASSERT_TRUE(enroll());
    expectRecordsInTheLog();
}

TEST_F(Stream, LeadsRecordsToTheFileThatItsOwnerOpensAfterItWasMovedAway) {
    enroll();
    const std::fstream moved(std::move(target.stream));
    target.stream.open(other, std::ios::out | std::ios::app);
    expectRecordsOnlyInTheOther();
}

TEST_F(Stream, TakesRecordsAgainAfterItWasMovedBack) {
    enroll();
    std::fstream moved(std::move(target.stream));
    target.stream = std::move(moved);
    expectRecordsInTheLog();
    target.stream << "text";
    EXPECT_THAT(content(), EndsWith("text")) << "at once";
}

TEST_F(Stream, LeadsRecordsToTheStreamThatWasMovedThere) {
    enroll();
    target.stream = std::fstream(other, std::ios::out | std::ios::app);
    expectRecordsOnlyInTheOther();
}

TEST_F(Stream, LeadsRecordsToTheStreamThatItWasSwappedWith) {
    enroll();
    std::fstream swapped(other, std::ios::out | std::ios::app);
    target.stream.swap(swapped);
    expectRecordsOnlyInTheOther();
    target.stream.swap(swapped);
    expectRecordsInTheLog();
}

TEST_F(Stream, LeadsRecordsToTheBufferThatItsOwnerGivesIt) {
    enroll();
    std::stringbuf text;
    std::ios& stream = target.stream;
    auto* const file = stream.rdbuf(&text);
    write("elsewhere");
    EXPECT_THAT(text.str(), EndsWith(" | elsewhere\n"));
    EXPECT_EQ(content(), "");
    stream.rdbuf(file);
    expectRecordsInTheLog();
}

TEST_F(Stream, LeadsToNoFileThatHasItsDescriptorsNumberNow) {
    enroll();
    target.stream.close();
    std::vector<int> numbers;
    for (int i = 0; i < 16; ++i) {
        numbers.push_back(::open(other.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    }
    expectRecordsNowhere();
    leave();
    for (const int number : numbers) {
        EXPECT_EQ(::close(number), 0) << "somebody closed it";
    }
    EXPECT_EQ(readFile(other), "");
}

TEST_F(Stream, IsNotTouchedByAScratchStream) {
    enroll();
    {
        std::fstream scratch;
        ASSERT_TRUE(target.SetStreamHandle(scratch));
        EXPECT_TRUE(target.stream.is_open());
        EXPECT_TRUE(target.stream.good());
        expectRecordsInTheLog();
        scratch << "scratch\n" << std::flush;
        EXPECT_THAT(content(), EndsWith(" | to the log\nscratch\n"));
        expectRecordsInTheLog();
        scratch.close();
        expectRecordsInTheLog();
        ASSERT_TRUE(target.SetStreamHandle(scratch));
    }
    expectRecordsInTheLog();
    target.stream << "text";
    EXPECT_THAT(content(), EndsWith("text")) << "at once";
}

TEST_F(Stream, StaysOnItsFileWhenAScratchStreamIsOpenedOnAnother) {
    enroll();
    std::fstream scratch;
    target.logFilePath = other;
    ASSERT_TRUE(target.SetStreamHandle(scratch));
    target.logFilePath = path;
    expectRecordsInTheLog();
    scratch << "scratch" << std::flush;
    EXPECT_EQ(readFile(other), "scratch");
    scratch.close();
    expectRecordsInTheLog();
}

TEST_F(Stream, StaysGoodWhenAScratchStreamCannotBeOpened) {
    enroll();
    std::fstream scratch;
    target.logFilePath = home / "missing/test.log";
    EXPECT_FALSE(target.SetStreamHandle(scratch));
    EXPECT_FALSE(scratch.is_open());
    target.logFilePath = path;
    EXPECT_TRUE(target.stream.good());
    expectRecordsInTheLog();
}

TEST_F(Stream, OutlivesTheTargetAsAScratchStream) {
    std::fstream scratch;
    {
        elmu::LogTargetDefault brief("brief");
        brief.logFilePath = path;
        ASSERT_TRUE(brief.SetStreamHandle(scratch));
    }
    scratch << "text" << std::flush;
    EXPECT_EQ(content(), "text");
}

TEST_F(Stream, MovesToTheFileThatIsSetWhileItIsRegistered) {
    enroll();
    write("first");
    ASSERT_TRUE(target.setLogFile("other.log", home.path().c_str()));
    EXPECT_TRUE(target.stream.good());
    expectRecordsOnlyInTheOther();
}

TEST_F(Stream, LeavesNoDescriptorOpen) {
    std::fstream(path).close();
    const auto before = support::openDescriptors();
    for (int i = 0; i < 3; ++i) {
        elmu::LogTargetDefault brief("brief");
        brief.logFilePath = path;
        ASSERT_TRUE(elmu::LoggingCore::getInstance()->registerTarget(&brief));
        brief.stream.close();
        brief.stream.open(other);
        ASSERT_TRUE(elmu::LoggingCore::getInstance()->registerTarget(&brief));
        EXPECT_TRUE(elmu::LoggingCore::getInstance()->unregisterTarget(&brief));
    }
    EXPECT_EQ(support::openDescriptors(), before);
}

TEST_F(Stream, StaysWithARenamedFileAlsoWhenItsSizeIsDue) {
    for (const bool isReplaced : {false, true}) {
        ASSERT_TRUE(enroll());
        write("first");
        const std::string moved = home / (isReplaced ? "replaced.log" : "moved.log");
        fs::rename(path, moved);
        if (isReplaced) {
            writeFile(path, "foreign");
        }
        target.lastSegmentCheckTime -= 900;
        write("second");
        write("third");
        EXPECT_THAT(readFile(moved),
                    AllOf(HasSubstr(" | first\n"), HasSubstr(" | second\n"), EndsWith(" | third\n")));
        EXPECT_TRUE(target.stream.good());
        if (isReplaced) {
            EXPECT_EQ(readFile(path), "foreign");
        }
        fs::remove(path);
    }
}

TEST_F(Stream, CanBeReadWhereItsOwnerOpensItForThat) {
    enroll();
    write("earlier");
    target.stream.close();
    target.stream.open(path, std::ios::in | std::ios::out | std::ios::app);
    const std::string before = content();
    write("one");
    write("two");
    const std::string whole = content();
    EXPECT_THAT(whole, AllOf(StartsWith(before), HasSubstr(" | one\n"), EndsWith(" | two\n")));
    target.stream.seekg(0);
    std::string line;
    std::string lines;
    while (std::getline(target.stream, line)) {
        lines += line + "\n";
    }
    EXPECT_EQ(lines, whole);
}

TEST_F(Stream, TellsWhereTheLastRecordEnded) {
    enroll();
    write("record");
#ifndef _LIBCPP_VERSION // which remembers the position
    EXPECT_EQ(target.stream.tellp(), static_cast<std::streamoff>(content().size()));
#endif
}

TEST_F(Stream, EndsAKilledWritersLineAlsoBehindALink) {
    std::string torn = "11/21/26 10:58:49:007 | [INFO] | ";
    torn.resize(4096, 'x');
    writeFile(home / "real.log", torn);
    fs::remove(path);
    fs::create_symlink("real.log", path);
    ASSERT_TRUE(enroll());
    write("record");
    EXPECT_THAT(content(), AllOf(StartsWith(torn + "\n"), EndsWith(" | record\n")));
}

/// Unregisters itself when it is to write a line.
class LeavingTarget : public elmu::LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;
    void WriteStream(const char* /*text*/) override { onUnregisterTarget(); }
};

using LeavingStream = support::FileTargetTest<LeavingTarget>;

TEST_F(LeavingStream, LeavesALockThatOthersCanTake) {
    ASSERT_TRUE(enroll());
    EXPECT_TRUE(write("dropped"));
    EXPECT_EQ(target.logLock, nullptr);
    EXPECT_EQ(set(), -1) << "its set is gone";
}

/// Has its records in a file of its own.
class DivertedTarget : public elmu::LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;
    bool SetStreamHandle(std::fstream& s) override {
        if (s.is_open()) {
            s.close();
        }
        s.clear();
        s.open(logFilePath + ".diverted", std::ios::out | std::ios::app);
        return s.good();
    }
};

class DivertedStream : public support::FileTargetTest<DivertedTarget> {
  protected:
    DivertedStream() { writeFile(path, ""); } // for the lock

    std::string diverted() const { return readFile(path + ".diverted"); }
};

TEST_F(DivertedStream, HasTheRecordsInTheFileThatTheSubclassOpens) {
    ASSERT_TRUE(enroll());
    EXPECT_TRUE(target.streamAttached);
    write("one");
    EXPECT_THAT(diverted(), EndsWith(" | one\n"));
    writeUnlocked("two");
    EXPECT_THAT(diverted(), EndsWith(" | two\n"));
    EXPECT_EQ(content(), "");
}

TEST_F(DivertedStream, HasTheRecordsThereAfterARepeatedRegistration) {
    enroll();
    write("one");
    ASSERT_TRUE(enroll());
    write("two");
    EXPECT_THAT(diverted(), AllOf(HasSubstr(" | one\n"), EndsWith(" | two\n")));
    EXPECT_EQ(content(), "");
}

/// Writes a line into each stream that it opens.
class GreetingTarget : public elmu::LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;
    bool SetStreamHandle(std::fstream& s) override {
        const bool isOpened = LogTargetDefault::SetStreamHandle(s);
        s << "opened\n";
        return isOpened;
    }
};

using GreetingStream = support::FileTargetTest<GreetingTarget>;

TEST_F(GreetingStream, HasWhatTheSubclassWritesWhenItOpensTheLog) {
    const std::string before = content();
    enroll();
    EXPECT_EQ(content(), before + "opened\n");
    write("one");
    EXPECT_THAT(content(), AllOf(StartsWith(before + "opened\n"), EndsWith(" | one\n")));
}

/// Opens the log by a stream of its own making and moves that into the target's.
class MovingTarget : public elmu::LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;
    bool SetStreamHandle(std::fstream& s) override {
        std::fstream opened;
        const bool isOpened = LogTargetDefault::SetStreamHandle(opened);
        s = std::move(opened);
        return isOpened;
    }
};

using MovedStream = support::FileTargetTest<MovingTarget>;

TEST_F(MovedStream, HasTheRecordsWhenTheSubclassMovesItIn) {
    ASSERT_TRUE(enroll());
    write("one");
    write("two");
    EXPECT_THAT(content(), AllOf(HasSubstr(" | one\n"), EndsWith(" | two\n")));
    target.stream << "text" << std::flush;
    EXPECT_THAT(content(), EndsWith(" | two\ntext"));
}

} // namespace

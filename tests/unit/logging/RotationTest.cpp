#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/Clock.h"
#include "support/FileTargetTest.h"
#include "support/InChild.h"
#include "support/Scopes.h"
#include "support/WorkingFolder.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/LoggingCore.h>

namespace {

namespace fs = std::filesystem;

using elmu::LoggingCore;
using elmu::LogTargetDefault;
using support::readFile;
using support::ScopedFileSizeLimit;
using support::ScopedTimeZone;
using support::writeFile;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::UnorderedElementsAre;

constexpr long long mebibyte = 1024 * 1024;
constexpr long long infoLimit = 10 * mebibyte;

const std::string rule(78, '*');

/// The zone in which it is noon now, so that no date changes during a test.
std::string zoneWhereItIsNoon() {
    const long ahead = 12L * 3600 - static_cast<long>(support::now() % 86400);
    const long west = std::labs(ahead);
    std::array<char, 32> zone{};
    std::snprintf(zone.data(), zone.size(), "HCD%s%02ld:%02ld:%02ld", ahead > 0 ? "-" : "+", west / 3600,
                  west / 60 % 60, west % 60);
    return zone.data();
}

/// The local date `days` times 24 hours from now.
std::string dateIn(int days) {
    const std::time_t time = support::now() + days * 86400L;
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d", std::localtime(&time));
    return text.data();
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

/// A log of `size` bytes that begins with the line `first`; the rest takes no room on the disk.
void fill(const std::string& log, long long size, const std::string& first = "first line") {
    std::ofstream(log, std::ios::trunc) << first << '\n';
    fs::resize_file(log, static_cast<std::uintmax_t>(size));
}

/// The names in `folder` that are dated copies of test.log, the oldest first.
std::vector<std::string> copiesIn(const std::string& folder) {
    const std::regex dated("test \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.log");
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (std::regex_match(name, dated)) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// Every path below `folder`, relative to it.
std::vector<std::string> everythingBelow(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        names.push_back(entry.path().lexically_relative(folder).string());
    }
    return names;
}

template <class Target = LogTargetDefault> class RotatingLog : public support::FileTargetTest<Target> {
  protected:
    void fill(long long size = infoLimit, const std::string& first = "first line") {
        ::fill(this->path, size, first);
    }
    std::vector<std::string> copies() const { return copiesIn(this->home.path()); }
    std::string copy() const {
        const auto names = copies();
        EXPECT_THAT(names, SizeIs(1));
        return names.empty() ? std::string() : readFile(this->home / names.front());
    }
    bool isRotated() const { return fs::file_size(this->path) == 0 && copies().size() == 1; }

    bool writeAt(long long seconds, const char* message = "record", bool locked = true) {
        return this->target.writeLog(elmu::INFO, "c1", "c2", "c3", "c4", "d1", "d2", message, nullptr,
                                     static_cast<unsigned long long>(seconds) * 1000, locked);
    }
    /// An empty file `name` in the log's folder.
    std::string place(const std::string& name) {
        writeFile(this->home / name, "");
        return this->home / name;
    }
    bool has(const std::string& name) const { return fs::exists(fs::symlink_status(this->home / name)); }
    /// Every path in the log's folder but those of the home folder's own Library.
    std::vector<std::string> everything() const {
        auto names = everythingBelow(this->home.path());
        names.erase(std::remove_if(names.begin(), names.end(),
                                   [](const std::string& name) { return name.rfind("Library", 0) == 0; }),
                    names.end());
        return names;
    }
};

class Rotation : public RotatingLog<> {};

struct LevelCase {
    int level;
    long long size;
    bool rotates;
};

class RotationAtLevel : public RotatingLog<>, public testing::WithParamInterface<LevelCase> {};

TEST_P(RotationAtLevel, HappensAtRegistrationFromTheLimitOn) {
    target.setLogLevel(static_cast<elmu::Log_Level>(GetParam().level));
    fill(GetParam().size);
    EXPECT_TRUE(enroll());
    EXPECT_EQ(isRotated(), GetParam().rotates);
    EXPECT_EQ(target.headerPending, GetParam().rotates);
}

INSTANTIATE_TEST_SUITE_P(
    Levels, RotationAtLevel,
    testing::Values(LevelCase{elmu::INFO, 10485759, false}, LevelCase{elmu::INFO, 10485760, true},
                    LevelCase{elmu::DEBUG, 20971519, false}, LevelCase{elmu::DEBUG, 20971520, true},
                    LevelCase{elmu::DEBUG, 30 * mebibyte, true}, LevelCase{elmu::TRACE, 30 * mebibyte, false},
                    LevelCase{elmu::TRACE, 52428799, false}, LevelCase{elmu::TRACE, 52428800, true},
                    LevelCase{elmu::INFO, 30 * mebibyte, true}, LevelCase{elmu::ALL, 10485760, true},
                    LevelCase{elmu::ERROR, 10485759, false}, LevelCase{elmu::ERROR, 10485760, true},
                    LevelCase{elmu::NONE, 10485760, true}, LevelCase{15, 10485760, true},
                    LevelCase{-1, 10485760, true}));

#ifdef RENAME_EXCHANGE
TEST_F(Rotation, DoesNotHappenForTheSizeOfWhatIsInTheLogsPlaceForAMoment) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: an ordinary user's own file may have two names";
    }
    ASSERT_EQ(::chmod(home.path().c_str(), 0777), 0);
    const std::string large = home / "large"; // refused as a log: it has a second name
    fill(1000);
    ::fill(large, infoLimit);
    fs::create_hard_link(large, home / "second");
    std::atomic<bool> isDone = false;
    std::thread racer([&] {
        while (!isDone) {
            ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, large.c_str(), RENAME_EXCHANGE);
        }
    });
    for (int i = 0; i < 3000; ++i) {
        target.SegmentLogFile(true);
    }
    isDone = true;
    racer.join();
    EXPECT_THAT(copies(), IsEmpty());
}
#endif

TEST_F(Rotation, PutsTheWholeContentIntoADatedCopyAndEmptiesTheLog) {
    fill();
    const std::string before = content();
    EXPECT_TRUE(enroll());
    EXPECT_EQ(content(), "");
    EXPECT_TRUE(copy() == before);
    EXPECT_THAT(everything(), UnorderedElementsAre("test.log", copies().front()));
}

/// A log as large as the limit whose last line is unfinished and begins with `start`.
std::string endingWith(const std::string& start) {
    const std::string end = "\n" + start + std::string(5000, 'x');
    return std::string(static_cast<std::size_t>(infoLimit) - end.size(), '-') + end;
}

TEST_F(Rotation, CopiesAnUnfinishedLine) {
    for (const std::string begun : {"11/21/26 10:58:49:007 | [INFO] | ", "somebody's "}) {
        const std::string whole = endingWith(begun);
        writeFile(path, whole);
        enroll();
        EXPECT_TRUE(copy() == whole);
        EXPECT_EQ(content(), "");
        fs::remove(home / copies().front());
        leave();
    }
}

TEST_F(Rotation, NamesTheCopyAfterTheLocalTimeOfTheRotation) {
    const ScopedTimeZone zone("HCD-05:30");
    fill();
    const std::time_t before = support::now();
    enroll();
    const std::time_t after = support::now();
    ASSERT_THAT(copies(), SizeIs(1));
    std::tm parsed = {};
    ASSERT_NE(::strptime(copies().front().c_str(), "test %Y-%m-%d %H-%M-%S.log", &parsed), nullptr);
    parsed.tm_isdst = -1;
    const std::time_t time = std::mktime(&parsed);
    EXPECT_GE(time, before);
    EXPECT_LE(time, after);
}

TEST_F(Rotation, LeavesTheLogTheSameFileWithItsMode) {
    fill();
    ASSERT_EQ(::chmod(path.c_str(), 0660), 0);
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(::stat(path.c_str(), &before), 0);
    enroll();
    ASSERT_EQ(::stat(path.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
}

TEST_F(Rotation, WritesNoHeaderWithoutARecord) {
    fill();
    enroll();
    EXPECT_TRUE(target.headerPending);
    leave();
    EXPECT_EQ(content(), "");
}

TEST_F(Rotation, MakesTheNextRecordBeginTheFileWithAHeaderInItsContext) {
    fill();
    enroll();
    writeAt(support::now());
    const auto lines = linesOf(content());
    ASSERT_THAT(lines, SizeIs(7));
    const std::string context = " | [INFO] | c1 | c2 | c3 | c4 |  |  | 4711 | ";
    EXPECT_THAT(lines[0], EndsWith(context + rule));
    EXPECT_THAT(lines[1], HasSubstr(context + "Bit: "));
    EXPECT_THAT(lines[2], HasSubstr(context + "OS Locale: "));
    EXPECT_THAT(lines[3], HasSubstr(context + "OS Name: "));
    EXPECT_THAT(lines[4], HasSubstr(context + "OS Version: "));
    EXPECT_THAT(lines[5], EndsWith(context + rule));
    EXPECT_THAT(lines[6], EndsWith(" | [INFO] | c1 | c2 | c3 | c4 | d1 | d2 | 4711 | record"));
}

TEST_F(Rotation, MakesOneHeaderDueAndNoMore) {
    fill();
    enroll();
    writeAt(support::now());
    writeAt(support::now());
    EXPECT_FALSE(target.headerPending);
    EXPECT_THAT(linesOf(content()), SizeIs(8));
}

TEST_F(Rotation, LeavesTheRecordsOfAnotherTargetsStreamInTheEmptiedFile) {
    LogTargetDefault other("other");
    ASSERT_TRUE(other.setLogFile("test.log", home.path().c_str()));
    ASSERT_TRUE(LoggingCore::getInstance()->registerTarget(&other));
    fill();
    ASSERT_TRUE(enroll());
    other.writeLog(elmu::INFO, "", "", "", "", "", "", "theirs", nullptr, 0, true);
    EXPECT_THAT(content(), MatchesRegex("[^\n]* \\| theirs\n"));
    writeAt(support::now(), "ours");
    EXPECT_THAT(linesOf(content()), SizeIs(8));
    LoggingCore::getInstance()->unregisterTarget(&other);
}

TEST_F(Rotation, KeepsEveryCopyOfRotationsInOneSecond) {
    writeFile(home / "ruk.trace", "keeplogs");
    enroll();
    for (const char* first : {"one", "two", "three", "four"}) {
        fill(infoLimit, first);
        EXPECT_TRUE(target.SegmentLogFile(true));
    }
    std::vector<std::string> firstLines;
    for (const std::string& name : copies()) {
        firstLines.push_back(linesOf(readFile(home / name)).front());
        EXPECT_EQ(fs::file_size(home / name), infoLimit);
    }
    EXPECT_THAT(firstLines, ElementsAre("one", "two", "three", "four"));
}

TEST_F(Rotation, OpensAStreamThatHadFailed) {
    enroll();
    target.stream.setstate(std::ios::badbit);
    fill();
    EXPECT_TRUE(target.SegmentLogFile(true));
    writeAt(support::now(), "found");
    EXPECT_THAT(content(), EndsWith(" | found\n"));
}

/// Opens its own file, and does not close the stream before.
class OtherFileTarget : public LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;
    bool SetStreamHandle(std::fstream& s) override {
        s.open(logFilePath + ".other", std::ios::out | std::ios::app);
        return s.good();
    }
};

class OtherFileRotation : public RotatingLog<OtherFileTarget> {};

TEST_F(OtherFileRotation, ClosesAFailedStreamBeforeItIsOpened) {
    fill();
    target.stream.open(home / "failed", std::ios::out);
    target.stream.setstate(std::ios::badbit);
    EXPECT_TRUE(target.SegmentLogFile(true));
    EXPECT_TRUE(target.stream.good());
}

TEST_F(Rotation, IgnoresItsArgument) {
    enroll();
    fill();
    EXPECT_TRUE(target.SegmentLogFile(false));
    EXPECT_TRUE(isRotated());
}

TEST_F(Rotation, DoesNothingBelowTheLimit) {
    enroll();
    const std::string old = place("test 2001-01-01 00-00-00.log");
    fill(infoLimit - 1);
    EXPECT_TRUE(target.SegmentLogFile(true));
    EXPECT_EQ(fs::file_size(path), infoLimit - 1);
    EXPECT_FALSE(target.headerPending);
    EXPECT_TRUE(fs::exists(old)) << "pruning belongs to a rotation";
}

TEST_F(Rotation, FailsForAMissingLogAndMakesNone) {
    enroll();
    fs::remove(path);
    EXPECT_FALSE(target.SegmentLogFile(true));
    EXPECT_FALSE(target.headerPending);
    EXPECT_THAT(everything(), IsEmpty());
}

TEST_F(Rotation, GivesTheLockBackAfterItself) {
    fill();
    enroll();
    EXPECT_EQ(support::memberValue(set(), support::lockMember), 1);
}

/// Tells how the log was when its stream was opened, and may refuse.
class WatchedTarget : public LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;

    bool SetStreamHandle(std::fstream& s) override {
        std::error_code ignored;
        sizes.push_back(fs::file_size(logFilePath, ignored));
        return !refuses && LogTargetDefault::SetStreamHandle(s);
    }

    bool refuses = false;
    std::vector<std::uintmax_t> sizes;
};

TEST_F(Rotation, KeepsTheNewestContentOfSeveralInOneSecond) {
    enroll();
    for (const char* first : {"A", "B", "C", "D", "E"}) {
        fill(infoLimit, first);
        ASSERT_TRUE(target.SegmentLogFile(true));
    }
    std::string firsts;
    for (const std::string& name : copies()) {
        firsts += readFile(home / name).front();
    }
    EXPECT_EQ(firsts, "DE");
}

TEST_F(Rotation, KeepsALogWithoutAnExtension) {
    target.setLogFile("HCD", home.path().c_str());
    ASSERT_TRUE(enroll());
    for (const char* first : {"A", "B", "C", "D"}) {
        ::fill(home / "HCD", infoLimit, first);
        ASSERT_TRUE(target.SegmentLogFile(true));
        EXPECT_TRUE(has("HCD")) << first;
    }
    elmu::LoggingCore::getInstance()->unregisterTarget(&target);
}

TEST_F(Rotation, KeepsALogWhoseNameIsAllExtension) {
    for (const char* name : {".log", "..log"}) {
        target.setLogFile(name, home.path().c_str());
        ::fill(home / name, infoLimit, "first line");
        ASSERT_TRUE(enroll());
        EXPECT_TRUE(has(name)) << name;
        elmu::LoggingCore::getInstance()->unregisterTarget(&target);
    }
}

TEST_F(Rotation, ReadsNoMoreOfTheMarkerThanItNeeds) {
    place("ruk.trace");
    fs::resize_file(home / "ruk.trace", std::uintmax_t{1} << 36);
    fill();
    EXPECT_TRUE(enroll());
    EXPECT_TRUE(isRotated());
}

class WatchedRotation : public RotatingLog<WatchedTarget> {};

TEST_F(WatchedRotation, ReopensTheEmptiedLogThroughTheVirtualOperation) {
    enroll();
    target.sizes.clear();
    fill();
    EXPECT_TRUE(target.SegmentLogFile(true));
    EXPECT_THAT(target.sizes, ElementsAre(0U));
}

TEST_F(WatchedRotation, FailsWhenReopeningFailsAndLosesLaterRecords) {
    enroll();
    fill();
    target.refuses = true;
    EXPECT_FALSE(target.SegmentLogFile(true));
    EXPECT_FALSE(target.stream.is_open());
    EXPECT_TRUE(isRotated());
    EXPECT_TRUE(target.headerPending);
    writeAt(support::now(), "lost");
    EXPECT_EQ(content(), "");
}

TEST_F(WatchedRotation, IsRepairedByTheNextRegistrationWhenReopeningFailed) {
    enroll();
    fill();
    target.refuses = true;
    target.SegmentLogFile(true);
    target.refuses = false;
    ASSERT_TRUE(enroll());
    writeAt(support::now(), "found");
    EXPECT_THAT(content(), EndsWith(" | found\n"));
}

TEST_F(WatchedRotation, PrunesAlsoWhenReopeningFails) {
    enroll();
    place("test 2001-01-01 00-00-00.log");
    fill();
    target.refuses = true;
    target.SegmentLogFile(true);
    EXPECT_FALSE(has("test 2001-01-01 00-00-00.log"));
}

TEST_F(Rotation, FailsWhenTheLogCanBeReadButNotEmptied) {
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(home.path().c_str(), support::ordinaryUser, support::ordinaryUser), 0);
    }
    fill();
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    support::asOrdinaryUser([this] {
        const std::string before = content();
        EXPECT_FALSE(target.SegmentLogFile(true));
        EXPECT_TRUE(content() == before);
        EXPECT_TRUE(target.headerPending);
    });
}

class FailingCopy : public RotatingLog<> {
  protected:
    /// Looks at the log while no file can be made as large as it is.
    bool segmentOnAFullDisk() {
        const ScopedFileSizeLimit full(5 * mebibyte);
        return target.SegmentLogFile(true);
    }
};

TEST_F(FailingCopy, LeavesTheLogWholeOnAFullDisk) {
    enroll();
    fill();
    const std::string before = content();
    EXPECT_TRUE(segmentOnAFullDisk()) << "the log is open again";
    EXPECT_TRUE(content() == before);
    EXPECT_THAT(everything(), ElementsAre("test.log")) << "half a copy is no copy";
}

TEST_F(FailingCopy, StillMakesAHeaderDueInTheMiddleOfTheFile) {
    enroll();
    fill();
    segmentOnAFullDisk();
    EXPECT_TRUE(target.headerPending);
    writeAt(support::now());
    const std::string after = content();
    EXPECT_THAT(after.substr(0, 11), "first line\n");
    const auto lines = linesOf(after.substr(infoLimit));
    ASSERT_THAT(lines, SizeIs(7));
    EXPECT_THAT(lines.front(), EndsWith(rule));
    EXPECT_THAT(lines.back(), EndsWith(" | record"));
}

TEST_F(FailingCopy, IsTriedAgainAtTheNextCheck) {
    enroll();
    fill();
    segmentOnAFullDisk();
    EXPECT_TRUE(target.SegmentLogFile(true));
    EXPECT_TRUE(isRotated());
}

TEST_F(FailingCopy, WaitsForTheNextIntervalBeforeItIsTriedAgain) {
    enroll();
    const long long start = target.lastSegmentCheckTime;
    writeAt(start + 900);
    fill();
    {
        const ScopedFileSizeLimit full(5 * mebibyte);
        writeAt(start + 901);
    }
    EXPECT_EQ(target.lastSegmentCheckTime, start + 900);
    writeAt(start + 902);
    EXPECT_THAT(copies(), IsEmpty());
}

TEST_F(FailingCopy, StillPrunes) {
    enroll();
    place("test 2001-01-01 00-00-00.log");
    fill();
    segmentOnAFullDisk();
    EXPECT_FALSE(has("test 2001-01-01 00-00-00.log"));
}

TEST_F(FailingCopy, LeavesTheLogWholeInAFolderThatTheUserMayNotWriteTo) {
    fill();
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(home.path().c_str(), 0555), 0);
    support::asOrdinaryUser([this] {
        const std::string before = content();
        ASSERT_TRUE(target.SetStreamHandle(target.stream));
        EXPECT_TRUE(target.SegmentLogFile(true));
        EXPECT_TRUE(content() == before);
        EXPECT_TRUE(target.headerPending);
        writeAt(support::now(), "record", false);
        EXPECT_TRUE(content().compare(0, before.size(), before) == 0);
        EXPECT_THAT(content(), EndsWith(" | record\n"));
    });
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
    EXPECT_THAT(everything(), ElementsAre("test.log"));
}

TEST_F(FailingCopy, DoesNotKeepTheTargetFromBeingRegistered) {
    fill();
    const ScopedFileSizeLimit full(5 * mebibyte);
    EXPECT_TRUE(enroll());
    EXPECT_EQ(fs::file_size(path), infoLimit);
}

/// The check that records cause, by their own time.
class RecordTime : public RotatingLog<> {
  protected:
    RecordTime() {
        EXPECT_TRUE(enroll());
        start = target.lastSegmentCheckTime;
    }

    long long start = 0; ///< of the interval
};

TEST_F(RecordTime, CausesNoCheck899SecondsAfterTheLast) {
    writeAt(start + 899);
    fill();
    writeAt(start + 5000);
    EXPECT_THAT(copies(), IsEmpty());
    EXPECT_EQ(target.lastSegmentCheckTime, start);
}

TEST_F(RecordTime, CausesACheck900SecondsAfterTheLast) {
    writeAt(start + 900);
    fill();
    writeAt(start + 900);
    EXPECT_THAT(copies(), SizeIs(1));
    EXPECT_THAT(linesOf(content()), SizeIs(7)) << "a header and the record";
}

TEST_F(RecordTime, CountsThePreviousRecordNotTheOneThatIsWritten) {
    fill();
    writeAt(start + 100000);
    EXPECT_THAT(copies(), IsEmpty());
    writeAt(start);
    EXPECT_THAT(copies(), SizeIs(1));
}

TEST_F(RecordTime, BeginsANewIntervalAtThePreviousRecordWhenTheSizeWasRead) {
    writeAt(start + 1000);
    writeAt(start + 1899);
    EXPECT_EQ(target.lastSegmentCheckTime, start + 1000);
    fill();
    writeAt(start + 1900);
    EXPECT_THAT(copies(), IsEmpty());
    writeAt(start + 1901);
    EXPECT_THAT(copies(), SizeIs(1));
    EXPECT_EQ(target.lastSegmentCheckTime, start + 1900);
}

TEST_F(RecordTime, CausesAChecksRepetitionUntilTheSizeCanBeRead) {
    writeAt(start + 900);
    fs::remove(path);
    writeAt(start + 901);
    EXPECT_EQ(target.lastSegmentCheckTime, start);
    writeAt(start + 902);
    EXPECT_EQ(target.lastSegmentCheckTime, start);
    fill();
    writeAt(start + 903);
    EXPECT_THAT(copies(), SizeIs(1));
    EXPECT_EQ(target.lastSegmentCheckTime, start + 902);
}

TEST_F(RecordTime, CausesNoCheckWhenItGoesBack) {
    fill();
    writeAt(start - 100000);
    writeAt(start - 100000);
    EXPECT_THAT(copies(), IsEmpty());
}

TEST_F(RecordTime, IsComparedIn32Bits) {
    fill();
    target.lastRecordTime = INT_MAX;
    target.lastSegmentCheckTime = INT_MIN;
    writeAt(start);
    EXPECT_THAT(copies(), IsEmpty());
    target.lastRecordTime = INT_MIN + 900;
    target.lastSegmentCheckTime = INT_MAX;
    writeAt(start);
    EXPECT_THAT(copies(), SizeIs(1)) << "901 seconds later";
}

TEST_F(RecordTime, CausesNoCheckForARecordWithoutLock) {
    fill();
    writeAt(start + 900, "record", false);
    writeAt(start + 900, "record", false);
    EXPECT_THAT(copies(), IsEmpty());
}

TEST_F(RecordTime, CausesNoCheckForADroppedRecord) {
    fill();
    writeAt(start + 900);
    target.setLogLevel(elmu::ERROR);
    writeAt(start + 901);
    EXPECT_THAT(copies(), IsEmpty());
}

/// Whether a marker keeps the copies of a rotation.
class KeepMarker : public RotatingLog<> {
  protected:
    /// Whether an old copy survives a rotation.
    bool keeps() {
        const std::string old = place("test 2001-01-01 00-00-00.log");
        fill();
        EXPECT_TRUE(target.SegmentLogFile(true));
        return fs::exists(old);
    }
    bool keepsWith(const std::string& text) {
        writeFile(home / "ruk.trace", text);
        const bool kept = keeps();
        EXPECT_EQ(readFile(home / "ruk.trace"), text);
        return kept;
    }
};

TEST_F(KeepMarker, KeepsAllCopiesWithExactlyItsWord) {
    EXPECT_TRUE(keepsWith("keeplogs"));
    EXPECT_TRUE(keepsWith(std::string("keeplogs\0", 9)));
    EXPECT_TRUE(keepsWith(std::string("keeplogs\0and more", 17)));
}

TEST_F(KeepMarker, KeepsMoreThanTheNewestCopies) {
    writeFile(home / "ruk.trace", "keeplogs");
    for (const char* first : {"one", "two", "three", "four", "five"}) {
        fill(infoLimit, first);
        EXPECT_TRUE(target.SegmentLogFile(true));
    }
    EXPECT_THAT(copies(), SizeIs(5));
}

TEST_F(KeepMarker, KeepsNothingWithAnythingElse) {
    for (const std::string& text :
         {std::string("keeplogs\n"), std::string("keeplogs\r\n"), std::string("keeplogsX"),
          std::string("keeplogs "), std::string("keeplog"), std::string(), std::string("KEEPLOGS"),
          std::string(" keeplogs"), std::string("\0keeplogs", 9), std::string("keeplog\0s", 9)}) {
        EXPECT_FALSE(keepsWith(text)) << testing::PrintToString(text);
    }
}

TEST_F(KeepMarker, KeepsNothingWhenItIsMissing) { EXPECT_FALSE(keeps()); }

TEST_F(KeepMarker, IsNotMadeByLookingForIt) {
    keeps();
    EXPECT_FALSE(has("ruk.trace"));
}

TEST_F(KeepMarker, KeepsNothingWhenItIsAFolder) {
    fs::create_directory(home / "ruk.trace");
    EXPECT_FALSE(keeps());
}

TEST_F(KeepMarker, MayBeALink) {
    writeFile(home / "elsewhere", "keeplogs");
    fs::create_symlink("elsewhere", home / "ruk.trace");
    EXPECT_TRUE(keeps());
}

TEST_F(KeepMarker, KeepsNothingWhenItMayNotBeRead) {
    writeFile(home / "ruk.trace", "keeplogs");
    ASSERT_EQ(::chmod((home / "ruk.trace").c_str(), 0), 0);
    ASSERT_EQ(::chmod(home.path().c_str(), 0777), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    support::asOrdinaryUser([this] { EXPECT_FALSE(keeps()); });
}

TEST_F(KeepMarker, KeepsWhenItMayBeReadOnly) {
    writeFile(home / "ruk.trace", "keeplogs");
    ASSERT_EQ(::chmod((home / "ruk.trace").c_str(), 0444), 0);
    EXPECT_TRUE(keeps());
}

TEST_F(KeepMarker, CountsOnlyBesideTheLog) {
    writeFile(home.inLogs("ruk.trace"), "keeplogs");
    EXPECT_FALSE(keeps());
}

/// Which files stay, with names made relative to today.
class Pruning : public RotatingLog<> {
  protected:
    /// The name of a dated copy of `days` from today.
    static std::string dated(int days, const std::string& time, const std::string& base = "test",
                             const std::string& extension = ".log") {
        return base + " " + dateIn(days) + " " + time + extension;
    }
    std::vector<std::string> leftAfter(int count) {
        EXPECT_FALSE(target.removeLogFilesExceptLastN(count));
        return everything();
    }
    void placeAll(const std::vector<std::string>& names) {
        for (const std::string& name : names) {
            place(name);
        }
    }

    ScopedTimeZone noon{zoneWhereItIsNoon()};
};

TEST_F(Pruning, LeavesTheTwoNewestCopiesOfTodayAndRemovesThoseBeforeYesterday) {
    placeAll({dated(0, "08-00-00"), dated(0, "09-00-00"), dated(0, "10-00-00"), dated(-1, "22-00-00"),
              dated(-1, "23-00-00"), dated(-2, "23-59-59")});
    EXPECT_THAT(leftAfter(2), UnorderedElementsAre("test.log", dated(0, "09-00-00"), dated(0, "10-00-00")));
}

TEST_F(Pruning, LeavesCopiesOfYesterdayWhenTodayHasTooFew) {
    placeAll({dated(0, "08-00-00"), dated(-1, "22-00-00"), dated(-1, "23-00-00")});
    EXPECT_THAT(leftAfter(2), UnorderedElementsAre("test.log", dated(0, "08-00-00"), dated(-1, "23-00-00")));
}

TEST_F(Pruning, RemovesCopiesFromBeforeYesterdayAlsoWhenTheyAreFew) {
    place(dated(-2, "23-59-59"));
    EXPECT_THAT(leftAfter(2), ElementsAre("test.log"));
}

TEST_F(Pruning, RemovesCopiesOfTheFuture) {
    place(dated(1, "00-00-00"));
    EXPECT_THAT(leftAfter(2), ElementsAre("test.log"));
}

TEST_F(Pruning, FollowsItsNumberInDaysAndInCopies) {
    const std::vector<std::string> all{dated(0, "10-00-00"), dated(-1, "10-00-00"), dated(-2, "10-00-00"),
                                       dated(-3, "10-00-00"), dated(-3, "09-00-00")};
    placeAll(all);
    EXPECT_THAT(leftAfter(4), UnorderedElementsAre("test.log", all[0], all[1], all[2], all[3]));
    EXPECT_THAT(leftAfter(3), UnorderedElementsAre("test.log", all[0], all[1], all[2]));
    EXPECT_THAT(leftAfter(1), UnorderedElementsAre("test.log", all[0]));
}

TEST_F(Pruning, RemovesNothingForNoDays) {
    placeAll({dated(0, "10-00-00"), dated(-9, "10-00-00"), "testold.txt"});
    EXPECT_THAT(leftAfter(0), SizeIs(4));
    EXPECT_THAT(leftAfter(-1), SizeIs(4));
    EXPECT_THAT(leftAfter(INT_MIN), SizeIs(4));
}

TEST_F(Pruning, RemovesOtherFilesWhoseNamesBeginLikeTheLogs) {
    placeAll({"testold.txt", "test", "test.log.old", "test.logs", "test.txt", "testing"});
    EXPECT_THAT(leftAfter(2), ElementsAre("test.log"));
}

TEST_F(Pruning, NeverTouchesOtherNames) {
    placeAll({"ruk.trace", "tes", "Test.log", "mytest.log", "Test 2001-01-01 00-00-00.log", ".test.log",
              "other 2001-01-01 00-00-00.log"});
    EXPECT_THAT(leftAfter(2), SizeIs(8));
}

TEST_F(Pruning, TakesADateForRecentWhateverFollowsIt) {
    const std::string odd = "test " + dateIn(0) + "x";
    place(odd);
    EXPECT_THAT(leftAfter(2), UnorderedElementsAre("test.log", odd));
}

TEST_F(Pruning, RemovesTheContentOfASubfolderThatBeginsLikeTheLogButNotTheFolder) {
    placeAll({"testing/a", "testing/b/c", "other/test.log", "other/test 2001-01-01 00-00-00.log"});
    EXPECT_THAT(leftAfter(2), UnorderedElementsAre("test.log", "testing", "testing/b", "other",
                                                   "other/test.log", "other/test 2001-01-01 00-00-00.log"));
}

TEST_F(Pruning, RemovesAnEmptySubfolderThatBeginsLikeTheLog) {
    fs::create_directory(home / "testing");
    EXPECT_THAT(leftAfter(2), ElementsAre("test.log"));
}

TEST_F(Pruning, CountsASubfolderOfTodayAndItsContentLikeCopies) {
    const std::string folder = dated(0, "10-00-00", "test", "");
    placeAll({folder + "/inside", dated(0, "09-00-00")});
    EXPECT_THAT(leftAfter(2), UnorderedElementsAre("test.log", folder, folder + "/inside"));
}

TEST_F(Pruning, RemovesLinksAndNotWhatTheyLeadTo) {
    const support::TempFolder elsewhere;
    writeFile(elsewhere / "file", "precious");
    writeFile(elsewhere / "testfile", "precious");
    fs::create_symlink(elsewhere / "file", home / "test 2001-01-01 00-00-00.log");
    fs::create_directory_symlink(elsewhere.path(), home / "testlink");
    fs::create_symlink("nowhere", home / "testdangling");
    EXPECT_THAT(leftAfter(2), ElementsAre("test.log"));
    EXPECT_THAT(everythingBelow(elsewhere.path()), UnorderedElementsAre("file", "testfile"));
}

TEST_F(Pruning, GoesOnAfterWhatCannotBeRemoved) {
    placeAll({"testfull/kept.txt", "test 2001-01-01 00-00-00.log", "testz"});
    fs::create_directory(home / "test 2001-01-01");
    EXPECT_THAT(leftAfter(2), UnorderedElementsAre("test.log", "testfull"));
}

TEST_F(Pruning, KnowsTheCopiesOfALogWithoutExtension) {
    ASSERT_TRUE(target.setLogFile("plain", home.path().c_str()));
    const std::string today = dated(0, "10-00-00", "plain", "");
    placeAll({today, dated(-2, "10-00-00", "plain", ""), "plain.txt"});
    EXPECT_THAT(leftAfter(2), UnorderedElementsAre("test.log", "plain", today));
}

TEST_F(Pruning, TakesTheLastOfSeveralExtensions) {
    ASSERT_TRUE(target.setLogFile("my.tool.log", home.path().c_str()));
    const std::string today = dated(0, "10-00-00", "my.tool", ".log");
    placeAll({today, dated(-2, "10-00-00", "my.tool", ".log"), "my.txt", "my.tool.txt"});
    EXPECT_THAT(leftAfter(2), UnorderedElementsAre("test.log", "my.tool.log", today, "my.txt"));
}

TEST_F(Pruning, KeepsTheLogWhenOnlyItsFolderHasAnExtension) {
    fs::create_directory(home / "a.b");
    ASSERT_TRUE(target.setLogFile("plain", (home / "a.b").c_str()));
    writeFile(home / "a.b/plain", "content");
    target.removeLogFilesExceptLastN(2);
    EXPECT_EQ(readFile(home / "a.b/plain"), "content");
}

TEST_F(Pruning, FindsNothingToPruneForAPathWithoutAFolder) {
    const support::WorkingFolder folder(home.path());
    target.logFilePath = "test.log";
    placeAll({"test 2001-01-01 00-00-00.log", "testold.txt"});
    EXPECT_THAT(leftAfter(2), SizeIs(3));
}

TEST_F(Pruning, FindsNothingInTheWorkingFolderForALogInTheRootFolder) {
    const support::WorkingFolder folder(home.path());
    target.logFilePath = "/test.log";
    placeAll({"test 2001-01-01 00-00-00.log", "testold.txt"});
    EXPECT_THAT(leftAfter(2), SizeIs(3));
}

TEST_F(Pruning, FollowsARotation) {
    placeAll({"test 2001-01-01 00-00-00.log", dated(-1, "00-00-01"), dated(-1, "00-00-02"),
              dated(-1, "00-00-03"), "testold.txt"});
    fill();
    enroll();
    const auto left = copies();
    EXPECT_THAT(left, SizeIs(2)) << "the new copy and one more";
    EXPECT_EQ(left.front(), dated(-1, "00-00-03"));
    EXPECT_EQ(fs::file_size(home / left.back()), infoLimit);
    EXPECT_FALSE(has("testold.txt"));
}

TEST_F(Rotation, WorksForAPathWithoutAFolder) {
    const support::WorkingFolder folder(home.path());
    target.logFilePath = "test.log";
    place("test 2001-01-01 00-00-00.log");
    fill();
    EXPECT_TRUE(target.SegmentLogFile(true));
    EXPECT_EQ(content(), "");
    EXPECT_THAT(copies(), SizeIs(2));
}

TEST_F(Rotation, LosesNothingWhenOnlyTheFolderHasAnExtension) {
    fs::create_directory(home / "a.b");
    ASSERT_TRUE(target.setLogFile("plain", (home / "a.b").c_str()));
    ::fill(home / "a.b/plain", infoLimit, "precious");
    target.SegmentLogFile(true);
    int whole = 0;
    for (const std::string& name : everythingBelow(home / "a.b")) {
        const std::string file = home / ("a.b/" + name);
        whole += fs::is_regular_file(file) && fs::file_size(file) == infoLimit &&
                 linesOf(readFile(file)).front() == "precious";
    }
    EXPECT_EQ(whole, 1);
}

/// Records around the places where local time jumps.
class LocalTime : public support::FileTargetTest<> {
  protected:
    LocalTime() { enroll(); }

    /// The time of the record that is written for `seconds`.
    std::string shown(std::time_t seconds) {
        const std::size_t before = content().size();
        target.writeLog(elmu::INFO, "", "", "", "", "", "", "x", nullptr,
                        static_cast<unsigned long long>(seconds) * 1000 + 7, true);
        return content().substr(before, 21);
    }
};

const char* const newYork = "EST5EDT,M3.2.0,M11.1.0";

TEST_F(LocalTime, TurnsTheDateAtLocalMidnight) {
    const ScopedTimeZone zone("HCD-05:30");
    EXPECT_EQ(shown(1794853799), "11/16/26 23:59:59:007");
    EXPECT_EQ(shown(1794853800), "11/17/26 00:00:00:007");
}

TEST_F(LocalTime, JumpsAnHourAheadInSpring) {
    const ScopedTimeZone zone(newYork);
    EXPECT_EQ(shown(1772953199), "03/08/26 01:59:59:007");
    EXPECT_EQ(shown(1772953200), "03/08/26 03:00:00:007");
}

TEST_F(LocalTime, RepeatsAnHourInAutumn) {
    const ScopedTimeZone zone(newYork);
    EXPECT_EQ(shown(1793512799), "11/01/26 01:59:59:007");
    EXPECT_EQ(shown(1793512800), "11/01/26 01:00:00:007");
}

TEST_F(LocalTime, FollowsAChangeOfTheZoneBetweenTwoRecordsOfOneSecond) {
    const ScopedTimeZone restored("UTC0");
    EXPECT_EQ(shown(1794804088), "11/16/26 04:41:28:007");
    ::setenv("TZ", "HCD-09", 1);
    EXPECT_EQ(shown(1794804088), "11/16/26 13:41:28:007");
    ::unsetenv("TZ");
    ::setenv("TZ", "HCD+05", 1);
    EXPECT_EQ(shown(1794804088), "11/15/26 23:41:28:007");
}

} // namespace

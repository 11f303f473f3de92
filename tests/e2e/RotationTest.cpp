#include "e2e/FullLog.h"

#include <ctime>
#include <iomanip>
#include <sstream>

#include "support/Clock.h"

using namespace e2e;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

class Rotation : public FullLogTest {
  protected:
    static std::time_t timeIn(const std::string& copy) {
        std::tm date = {};
        std::istringstream text(copy);
        text >> std::get_time(&date, "HCD %Y-%m-%d %H-%M-%S.log");
        EXPECT_TRUE(text) << copy;
        return ::timegm(&date);
    }
};

/// A level marker and the size from which on the log starts anew with it.
struct MarkedLimit {
    std::string marker;
    std::size_t bytes;
};

void PrintTo(const MarkedLimit& limit, std::ostream* out) { *out << limit.marker; }

class LogWithMarker : public FullLogTest, public testing::WithParamInterface<MarkedLimit> {
  protected:
    void SetUp() override {
        FullLogTest::SetUp();
        machine.put(LogsFolder + "/" + GetParam().marker, "");
    }
};

std::string nameOf(const testing::TestParamInfo<MarkedLimit>& info) {
    std::string name = info.param.marker;
    name[name.find('.')] = '_';
    return name;
}

} // namespace

TEST_F(Rotation, HappensToALogOfExactlyTheLimit) {
    fillLog();
    install();
    EXPECT_TRUE(earlierLinesAreInTheCopy());
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAreArray(afterHeader({parsing(2), Created})));
}

TEST_F(Rotation, DoesNotHappenToALogOneByteSmaller) {
    fillLog(LogLimit - 1);
    install();
    EXPECT_TRUE(earlierLinesAreInTheLog());
    EXPECT_THAT(toldAfterTheEarlierLines(), ElementsAre(parsing(2), Created));
    EXPECT_THAT(machine.namesIn(LogFolder), ElementsAre("HCD.log"));
}

TEST_F(Rotation, HappensToALargerLog) {
    fillLog(LogLimit + 12345);
    uninstall();
    EXPECT_TRUE(earlierLinesAreInTheCopy());
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAreArray(afterHeader({parsing(1), Deleted})));
}

TEST_F(Rotation, LeavesTheLogAndItsCopyAlone) {
    fillLog();
    install();
    EXPECT_THAT(machine.namesIn(LogFolder), ElementsAre(StartsWith("HCD 20"), "HCD.log"));
}

TEST_F(Rotation, HappensBeforeTheRunsRecordsMakeTheLogTooLarge) {
    fillLog(LogLimit - 1);
    install();
    uninstall();
    ASSERT_THAT(copies(), SizeIs(1));
    EXPECT_THAT(toldAfterTheEarlierLines(besideTheLog(copies().front())), ElementsAre(parsing(2), Created));
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAreArray(afterHeader({parsing(1), Deleted})));
}

TEST_F(Rotation, KeepsOneHeaderForTheRunsThatFollow) {
    fillLog();
    install();
    uninstall();
    EXPECT_THAT(toldBy(machine.read(Log)),
                ElementsAreArray(afterHeader({parsing(2), Created, parsing(1), Deleted})));
}

TEST_F(Rotation, IsNotTheStartOfANewLog) {
    install();
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created));
}

TEST_F(Rotation, IsNotTheStartInAnEmptyLog) {
    machine.put(Log, "");
    install();
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created));
}

TEST_F(Rotation, NamesTheCopyAfterTheTimeOfTheRun) {
    fillLog();
    const std::time_t started = support::now();
    install();
    const std::time_t ended = support::now();
    ASSERT_THAT(copies(), SizeIs(1));
    EXPECT_LE(started, timeIn(copies().front()));
    EXPECT_LE(timeIn(copies().front()), ended);
}

TEST_F(Rotation, NamesTheCopyByTheClockOfTheMachinesZone) {
    machine.setEnvironment("TZ", "EAST-5:30");
    fillLog();
    const std::time_t started = support::now();
    install();
    const std::time_t ended = support::now();
    ASSERT_THAT(copies(), SizeIs(1));
    const std::time_t there = timeIn(copies().front()) - (5 * 3600 + 30 * 60);
    EXPECT_LE(started, there);
    EXPECT_LE(there, ended);
}

TEST_F(Rotation, EmptiesTheLogInItsPlaceForOtherWriters) {
    fillLog();
    machine.setMode(Log, 0640);
    const auto before = machine.infoOf(Log).st_ino;
    install();
    EXPECT_EQ(machine.infoOf(Log).st_ino, before);
    EXPECT_EQ(machine.modeOf(Log), 0640U);
}

TEST_F(Rotation, DoesNotKeepTheToolFromItsJob) {
    fillLog();
    fillCache();
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(Rotation, TwiceInOneSecondLosesNothing) {
    fillLog();
    machine.put("/Users/full.log", earlier);
    runShell("HCDCustomHook; cat /Users/full.log >'" + Log + "'; HCDCustomHook --install=1");
    EXPECT_THAT(copies(), SizeIs(2));
    for (const std::string& copy : copies()) {
        EXPECT_TRUE(earlierLinesAreInTheLog(besideTheLog(copy)));
    }
}

TEST_P(LogWithMarker, StartsAnewAtItsLimit) {
    fillLog(GetParam().bytes);
    install();
    EXPECT_TRUE(earlierLinesAreInTheCopy());
}

TEST_P(LogWithMarker, BeginsWithTheHeaderAndEveryRecord) {
    fillLog(GetParam().bytes);
    install();
    EXPECT_THAT(toldBy(machine.read(Log)),
                ElementsAreArray(
                    afterHeader({parsing(2),
                                 "DEBUG First command line argument is " + Tool +
                                     ", Assuming the first argument to be executable address ignoring it.",
                                 "DEBUG Argument specified is --install=1", Created})));
}

TEST_P(LogWithMarker, GoesOnOneByteBelowItsLimit) {
    fillLog(GetParam().bytes - 1);
    install();
    EXPECT_TRUE(earlierLinesAreInTheLog());
    EXPECT_THAT(toldAfterTheEarlierLines(), SizeIs(4));
    EXPECT_THAT(copies(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Markers, LogWithMarker,
                         testing::Values(MarkedLimit{"ELMU.debug", DebugLogLimit},
                                         MarkedLimit{"ruk.debug", DebugLogLimit},
                                         MarkedLimit{"ELMU.trace", TraceLogLimit},
                                         MarkedLimit{"ruk.trace", TraceLogLimit}),
                         nameOf);

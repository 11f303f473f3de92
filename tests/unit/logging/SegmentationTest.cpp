#include <elmu/logging/Segmentation.h>

#include <ctime>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Scopes.h"
#include <elmu/logging/PathText.h>

namespace {

using elmu::asksToKeepLogs;
using elmu::logFolder;
using elmu::pathsToPrune;
using elmu::recentDatePrefixes;
using elmu::segmentSizeLimit;
using support::ScopedTimeZone;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* newYork = "EST5EDT,M3.2.0,M11.1.0";

/// Seconds since the epoch.
std::time_t utc(int year, int month, int day, int hour, int minute, int second = 0) {
    std::tm parts = {};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    return ::timegm(&parts);
}

struct LimitCase {
    int level;
    long long bytes;
};

class SizeLimit : public testing::TestWithParam<LimitCase> {};

TEST_P(SizeLimit, BelongsToTheLevel) {
    EXPECT_EQ(segmentSizeLimit(static_cast<elmu::Log_Level>(GetParam().level)), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Levels, SizeLimit,
                         testing::Values(LimitCase{10, 52428800}, LimitCase{20, 20971520},
                                         LimitCase{30, 10485760}, LimitCase{40, 10485760},
                                         LimitCase{50, 10485760}, LimitCase{60, 10485760},
                                         LimitCase{70, 10485760}, LimitCase{0, 10485760},
                                         LimitCase{9, 10485760}, LimitCase{11, 10485760},
                                         LimitCase{19, 10485760}, LimitCase{21, 10485760},
                                         LimitCase{-10, 10485760}, LimitCase{2147483647, 10485760}));

struct MarkerCase {
    std::string bytes;
    bool keeps;
};

class KeepLogsMarker : public testing::TestWithParam<MarkerCase> {};

TEST_P(KeepLogsMarker, KeepsOnlyWithItsWordAndAnEndOrAZeroByte) {
    EXPECT_EQ(asksToKeepLogs(GetParam().bytes), GetParam().keeps) << testing::PrintToString(GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Contents, KeepLogsMarker,
    testing::Values(MarkerCase{"keeplogs", true}, MarkerCase{std::string("keeplogs\0", 9), true},
                    MarkerCase{std::string("keeplogs\0x", 10), true},
                    MarkerCase{std::string("keeplogs\0\n", 10), true}, MarkerCase{"keeplogs\n", false},
                    MarkerCase{"keeplogs\r\n", false}, MarkerCase{"keeplogsX", false},
                    MarkerCase{"keeplogs ", false}, MarkerCase{"keeplogskeeplogs", false},
                    MarkerCase{"keeplog", false}, MarkerCase{"keeplog\n", false}, MarkerCase{"", false},
                    MarkerCase{"k", false}, MarkerCase{"Keeplogs", false}, MarkerCase{" keeplogs", false},
                    MarkerCase{"\nkeeplogs", false}, MarkerCase{std::string("\0keeplogs", 9), false},
                    MarkerCase{std::string("keep\0logs", 9), false},
                    MarkerCase{std::string("keeplog\0s", 9), false}));

TEST(LogFolder, IsWhatStandsBeforeTheLastSlash) {
    EXPECT_EQ(logFolder("/logs/HCD/HCD.log"), "/logs/HCD");
    EXPECT_EQ(logFolder("logs/HCD.log"), "logs");
    EXPECT_EQ(logFolder("/HCD.log"), "");
    EXPECT_EQ(logFolder("/logs//HCD.log"), "/logs/");
    EXPECT_EQ(logFolder("/logs/"), "/logs");
}

TEST(LogFolder, IsTheWholePathWithoutASlash) {
    EXPECT_EQ(logFolder("HCD.log"), "HCD.log");
    EXPECT_EQ(logFolder(""), "");
}

TEST(RecentDatePrefixes, BeginWithTodayAndGoBackDayByDay) {
    const ScopedTimeZone zone("UTC0");
    const std::time_t now = utc(2026, 11, 16, 12, 0);
    EXPECT_THAT(recentDatePrefixes("HCD", 2, now), ElementsAre("HCD 2026-11-16", "HCD 2026-11-15"));
    EXPECT_THAT(recentDatePrefixes("HCD", 1, now), ElementsAre("HCD 2026-11-16"));
    EXPECT_THAT(recentDatePrefixes("", 1, now), ElementsAre(" 2026-11-16"));
}

TEST(RecentDatePrefixes, GoBackOverMonthsYearsAndLeapDays) {
    const ScopedTimeZone zone("UTC0");
    EXPECT_THAT(recentDatePrefixes("x", 2, utc(2027, 1, 1, 0, 0)),
                ElementsAre("x 2027-01-01", "x 2026-12-31"));
    EXPECT_THAT(recentDatePrefixes("x", 2, utc(2028, 3, 1, 0, 0)),
                ElementsAre("x 2028-03-01", "x 2028-02-29"));
}

TEST(RecentDatePrefixes, AreNoneForNoDays) {
    EXPECT_THAT(recentDatePrefixes("HCD", 0, 1794804088), IsEmpty());
    EXPECT_THAT(recentDatePrefixes("HCD", -1, 1794804088), IsEmpty());
    EXPECT_THAT(recentDatePrefixes("HCD", -2147483647 - 1, 1794804088), IsEmpty());
}

TEST(RecentDatePrefixes, TurnAtLocalMidnight) {
    const ScopedTimeZone zone("HCD-05:30");
    EXPECT_THAT(recentDatePrefixes("x", 2, utc(2026, 11, 16, 18, 29, 59)),
                ElementsAre("x 2026-11-16", "x 2026-11-15"));
    EXPECT_THAT(recentDatePrefixes("x", 2, utc(2026, 11, 16, 18, 30)),
                ElementsAre("x 2026-11-17", "x 2026-11-16"));
}

TEST(RecentDatePrefixes, FollowTheZoneOfTheCall) {
    const ScopedTimeZone east("EAST-14");
    EXPECT_THAT(recentDatePrefixes("x", 1, utc(2026, 11, 16, 11, 0)), ElementsAre("x 2026-11-17"));
    const ScopedTimeZone west("WEST+12");
    EXPECT_THAT(recentDatePrefixes("x", 1, utc(2026, 11, 16, 11, 0)), ElementsAre("x 2026-11-15"));
}

TEST(RecentDatePrefixes, NameOneDateTwiceWithinADayOf25Hours) {
    const ScopedTimeZone zone(newYork);
    const std::time_t halfPastElevenAtNight = utc(2026, 11, 2, 4, 30);
    EXPECT_THAT(recentDatePrefixes("x", 2, halfPastElevenAtNight),
                ElementsAre("x 2026-11-01", "x 2026-11-01"));
}

TEST(RecentDatePrefixes, SkipADateOf23Hours) {
    const ScopedTimeZone zone(newYork);
    const std::time_t halfPastMidnight = utc(2026, 3, 9, 4, 30);
    EXPECT_THAT(recentDatePrefixes("x", 2, halfPastMidnight), ElementsAre("x 2026-03-09", "x 2026-03-07"));
}

std::string stamped(std::string path, std::time_t now) {
    EXPECT_TRUE(elmu::appendTimeStampToFile(path, now));
    return path;
}

TEST(DatedName, HasTheLocalTimeBeforeTheExtension) {
    const ScopedTimeZone zone("UTC0");
    EXPECT_EQ(stamped("/logs/HCD.log", 1794804547), "/logs/HCD 2026-11-16 04-49-07.log");
    EXPECT_EQ(stamped("/logs/plain", 1794804547), "/logs/plain 2026-11-16 04-49-07");
}

TEST(DatedName, TurnsAtLocalMidnight) {
    const ScopedTimeZone zone("HCD-05:30");
    EXPECT_EQ(stamped("x.log", utc(2026, 11, 16, 18, 29, 59)), "x 2026-11-16 23-59-59.log");
    EXPECT_EQ(stamped("x.log", utc(2026, 11, 16, 18, 30)), "x 2026-11-17 00-00-00.log");
}

TEST(DatedName, FollowsTheChangesOfSummerTime) {
    const ScopedTimeZone zone(newYork);
    EXPECT_EQ(stamped("x.log", utc(2026, 3, 8, 6, 59, 59)), "x 2026-03-08 01-59-59.log");
    EXPECT_EQ(stamped("x.log", utc(2026, 3, 8, 7, 0)), "x 2026-03-08 03-00-00.log");
    EXPECT_EQ(stamped("x.log", utc(2026, 11, 1, 5, 59, 59)), "x 2026-11-01 01-59-59.log");
    EXPECT_EQ(stamped("x.log", utc(2026, 11, 1, 6, 0)), "x 2026-11-01 01-00-00.log");
}

TEST(DatedName, FollowsAChangeOfTheZone) {
    const ScopedTimeZone first("HCD-09");
    EXPECT_EQ(stamped("x.log", 1794804547), "x 2026-11-16 13-49-07.log");
    const ScopedTimeZone second("HCD+05");
    EXPECT_EQ(stamped("x.log", 1794804547), "x 2026-11-15 23-49-07.log");
}

const std::vector<std::string> twoDays{"HCD 2026-11-16", "HCD 2026-11-15"};

/// What is removed from the folder of the log HCD.log.
std::vector<std::string> pruned(const std::vector<std::string>& entries, int count = 2,
                                const std::vector<std::string>& prefixes = twoDays) {
    return pathsToPrune({"HCD", "HCD.log"}, prefixes, entries, count);
}

TEST(PathsToPrune, LeaveTheLogAndTheTwoNewestCopiesOfTheTwoDays) {
    EXPECT_THAT(pruned({"HCD 2026-11-16 01-00-00.log", "HCD 2026-11-14 23-59-59.log", "HCD.log",
                        "HCD 2026-11-16 03-00-00.log", "HCD 2026-11-15 23-00-00.log",
                        "HCD 2026-11-16 02-00-00.log", "HCD 2026-11-15 22-00-00.log"}),
                ElementsAre("HCD 2026-11-14 23-59-59.log", "HCD 2026-11-15 22-00-00.log",
                            "HCD 2026-11-15 23-00-00.log", "HCD 2026-11-16 01-00-00.log"));
}

TEST(PathsToPrune, AreNoneWhenThereIsNoMoreThanTheNumberAndOne) {
    EXPECT_THAT(pruned({"HCD.log", "HCD 2026-11-16 01-00-00.log", "HCD 2026-11-15 01-00-00.log"}), IsEmpty());
    EXPECT_THAT(pruned({"HCD.log"}), IsEmpty());
    EXPECT_THAT(pruned({}), IsEmpty());
}

TEST(PathsToPrune, LeaveOneCopyMoreWhenTheLogIsMissing) {
    EXPECT_THAT(pruned({"HCD 2026-11-16 01-00-00.log", "HCD 2026-11-16 02-00-00.log",
                        "HCD 2026-11-16 03-00-00.log", "HCD 2026-11-16 04-00-00.log"}),
                ElementsAre("HCD 2026-11-16 01-00-00.log"));
}

TEST(PathsToPrune, HoldEverythingElseThatBeginsLikeTheLogInTheOrderOfTheListing) {
    EXPECT_THAT(pruned({"HCDold.txt", "HCD", "HCD.log.1", "HCD.log", "HCD 2026-11-17 00-00-00.log", "HCD2"}),
                ElementsAre("HCDold.txt", "HCD", "HCD.log.1", "HCD 2026-11-17 00-00-00.log", "HCD2"));
}

TEST(PathsToPrune, HoldNothingThatBeginsInAnotherWay) {
    EXPECT_THAT(pruned({"ruk.trace", "hcd.log", "xHCD.log", "HC", "", ".HCD.log", "a/HCD.log",
                        "a/HCD 2001-01-01 00-00-00.log"}),
                IsEmpty());
}

TEST(PathsToPrune, HoldASubfolderThatBeginsLikeTheLogBeforeItsContent) {
    EXPECT_THAT(pruned({"HCDx", "HCDx/a", "HCDx/b", "HCDx/b/c"}),
                ElementsAre("HCDx", "HCDx/a", "HCDx/b", "HCDx/b/c"));
}

TEST(PathsToPrune, CompareNamesByteByByte) {
    EXPECT_THAT(pruned({"HCD 2026-11-16\xff", "HCD 2026-11-16 9", "HCD 2026-11-16 10", "HCD 2026-11-16Z",
                        "HCD 2026-11-16a"}),
                ElementsAre("HCD 2026-11-16 10", "HCD 2026-11-16 9"));
}

TEST(PathsToPrune, KeepTheLogWhateverTheNumber) {
    EXPECT_THAT(pruned({"HCD.log", "HCD 2026-11-16 10-00-00.log", "HCD 2026-11-16 11-00-00.log"}, 1,
                       {"HCD 2026-11-16"}),
                ElementsAre("HCD 2026-11-16 10-00-00.log"));
}

TEST(PathsToPrune, AreNoneWithoutPrefixes) {
    EXPECT_THAT(pruned({"HCDold.txt", "HCD 2001-01-01 00-00-00.log", "HCD.log"}, 0, {}), IsEmpty());
    EXPECT_THAT(pruned({"HCDold.txt", "HCD 2001-01-01 00-00-00.log", "HCD.log"}, -1, {}), IsEmpty());
}

} // namespace

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "support/Clock.h"
#include "support/Scopes.h"
#include <elmu/logging/ArgumentList.h>
#include <elmu/logging/TimeText.h>

namespace {

using support::ScopedTimeZone;

constexpr long day = 86400;

/// The zone in which it is now `secondOfDay` seconds after midnight; `rest` is put after its offset.
std::string zoneWhereItIs(long secondOfDay, const std::string& rest = "") {
    const long ahead = secondOfDay - static_cast<long>(support::now() % day);
    char zone[64];
    const long west = std::labs(ahead);
    std::snprintf(zone, sizeof zone, "HCD%s%02ld:%02ld:%02ld", ahead > 0 ? "-" : "+", west / 3600,
                  west / 60 % 60, west % 60);
    return zone + rest;
}

/// The date `days` days after the local date of now, by the calendar alone.
std::string calendarDate(int days) {
    const std::time_t now = support::now();
    std::tm date = *std::localtime(&now);
    date.tm_mday += days;
    date.tm_hour = 12;
    date.tm_isdst = -1;
    std::mktime(&date);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d", &date);
    return text;
}

std::string offSetDate(int days) {
    std::string date;
    EXPECT_TRUE(elmu::getOffSetDate(date, days));
    return date;
}

TEST(GetCurrentTime, FillsSecondsAndMicrosecondsOfNow) {
    const std::time_t before = support::now();
    timeval now = {};
    elmu::getCurrentTime(now);
    EXPECT_GE(now.tv_sec, before);
    EXPECT_LE(now.tv_sec, support::now());
    EXPECT_GE(now.tv_usec, 0);
    EXPECT_LT(now.tv_usec, 1000000);
}

TEST(GetOffSetDate, GivesTodayForNoOffset) {
    const ScopedTimeZone noon(zoneWhereItIs(12 * 3600));
    EXPECT_EQ(offSetDate(0), calendarDate(0));
}

TEST(GetOffSetDate, GivesPastDatesForNegativeDays) {
    const ScopedTimeZone noon(zoneWhereItIs(12 * 3600));
    EXPECT_EQ(offSetDate(-1), calendarDate(-1));
    EXPECT_EQ(offSetDate(-45), calendarDate(-45));
    EXPECT_EQ(offSetDate(-4000), calendarDate(-4000));
}

TEST(GetOffSetDate, GivesFutureDatesForPositiveDays) {
    const ScopedTimeZone noon(zoneWhereItIs(12 * 3600));
    EXPECT_EQ(offSetDate(1), calendarDate(1));
    EXPECT_EQ(offSetDate(400), calendarDate(400));
}

TEST(GetOffSetDate, GivesYesterdayJustAfterMidnight) {
    const ScopedTimeZone justAfterMidnight(zoneWhereItIs(5));
    EXPECT_EQ(offSetDate(-1), calendarDate(-1));
}

TEST(GetOffSetDate, UsesTheLocalDayRatherThanTheOneInGreenwich) {
    std::string east;
    std::string west;
    {
        const ScopedTimeZone zone("EAST-14");
        east = offSetDate(0);
    }
    {
        const ScopedTimeZone zone("WEST+12");
        west = offSetDate(0);
    }
    EXPECT_NE(east, west);
}

TEST(GetOffSetDate, CountsDaysOf86400SecondsAlsoWhereOneDayIsShorter) {
    // Half past eleven at night, and tomorrow the clocks go forward at two.
    const std::time_t now = support::now();
    const std::string zone = zoneWhereItIs(23 * 3600 + 1800);
    int tomorrow = 0;
    {
        const ScopedTimeZone standard(zone);
        const std::time_t next = now + day;
        tomorrow = std::localtime(&next)->tm_yday;
    }
    char rules[64];
    std::snprintf(rules, sizeof rules, "HDT,%d/2,%d/2", tomorrow, (tomorrow + 180) % 365);
    const ScopedTimeZone changing(zone + rules);
    EXPECT_EQ(offSetDate(1), calendarDate(2));
}

TEST(GetOffSetDate, ReplacesWhatTheDateHeld) {
    std::string date = "earlier text that is longer than a date";
    ASSERT_TRUE(elmu::getOffSetDate(date, 0));
    EXPECT_EQ(date.size(), 10U);
}

TEST(GetOffSetDate, HoldsForTheLargestOffsets) {
    std::string date;
    EXPECT_TRUE(elmu::getOffSetDate(date, 2147483647));
    EXPECT_TRUE(std::regex_match(date, std::regex("\\d{7}-\\d\\d-\\d\\d"))) << date;
    EXPECT_TRUE(elmu::getOffSetDate(date, -2147483647));
    EXPECT_TRUE(std::regex_match(date, std::regex("-\\d{7}-\\d\\d-\\d\\d"))) << date;
}

TEST(GetDatetime, GivesLocalDateAndTimeFitForAFileName) {
    const ScopedTimeZone zone("HCD-05:30");
    const std::time_t before = support::now();
    std::string stamp = "earlier";
    ASSERT_TRUE(elmu::getDatetime(stamp));
    const std::time_t after = support::now();
    std::tm parsed = {};
    const char* end = ::strptime(stamp.c_str(), "%Y-%m-%d %H-%M-%S", &parsed);
    ASSERT_NE(end, nullptr) << stamp;
    EXPECT_EQ(*end, '\0');
    EXPECT_TRUE(std::regex_match(stamp, std::regex("\\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d"))) << stamp;
    parsed.tm_isdst = -1;
    const std::time_t time = std::mktime(&parsed);
    EXPECT_GE(time, before);
    EXPECT_LE(time, after);
}

std::string localTime(std::time_t seconds, const char* pattern, std::size_t size = 256) {
    char buffer[256];
    const std::size_t length = elmu::formatLocalTime(seconds, pattern, buffer, size);
    return {buffer, length};
}

TEST(FormatLocalTime, FollowsThePattern) {
    const ScopedTimeZone utc("UTC0");
    EXPECT_EQ(localTime(1794804088, "%Y-%m-%d %H-%M-%S"), "2026-11-16 04-41-28");
    EXPECT_EQ(localTime(1794804088, "%Y-%m-%d"), "2026-11-16");
    EXPECT_EQ(localTime(1794804088, "%x %X"), "11/16/26 04:41:28");
}

TEST(FormatLocalTime, UsesTheZoneOfTheCall) {
    const ScopedTimeZone first("HCD-09");
    EXPECT_EQ(localTime(1794804088, "%Y-%m-%d %H-%M-%S"), "2026-11-16 13-41-28");
    const ScopedTimeZone second("HCD+05");
    EXPECT_EQ(localTime(1794804088, "%Y-%m-%d %H-%M-%S"), "2026-11-15 23-41-28");
}

TEST(FormatLocalTime, NoticesThatTheZoneVariableChanged) {
    const ScopedTimeZone restored("UTC0");
    EXPECT_EQ(localTime(1794804088, "%H"), "04");
    ::setenv("TZ", "HCD-09", 1);
    EXPECT_EQ(localTime(1794804088, "%H"), "13");
}

TEST(FormatLocalTime, FollowsTheChangeToSummerTime) {
    const ScopedTimeZone newYork("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(localTime(1772953199, "%Y-%m-%d %H-%M-%S"), "2026-03-08 01-59-59");
    EXPECT_EQ(localTime(1772953200, "%Y-%m-%d %H-%M-%S"), "2026-03-08 03-00-00");
}

TEST(FormatLocalTime, HoldsBeforeTheEpochAndBeyond2038) {
    const ScopedTimeZone utc("UTC0");
    EXPECT_EQ(localTime(-1, "%Y-%m-%d"), "1969-12-31");
    EXPECT_EQ(localTime(4102444800, "%Y-%m-%d"), "2100-01-01");
}

TEST(FormatLocalTime, GivesNothingWhenTheTextDoesNotFit) {
    const ScopedTimeZone utc("UTC0");
    EXPECT_EQ(localTime(1794804088, "%Y-%m-%d", 11).size(), 10U);
    EXPECT_EQ(localTime(1794804088, "%Y-%m-%d", 10).size(), 0U);
}

TEST(FormatLocalTime, GivesNothingForATimeWithoutADate) { EXPECT_EQ(localTime(INT64_MAX, "%Y-%m-%d"), ""); }

struct Message {
    std::array<char, 32> buffer;
    int result;
};

Message logMessage(unsigned long size, const char* format, ...) {
    Message message{};
    message.buffer.fill('~');
    std::va_list list;
    va_start(list, format);
    message.result =
        elmu::getLogMessage(message.buffer.data(), size, format, elmu::travellingArguments(list));
    va_end(list);
    return message;
}

TEST(GetLogMessage, FormatsTheArguments) {
    const Message message = logMessage(32, "%s has %d bytes", "HCD.log", 42);
    EXPECT_STREQ(message.buffer.data(), "HCD.log has 42 bytes");
    EXPECT_EQ(message.result, 20);
}

TEST(GetLogMessage, KeepsEightCharactersInTenBytes) {
    const Message message = logMessage(10, "%s", "01234567890123456789");
    EXPECT_STREQ(message.buffer.data(), "01234567");
}

TEST(GetLogMessage, NeverUsesTheLastByteOfTheBuffer) {
    const Message message = logMessage(10, "%s", "01234567890123456789");
    EXPECT_EQ(message.buffer[8], '\0');
    EXPECT_EQ(message.buffer[9], '~');
}

TEST(GetLogMessage, ReturnsTheLengthOfTheUncutMessage) {
    EXPECT_EQ(logMessage(10, "%s", "01234567890123456789").result, 20);
    EXPECT_EQ(logMessage(10, "%s", "01234567").result, 8);
}

TEST(GetLogMessage, KeepsAMessageThatJustFits) {
    EXPECT_STREQ(logMessage(10, "%s", "01234567").buffer.data(), "01234567");
    EXPECT_STREQ(logMessage(10, "%s", "012345678").buffer.data(), "01234567");
}

TEST(GetLogMessage, LeavesRoomForNothingButTheNulInTwoBytes) {
    const Message message = logMessage(2, "%s", "text");
    EXPECT_EQ(message.buffer[0], '\0');
    EXPECT_EQ(message.buffer[1], '~');
}

TEST(GetLogMessage, TouchesNothingInOneByte) {
    const Message message = logMessage(1, "%s", "text");
    EXPECT_EQ(message.buffer[0], '~');
    EXPECT_EQ(message.result, 4);
}

TEST(GetLogMessage, LeavesTheBufferAloneWithoutArguments) {
    char buffer[8] = "earlier";
    EXPECT_EQ(elmu::getLogMessage(buffer, sizeof buffer, "text", nullptr), 0);
    EXPECT_STREQ(buffer, "earlier");
}

TEST(GetLogMessage, WorksOnACopyOfTheList) {
    const auto twice = [](const char* format, ...) {
        std::array<char, 32> first{};
        std::array<char, 32> second{};
        std::va_list list;
        va_start(list, format);
        char* args = elmu::travellingArguments(list);
        elmu::getLogMessage(first.data(), first.size(), format, args);
        elmu::getLogMessage(second.data(), second.size(), format, args);
        va_end(list);
        return std::string(first.data()) + "|" + second.data();
    };
    EXPECT_EQ(twice("%d %s", 1, "one"), "1 one|1 one");
}

std::string currentSecond(elmu::CurrentSecondText& text, std::time_t seconds) {
    char buffer[256];
    return std::string(buffer, text.format(seconds, buffer, sizeof buffer));
}

TEST(CurrentSecondText, ChangesWithTheSecond) {
    const ScopedTimeZone utc("UTC0");
    elmu::CurrentSecondText text;
    EXPECT_EQ(currentSecond(text, 1794804547), "11/16/26 04:49:07");
    EXPECT_EQ(currentSecond(text, 1794804547), "11/16/26 04:49:07");
    EXPECT_EQ(currentSecond(text, 1794804548), "11/16/26 04:49:08");
    EXPECT_EQ(currentSecond(text, 1794804547), "11/16/26 04:49:07");
}

TEST(CurrentSecondText, ChangesWithTheZoneFromTheNextSecondOn) {
    elmu::CurrentSecondText text;
    {
        const ScopedTimeZone utc("UTC0");
        EXPECT_EQ(currentSecond(text, 1794804547), "11/16/26 04:49:07");
    }
    const ScopedTimeZone east("EAST-2");
    EXPECT_EQ(currentSecond(text, 1794804548), "11/16/26 06:49:08");
}

TEST(GetOffSetDate, CountsFarDaysExactly) {
    const ScopedTimeZone utc("UTC0");
    std::string date;
    EXPECT_TRUE(elmu::getOffSetDate(date, 100000, 1794787200));
    EXPECT_EQ(date, "2300-09-01");
    EXPECT_TRUE(elmu::getOffSetDate(date, -1, 1794787200));
    EXPECT_EQ(date, "2026-11-15");
}

} // namespace

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "support/Clock.h"
#include "support/LogHome.h"
#include "support/Scopes.h"
#include <elmu/logging/LogTargetDefault.h>

namespace {

using elmu::LogTargetDefault;
using scripted::host;
using support::LogHome;
using support::ScopedTimeZone;

constexpr unsigned long long november = 1794804088000ULL; // 2026-11-16 04:41:28 in Greenwich

class RecordLine : public testing::Test {
  protected:
    std::string timeText(unsigned long long timeMs) {
        char buffer[256];
        std::memset(buffer, '~', sizeof buffer);
        target.getTimeStr(timeMs, buffer);
        return buffer;
    }

    std::string line(elmu::Log_Level level, const char* message) {
        std::string text;
        target.formatLog(november + 7, level, "c1", "c2", "c3", "c4", "d1", "d2", message, text);
        return text;
    }

    ScopedTimeZone utc{"UTC0"};
    LogHome home;
    LogTargetDefault target{"record-line"};
};

TEST_F(RecordLine, ShowsTheTimeWithThreeDigitsOfMilliseconds) {
    EXPECT_EQ(timeText(november + 7), "11/16/26 04:41:28:007");
    EXPECT_EQ(timeText(november), "11/16/26 04:41:28:000");
    EXPECT_EQ(timeText(november + 123), "11/16/26 04:41:28:123");
    EXPECT_EQ(timeText(november + 999), "11/16/26 04:41:28:999");
    EXPECT_EQ(timeText(5), "01/01/70 00:00:00:005");
}

TEST_F(RecordLine, ShowsLocalTime) {
    const ScopedTimeZone tokyo("JST-9");
    EXPECT_EQ(timeText(november + 5), "11/16/26 13:41:28:005");
    const ScopedTimeZone newYork("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(timeText(november + 5), "11/15/26 23:41:28:005");
    const ScopedTimeZone kolkata("IST-5:30");
    EXPECT_EQ(timeText(november + 5), "11/16/26 10:11:28:005");
}

TEST_F(RecordLine, FollowsTheChangeToSummerTime) {
    const ScopedTimeZone newYork("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(timeText(1772953199999), "03/08/26 01:59:59:999");
    EXPECT_EQ(timeText(1772953200000), "03/08/26 03:00:00:000");
}

TEST_F(RecordLine, NoticesThatTheZoneVariableChanged) {
    EXPECT_EQ(timeText(november), "11/16/26 04:41:28:000");
    ::setenv("TZ", "JST-9", 1);
    EXPECT_EQ(timeText(november), "11/16/26 13:41:28:000");
}

TEST_F(RecordLine, ShowsTimesBeyond2038) { EXPECT_EQ(timeText(4102444800001), "01/01/00 00:00:00:001"); }

TEST_F(RecordLine, ShowsNowForNoTime) {
    const std::time_t before = support::now();
    const std::string text = timeText(0);
    const std::time_t after = support::now();
    EXPECT_TRUE(std::regex_match(text, std::regex("\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d:\\d{3}")))
        << text;
    std::tm parsed = {};
    ASSERT_NE(::strptime(text.c_str(), "%D %T", &parsed), nullptr) << text;
    EXPECT_GE(::timegm(&parsed), before);
    EXPECT_LE(::timegm(&parsed), after);
}

TEST_F(RecordLine, RemembersTheSecondOfEveryTimeItShows) {
    timeText(november + 999);
    EXPECT_EQ(target.lastRecordTime, 1794804088);
    const std::time_t before = support::now();
    timeText(0);
    EXPECT_GE(target.lastRecordTime, before);
    EXPECT_LE(target.lastRecordTime, support::now());
}

TEST_F(RecordLine, RemembersTheSecondOfEveryLine) {
    line(elmu::INFO, "text");
    EXPECT_EQ(target.lastRecordTime, 1794804088);
}

TEST_F(RecordLine, SurvivesATimeWithoutADate) {
    std::string text;
    target.formatLog(18446744073709551615ULL, elmu::INFO, "", "", "", "", "", "", "text", text);
    EXPECT_EQ(text.substr(text.size() - 7), " | text");
}

TEST_F(RecordLine, HasTenFields) {
    EXPECT_EQ(line(elmu::INFO, "message"),
              "11/16/26 04:41:28:007 | [INFO] | c1 | c2 | c3 | c4 | d1 | d2 | 4711 | message");
}

TEST_F(RecordLine, LeavesTwoBlanksBetweenBarsForAnEmptyField) {
    std::string text;
    target.formatLog(november, elmu::WARN, "", "c2", "", "c4", "", "", "message", text);
    EXPECT_EQ(text, "11/16/26 04:41:28:000 | [WARN] |  | c2 |  | c4 |  |  | 4711 | message");
}

TEST_F(RecordLine, ShowsNullsAsEmptyFields) {
    std::string text;
    target.formatLog(november, elmu::WARN, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "message",
                     text);
    EXPECT_EQ(text, "11/16/26 04:41:28:000 | [WARN] |  |  |  |  |  |  | 4711 | message");
}

TEST_F(RecordLine, EndsWithTheSeparatorForAnEmptyMessage) {
    EXPECT_EQ(line(elmu::INFO, ""), "11/16/26 04:41:28:007 | [INFO] | c1 | c2 | c3 | c4 | d1 | d2 | 4711 | ");
}

TEST_F(RecordLine, ShowsANullMessageAsAnEmptyOne) {
    EXPECT_EQ(line(elmu::INFO, nullptr), line(elmu::INFO, ""));
}

TEST_F(RecordLine, LeavesTheThreadEmptyOnOldSystems) {
    target.useThreadSelfId = false;
    EXPECT_EQ(line(elmu::INFO, "message"),
              "11/16/26 04:41:28:007 | [INFO] | c1 | c2 | c3 | c4 | d1 | d2 |  | message");
}

TEST_F(RecordLine, ShowsTheThreadAsASignedDecimalNumber) {
    EXPECT_EQ(target.getCurrentThreadID(), "4711");
    host().threadId = -5;
    EXPECT_EQ(target.getCurrentThreadID(), "-5");
    host().threadId = 0;
    EXPECT_EQ(target.getCurrentThreadID(), "0");
    host().threadId = 2147483647;
    EXPECT_EQ(target.getCurrentThreadID(), "2147483647");
}

TEST_F(RecordLine, ShowsNoThreadOnOldSystems) {
    target.useThreadSelfId = false;
    EXPECT_EQ(target.getCurrentThreadID(), "");
}

TEST_F(RecordLine, UsesTheTargetsSeparator) {
    target.separator = ";";
    EXPECT_EQ(line(elmu::INFO, "message"), "11/16/26 04:41:28:007;[INFO];c1;c2;c3;c4;d1;d2;4711;message");
    target.separator.clear();
    EXPECT_EQ(line(elmu::INFO, "message"), "11/16/26 04:41:28:007[INFO]c1c2c3c4d1d24711message");
}

TEST_F(RecordLine, IsAppendedWithoutANewline) {
    std::string text = "before ";
    target.formatLog(november + 7, elmu::INFO, "", "", "", "", "", "", "message", text);
    EXPECT_EQ(text, "before 11/16/26 04:41:28:007 | [INFO] |  |  |  |  |  |  | 4711 | message");
}

TEST_F(RecordLine, KeepsBytesOfEveryKind) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    std::string text;
    const char* all = bytes.c_str();
    target.formatLog(november, elmu::INFO, all, all, all, all, all, all, all, text);
    std::string expected = "11/16/26 04:41:28:000 | [INFO] | ";
    for (int field = 0; field < 6; ++field) {
        expected += bytes + " | ";
    }
    EXPECT_EQ(text, expected + "4711 | " + bytes);
}

TEST_F(RecordLine, KeepsTextsOfAnyLength) {
    const std::string longText(100000, 'x');
    std::string text;
    target.formatLog(november, elmu::INFO, longText.c_str(), "", "", "", "", longText.c_str(),
                     longText.c_str(), text);
    EXPECT_TRUE(text == "11/16/26 04:41:28:000 | [INFO] | " + longText + " |  |  |  |  | " + longText +
                            " | 4711 | " + longText);
}

TEST_F(RecordLine, NamesEveryLevel) {
    EXPECT_EQ(target.getLogLevelString(elmu::TRACE), "TRACE");
    EXPECT_EQ(target.getLogLevelString(elmu::DEBUG), "DEBUG");
    EXPECT_EQ(target.getLogLevelString(elmu::INFO), "INFO");
    EXPECT_EQ(target.getLogLevelString(elmu::WARN), "WARN");
    EXPECT_EQ(target.getLogLevelString(elmu::ERROR), "ERROR");
    EXPECT_EQ(target.getLogLevelString(elmu::FATAL), "FATAL");
    EXPECT_EQ(target.getLogLevelString(elmu::NONE), "NONE");
}

TEST_F(RecordLine, NamesEveryOtherNumberAll) {
    for (const int number : {0, -1, 1, 11, 35, 69, 71, 2147483647, -2147483647}) {
        EXPECT_EQ(target.getLogLevelString(static_cast<elmu::Log_Level>(number)), "ALL") << number;
    }
}

TEST_F(RecordLine, ShowsAnUnknownLevelAsAll) {
    EXPECT_EQ(line(static_cast<elmu::Log_Level>(35), "message"),
              "11/16/26 04:41:28:007 | [ALL] | c1 | c2 | c3 | c4 | d1 | d2 | 4711 | message");
}

} // namespace

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include <elmu/logging/StringUtils.h>

namespace {

using elmu::StringUtils;

std::string longText(long long value) {
    std::string text = "earlier";
    EXPECT_TRUE(StringUtils::LongToNativeString(value, text));
    return text;
}

TEST(StringUtils, WritesLongNumbersInDecimal) {
    EXPECT_EQ(longText(0), "0");
    EXPECT_EQ(longText(7), "7");
    EXPECT_EQ(longText(-7), "-7");
    EXPECT_EQ(longText(4294967296), "4294967296");
}

TEST(StringUtils, WritesTheLargestAndTheSmallestLongNumber) {
    EXPECT_EQ(longText(LLONG_MAX), "9223372036854775807");
    EXPECT_EQ(longText(LLONG_MIN), "-9223372036854775808");
}

TEST(StringUtils, WritesIntNumbersInDecimal) {
    EXPECT_EQ(StringUtils::IntToNativeString(0), "0");
    EXPECT_EQ(StringUtils::IntToNativeString(64), "64");
    EXPECT_EQ(StringUtils::IntToNativeString(-1), "-1");
}

TEST(StringUtils, WritesTheLargestAndTheSmallestIntNumber) {
    EXPECT_EQ(StringUtils::IntToNativeString(INT_MAX), "2147483647");
    EXPECT_EQ(StringUtils::IntToNativeString(INT_MIN), "-2147483648");
}

} // namespace

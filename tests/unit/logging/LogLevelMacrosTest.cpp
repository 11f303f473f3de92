#include <gtest/gtest.h>

// A build's macros with the names of the levels, defined before the header is read.
#define ALL
#define TRACE
#define DEBUG
#define INFO
#define WARN warning
#define ERROR 0
#define FATAL
#define NONE

#include <elmu/logging/LogLevel.h>

namespace {

TEST(LogLevelMacros, LeaveTheLevelsUsableInLowerCase) {
    EXPECT_EQ(elmu::levels::all, 0);
    EXPECT_EQ(elmu::levels::debug, 20);
    EXPECT_EQ(elmu::levels::error, 50);
    EXPECT_EQ(elmu::levels::none, 70);
}

TEST(LogLevelMacros, KeepTheirMeaningAfterTheHeader) {
    const int warning = 7;
    EXPECT_EQ(WARN, 7);
    EXPECT_EQ(ERROR, 0);
#if defined(ALL) && defined(TRACE) && defined(DEBUG) && defined(INFO) && defined(FATAL) && defined(NONE)
    SUCCEED();
#else
    FAIL() << "The header has taken a macro away.";
#endif
}

} // namespace

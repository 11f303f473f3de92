#include <type_traits>

#include <gtest/gtest.h>

#include <elmu/logging/LogLevel.h>

namespace {

TEST(LogLevel, IsASigned32BitNumber) {
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<elmu::Log_Level>, std::int32_t>));
}

TEST(LogLevel, HasTheNumbersThatOtherProgramsStore) {
    EXPECT_EQ(elmu::TRACE, 10);
    EXPECT_EQ(elmu::DEBUG, 20);
    EXPECT_EQ(elmu::INFO, 30);
    EXPECT_EQ(elmu::WARN, 40);
    EXPECT_EQ(elmu::ERROR, 50);
    EXPECT_EQ(elmu::FATAL, 60);
    EXPECT_EQ(elmu::NONE, 70);
}

TEST(LogLevel, PutsAllBelowEveryLevelWithAName) {
    EXPECT_EQ(elmu::ALL, 0);
    EXPECT_LT(elmu::ALL, elmu::TRACE);
}

TEST(LogLevel, HasATwinInLowerCaseForEveryName) {
    EXPECT_EQ(elmu::levels::all, elmu::ALL);
    EXPECT_EQ(elmu::levels::trace, elmu::TRACE);
    EXPECT_EQ(elmu::levels::debug, elmu::DEBUG);
    EXPECT_EQ(elmu::levels::info, elmu::INFO);
    EXPECT_EQ(elmu::levels::warn, elmu::WARN);
    EXPECT_EQ(elmu::levels::error, elmu::ERROR);
    EXPECT_EQ(elmu::levels::fatal, elmu::FATAL);
    EXPECT_EQ(elmu::levels::none, elmu::NONE);
}

} // namespace

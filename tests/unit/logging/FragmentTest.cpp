#include "logging/Fragment.h"

#include <string>

#include <gtest/gtest.h>

using elmu::fragmentLength;

namespace {

/// The length for a file with that content.
std::size_t lengthIn(const std::string& file, const std::string& line) {
    const bool isWhole = file.size() <= line.size();
    return fragmentLength(isWhole ? file : file.substr(file.size() - line.size()), isWhole, line);
}

} // namespace

TEST(Fragment, IsWhatStandsOfTheLineAfterTheLastWholeOne) {
    EXPECT_EQ(lengthIn("first line\n11/21", "11/21/26 second\n"), 5U);
    EXPECT_EQ(lengthIn("first line\n11/21/26 second", "11/21/26 second\n"), 15U);
    EXPECT_EQ(lengthIn("first line that is longer than the other\n1", "11/21/26 second\n"), 1U);
}

TEST(Fragment, CanBeginTheFile) {
    EXPECT_EQ(lengthIn("11/21", "11/21/26 second\n"), 5U);
    EXPECT_EQ(lengthIn("11/21/26 second", "11/21/26 second\n"), 15U);
}

TEST(Fragment, CanHoldLineBreaksOfItsOwn) {
    EXPECT_EQ(lengthIn("first\na\nb", "a\nb\nc\n"), 3U);
    EXPECT_EQ(lengthIn("first\na\n", "a\nb\nc\n"), 2U);
    EXPECT_EQ(lengthIn("a\nb\n", "a\nb\nc\n"), 4U);
}

TEST(Fragment, IsNothingWhenNothingWasWritten) {
    EXPECT_EQ(lengthIn("first line\n", "11/21/26 second\n"), 0U);
    EXPECT_EQ(lengthIn("", "11/21/26 second\n"), 0U);
}

TEST(Fragment, IsNothingThatOthersLeft) {
    EXPECT_EQ(lengthIn("first line\nsomebody's unfinished", "11/21/26 second\n"), 0U);
    EXPECT_EQ(lengthIn("unfinished 11/21", "11/21/26 second\n"), 0U);
    EXPECT_EQ(lengthIn("unfinished, and longer than the line 11/21", "11/21/26 second\n"), 0U);
}

TEST(Fragment, IsNeverAWholeLine) {
    EXPECT_EQ(lengthIn("11/21/26 second\n", "11/21/26 second\n"), 0U);
    EXPECT_EQ(lengthIn("first\n11/21/26 second\n", "11/21/26 second\n"), 0U);
}

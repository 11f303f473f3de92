#include <cstdarg>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include <elmu/logging/ArgumentList.h>

namespace {

std::string format(const char* pattern, char* args) {
    char text[512];
    elmu::ArgumentList list(args);
    std::vsnprintf(text, sizeof text, pattern, list.get());
    return text;
}

std::string formatTwice(const char* pattern, ...) {
    std::va_list list;
    va_start(list, pattern);
    char* args = elmu::travellingArguments(list);
    const std::string first = format(pattern, args);
    const std::string second = format(pattern, args);
    va_end(list);
    return first + "|" + second;
}

int takeOneThenStartAgain(int count, ...) {
    std::va_list list;
    va_start(list, count);
    char* args = elmu::travellingArguments(list);
    {
        elmu::ArgumentList first(args);
        va_arg(first.get(), int);
    }
    elmu::ArgumentList second(args);
    const int result = va_arg(second.get(), int);
    va_end(list);
    return result;
}

int takeFromOneOfTwo(int count, ...) {
    std::va_list list;
    va_start(list, count);
    char* args = elmu::travellingArguments(list);
    elmu::ArgumentList first(args);
    elmu::ArgumentList second(args);
    va_arg(first.get(), int);
    va_arg(first.get(), int);
    const int result = va_arg(second.get(), int);
    va_end(list);
    return result;
}

int takeFromTheOriginalAfterACopy(int count, ...) {
    std::va_list list;
    va_start(list, count);
    {
        elmu::ArgumentList copy(elmu::travellingArguments(list));
        va_arg(copy.get(), int);
    }
    const int result = va_arg(list, int);
    va_end(list);
    return result;
}

TEST(ArgumentList, IsNeverNullWhenItTravels) {
    const auto travels = [](int count, ...) {
        std::va_list list;
        va_start(list, count);
        const bool result = elmu::travellingArguments(list) != nullptr;
        va_end(list);
        return result;
    };
    EXPECT_TRUE(travels(1, 1));
}

TEST(ArgumentList, GivesTheSameTextToEveryConsumer) {
    EXPECT_EQ(formatTwice("%d %s %.1f %lld", -5, "five", 5.5, 5000000000LL),
              "-5 five 5.5 5000000000|-5 five 5.5 5000000000");
}

TEST(ArgumentList, GivesArgumentsInRegistersAndOnTheStackToEveryConsumer) {
    EXPECT_EQ(formatTwice("%d%d%d%d%d%d%d%d%d%d %.0f%.0f%.0f%.0f%.0f%.0f%.0f%.0f%.0f%.0f %s", 0, 1, 2, 3, 4,
                          5, 6, 7, 8, 9, 0., 1., 2., 3., 4., 5., 6., 7., 8., 9., "end"),
              "0123456789 0123456789 end|0123456789 0123456789 end");
}

TEST(ArgumentList, StartsAtTheFirstArgumentAfterAnEarlierConsumerStoppedHalfWay) {
    EXPECT_EQ(takeOneThenStartAgain(2, 11, 22), 11);
}

TEST(ArgumentList, IsNotMovedByAnotherConsumerAtWork) { EXPECT_EQ(takeFromOneOfTwo(2, 11, 22), 11); }

TEST(ArgumentList, LeavesTheOriginalListAtItsStart) {
    EXPECT_EQ(takeFromTheOriginalAfterACopy(2, 11, 22), 11);
}

} // namespace

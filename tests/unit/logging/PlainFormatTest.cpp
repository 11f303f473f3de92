#include <elmu/logging/PlainFormat.h>

#include <array>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

/// What one of the two writes, and the length that it gives.
struct Outcome {
    std::optional<int> length;
    std::string text;

    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << outcome.length.value_or(-1) << ": " << outcome.text;
}

Outcome plainly(std::size_t size, const char* format, ...) {
    std::string buffer(size, '~');
    std::va_list list;
    va_start(list, format);
    const auto length = elmu::formatPlainly(buffer.data(), size, format, list);
    va_end(list);
    return {length, buffer.c_str()};
}

Outcome bySystem(std::size_t size, const char* format, ...) {
    std::string buffer(size, '~');
    std::va_list list;
    va_start(list, format);
    const int length = std::vsnprintf(buffer.data(), size, format, list);
    va_end(list);
    return {length, buffer.c_str()};
}

template <class... Arguments> void expectSame(const char* format, Arguments... arguments) {
    for (const std::size_t size : {1U, 2U, 3U, 10U, 100U, 1000U}) {
        EXPECT_EQ(plainly(size, format, arguments...), bySystem(size, format, arguments...)) << format;
    }
}

} // namespace

TEST(PlainFormat, WritesTextAsItIs) {
    expectSame("");
    expectSame("text");
    expectSame("100%% sure%%");
    expectSame("%%%%");
    expectSame("\xff\x80 bytes\n\t");
}

TEST(PlainFormat, WritesTexts) {
    expectSame("%s", "");
    expectSame("%s", "text");
    expectSame("<%s> and <%s>", "one", "two");
    expectSame("%s%s%s", "a", "", "b");
    expectSame("%s", "%s %d");
    EXPECT_EQ(plainly(100, "%s", static_cast<const char*>(nullptr)).text, "(null)");
}

TEST(PlainFormat, WritesCharacters) {
    expectSame("%c%c", 'a', '%');
    expectSame("%c|", '\xff');
    expectSame("a%cb", '\0');
}

TEST(PlainFormat, WritesNumbersOfEachSize) {
    for (const int number : {0, 1, -1, 10, -10, INT_MAX, INT_MIN}) {
        expectSame("%d %i %u %x", number, number, number, number);
    }
    for (const long number : {0L, -1L, LONG_MAX, LONG_MIN}) {
        expectSame("%ld %li %lu %lx", number, number, number, number);
    }
    for (const long long number : {0LL, -1LL, LLONG_MAX, LLONG_MIN}) {
        expectSame("%lld %lli %llu %llx", number, number, number, number);
    }
    expectSame("%zu %zx", SIZE_MAX, SIZE_MAX);
    expectSame("%zd %zi", PTRDIFF_MIN, PTRDIFF_MAX);
}

TEST(PlainFormat, TakesEachArgumentInItsSize) {
    expectSame("%d %lld %s %lu %c %zu %x", 1, 2LL, "three", 4UL, '5', std::size_t{6}, 7U);
}

TEST(PlainFormat, LeavesOtherFormatsToOthers) {
    for (const char* format : {"%5d", "%-5d", "%05d", "%+d",  "% d", "%#x",  "%'d", "%.3d",   "%.2s",  "%5s",
                               "%*d", "%.*s", "%hd",  "%hhd", "%jd", "%td",  "%X",  "%o",     "%p",    "%n",
                               "%f",  "%.2f", "%e",   "%g",   "%a",  "%Lf",  "%ls", "%lc",    "%m",    "%1$d",
                               "%D",  "%",    "%l",   "%ll",  "%z",  "%lll", "%zs", "text %", "%d %5d"}) {
        EXPECT_EQ(plainly(100, format, 1, 2).length, std::nullopt) << format;
    }
}

TEST(PlainFormat, AgreesWithTheSystemOnGeneratedFormats) {
    constexpr int formats = 100'000;
    const std::array<const char*, 12> parts = {"%d", "%i", "%u", "%x",   "%%", "text ",
                                               "",   "\n", "|",  "%%%d", "=",  "%d%x"};
    std::minstd_rand random(20261122);
    for (int count = 0; count < formats; ++count) {
        std::string format;
        for (unsigned left = random() % 8; left > 0; --left) {
            format += parts[random() % parts.size()];
        }
        const auto number = [&] { return static_cast<int>(random() * 2U >> random() % 32U); };
        const std::array<int, 16> numbers = {number(), number(), number(), number(), number(), number(),
                                             number(), number(), number(), number(), number(), number(),
                                             number(), number(), number(), number()};
        const std::size_t size = 1 + random() % 40;
        const auto run = [&](auto write) {
            return write(size, format.c_str(), numbers[0], numbers[1], numbers[2], numbers[3], numbers[4],
                         numbers[5], numbers[6], numbers[7], numbers[8], numbers[9], numbers[10], numbers[11],
                         numbers[12], numbers[13], numbers[14], numbers[15]);
        };
        ASSERT_EQ(run(plainly), run(bySystem)) << format;
    }
}

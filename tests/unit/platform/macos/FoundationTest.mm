#include "../../../../platform/macos/Foundation.h"

#include <stdexcept>

#include <gtest/gtest.h>

using namespace platform;

namespace {

/// Notes its own end.
class Witness {
  public:
    explicit Witness(bool& end) : hasEnded(end) {}
    ~Witness() { hasEnded = true; }
    Witness(const Witness&) = delete;
    Witness& operator=(const Witness&) = delete;

  private:
    bool& hasEnded;
};

void raise(NSString* reason) {
    [[NSException exceptionWithName:NSInvalidArgumentException reason:reason userInfo:nil] raise];
}

NSError* errorIn(NSString* domain, NSInteger code, NSError* cause) {
    NSDictionary* const details =
        cause ? [NSDictionary dictionaryWithObject:cause forKey:NSUnderlyingErrorKey] : nil;
    return [NSError errorWithDomain:domain code:code userInfo:details];
}

} // namespace

TEST(ExceptionIn, IsNothingForWorkThatRaisesNone) {
    int runs = 0;
    EXPECT_EQ(exceptionIn([&] { ++runs; }), std::nullopt);
    EXPECT_EQ(runs, 1);
}

TEST(ExceptionIn, IsTheReason) {
    const AutoreleasePool pool;
    EXPECT_EQ(exceptionIn([] { raise(stringOf("no such ä")); }), "no such ä");
}

TEST(ExceptionIn, IsThereForAnExceptionWithoutAReason) {
    const AutoreleasePool pool;
    EXPECT_TRUE(exceptionIn([] { raise(nil); }));
}

TEST(ExceptionIn, EndsWhatLiesBetween) {
    const AutoreleasePool pool;
    bool hasEnded = false;
    EXPECT_TRUE(exceptionIn([&] {
        const Witness witness(hasEnded);
        raise(stringOf("reason"));
    }));
    EXPECT_TRUE(hasEnded);
}

TEST(ExceptionIn, LetsObjectsOfOtherClassesPass) {
    const AutoreleasePool pool;
    bool hasPassed = false;
    try {
        exceptionIn([] { @throw @"no exception"; });
    } catch (...) {
        hasPassed = true;
    }
    EXPECT_TRUE(hasPassed);
}

TEST(ExceptionIn, LetsExceptionsOfTheLanguagePass) {
    EXPECT_THROW(exceptionIn([] { throw std::runtime_error("x"); }), std::runtime_error);
}

TEST(ValueOr, IsWhatTheWorkGives) {
    EXPECT_EQ(valueOr(1, [] { return 2; }), 2);
}

TEST(ValueOr, IsTheOtherValueWhenTheWorkRaises) {
    const AutoreleasePool pool;
    EXPECT_EQ(valueOr(1,
                      []() -> int {
                          raise(stringOf("reason"));
                          return 2;
                      }),
              1);
}

TEST(StringOf, KeepsEveryByteOfAText) {
    const AutoreleasePool pool;
    for (const std::string_view text : {std::string_view("a\0b", 3), std::string_view("ä€😎"),
                                        std::string_view(""), std::string_view("e\xCC\x81")}) {
        ASSERT_TRUE(stringOf(text));
        EXPECT_EQ(textOf(stringOf(text)), text);
    }
}

TEST(StringOf, IsNullForBytesThatWouldNotComeBack) {
    const AutoreleasePool pool;
    for (const std::string_view text : {"\xFF", "a\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
        EXPECT_FALSE(stringOf(text));
    }
}

TEST(TextOf, IsEmptyForNull) { EXPECT_EQ(textOf(nil), ""); }

TEST(SystemErrorOf, IsTheErrorAtTheBottom) {
    const AutoreleasePool pool;
    NSError* const refusal = errorIn(NSPOSIXErrorDomain, EACCES, nil);
    EXPECT_EQ(systemErrorOf(refusal), std::errc::permission_denied);
    EXPECT_EQ(systemErrorOf(errorIn(NSCocoaErrorDomain, 513, errorIn(NSCocoaErrorDomain, 512, refusal))),
              std::errc::permission_denied);
}

TEST(SystemErrorOf, IsAnInputOutputErrorWhenThereIsNone) {
    const AutoreleasePool pool;
    EXPECT_EQ(systemErrorOf(nil), std::errc::io_error);
    EXPECT_EQ(systemErrorOf(errorIn(NSCocoaErrorDomain, 512, nil)), std::errc::io_error);
}

TEST(SystemErrorOf, IsWhatTheFrameworksOwnCodeMeans) {
    const AutoreleasePool pool;
    EXPECT_EQ(systemErrorOf(errorIn(NSCocoaErrorDomain, 513, nil)), std::errc::permission_denied);
    EXPECT_EQ(systemErrorOf(errorIn(NSCocoaErrorDomain, 4, nil)), std::errc::no_such_file_or_directory);
    EXPECT_EQ(systemErrorOf(errorIn(@"other", 513, nil)), std::errc::io_error);
}

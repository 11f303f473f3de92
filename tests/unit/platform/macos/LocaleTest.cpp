#include "platform/Locale.h"

#include <gmock/gmock.h>

using namespace platform;

// On the home platform languages are a setting of the user's; GNUstep takes them from the environment that a
// process begins with.

TEST(Locale, ThereIsALanguage) {
    EXPECT_THAT(preferredLanguages(), testing::Each(testing::MatchesRegex("[a-z]+(-[A-Za-z0-9]+)*")));
    EXPECT_FALSE(preferredLanguages().empty());
}

TEST(Locale, TheIdentifierHasALanguageAndPartsJoinedByUnderscores) {
    EXPECT_THAT(currentLocaleIdentifier(),
                testing::MatchesRegex("[a-z]+(-[A-Za-z]+)?(_[A-Za-z0-9]+)*(@.*)?"));
}

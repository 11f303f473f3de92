#include "platform/Locale.h"

#include <gmock/gmock.h>

#include "support/Scopes.h"

using namespace platform;
using support::ScopedVariable;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Locale, LanguagesComeFromTheEnvironment) {
    const ScopedVariable language("LANGUAGE", "de_AT:fr");
    const ScopedVariable all("LC_ALL", nullptr);
    const ScopedVariable messages("LC_MESSAGES", "en_GB.UTF-8");
    const ScopedVariable lang("LANG", "C");
    EXPECT_THAT(preferredLanguages(), ElementsAre("de-AT", "fr", "en-GB"));
}

TEST(Locale, TheIdentifierComesFromTheEnvironment) {
    const ScopedVariable all("LC_ALL", "");
    const ScopedVariable characters("LC_CTYPE", "ar_MA.UTF-8");
    const ScopedVariable lang("LANG", "en_US.UTF-8");
    EXPECT_EQ(currentLocaleIdentifier(), "ar_MA");
}

TEST(Locale, ABareEnvironmentHasNeither) {
    const ScopedVariable language("LANGUAGE", nullptr);
    const ScopedVariable all("LC_ALL", nullptr);
    const ScopedVariable messages("LC_MESSAGES", nullptr);
    const ScopedVariable characters("LC_CTYPE", nullptr);
    const ScopedVariable lang("LANG", nullptr);
    EXPECT_THAT(preferredLanguages(), IsEmpty());
    EXPECT_EQ(currentLocaleIdentifier(), "");
}

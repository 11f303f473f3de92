#include "../../../../platform/linux/HostRules.h"

#include <array>

#include <gmock/gmock.h>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Languages = std::vector<std::string>;

std::array<long, 3> numbersOf(std::string_view release) {
    const SystemVersion version = versionFromRelease(release);
    return {version.majorNumber, version.minorNumber, version.patchNumber};
}

} // namespace

TEST(VersionFromRelease, TakesTheLeadingNumbers) {
    EXPECT_THAT(numbersOf("6.1.0-28-amd64"), ElementsAre(6, 1, 0));
    EXPECT_THAT(numbersOf("5.15.167.4-microsoft-standard-WSL2"), ElementsAre(5, 15, 167));
    EXPECT_THAT(numbersOf("10.15.7\n"), ElementsAre(10, 15, 7));
}

TEST(VersionFromRelease, TakesMissingNumbersForZero) {
    EXPECT_THAT(numbersOf("6.1-rc3"), ElementsAre(6, 1, 0));
    EXPECT_THAT(numbersOf("6"), ElementsAre(6, 0, 0));
    EXPECT_THAT(numbersOf("6."), ElementsAre(6, 0, 0));
    EXPECT_THAT(numbersOf("6..2"), ElementsAre(6, 0, 0));
    EXPECT_THAT(numbersOf(""), ElementsAre(0, 0, 0));
    EXPECT_THAT(numbersOf("next-6.1"), ElementsAre(0, 0, 0));
}

TEST(VersionFromRelease, HasNoSigns) {
    EXPECT_THAT(numbersOf("-6.1.2"), ElementsAre(0, 0, 0));
    EXPECT_THAT(numbersOf("6.-1.2"), ElementsAre(6, 0, 0));
}

TEST(VersionFromRelease, TakesANumberBeyondAllBoundsForZero) {
    EXPECT_THAT(numbersOf("99999999999999999999.1.2"), ElementsAre(0, 1, 2));
}

TEST(LanguagesFrom, PutsTheEntriesOfLanguageBeforeTheLocale) {
    const LanguageVariables variables = {
        .language = "de_AT:fr", .lcAll = "", .lcMessages = "", .lcCtype = "", .lang = "en_GB.UTF-8"};
    EXPECT_THAT(languagesFrom(variables), ElementsAre("de-AT", "fr", "en-GB"));
}

TEST(LanguagesFrom, TakesTheFirstLocaleThatIsSet) {
    EXPECT_THAT(languagesFrom({"", "de_DE", "fr_FR", "", "en_US"}), ElementsAre("de-DE"));
    EXPECT_THAT(languagesFrom({"", "", "fr_FR", "", "en_US"}), ElementsAre("fr-FR"));
    EXPECT_THAT(languagesFrom({"", "", "", "", "en_US"}), ElementsAre("en-US"));
}

TEST(LanguagesFrom, DoesNotAskTheLocaleOfCharacters) {
    EXPECT_THAT(languagesFrom({"", "", "", "de_DE", "en_US"}), ElementsAre("en-US"));
    EXPECT_THAT(languagesFrom({"", "", "", "de_DE", ""}), IsEmpty());
}

TEST(LanguagesFrom, CutsCodesetAndModifierOff) {
    EXPECT_THAT(languagesFrom({"", "", "", "", "sr_RS.UTF-8@latin"}), ElementsAre("sr-RS"));
    EXPECT_THAT(languagesFrom({"", "", "", "", "de_DE@euro"}), ElementsAre("de-DE"));
    EXPECT_THAT(languagesFrom({"ca_ES@valencia:pt_BR.UTF-8", "en_US", "", "", ""}),
                ElementsAre("ca-ES", "pt-BR", "en-US"));
}

TEST(LanguagesFrom, IgnoresLanguageInTheCLocale) {
    for (const std::string_view locale : {"C", "POSIX", "C.UTF-8", ""}) {
        EXPECT_THAT(languagesFrom({"de:fr", locale, "", "", ""}), IsEmpty()) << locale;
        EXPECT_THAT(languagesFrom({"de:fr", "", "", "", locale}), IsEmpty()) << locale;
    }
}

TEST(LanguagesFrom, TheCLocaleHidesTheLocalesAfterIt) {
    EXPECT_THAT(languagesFrom({"", "C", "", "", "de_DE"}), IsEmpty());
}

TEST(LanguagesFrom, EndsTheListAtAnEntryOfTheCLocale) {
    for (const std::string entry : {"C", "POSIX"}) {
        EXPECT_THAT(languagesFrom({"de:" + entry + ":fr", "", "", "", "en_US"}), ElementsAre("de")) << entry;
        EXPECT_THAT(languagesFrom({"de:" + entry, "", "", "", "en_US"}), ElementsAre("de")) << entry;
        EXPECT_THAT(languagesFrom({entry + ":de", "", "", "", "en_US"}), IsEmpty()) << entry;
    }
}

TEST(LanguagesFrom, PassesEntriesOfTheCLocaleWithACodesetOver) {
    EXPECT_THAT(languagesFrom({"C.UTF-8:de:POSIX.utf8:C@euro:fr", "", "", "", "en_US"}),
                ElementsAre("de", "fr", "en-US"));
}

TEST(LanguagesFrom, GoesOnAfterAnEntryThatOnlyBeginsAsTheCLocaleDoes) {
    EXPECT_THAT(languagesFrom({"Cde:c:POSIXX:fr", "", "", "", "en_US"}),
                ElementsAre("Cde", "c", "POSIXX", "fr", "en-US"));
}

TEST(LanguagesFrom, PassesEntriesWithoutALanguageOver) {
    EXPECT_THAT(languagesFrom({".UTF-8:de:@euro", "", "", "", "en_US"}), ElementsAre("de", "en-US"));
}

TEST(LanguagesFrom, PassesEmptyEntriesOver) {
    EXPECT_THAT(languagesFrom({":de::fr:", "", "", "", "en_US"}), ElementsAre("de", "fr", "en-US"));
}

TEST(LanguagesFrom, NamesEveryLanguageOnce) {
    EXPECT_THAT(languagesFrom({"de_DE:en:de_DE.UTF-8", "", "", "", "de_DE.UTF-8"}),
                ElementsAre("de-DE", "en"));
}

TEST(LocaleIdentifierFrom, TakesTheFirstLocaleThatIsSet) {
    EXPECT_EQ(localeIdentifierFrom({"", "ar_MA", "fr_FR", "de_DE", "en_US"}), "ar_MA");
    EXPECT_EQ(localeIdentifierFrom({"", "", "fr_FR", "de_DE", "en_US"}), "de_DE");
    EXPECT_EQ(localeIdentifierFrom({"", "", "fr_FR", "", "en_US"}), "en_US");
}

TEST(LocaleIdentifierFrom, CutsCodesetAndModifierOff) {
    EXPECT_EQ(localeIdentifierFrom({"", "", "", "", "ar_TN.UTF-8"}), "ar_TN");
    EXPECT_EQ(localeIdentifierFrom({"", "", "", "", "sr_RS.UTF-8@latin"}), "sr_RS");
}

TEST(LocaleIdentifierFrom, IsEmptyWhenNoLocaleIsSet) {
    EXPECT_EQ(localeIdentifierFrom({"de", "", "fr_FR", "", ""}), "");
}

TEST(IsPersonsSession, HoldsForClassesThatBeginWithUser) {
    EXPECT_TRUE(isPersonsSession("user"));
    EXPECT_TRUE(isPersonsSession("user-early"));
    EXPECT_TRUE(isPersonsSession("user-incomplete"));
}

TEST(IsPersonsSession, HoldsForNoOtherClass) {
    for (const std::string_view other :
         {"greeter", "lock-screen", "background", "manager", "", "User", "use"}) {
        EXPECT_FALSE(isPersonsSession(other)) << other;
    }
}

#include <elmu/utils/LocalizationUtils.h>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/ScriptedHost.h"
#include <elmu/utils/LanguageConversionTable.h>

using ELMUUtils::Convert1766ToKorvaneLanguage;
using ELMUUtils::LocalizationUtils;
using scripted::host;

namespace {

std::string converted(const std::string& tag) {
    std::string locale = "before";
    return Convert1766ToKorvaneLanguage(tag, locale) ? locale : "(none)";
}

void expectNoConversion(const std::string& tag) {
    std::string locale = "before";
    EXPECT_FALSE(Convert1766ToKorvaneLanguage(tag, locale)) << tag;
    EXPECT_EQ(locale, "before") << tag;
}

class OsLocale : public testing::Test {
  protected:
    OsLocale() { scripted::reset(); }
    ~OsLocale() override { scripted::reset(); }

    /// The locale for a user of these languages, put into a string that holds `before`.
    static std::string of(std::vector<std::string> languages, std::string before = "") {
        host().preferredLanguages = std::move(languages);
        EXPECT_TRUE(LocalizationUtils::GetOSLocale(before));
        return before;
    }

    /// The locale for a user whose language is `language` and whose current locale is `identifier`.
    static std::string ofArabic(const std::string& identifier, const std::string& language = "ar") {
        host().localeIdentifier = identifier;
        return of({language, "de"});
    }
};

} // namespace

TEST(TagConversion, KnowsEveryKeyOfTheTable) {
    for (const auto& [key, value] : ELMUUtils::GetKorvaneLanguageConversionTable()) {
        EXPECT_EQ(converted(key), value) << key;
    }
}

TEST(TagConversion, ReplacesWhatTheOutputHeld) {
    std::string locale = "a text that is longer than any locale";
    EXPECT_TRUE(Convert1766ToKorvaneLanguage("ja", locale));
    EXPECT_EQ(locale, "ja_JP");
}

TEST(TagConversion, LeavesTheOutputAloneForAnUnknownLanguage) {
    for (const char* tag : {"xx-YY", "xxx", "sr-Latn-RS", "ar-EG", "ar-eg", "he-IL", "tlh-Latn-001"}) {
        expectNoConversion(tag);
    }
}

TEST(TagConversion, FailsForUnknownTagsOfTwoCharactersAndFewer) {
    for (const char* tag : {"", "d", "D", "xx", "ar", "he", "-", "\xc3\xa9"}) {
        expectNoConversion(tag);
    }
}

TEST(TagConversion, FindsATagOfTwoCharactersInLowerCase) {
    EXPECT_EQ(converted("EN"), "en_US");
    EXPECT_EQ(converted("dE"), "de_DE");
}

TEST(TagConversion, CutsThreeCharactersToTwo) {
    EXPECT_EQ(converted("deu"), "de_DE");
    EXPECT_EQ(converted("DEU"), "de_DE");
    EXPECT_EQ(converted("en-"), "en_US");
    EXPECT_EQ(converted("zho"), "zh_CN");
}

TEST(TagConversion, FindsFiveCharactersInLowerCaseBeforeItCutsThem) {
    EXPECT_EQ(converted("en-GB"), "en_GB");
    EXPECT_EQ(converted("EN_GB"), "en_GB");
    EXPECT_EQ(converted("FR-ca"), "fr_CA");
    EXPECT_EQ(converted("es-LA"), "es_LA");
    EXPECT_EQ(converted("zh-HK"), "zh_TW");
}

TEST(TagConversion, FallsBackFromAnUnknownRegionToTheLanguage) {
    EXPECT_EQ(converted("de-AT"), "de_DE");
    EXPECT_EQ(converted("pt-PT"), "pt_BR");
    EXPECT_EQ(converted("en-AU"), "en_US");
    EXPECT_EQ(converted("fr_CH"), "fr_FR");
    EXPECT_EQ(converted("zh-SG"), "zh_CN");
}

TEST(TagConversion, CutsSixCharactersToFive) {
    EXPECT_EQ(converted("fr_CAx"), "fr_CA");
    EXPECT_EQ(converted("en-GBx"), "en_GB");
    EXPECT_EQ(converted("ZH-TWx"), "zh_TW");
    EXPECT_EQ(converted("es-419"), "es_ES");
}

TEST(TagConversion, CutsSevenCharactersToFive) {
    EXPECT_EQ(converted("fr_CA_x"), "fr_CA");
    EXPECT_EQ(converted("en-GB-o"), "en_GB");
}

TEST(TagConversion, FindsATagOfSevenCharactersBeforeItCutsIt) {
    EXPECT_EQ(converted("zh-Hant"), "zh_TW");
    EXPECT_EQ(converted("zh-Hans"), "zh_CN");
}

TEST(TagConversion, CutsEightCharactersToSeven) {
    EXPECT_EQ(converted("zh-HantX"), "zh_TW");
    EXPECT_EQ(converted("zh-HansX"), "zh_CN");
}

TEST(TagConversion, CutsLongTagsToSevenAndThenToFive) {
    EXPECT_EQ(converted("zh-Hans-CN"), "zh_CN");
    EXPECT_EQ(converted("zh-Hant-HK"), "zh_TW");
    EXPECT_EQ(converted("fr_CA_xy"), "fr_CA");
    EXPECT_EQ(converted("en-GB-oxendict"), "en_GB");
    EXPECT_EQ(converted("en-" + std::string(10000, 'x')), "en_US");
}

TEST(TagConversion, KeepsTheLetterCaseOfSevenCharacters) {
    for (const char* tag : {"zh-hant", "zh-HANT", "ZH-Hant", "zh-hant-HK", "ZH-HANT-TW"}) {
        EXPECT_EQ(converted(tag), "zh_CN") << tag;
    }
}

TEST(TagConversion, KeepsTheLetterCaseOfFiveCharacters) {
    EXPECT_EQ(converted("zh_HK_x"), "zh_TW");
    EXPECT_EQ(converted("zh_hk_x"), "zh_CN");
}

TEST(TagConversion, LowersTheShortenedTag) {
    EXPECT_EQ(converted("EN_GB-OXENDICT"), "en_GB");
    EXPECT_EQ(converted("FR_CAX"), "fr_CA");
}

TEST(TagConversion, TakesHongKongForChinaWithALowerCaseUnderscoreForm) {
    EXPECT_EQ(converted("zh_HK"), "zh_TW");
    EXPECT_EQ(converted("zh-hk"), "zh_TW");
    EXPECT_EQ(converted("zh_hk"), "zh_CN");
    EXPECT_EQ(converted("ZH_HK"), "zh_CN");
}

TEST(TagConversion, WorksOnBytes) {
    EXPECT_EQ(converted("de\xc3\x84"), "de_DE");
    EXPECT_EQ(converted("fr_CA\xc3\x84"), "fr_CA");
    expectNoConversion("\xc3\x84-de");
}

TEST_F(OsLocale, IsTheFirstLanguages) {
    EXPECT_EQ(of({"ja", "en"}), "ja_JP");
    EXPECT_EQ(of({"en", "ja"}), "en_US");
}

TEST_F(OsLocale, IsFoundThroughEveryShorteningOfATag) {
    EXPECT_EQ(of({"zh-Hans-CN", "en"}), "zh_CN");
    EXPECT_EQ(of({"zh-Hant-HK", "en"}), "zh_TW");
    EXPECT_EQ(of({"zh-HK", "en"}), "zh_TW");
    EXPECT_EQ(of({"pt-PT", "en"}), "pt_BR");
    EXPECT_EQ(of({"en-GB-oxendict", "ja"}), "en_GB");
}

TEST_F(OsLocale, SkipsUnknownLanguages) {
    EXPECT_EQ(of({"xx", "de-AT"}), "de_DE");
    EXPECT_EQ(of({"xx", "", "yy-ZZ", "sv", "en"}), "sv_SE");
}

TEST_F(OsLocale, IsEnglishOfIsraelForHebrew) {
    EXPECT_EQ(of({"he", "en"}), "en_IL");
    EXPECT_EQ(of({"xx", "he"}), "en_IL");
}

TEST_F(OsLocale, TakesHebrewInAnyLetterCase) {
    for (const char* hebrew : {"HE", "He", "hE"}) {
        EXPECT_EQ(of({hebrew, "en"}), "en_IL") << hebrew;
    }
}

TEST_F(OsLocale, IsFrenchOfMoroccoForArabicOfTheMaghreb) {
    for (const char* identifier : {"ar_DZ", "ar_TN", "ar_MA"}) {
        EXPECT_EQ(ofArabic(identifier), "fr_MA") << identifier;
    }
}

TEST_F(OsLocale, IsEnglishOfTheEmiratesForOtherArabic) {
    for (const char* identifier : {"ar_EG", "ar_AE", "ar", "en_US", "fr_MA", "", "C"}) {
        EXPECT_EQ(ofArabic(identifier), "en_AE") << identifier;
    }
}

TEST_F(OsLocale, ComparesTheIdentifierOfArabicInAnyLetterCase) {
    for (const char* identifier : {"AR_dz", "ar_dz", "Ar_Tn", "AR_TN", "ar_ma", "AR_MA"}) {
        EXPECT_EQ(ofArabic(identifier), "fr_MA") << identifier;
    }
}

TEST_F(OsLocale, ComparesTheWholeIdentifierOfArabic) {
    for (const char* identifier : {"ar_MAX", "ar_M", "ar-MA", "ar_MA@calendar=gregorian", " ar_MA"}) {
        EXPECT_EQ(ofArabic(identifier), "en_AE") << identifier;
    }
}

TEST_F(OsLocale, TakesArabicInAnyLetterCase) {
    for (const char* arabic : {"AR", "Ar", "aR"}) {
        EXPECT_EQ(ofArabic("ar_TN", arabic), "fr_MA") << arabic;
        EXPECT_EQ(ofArabic("ar_EG", arabic), "en_AE") << arabic;
    }
}

TEST_F(OsLocale, DoesNotTakeArabicWithARegionForArabic) {
    host().localeIdentifier = "ar_MA";
    for (const char* tag : {"ar-EG", "ar-SA", "ar_MA", "AR-MA", "arz", "a"}) {
        EXPECT_EQ(of({tag, "de"}), "de_DE") << tag;
        EXPECT_EQ(of({tag}), "en_US") << tag;
    }
}

TEST_F(OsLocale, DoesNotTakeHebrewWithARegionForHebrew) {
    for (const char* tag : {"he-IL", "he_IL", "HE-il", "heb", "h"}) {
        EXPECT_EQ(of({tag, "de"}), "de_DE") << tag;
        EXPECT_EQ(of({tag}), "en_US") << tag;
    }
}

TEST_F(OsLocale, StopsAtTheFirstLanguageThatDecides) {
    host().localeIdentifier = "ar_MA";
    EXPECT_EQ(of({"ar", "he", "en"}), "fr_MA");
    EXPECT_EQ(of({"he", "ar", "en"}), "en_IL");
    EXPECT_EQ(of({"en", "ar", "he"}), "en_US");
    EXPECT_EQ(of({"xx", "ar"}), "fr_MA");
}

TEST_F(OsLocale, DependsOnTheIdentifierForArabicAlone) {
    host().localeIdentifier = "ar_MA";
    EXPECT_EQ(of({"ja"}), "ja_JP");
    EXPECT_EQ(of({"he"}), "en_IL");
    EXPECT_EQ(of({"xx"}), "en_US");
    EXPECT_EQ(of({}), "en_US");
}

TEST_F(OsLocale, IsAmericanEnglishWhenNoLanguageDecides) {
    EXPECT_EQ(of({"xx"}), "en_US");
    EXPECT_EQ(of({"xx", "ar-SA", "he-IL"}), "en_US");
    EXPECT_EQ(of({""}), "en_US");
}

TEST_F(OsLocale, IsAmericanEnglishWithoutLanguages) { EXPECT_EQ(of({}), "en_US"); }

TEST_F(OsLocale, LeavesAFilledOutputAloneWhenNoLanguageDecides) {
    EXPECT_EQ(of({"xx"}, "fr_FR"), "fr_FR");
    EXPECT_EQ(of({}, "fr_FR"), "fr_FR");
    EXPECT_EQ(of({"xx", "ar-SA"}, "any text"), "any text");
}

TEST_F(OsLocale, ReplacesAFilledOutputWhenALanguageDecides) {
    EXPECT_EQ(of({"ja"}, "fr_FR"), "ja_JP");
    EXPECT_EQ(of({"he"}, "fr_FR"), "en_IL");
    EXPECT_EQ(of({"ar"}, "fr_FR"), "en_AE");
    host().localeIdentifier = "ar_DZ";
    EXPECT_EQ(of({"ar"}, "a text that is longer than any locale"), "fr_MA");
}

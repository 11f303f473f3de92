#include <elmu/utils/LanguageConversionTable.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using ELMUUtils::GetKorvaneLanguageConversionTable;

namespace {

struct Row {
    std::string value;
    std::vector<std::string> keys;
};

const std::vector<Row>& rows() {
    static const std::vector<Row> all{
        {"cs_CZ", {"cs", "cs-cz", "cs_CZ", "cs_cz"}},
        {"da_DK", {"da", "da-dk", "da_DK", "da_dk"}},
        {"de_DE", {"de", "de-de", "de_DE", "de_de"}},
        {"el_GR", {"el", "el-gr", "el_GR", "el_gr"}},
        {"en_US", {"en", "en-us", "en_US", "en_us"}},
        {"en_GB", {"en-gb", "en_GB", "en_gb"}},
        {"es_ES", {"es", "es-es", "es_ES", "es_es"}},
        {"es_LA", {"es-la", "es_LA", "es_la"}},
        {"es_NA", {"es-na", "es_NA", "es_na"}},
        {"fi_FI", {"fi", "fi-fi", "fi_FI", "fi_fi"}},
        {"fr_FR", {"fr", "fr-fr", "fr_FR", "fr_fr"}},
        {"fr_CA", {"fr-ca", "fr_CA", "fr_ca"}},
        {"hu_HU", {"hu", "hu-hu", "hu_HU", "hu_hu"}},
        {"it_IT", {"it", "it-it", "it_IT", "it_it"}},
        {"ja_JP", {"ja", "ja-jp", "ja_JP", "ja_jp"}},
        {"ko_KR", {"ko", "ko-kr", "ko_KR", "ko_kr"}},
        {"nb_NO", {"nb", "nb-no", "nb_NO", "nb_no"}},
        {"nl_NL", {"nl", "nl-nl", "nl_NL", "nl_nl"}},
        {"pl_PL", {"pl", "pl-pl", "pl_PL", "pl_pl"}},
        {"pt_BR", {"pt", "pt-br", "pt_BR", "pt_br"}},
        {"ro_RO", {"ro", "ro-ro", "ro_RO", "ro_ro"}},
        {"ru_RU", {"ru", "ru-ru", "ru_RU", "ru_ru"}},
        {"sv_SE", {"sv", "sv-se", "sv_SE", "sv_se"}},
        {"tr_TR", {"tr", "tr-tr", "tr_TR", "tr_tr"}},
        {"uk_UA", {"uk", "uk-ua", "uk_UA", "uk_ua"}},
        {"zh_CN", {"zh", "zh-cn", "zh_CN", "zh_cn", "zh-Hans"}},
        {"zh_TW", {"zh-hk", "zh_HK", "zh-Hant", "zh-tw", "zh_TW", "zh_tw"}},
    };
    return all;
}

bool holds(const std::string& key) { return GetKorvaneLanguageConversionTable().count(key) == 1; }

std::string valueOf(const std::string& key) {
    const auto& table = GetKorvaneLanguageConversionTable();
    const auto entry = table.find(key);
    return entry == table.end() ? "(absent)" : entry->second;
}

} // namespace

TEST(LanguageConversionTable, Has107Entries) { EXPECT_EQ(GetKorvaneLanguageConversionTable().size(), 107U); }

TEST(LanguageConversionTable, HasEveryKeyOfEveryProductLocale) {
    for (const Row& row : rows()) {
        for (const std::string& key : row.keys) {
            EXPECT_EQ(valueOf(key), row.value) << key;
        }
    }
}

TEST(LanguageConversionTable, HasNoOtherEntries) {
    std::map<std::string, std::string> expected;
    for (const Row& row : rows()) {
        for (const std::string& key : row.keys) {
            expected.emplace(key, row.value);
        }
    }
    EXPECT_EQ(GetKorvaneLanguageConversionTable(), expected);
}

TEST(LanguageConversionTable, IsTheSameUnchangedTableAtEveryCall) {
    const auto& first = GetKorvaneLanguageConversionTable();
    const auto before = first;
    const auto& second = GetKorvaneLanguageConversionTable();
    EXPECT_EQ(&second, &first);
    EXPECT_EQ(second, before);
}

TEST(LanguageConversionTable, LacksTheLowerCaseUnderscoreFormOfHongKong) {
    EXPECT_FALSE(holds("zh_hk"));
    EXPECT_EQ(valueOf("zh_HK"), "zh_TW");
    EXPECT_EQ(valueOf("zh-hk"), "zh_TW");
}

TEST(LanguageConversionTable, DistinguishesLetterCase) {
    for (const char* key : {"EN", "En", "en-GB", "EN-gb", "EN_GB", "En_gb", "zh-HK", "zh-TW", "zh-CN"}) {
        EXPECT_FALSE(holds(key)) << key;
    }
}

TEST(LanguageConversionTable, HasTheScriptTagsInOneLetterCaseOnly) {
    EXPECT_EQ(valueOf("zh-Hans"), "zh_CN");
    EXPECT_EQ(valueOf("zh-Hant"), "zh_TW");
    for (const char* key : {"zh-hans", "zh-hant", "zh-HANS", "zh-HANT", "zh_Hans", "zh_Hant"}) {
        EXPECT_FALSE(holds(key)) << key;
    }
}

TEST(LanguageConversionTable, LacksLanguagesThatTheProductDoesNotOffer) {
    for (const char* key : {"", "xx", "ar", "ar-eg", "ar-EG", "he", "he-il", "no", "pt-pt", "pt_PT", "de-at",
                            "en-ca", "en_AE", "en_IL", "fr_MA", "zh-sg"}) {
        EXPECT_FALSE(holds(key)) << key;
    }
}

TEST(LanguageConversionTable, LeadsFromABareLanguageToItsPrimaryLocale) {
    EXPECT_EQ(valueOf("en"), "en_US");
    EXPECT_EQ(valueOf("es"), "es_ES");
    EXPECT_EQ(valueOf("fr"), "fr_FR");
    EXPECT_EQ(valueOf("pt"), "pt_BR");
    EXPECT_EQ(valueOf("zh"), "zh_CN");
}

TEST(LanguageConversionTable, HasHyphenatedKeysInLowerCaseButForTheScriptTags) {
    for (const auto& [key, value] : GetKorvaneLanguageConversionTable()) {
        const bool lower =
            std::none_of(key.begin(), key.end(), [](unsigned char byte) { return std::isupper(byte); });
        const bool hyphenated = key.find('-') != std::string::npos;
        EXPECT_TRUE(!hyphenated || lower || key == "zh-Hans" || key == "zh-Hant") << key;
    }
}

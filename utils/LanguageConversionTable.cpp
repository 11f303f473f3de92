#include <elmu/utils/LanguageConversionTable.h>

#include <array>
#include <string_view>

namespace ELMUUtils {

namespace {

struct Row {
    std::string_view locale;
    std::array<std::string_view, 7> tags; ///< the rest empty
};

// "zh_HK" stands here twice and "zh_hk" nowhere: in that form the tag is not Taiwan's.
constexpr Row kRows[] = {
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
    {"zh_TW", {"zh-hk", "zh_HK", "zh_HK", "zh-Hant", "zh-tw", "zh_TW", "zh_tw"}},
};

void fill(std::map<std::string, std::string>& table) {
    for (const Row& row : kRows) {
        for (const std::string_view tag : row.tags) {
            if (!tag.empty()) {
                table.emplace(tag, row.locale);
            }
        }
    }
}

} // namespace

const std::map<std::string, std::string>& GetKorvaneLanguageConversionTable() {
    // Never deleted: static objects may ask for the language until the process ends.
    static auto& table = *new std::map<std::string, std::string>;
    static bool filled = false;
    if (!filled) {
        filled = true;
        fill(table);
    }
    return table;
}

} // namespace ELMUUtils

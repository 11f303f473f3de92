#include <elmu/utils/LocalizationUtils.h>

#include <algorithm>
#include <cctype>
#include <string_view>

#include "platform/Locale.h"
#include <elmu/utils/LanguageConversionTable.h>

namespace ELMUUtils {

namespace {

char lowerAscii(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool equalIgnoringCase(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return lowerAscii(a) == lowerAscii(b); });
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

bool findLocale(const std::string& key, std::string& locale) {
    const auto& table = GetKorvaneLanguageConversionTable();
    const auto entry = table.find(key);
    if (entry == table.end()) {
        return false;
    }
    locale = entry->second;
    return true;
}

/// The product has no Arabic: French where it is the second language, English elsewhere.
std::string localeForArabic(const std::string& region) {
    for (const char* french : {"ar_DZ", "ar_TN", "ar_MA"}) {
        if (equalIgnoringCase(region, french)) {
            return "fr_MA";
        }
    }
    return "en_AE";
}

} // namespace

bool Convert1766ToKorvaneLanguage(const std::string& tag, std::string& locale) {
    std::string key = tag;
    if (findLocale(key, locale)) {
        return true;
    }
    if (key.size() >= 8) {
        key.resize(7);
        if (findLocale(key, locale)) {
            return true;
        }
    }
    if (key.size() >= 6) {
        key.resize(5);
        if (findLocale(key, locale)) {
            return true;
        }
    }
    key = lowered(key);
    if (findLocale(key, locale)) {
        return true;
    }
    return key.size() >= 3 && findLocale(key.substr(0, 2), locale);
}

bool LocalizationUtils::GetOSLocale(std::string& locale) {
    for (const std::string& language : platform::preferredLanguages()) {
        if (equalIgnoringCase(language, "ar")) {
            locale = localeForArabic(platform::currentLocaleIdentifier());
            break;
        }
        if (equalIgnoringCase(language, "he")) {
            locale = "en_IL";
            break;
        }
        if (Convert1766ToKorvaneLanguage(language, locale)) {
            break;
        }
    }
    if (locale.empty()) {
        locale = "en_US";
    }
    return true;
}

} // namespace ELMUUtils

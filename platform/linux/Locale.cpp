#include "platform/Locale.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <string_view>

#include "HostRules.h"

namespace platform {

namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

LanguageVariables languageVariables() {
    return {environment("LANGUAGE"), environment("LC_ALL"), environment("LC_MESSAGES"),
            environment("LC_CTYPE"), environment("LANG")};
}

std::string_view firstSet(std::initializer_list<std::string_view> values) {
    const auto found = std::find_if(values.begin(), values.end(), [](auto value) { return !value.empty(); });
    return found == values.end() ? "" : *found;
}

std::string_view withoutCodesetAndModifier(std::string_view locale) {
    return locale.substr(0, locale.find_first_of(".@"));
}

bool isCLocale(std::string_view locale) {
    const std::string_view name = withoutCodesetAndModifier(locale);
    return name == "C" || name == "POSIX";
}

void addLanguage(std::vector<std::string>& languages, std::string_view locale) {
    std::string tag(withoutCodesetAndModifier(locale));
    std::replace(tag.begin(), tag.end(), '_', '-');
    if (!tag.empty() && std::find(languages.begin(), languages.end(), tag) == languages.end()) {
        languages.push_back(std::move(tag));
    }
}

} // namespace

std::vector<std::string> languagesFrom(const LanguageVariables& variables) {
    const std::string_view locale = firstSet({variables.lcAll, variables.lcMessages, variables.lang});
    if (locale.empty() || isCLocale(locale)) {
        return {};
    }
    std::vector<std::string> languages;
    for (std::string_view rest = variables.language; !rest.empty();) {
        const std::size_t length = std::min(rest.find(':'), rest.size());
        const std::string_view entry = rest.substr(0, length);
        if (entry == "C" || entry == "POSIX") {
            return languages;
        }
        if (!isCLocale(entry)) {
            addLanguage(languages, entry);
        }
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    addLanguage(languages, locale);
    return languages;
}

std::string localeIdentifierFrom(const LanguageVariables& variables) {
    return std::string(
        withoutCodesetAndModifier(firstSet({variables.lcAll, variables.lcCtype, variables.lang})));
}

std::vector<std::string> preferredLanguages() { return languagesFrom(languageVariables()); }

std::string currentLocaleIdentifier() { return localeIdentifierFrom(languageVariables()); }

} // namespace platform

#pragma once

#include <string>

namespace ELMUUtils {

/// Puts the product locale of the language tag `tag` (such as "en-GB", "zh-Hans-CN" or "fr_CA") into
/// `locale`. Tried in turn are the tag, its first seven and its first five characters, what is left in lower
/// case, and the first two of that. False, with `locale` untouched, when the product has none of them.
bool Convert1766ToKorvaneLanguage(const std::string& tag, std::string& locale);

/// The user's language.
class LocalizationUtils {
  public:
    /// Puts the product locale of the first of the user's preferred languages that has one into `locale`.
    /// Arabic ("ar" alone) becomes French or English of the region, Hebrew ("he" alone) English. When no
    /// language decides, `locale` stays as it is, or becomes "en_US" if it is empty. Always true.
    static bool GetOSLocale(std::string& locale);
};

} // namespace ELMUUtils

#pragma once

#include <string>
#include <vector>

/// The user's language settings.
namespace platform {

/// The user's languages as tags such as "en-GB" or "zh-Hans", the most preferred first. May be empty.
std::vector<std::string> preferredLanguages();

/// The identifier of the current locale, such as "ar_MA". Empty when none is set.
std::string currentLocaleIdentifier();

} // namespace platform

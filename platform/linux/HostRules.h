#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/System.h"

/// The decisions behind the answers of this host, apart from where their facts come from.
namespace platform {

/// The values of the environment variables that choose the language. An empty one counts as not set.
struct LanguageVariables {
    std::string_view language;   ///< LANGUAGE
    std::string_view lcAll;      ///< LC_ALL
    std::string_view lcMessages; ///< LC_MESSAGES
    std::string_view lcCtype;    ///< LC_CTYPE
    std::string_view lang;       ///< LANG
};

/// Returns the entries of LANGUAGE, then the locale of messages, as tags and each of them once. As in
/// gettext, LANGUAGE does not count in the C locale, and an entry "C" or "POSIX" ends the list: it asks for
/// untranslated text before anything that follows it. An entry such as "C.UTF-8" is passed over.
std::vector<std::string> languagesFrom(const LanguageVariables& variables);

/// The locale of characters, codeset and modifier cut off.
std::string localeIdentifierFrom(const LanguageVariables& variables);

/// Up to three numbers, joined by dots, that a kernel's release name begins with.
SystemVersion versionFromRelease(std::string_view release);

/// Whether a login session of this class is a person's, and no login screen or service.
bool isPersonsSession(std::string_view sessionClass);

} // namespace platform

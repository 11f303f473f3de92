#pragma once

#include <string_view>

/// What XML allows, apart from any library: libraries differ in what they check.
namespace platform {

/// Whether `text` is UTF-8: no stray or missing bytes, no longer form than needed, no half of a pair.
bool isUtf8(std::string_view text);

/// Whether XML allows the character of that number.
bool isXmlCharacter(char32_t character);

/// Whether `text` is UTF-8 and has only characters that XML allows.
bool isXmlText(std::string_view text);

/// Whether `name` can name an element or an attribute.
bool isXmlName(std::string_view name);

} // namespace platform

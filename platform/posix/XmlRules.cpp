#include "XmlRules.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace platform {

namespace {

using Range = std::pair<char32_t, char32_t>;

/// The characters that a name may begin with, and those that it may have besides.
constexpr std::array<Range, 16> nameStarts = {{{':', ':'},
                                               {'A', 'Z'},
                                               {'_', '_'},
                                               {'a', 'z'},
                                               {0xC0, 0xD6},
                                               {0xD8, 0xF6},
                                               {0xF8, 0x2FF},
                                               {0x370, 0x37D},
                                               {0x37F, 0x1FFF},
                                               {0x200C, 0x200D},
                                               {0x2070, 0x218F},
                                               {0x2C00, 0x2FEF},
                                               {0x3001, 0xD7FF},
                                               {0xF900, 0xFDCF},
                                               {0xFDF0, 0xFFFD},
                                               {0x10000, 0xEFFFF}}};
constexpr std::array<Range, 6> otherNameCharacters = {
    {{'-', '-'}, {'.', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}}};

template <std::size_t count> bool isIn(const std::array<Range, count>& ranges, char32_t character) {
    return std::any_of(ranges.begin(), ranges.end(), [character](const Range& range) {
        return range.first <= character && character <= range.second;
    });
}

bool isNameStart(char32_t character) { return isIn(nameStarts, character); }

bool isNameCharacter(char32_t character) {
    return isNameStart(character) || isIn(otherNameCharacters, character);
}

/// How many bytes a character has that begins with `first`. 0 for a byte that none begins with.
std::size_t lengthFrom(unsigned char first) {
    return first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
}

/// Takes the first character off a text that is not empty. Nothing when the text does not begin with one.
std::optional<char32_t> takeCharacter(std::string_view& text) {
    constexpr std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = lengthFrom(first);
    if (length == 0 || length > text.size()) {
        return std::nullopt;
    }
    char32_t character = length == 1 ? first : first & (0x7FU >> length);
    for (const char next : text.substr(1, length - 1)) {
        if ((next & 0xC0) != 0x80) {
            return std::nullopt;
        }
        character = character << 6 | (next & 0x3F);
    }
    text.remove_prefix(length);
    const bool isHalf = character >= 0xD800 && character <= 0xDFFF;
    return character < least[length] || isHalf || character > 0x10FFFF ? std::nullopt
                                                                       : std::optional(character);
}

/// Whether `text` is UTF-8 and `isAllowed` holds for each of its characters.
template <typename Predicate> bool hasOnly(std::string_view text, Predicate isAllowed) {
    while (!text.empty()) {
        const auto character = takeCharacter(text);
        if (!character || !isAllowed(*character)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool isUtf8(std::string_view text) {
    return hasOnly(text, [](char32_t) { return true; });
}

bool isXmlCharacter(char32_t character) {
    return character == '\t' || character == '\n' || character == '\r' ||
           (character >= 0x20 && character <= 0xD7FF) || (character >= 0xE000 && character <= 0xFFFD) ||
           (character >= 0x10000 && character <= 0x10FFFF);
}

bool isXmlText(std::string_view text) { return hasOnly(text, isXmlCharacter); }

bool isXmlName(std::string_view name) {
    if (name.empty()) {
        return false;
    }
    const auto first = takeCharacter(name);
    return first && isNameStart(*first) && hasOnly(name, isNameCharacter);
}

} // namespace platform

#include <elmu/logging/PlainFormat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstring>
#include <string_view>

namespace elmu {

namespace {

/// Collects a text in a buffer and keeps the part that fits.
class BoundedText {
  public:
    BoundedText(char* buffer, std::size_t size) : end(buffer), room(size - 1) {}

    void append(std::string_view text) {
        const std::size_t kept = std::min(text.size(), room);
        std::memcpy(end, text.data(), kept);
        end += kept;
        room -= kept;
        length += text.size();
    }

    /// Ends the text. The length is that of the whole text.
    std::optional<int> finish() const {
        *end = '\0';
        return length <= INT_MAX ? std::optional(static_cast<int>(length)) : std::nullopt;
    }

  private:
    char* end;
    std::size_t room;
    std::size_t length = 0;
};

template <class Number> void appendNumber(BoundedText& text, Number number, int base = 10) {
    std::array<char, 24> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, base);
    text.append({digits.data(), static_cast<std::size_t>(result.ptr - digits.data())});
}

// The analyser does not see that the list was started by the caller.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized)

/// Appends an argument that is as large as `Signed` and `Unsigned`. False for a conversion that is no
/// number's.
template <class Signed, class Unsigned>
bool appendNumberAs(BoundedText& text, char conversion, std::va_list& list) {
    if (conversion == 'd' || conversion == 'i') {
        appendNumber(text, va_arg(list, Signed));
        return true;
    }
    if (conversion == 'u' || conversion == 'x') {
        appendNumber(text, va_arg(list, Unsigned), conversion == 'x' ? 16 : 10);
        return true;
    }
    return false;
}

/// Appends the argument of the conversion that `format` begins with, behind its percent sign, and removes the
/// conversion from `format`. False if it is not plain.
bool appendConversion(BoundedText& text, const char*& format, std::va_list& list) {
    const char* const at = format;
    switch (*at) {
    case '%':
        ++format;
        text.append("%");
        return true;
    case 's': {
        ++format;
        const char* const argument = va_arg(list, const char*);
        text.append(argument == nullptr ? "(null)" : argument);
        return true;
    }
    case 'c': {
        ++format;
        const char character = static_cast<char>(va_arg(list, int));
        text.append({&character, 1});
        return true;
    }
    case 'z':
        format += 2;
        return appendNumberAs<std::ptrdiff_t, std::size_t>(text, at[1], list);
    case 'l':
        if (at[1] == 'l') {
            format += 3;
            return appendNumberAs<long long, unsigned long long>(text, at[2], list);
        }
        format += 2;
        return appendNumberAs<long, unsigned long>(text, at[1], list);
    default:
        ++format;
        return appendNumberAs<int, unsigned>(text, *at, list);
    }
}

// NOLINTEND(clang-analyzer-valist.Uninitialized)

} // namespace

std::optional<int> formatPlainly(char* buffer, std::size_t size, const char* format, std::va_list& list) {
    BoundedText text(buffer, size);
    for (const char* at = std::strchr(format, '%'); at != nullptr; at = std::strchr(format, '%')) {
        text.append({format, static_cast<std::size_t>(at - format)});
        format = at + 1;
        if (!appendConversion(text, format, list)) {
            return std::nullopt;
        }
    }
    text.append(format);
    return text.finish();
}

} // namespace elmu

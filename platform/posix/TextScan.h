#pragma once

#include <algorithm>
#include <optional>
#include <string_view>

/// The steps by which a text is read from its beginning: each takes something off it.
namespace platform {

inline constexpr std::string_view blanks = " \t\r\n";

/// Takes `beginning` off the text. False when it does not begin with that.
inline bool take(std::string_view& text, std::string_view beginning) {
    const bool isThere = text.starts_with(beginning);
    text.remove_prefix(isThere ? beginning.size() : 0);
    return isThere;
}

/// Takes all up to one of `ends` off the text, which begins with that then, or is empty.
inline std::string_view takeUntil(std::string_view& text, std::string_view ends) {
    const std::string_view taken = text.substr(0, text.find_first_of(ends));
    text.remove_prefix(taken.size());
    return taken;
}

/// Takes all up to and with `closing` off the text and returns what is before that. Takes nothing when it is
/// not there.
inline std::optional<std::string_view> takeThrough(std::string_view& text, std::string_view closing) {
    const std::size_t end = text.find(closing);
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(end + closing.size());
    return taken;
}

/// False when there are none.
inline bool skipBlanks(std::string_view& text) {
    const std::size_t count = std::min(text.find_first_not_of(blanks), text.size());
    text.remove_prefix(count);
    return count > 0;
}

/// Removes a literal with its quotes from the beginning of `text` and returns it without them. Returns
/// nothing if `text` does not begin with a complete literal.
inline std::optional<std::string_view> takeLiteral(std::string_view& text) {
    const char quote = text.empty() ? '\0' : text.front();
    const std::size_t end = quote == '"' || quote == '\'' ? text.find(quote, 1) : std::string_view::npos;
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view literal = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
    return literal;
}

} // namespace platform

#include "logging/Fragment.h"

namespace elmu {

namespace {

/// Where the line after the one at `position` begins; the end when there is none.
std::size_t nextLine(std::string_view text, std::size_t position) {
    const auto newline = text.find('\n', position);
    return newline == std::string_view::npos ? text.size() : newline + 1;
}

} // namespace

std::size_t fragmentLength(std::string_view tail, bool isWholeFile, std::string_view line) {
    for (auto start = isWholeFile ? 0 : nextLine(tail, 0); start < tail.size();
         start = nextLine(tail, start)) {
        const std::string_view fragment = tail.substr(start);
        if (fragment.size() < line.size() && line.starts_with(fragment)) {
            return fragment.size();
        }
    }
    return 0;
}

} // namespace elmu

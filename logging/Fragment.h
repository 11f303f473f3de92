#pragma once

#include <cstddef>
#include <string_view>

namespace elmu {

/// How many bytes at the end of a file are the beginning of a line whose writing failed. `tail` is the end of
/// the file, as long as `line` (which ends in its newline) or, if the file is shorter, all of it, and then
/// `isWholeFile`. The line began after a newline or at the start of the file. 0 when none of it is there.
std::size_t fragmentLength(std::string_view tail, bool isWholeFile, std::string_view line);

} // namespace elmu

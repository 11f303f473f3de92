#pragma once

#include <cstdarg>
#include <cstddef>
#include <optional>

namespace elmu {

/// Does what `vsnprintf` does, with a third of its instructions, for formats whose conversions are all plain:
/// %s, %c, %d, %i, %u and %x, the numbers also with l, ll or z, and %%. No flags, no width, no precision.
/// Nothing for any other format, and for texts of 2 GiB; `list` and `buffer` are undefined then. `size` is
/// greater than 0.
std::optional<int> formatPlainly(char* buffer, std::size_t size, const char* format, std::va_list& list);

} // namespace elmu

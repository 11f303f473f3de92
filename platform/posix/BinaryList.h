#pragma once

#include <string_view>

namespace platform {

/// Whether a binary property list, which has been recognised as one, has only values that lie
/// within it, is no deeper than 256 levels, and takes no more memory than an XML document may
/// (`mostParsingMemory`) when every reference counts as a value of its own. Libraries descend into such lists
/// by recursion, some make a copy of a value for every reference to it, and some read what lies beyond the
/// list's end.
bool isTameBinaryList(std::string_view list);

} // namespace platform

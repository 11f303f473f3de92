#pragma once

#include <string>

namespace platform {

/// Sixteen hexadecimal digits that nobody can tell before, for a new name. Empty if the system has no
/// randomness.
std::string randomDigits();

} // namespace platform

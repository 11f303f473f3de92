#pragma once

#include <optional>

#include <sys/types.h>

namespace platform {

/// The mode that a new file gets which everybody may read and write, as far as the umask and the folder let
/// him. Only a file tells: one called `name` is made in the folder with the descriptor `folder` (or AT_FDCWD)
/// and removed. Nothing if it cannot be made.
std::optional<mode_t> modeOfNewFile(int folder, const char* name);

} // namespace platform

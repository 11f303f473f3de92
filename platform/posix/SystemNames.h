#pragma once

#include <optional>

#include <sys/utsname.h>

namespace platform {

/// What the system calls itself. Nothing when it does not say.
inline std::optional<utsname> systemNames() {
    utsname names = {};
    return ::uname(&names) >= 0 ? std::optional(names) : std::nullopt;
}

} // namespace platform

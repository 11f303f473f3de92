#pragma once

#include <cstdint>

namespace platform {

/// What the host's kernel says is the calling thread's id.
std::int32_t kernelsThreadId();

} // namespace platform

#pragma once

#include <chrono>
#include <ctime>

namespace support {

/// The current second by the precise clock: `std::time` may lag behind it at the turn of a second.
inline std::time_t now() { return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); }

} // namespace support

#pragma once

#include <array>
#include <cstdint>
#include <cstring>

namespace support {

/// The place of a virtual operation among those of its class, as its pointer tells: two pointers of one class
/// differ by the distance of their places.
template <class Operation> std::uintptr_t placeOf(Operation operation) {
    std::array<std::uintptr_t, sizeof(Operation) / sizeof(std::uintptr_t)> words{};
    std::memcpy(words.data(), &operation, sizeof operation);
    return words[0] / sizeof(void*);
}

} // namespace support

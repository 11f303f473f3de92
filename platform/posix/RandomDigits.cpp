#include "RandomDigits.h"

#include <array>
#include <cstdint>
#include <cstdio>

#include <sys/random.h>

namespace platform {

std::string randomDigits() {
    std::uint64_t number = 0;
    if (::getentropy(&number, sizeof number) == -1) {
        return {};
    }
    std::array<char, 17> digits;
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(number));
    return digits.data();
}

} // namespace platform

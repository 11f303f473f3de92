#include "platform/System.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <unistd.h>

#include "../posix/SystemNames.h"
#include "../posix/ThreadId.h"
#include "HostRules.h"
#include "platform/Files.h"

namespace platform {

SystemVersion versionFromRelease(std::string_view release) {
    std::array<long, 3> numbers = {};
    for (long& number : numbers) {
        const std::size_t length = std::min(release.find_first_not_of("0123456789"), release.size());
        std::from_chars(release.data(), release.data() + length, number);
        if (length == 0 || length == release.size() || release[length] != '.') {
            break;
        }
        release.remove_prefix(length + 1);
    }
    return {numbers[0], numbers[1], numbers[2]};
}

bool offersSystemVersion() { return true; }

std::optional<SystemVersion> systemVersion() {
    const auto names = systemNames();
    return names ? std::optional(versionFromRelease(names->release)) : std::nullopt;
}

std::optional<std::int32_t> olderVersionNumber(VersionPart part) {
    const auto release = readFile("/proc/sys/kernel/osrelease");
    if (!release) {
        return std::nullopt;
    }
    const SystemVersion version = versionFromRelease(*release);
    const std::array<long, 3> numbers = {version.majorNumber, version.minorNumber, version.patchNumber};
    return static_cast<std::int32_t>(numbers[static_cast<std::size_t>(part)]);
}

std::int32_t kernelsThreadId() { return static_cast<std::int32_t>(::gettid()); }

} // namespace platform

#include <elmu/logging/DatedCopy.h>

#include "platform/Files.h"
#include <elmu/logging/FileProbes.h>
#include <elmu/logging/PathText.h>

namespace elmu {

namespace {

/// So many names, from that of `now` on, are looked at.
constexpr int kSecondsTried = 100;

std::string datedName(const std::string& path, std::int64_t second) {
    std::string name = path;
    appendTimeStampToFile(name, second);
    return name;
}

/// The second after the last one near `now` whose name is taken. A gap before it is not used: pruning may
/// have made it, and a copy in it would be the next to go.
std::int64_t freeSecond(const std::string& path, std::int64_t now) {
    std::int64_t free = now;
    for (int later = 0; later < kSecondsTried; ++later) {
        if (platform::entryExists(datedName(path, now + later).c_str())) {
            free = now + later + 1;
        }
    }
    return free;
}

/// A name that does not begin as the log's does, and so is none of its copies.
std::string unfinishedName(const std::string& path) {
    const auto nameStart = path.rfind('/') + 1;
    return path.substr(0, nameStart) + "." + path.substr(nameStart) + ".copy";
}

} // namespace

std::optional<std::int64_t> makeDatedCopy(const std::string& path, std::int64_t now) {
    const std::int64_t second = freeSecond(path, now);
    const std::string copy = datedName(path, second);
    const std::string unfinished = unfinishedName(path);
    platform::removeEntry(unfinished.c_str());
    const bool made = !platform::entryExists(copy.c_str()) &&
                      !platform::copyContentToNew(path.c_str(), unfinished.c_str()) &&
                      !platform::syncFile(unfinished.c_str()) &&
                      !platform::moveFile(unfinished.c_str(), copy.c_str());
    if (!made) {
        platform::removeEntry(unfinished.c_str());
        return std::nullopt;
    }
    platform::syncFile(path.substr(0, path.rfind('/') + 1).c_str());
    return second;
}

} // namespace elmu

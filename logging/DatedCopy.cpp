#include "logging/DatedCopy.h"

#include "logging/FileProbes.h"
#include "logging/PathText.h"
#include "platform/Files.h"

namespace elmu {

namespace {

/// So many copies can be made in one second.
constexpr int kSecondsTried = 100;

/// Empty when every name near is taken.
std::string freeName(const std::string& path, std::time_t now) {
    for (int later = 0; later < kSecondsTried; ++later) {
        std::string name = path;
        appendTimeStampToFile(name, now + later);
        if (!platform::entryExists(name.c_str())) {
            return name;
        }
    }
    return {};
}

/// A name that does not begin as the log's does, and so is none of its copies.
std::string unfinishedName(const std::string& path) {
    const auto nameStart = path.rfind('/') + 1;
    return path.substr(0, nameStart) + "." + path.substr(nameStart) + ".copy";
}

} // namespace

bool makeDatedCopy(const std::string& path, std::time_t now) {
    const std::string copy = freeName(path, now);
    std::string unfinished = unfinishedName(path);
    platform::removeEntry(unfinished.c_str());
    const bool made = !copy.empty() && copyContentOfFileToFile(path, unfinished) &&
                      !platform::syncFile(unfinished.c_str()) &&
                      !platform::moveFile(unfinished.c_str(), copy.c_str());
    if (!made) {
        platform::removeEntry(unfinished.c_str());
    }
    return made;
}

} // namespace elmu

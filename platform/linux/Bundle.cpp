#include "platform/Bundle.h"

#include <optional>

#include <unistd.h>

#include "../posix/PlaceRules.h"
#include "platform/Files.h"

namespace platform {

namespace {

/// What the link `path` says, of whatever length.
std::optional<std::string> linkText(const char* path) {
    std::string text(256, '\0');
    ssize_t length = 0;
    while ((length = ::readlink(path, text.data(), text.size())) == static_cast<ssize_t>(text.size())) {
        text.resize(2 * text.size());
    }
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text.empty() ? std::nullopt : std::optional(text);
}

} // namespace

std::string executablePath() {
    // The kernel marks the path of a program whose file was removed or replaced since it started.
    constexpr std::string_view mark = " (deleted)";
    std::string path = linkText("/proc/self/exe").value_or("");
    if (path.ends_with(mark) && !entryExists(path.c_str())) {
        path.resize(path.size() - mark.size());
    }
    return path;
}

std::string bundlePath() { return bundleOfExecutable(executablePath()); }

} // namespace platform

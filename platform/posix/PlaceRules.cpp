#include "PlaceRules.h"

#include "platform/Paths.h"

namespace platform {

std::string bundleOfExecutable(std::string_view executable) {
    const std::string folder = deletingLastPathComponent(executable);
    const std::string contents = deletingLastPathComponent(folder);
    const std::string bundle = deletingLastPathComponent(contents);
    const std::string bundleName = lastPathComponent(bundle);
    const bool isInBundle = lastPathComponent(folder) == "MacOS" &&
                            lastPathComponent(contents) == "Contents" && bundleName.ends_with(".app") &&
                            bundleName != ".app";
    return isInBundle ? bundle : folder;
}

std::string homeNamed(std::string_view path) {
    if (!path.starts_with('/')) {
        return {};
    }
    const std::size_t last = path.find_last_not_of('/');
    return last == std::string_view::npos ? "/" : std::string(path.substr(0, last + 1));
}

} // namespace platform

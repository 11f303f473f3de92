#include "FileRules.h"

#include <sys/stat.h>

#include "FileDescriptor.h"
#include "platform/Paths.h"

namespace platform {

std::string withoutTrailingSlashes(std::string_view path) {
    return std::string(path.substr(0, path.find_last_not_of('/') + 1));
}

std::error_code removalRefusal(const char* path) {
    const std::string name = lastPathComponent(path);
    if (name == "." || name == ".." || name == "/") {
        return std::make_error_code(std::errc::invalid_argument);
    }
    struct stat status = {};
    return errorOf(::lstat(path, &status));
}

} // namespace platform

#include "platform/Paths.h"

#include "../posix/PathRules.h"

namespace platform {

std::string appendingPathComponent(std::string_view path, std::string_view component) {
    return rules::appendingPathComponent(path, component);
}

std::string deletingLastPathComponent(std::string_view path) {
    return rules::deletingLastPathComponent(path);
}

std::string lastPathComponent(std::string_view path) { return rules::lastPathComponent(path); }

std::string deletingPathExtension(std::string_view path) { return rules::deletingPathExtension(path); }

std::optional<std::string> appendingPathExtension(std::string_view path, std::string_view extension) {
    return rules::appendingPathExtension(path, extension);
}

std::string standardizedPath(std::string_view path) { return rules::standardizedPath(path); }

} // namespace platform

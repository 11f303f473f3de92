#pragma once

#include <string>
#include <string_view>
#include <system_error>

/// What every host decides alike before it asks the system about files.
namespace platform {

/// `path` without trailing slashes: with one, a link would stand for the folder that it leads to.
std::string withoutTrailingSlashes(std::string_view path);

/// Why the tree `path` may not be removed at all: it is missing, the root folder, "." or "..".
std::error_code removalRefusal(const char* path);

} // namespace platform

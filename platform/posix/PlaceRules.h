#pragma once

#include <string>
#include <string_view>

/// Where programs and homes are, decided alike on every host.
namespace platform {

/// The bundle "X.app" of "X.app/Contents/MacOS/NAME", the folder of any other program.
std::string bundleOfExecutable(std::string_view executable);

/// The home folder that the environment or a user's record names, without trailing slashes. Empty unless
/// the path is absolute.
std::string homeNamed(std::string_view path);

} // namespace platform

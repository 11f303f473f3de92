#pragma once

#include <string>

/// Where the running program lies.
namespace platform {

/// The absolute path of the running program's file. Empty when the system does not say.
std::string executablePath();

/// The application bundle that the running program belongs to (the enclosing "X.app" of
/// "X.app/Contents/MacOS/NAME"), or the folder that holds a bare program.
std::string bundlePath();

} // namespace platform

#pragma once

#include <string>
#include <vector>

#include "support/TempFolder.h"

namespace e2e {

/// What a command left: its exit status (128 and the signal's number when it was killed) and everything it
/// printed.
struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
};

/// The descriptor on which a command can read its extra file.
inline const int ExtraDescriptor = 3;

/// Runs `command`, a program's path and its arguments, to its end, with empty standard input and
/// `environment` ("NAME=value") alone. What it prints is kept in `place` meanwhile.
Outcome runCommand(std::vector<std::string> command, std::vector<std::string> environment,
                   const support::TempFolder& place, const std::string& extra = "/dev/null");

/// "PATH=..." of this process.
std::string searchPath();

} // namespace e2e

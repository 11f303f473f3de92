#pragma once

#include <string>
#include <vector>

namespace assumptions {

/// How a run of this program ended: its exit status, or 128 and the signal's number, and what it printed.
struct Outcome {
    int status = -1;
    std::string output;
};

/// The path of this program, without links.
std::string ownPath();

/// Runs this program with `arguments`, and with `variable` ("NAME=value") in its environment unless it is
/// empty. What it says on standard error is dropped.
Outcome runSelf(const std::vector<std::string>& arguments, const std::string& variable = "");

/// The argument with which this program prints the home folder that the platform names, and nothing else.
inline constexpr const char* homeOption = "--home";

} // namespace assumptions

#pragma once

#include <string>

namespace assumptions {

/// What the platform names as the home folder.
std::string homeOfThePlatform();

} // namespace assumptions

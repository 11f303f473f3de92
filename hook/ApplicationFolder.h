#pragma once

#include <string>

/// The machine-wide folder that holds the application and its cache, with a "/" at its end. Empty, so that
/// paths built from it are relative to the working folder, when the machine's utilities folder cannot be
/// found.
std::string applicationFolder();

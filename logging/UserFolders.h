#pragma once

#include <string>

/// Where the user's logs are.
namespace elmu {

/// Puts the effective user's home folder into `home`, which stays as it was when there is none. Always true.
bool getUserFolderPath(std::string& home);

/// The same for the user at the console, if there is one, acting as that user during the call: the effective
/// user of the process changes meanwhile. False, with `home` untouched, when the process may not act as that
/// user.
bool getUserFolder(std::string& home);

/// Puts the Library/Logs folder in that home into `folder`, having made Library and Logs with mode 0700 if
/// they were missing. False, with `folder` untouched, when there is no home or the folders cannot be made.
/// Behind a symlink that is not followed (docs/security.md) nothing is made, and that is no failure.
bool getTempPath(std::string& folder);

} // namespace elmu

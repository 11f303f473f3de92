#pragma once

namespace elmu {
class Logger;
}

/// Removes the embedded browser's cache, "CEF", from the application's machine-wide folder with everything
/// in it. Silent: nothing is reported, and the result is true whatever happened. When the standard folder
/// cannot be found the path is "CEF" in the working folder, and that is removed.
bool deleteCEFFolder(elmu::Logger* logger);

#pragma once

#include <string>

#include "support/ScriptedHost.h"
#include "support/SemaphoreSets.h"
#include "support/TempFolder.h"

namespace support {

/// A machine with nothing scripted but a new, empty home folder. At the end the home folder is removed, the
/// semaphore sets of its files too.
class LogHome {
  public:
    LogHome() {
        scripted::reset();
        scripted::host().homeFolder = folder.path();
    }
    ~LogHome() {
        removeSemaphoreSetsBelow(folder.path());
        scripted::reset();
    }
    LogHome(const LogHome&) = delete;
    LogHome& operator=(const LogHome&) = delete;

    const std::string& path() const { return folder.path(); }
    /// `name` below the home folder.
    std::string operator/(const std::string& name) const { return folder / name; }
    /// `name` in the folder of logs and level markers.
    std::string inLogs(const std::string& name) const { return folder / ("Library/Logs/" + name); }
    /// `name` in the folder where logs without a folder of their own go.
    std::string inDefaultFolder(const std::string& name) const { return inLogs("Halcyra/HCD/" + name); }

    /// Makes it impossible to find or make the folder of logs. It must not be there yet.
    void blockLogs() const { writeFile(folder / "Library", "in the way"); }

  private:
    TempFolder folder;
};

} // namespace support

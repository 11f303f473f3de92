#pragma once

#include <string>
#include <vector>

#include "support/LogHome.h"
#include "support/RecordingLogger.h"
#include "support/ReportReceivers.h"
#include "support/ScriptedHost.h"
#include <elmu/logging/Logger.h>

/// What the hook's routines work on and report to.
namespace support {

/// A logger of the hook's own class that remembers its records instead of sending them to the core.
class HookLogger : public elmu::Logger {
  public:
    HookLogger() : Logger("HCDCustomHook", "", "HCD", "HCDCustomHook", "") {}

    void logit(elmu::Log_Level level, const char* detail1, const char* detail2, const char* format,
               char* args) override {
        recorder.logit(level, detail1, detail2, format, args);
    }

    /// Levels and messages of the records. The test fails when one of them carries a detail text.
    Lines lines() const {
        Lines result;
        for (const Record& record : recorder.records) {
            EXPECT_EQ(record.detail1, "");
            EXPECT_EQ(record.detail2, "");
            result.push_back({record.level, record.message});
        }
        return result;
    }

  private:
    RecordingLogger recorder;
};

/// A machine whose standard folders lie in a temporary folder. They are not made, as if the lookup had found
/// them and somebody had removed them since.
class HookMachine {
  public:
    HookMachine() {
        using platform::FolderDomain;
        using platform::FolderKind;
        scripted::host().folders = {
            {{FolderDomain::Local, FolderKind::ApplicationSupport}, supportFolder},
            {{FolderDomain::Local, FolderKind::Utilities}, utilitiesFolder},
        };
    }

    /// Makes every folder lookup fail from now on.
    static void loseStandardFolders() { scripted::host().folders.clear(); }

    const std::string& path() const { return home.path(); }
    std::string operator/(const std::string& name) const { return home / name; }

  private:
    LogHome home;

  public:
    const std::string supportFolder = home / "Library/Application Support";
    const std::string utilitiesFolder = home / "Applications/Utilities";
    const std::string installFolder = utilitiesFolder + "/Korvane Halcyra";
    const std::string cacheFolder = installFolder + "/CEF";
    const std::string specifierFolder = supportFolder + "/Korvane/Ostrel/specifiers";
    const std::string manifest = specifierFolder + "/halcyra.xml";
};

} // namespace support

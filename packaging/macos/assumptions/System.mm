#include <array>
#include <cstdint>

#include <CoreServices/CoreServices.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "Assumption.h"
#include "Cocoa.h"
#include "Home.h"
#include "Place.h"

#ifdef GNUSTEP
typedef struct {
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
} NSOperatingSystemVersion;

/// Not declared by this Foundation, which has it in later versions.
@interface NSProcessInfo (LaterVersions)
- (NSOperatingSystemVersion)operatingSystemVersion;
@end
#endif

// What is deprecated is what the project uses: it is asked here whether that still works.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace assumptions {

namespace {

bool offersVersion() {
    return [[NSProcessInfo processInfo] respondsToSelector:@selector(operatingSystemVersion)];
}

Found versionIsOffered() {
    const Pool pool;
    return eitherOf(offersVersion(), "offered", "missing");
}

std::string versionText() {
    const NSOperatingSystemVersion version = [[NSProcessInfo processInfo] operatingSystemVersion];
    return std::to_string(version.majorVersion) + "." + std::to_string(version.minorVersion) + "." +
           std::to_string(version.patchVersion);
}

std::string olderVersionText() {
    constexpr std::array<OSType, 3> codes = {0x73797331, 0x73797332, 0x73797333}; // sys1, sys2, sys3
    std::string text;
    for (const OSType code : codes) {
        SInt32 number = -1;
        text +=
            (text.empty() ? "" : ".") + (::Gestalt(code, &number) == noErr ? std::to_string(number) : "?");
    }
    return text;
}

/// A later system says 10.16 to programs that it takes for old ones.
Found versionsAgree() {
    const Pool pool;
    if (!offersVersion()) {
        return unknown("no version to compare with " + olderVersionText());
    }
    const std::string older = olderVersionText();
    const bool agrees = older == versionText() || older.rfind("10.16.", 0) == 0;
    return eitherOf(agrees, "the same or 10.16", (versionText() + " against " + older).c_str());
}

Found machine() {
    utsname names = {};
    return ::uname(&names) >= 0 ? names.machine : "(none)";
}

Found threadNumbers() {
#ifdef __APPLE__
    std::uint64_t id = 0;
    ::pthread_threadid_np(nullptr, &id);
    constexpr int numberOfTheCall = 372; // thread_selfid, of which the library has no declaration
    return eitherOf(static_cast<int>(id) == ::syscall(numberOfTheCall), "the same", "different");
#else
    return unknown("no such calls here");
#endif
}

struct StandardFolder {
    const char* name;
    FSVolumeRefNum domain;
    OSType code;
    std::string path;
};

/// Asks only for a folder that is there: asking makes what is missing.
Found find(const StandardFolder& folder) {
    if (isMissing(folder.path)) {
        return unknown("not there");
    }
    FSRef reference = {};
    std::array<UInt8, 1024> path = {};
    if (const int error = ::FSFindFolder(folder.domain, folder.code, kCreateFolder, &reference)) {
        return "error " + std::to_string(error);
    }
    if (const int error = ::FSRefMakePath(&reference, path.data(), path.size())) {
        return "error " + std::to_string(error) + " of the path";
    }
    return reinterpret_cast<const char*>(path.data());
}

Assumption standardFolder(const StandardFolder& folder) {
    return {std::string("standard folder ") + folder.name, {folder.path}, [folder] { return find(folder); }};
}

} // namespace

Assumptions aboutTheSystem() {
    constexpr FSVolumeRefNum local = -32765;
    constexpr FSVolumeRefNum user = -32763;
    const std::string home = homeOfThePlatform();
    return {
        {"system version", {"offered"}, versionIsOffered},
        {"system version, by the older query", {"the same or 10.16"}, versionsAgree},
        {"machine", {"arm64", "x86_64"}, machine},
        {"thread number, by both calls", {"the same"}, threadNumbers},
        standardFolder({"local apps", local, 0x61707073, "/Applications"}),
        standardFolder({"local asup", local, 0x61737570, "/Library/Application Support"}),
        standardFolder({"local pref", local, 0x70726566, "/Library/Preferences"}),
        standardFolder({"local sdat", local, 0x73646174, "/Users/Shared"}),
        standardFolder({"local utilities", local, 0x757469C4, "/Applications/Utilities"}),
        standardFolder({"user asup", user, 0x61737570, home + "/Library/Application Support"}),
        standardFolder({"user docs", user, 0x646F6373, home + "/Documents"}),
        standardFolder({"user root", user, 0x726F6F74, home}),
    };
}

} // namespace assumptions

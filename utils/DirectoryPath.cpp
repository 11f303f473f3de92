// Where the well-known folders are: FileUtils::GetDirectoryPath.

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "platform/Bundle.h"
#include "platform/Files.h"
#include "platform/Folders.h"
#include "platform/Paths.h"
#include "platform/Users.h"
#include <elmu/utils/FileUtils.h>

namespace ELMUUtils {

namespace {

using platform::FolderDomain;
using platform::FolderKind;

/// The longest paths, with their NUL, that the folder lookup and the logs folder can have.
constexpr std::size_t kLookupBufferSize = 1024;
constexpr std::size_t kLogsBufferSize = 512;

enum class Result { OfLookup, AlwaysTrue };

/// A directory that is a standard folder or lies below one.
struct StandardDirectory {
    PathType type;
    FolderDomain domain;
    FolderKind kind;
    std::string_view suffix;
    Result result;
};

constexpr std::array kStandardDirectories = {
    StandardDirectory{LocalApplicationsDir, FolderDomain::Local, FolderKind::Applications, "",
                      Result::OfLookup},
    StandardDirectory{LocalAppSupportDir, FolderDomain::Local, FolderKind::ApplicationSupport, "",
                      Result::OfLookup},
    StandardDirectory{LocalAppSupportDirAlt, FolderDomain::Local, FolderKind::ApplicationSupport, "",
                      Result::OfLookup},
    StandardDirectory{ConsoleUserDocumentsDir, FolderDomain::User, FolderKind::Documents, "",
                      Result::AlwaysTrue},
    StandardDirectory{ConsoleUserAppSupportDir, FolderDomain::User, FolderKind::ApplicationSupport, "",
                      Result::AlwaysTrue},
    StandardDirectory{SharedUserDataDir, FolderDomain::Local, FolderKind::SharedUserData, "",
                      Result::AlwaysTrue},
    StandardDirectory{LocalKorvaneDir, FolderDomain::Local, FolderKind::ApplicationSupport, "/Korvane",
                      Result::AlwaysTrue},
    StandardDirectory{ConsoleUserKorvaneDir, FolderDomain::User, FolderKind::ApplicationSupport, "/Korvane",
                      Result::AlwaysTrue},
    StandardDirectory{SharedKorvaneDir, FolderDomain::Local, FolderKind::SharedUserData, "/Korvane",
                      Result::AlwaysTrue},
    StandardDirectory{LocalELMUDir, FolderDomain::Local, FolderKind::ApplicationSupport, "/Korvane/ELMU",
                      Result::AlwaysTrue},
    StandardDirectory{ConsoleUserELMUDir, FolderDomain::User, FolderKind::ApplicationSupport, "/Korvane/ELMU",
                      Result::AlwaysTrue},
    StandardDirectory{SharedELMUDir, FolderDomain::Local, FolderKind::SharedUserData, "/Korvane/ELMU",
                      Result::AlwaysTrue},
    StandardDirectory{FerrowindUtilitiesDir, FolderDomain::Local, FolderKind::Utilities, "/Ferrowind/",
                      Result::AlwaysTrue},
    StandardDirectory{LocalWexloDir, FolderDomain::Local, FolderKind::ApplicationSupport,
                      "/Korvane/ELMU/Wexlo", Result::AlwaysTrue},
    StandardDirectory{ConsoleUserWexloDir, FolderDomain::User, FolderKind::ApplicationSupport,
                      "/Korvane/ELMU/Wexlo", Result::AlwaysTrue},
    StandardDirectory{FRWRefsDir, FolderDomain::Local, FolderKind::ApplicationSupport,
                      "/Korvane/Ferrowind/FRWRefs", Result::AlwaysTrue},
    StandardDirectory{SRDRefsDir, FolderDomain::Local, FolderKind::ApplicationSupport, "/Korvane/SRDRefs",
                      Result::AlwaysTrue},
    StandardDirectory{StrandelDir, FolderDomain::Local, FolderKind::ApplicationSupport, "/Korvane/Strandel",
                      Result::AlwaysTrue},
    StandardDirectory{HalcyraUtilitiesDir, FolderDomain::Local, FolderKind::Utilities, "/Korvane Halcyra/",
                      Result::AlwaysTrue},
    StandardDirectory{LocalPreferencesDir, FolderDomain::Local, FolderKind::Preferences, "",
                      Result::OfLookup},
};

bool lookUp(FolderDomain domain, FolderKind kind, std::string& path) {
    const auto folder = platform::standardFolder(domain, kind);
    if (!folder || folder->size() >= kLookupBufferSize) {
        return false;
    }
    path = *folder;
    return true;
}

using Identity = std::optional<platform::EffectiveUserSwitch>;

/// Acts as the console user while `identity` lives; as the current user when nobody is logged in there.
void actAsConsoleUser(Identity& identity) {
    if (const auto user = platform::consoleUser()) {
        identity.emplace(user->uid);
    }
}

bool resolve(const StandardDirectory& directory, std::string& path) {
    Identity identity;
    if (directory.domain == FolderDomain::User) {
        actAsConsoleUser(identity);
    }
    const bool found = lookUp(directory.domain, directory.kind, path);
    path += directory.suffix;
    return found || directory.result == Result::AlwaysTrue;
}

bool resolveLogsFolder(std::string& path) {
    Identity identity;
    actAsConsoleUser(identity);
    const std::string home = platform::homeFolder();
    const std::string library = home + "/Library";
    const std::string logs = library + "/Logs";
    if (home.empty() || logs.size() >= kLogsBufferSize) {
        return false;
    }
    if (platform::createFolder(library.c_str(), 0700) || platform::createFolder(logs.c_str(), 0700)) {
        return false;
    }
    path = logs;
    return true;
}

/// The bundle of the running program, or the program's own file when it is in no bundle.
std::string runningProgram() {
    const std::string executable = platform::executablePath();
    const std::string bundle = platform::standardizedPath(platform::bundlePath());
    const std::string folder = platform::standardizedPath(platform::deletingLastPathComponent(executable));
    return folder == bundle ? executable : bundle;
}

} // namespace

bool FileUtils::GetDirectoryPath(PathType type, std::string& path, void* /*logger*/) {
    switch (type) {
    case HomeDir:
        path = platform::homeFolder();
        return true;
    case TempDir:
        path = "/tmp";
        return true;
    case RunningBundlePath:
        path = runningProgram();
        return true;
    case RunningBundleParentDir:
        path = platform::deletingLastPathComponent(runningProgram());
        return true;
    case ConsoleUserLogsDir:
        return resolveLogsFolder(path);
    default:
        break;
    }
    const auto* const directory =
        std::find_if(kStandardDirectories.begin(), kStandardDirectories.end(),
                     [type](const StandardDirectory& candidate) { return candidate.type == type; });
    return directory != kStandardDirectories.end() && resolve(*directory, path);
}

} // namespace ELMUUtils

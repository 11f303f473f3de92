#include <elmu/logging/UserFolders.h>

#include "platform/Files.h"
#include "platform/Folders.h"
#include "platform/Users.h"

namespace elmu {

namespace {

/// The longest home path, with its NUL, that the platform's lookup can have.
constexpr std::size_t kLookupBufferSize = 1024;

/// Behind a symlink that must not be followed nothing is made, and that is no failure: the log there is
/// unusable, and does not go to another place instead.
bool makeFolder(const std::string& path) {
    const std::error_code error = platform::createFolder(path.c_str(), 0700);
    return !error || error == std::errc::too_many_symbolic_link_levels;
}

} // namespace

bool getUserFolderPath(std::string& home) {
    const auto root =
        platform::standardFolder(platform::FolderDomain::User, platform::FolderKind::DomainRoot);
    if (root && root->size() < kLookupBufferSize) {
        home = *root;
    }
    return true;
}

bool getUserFolder(std::string& home) {
    const auto user = platform::consoleUser();
    if (!user || user->uid == platform::effectiveUser()) {
        return getUserFolderPath(home);
    }
    const platform::EffectiveUserSwitch identity(user->uid);
    return identity.succeeded() && getUserFolderPath(home);
}

bool getTempPath(std::string& folder) {
    std::string home;
    if (!getUserFolder(home) || home.empty()) {
        return false;
    }
    const std::string library = home + "/Library";
    const std::string logs = library + "/Logs";
    if (!makeFolder(library) || !makeFolder(logs)) {
        return false;
    }
    folder = logs;
    return true;
}

} // namespace elmu

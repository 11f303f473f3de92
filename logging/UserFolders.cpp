#include <elmu/logging/UserFolders.h>

#include "platform/Files.h"
#include "platform/Folders.h"
#include "platform/Users.h"

namespace elmu {

namespace {

/// The longest home path, with its NUL, that the platform's lookup can have.
constexpr std::size_t kLookupBufferSize = 1024;

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
    if (platform::createFolder(library.c_str(), 0700) || platform::createFolder(logs.c_str(), 0700)) {
        return false;
    }
    folder = logs;
    return true;
}

} // namespace elmu

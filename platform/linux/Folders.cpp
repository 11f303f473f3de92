#include "platform/Folders.h"

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Users.h"

namespace platform {

namespace {

/// Where a standard folder is and the mode it gets when it has to be made.
struct FolderPlace {
    std::string path;
    mode_t mode;
    mode_t parentMode;
};

std::optional<FolderPlace> localFolder(FolderKind kind) {
    switch (kind) {
    case FolderKind::Applications:
        return FolderPlace{"/Applications", 0755, 0755};
    case FolderKind::ApplicationSupport:
        return FolderPlace{"/Library/Application Support", 0755, 0755};
    case FolderKind::Preferences:
        return FolderPlace{"/Library/Preferences", 0755, 0755};
    case FolderKind::SharedUserData:
        return FolderPlace{"/Users/Shared", 01777, 0755};
    case FolderKind::Utilities:
        return FolderPlace{"/Applications/Utilities", 0755, 0755};
    case FolderKind::Documents:
    case FolderKind::DomainRoot:
        break;
    }
    return std::nullopt;
}

std::optional<FolderPlace> userFolder(FolderKind kind) {
    const std::string home = homeFolder();
    if (home.empty()) {
        return std::nullopt;
    }
    switch (kind) {
    case FolderKind::ApplicationSupport:
        return FolderPlace{appendingPathComponent(home, "Library/Application Support"), 0700, 0700};
    case FolderKind::Documents:
        return FolderPlace{appendingPathComponent(home, "Documents"), 0700, 0700};
    case FolderKind::DomainRoot:
        return FolderPlace{home, 0700, 0700};
    case FolderKind::Applications:
    case FolderKind::Preferences:
    case FolderKind::SharedUserData:
    case FolderKind::Utilities:
        break;
    }
    return std::nullopt;
}

bool createPlace(const FolderPlace& place) {
    if (itemAtPath(place.path.c_str()) == ItemKind::Folder) {
        return true;
    }
    const FolderAttributes ofParents = {std::nullopt, std::nullopt, place.parentMode};
    const FolderAttributes ofFolder = {std::nullopt, std::nullopt, place.mode};
    return !createFolders(deletingLastPathComponent(place.path).c_str(), &ofParents) &&
           !createFolders(place.path.c_str(), &ofFolder);
}

} // namespace

std::optional<std::string> standardFolder(FolderDomain domain, FolderKind kind) {
    const auto place = domain == FolderDomain::Local ? localFolder(kind) : userFolder(kind);
    return place && createPlace(*place) ? std::optional(place->path) : std::nullopt;
}

} // namespace platform

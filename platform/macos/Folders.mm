#include "platform/Folders.h"

#include <array>

#include <CoreServices/CoreServices.h>

#include "Foundation.h"

namespace platform {

namespace {

constexpr FSVolumeRefNum domainCode(FolderDomain domain) {
    return domain == FolderDomain::Local ? kLocalDomain : kUserDomain;
}

/// The codes as the system has had them from the start: letters of its own character set of old.
constexpr OSType folderCode(FolderKind kind) {
    switch (kind) {
    case FolderKind::Applications:
        return 0x61707073; // apps
    case FolderKind::ApplicationSupport:
        return 0x61737570; // asup
    case FolderKind::Documents:
        return 0x646F6373; // docs
    case FolderKind::Preferences:
        return 0x70726566; // pref
    case FolderKind::SharedUserData:
        return 0x73646174; // sdat
    case FolderKind::Utilities:
        return 0x757469C4; // uti and a letter beyond ASCII
    case FolderKind::DomainRoot:
        break;
    }
    return 0x726F6F74; // root
}

// Deprecated for long, and still the only calls that make a missing folder as the system would.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

bool findFolder(FolderDomain domain, FolderKind kind, FSRef& folder) {
    return ::FSFindFolder(domainCode(domain), folderCode(kind), kCreateFolder, &folder) == noErr;
}

std::optional<std::string> pathOfFolder(const FSRef& folder) {
    std::array<UInt8, 1024> path = {};
    if (::FSRefMakePath(&folder, path.data(), path.size()) != noErr) {
        return std::nullopt;
    }
    return reinterpret_cast<const char*>(path.data());
}

#pragma GCC diagnostic pop

} // namespace

std::optional<std::string> standardFolder(FolderDomain domain, FolderKind kind) {
    const AutoreleasePool pool;
    FSRef folder = {};
    const auto path = findFolder(domain, kind, folder) ? pathOfFolder(folder) : std::nullopt;
    return path && stringOf(*path) ? path : std::nullopt;
}

} // namespace platform

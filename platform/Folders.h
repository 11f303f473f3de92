#pragma once

#include <optional>
#include <string>

/// The machine's standard folders.
namespace platform {

enum class FolderDomain {
    Local, ///< shared by all users of the machine
    User,  ///< of the effective user
};

enum class FolderKind {
    Applications,
    ApplicationSupport,
    Documents,
    Preferences,
    SharedUserData,
    Utilities,
    DomainRoot, ///< the folder that holds the domain's others; the home folder in the user domain
};

/// The absolute path of a standard folder, without a trailing slash. A missing folder is created, its
/// parents too. Nothing when the domain has no such folder or it can be neither found nor created.
std::optional<std::string> standardFolder(FolderDomain domain, FolderKind kind);

} // namespace platform

#pragma once

#include <string_view>

#include "FileDescriptor.h"

/// Opening by path in folders that others can write to. The kernel would follow every symlink on the way;
/// these operations open the path component by component, or at once where the kernel can refuse every
/// symlink, and follow a symlink only in three cases:
/// - It belongs to root or to the effective user, and nobody else could have put it there: no other user can
///   write to its folder, or to any folder on the way from the root folder.
/// - It belongs to the effective user, who is not root and may do what he likes with his rights.
/// - It and what it leads to belong to the same user, who must be able to go the symlink's way himself. That
///   user is not root.
/// In the second and the third case it must have one name, and be in a folder of its owner's or in one that
/// only root can write to: others could have moved it to where it does harm.
/// On the way, what belongs to root or the effective user in a sticky folder of one of them counts as put
/// there by its owner.
namespace platform {

/// For a folder that is only passed through: its owner may forbid to list it.
#if defined(O_PATH)
constexpr int kPassThrough = O_PATH | O_DIRECTORY;
#elif defined(O_SEARCH)
constexpr int kPassThrough = O_SEARCH | O_DIRECTORY;
#else
constexpr int kPassThrough = O_RDONLY | O_DIRECTORY;
#endif

/// Whatever is opened, opening it does not wait for somebody else.
constexpr int kNeverBlocking = O_NONBLOCK | O_NOCTTY;

/// A folder that was opened in this way.
struct SafeFolder {
    FileDescriptor descriptor;
    bool isTrusted = false; ///< no other user could have put it, or a folder on the way, in its place
};

/// Opens `path` with `flags` for `open`, relative paths in the working folder. Not open on failure, with the
/// cause in `errno`: ELOOP for a symlink that is not followed. A file is not created or emptied through a
/// symlink of the third kind.
FileDescriptor openSafely(std::string_view path, int flags, mode_t mode = 0);

/// The same for `path` in the open folder `folder`.
FileDescriptor openSafely(const SafeFolder& folder, std::string_view path, int flags, mode_t mode = 0);

/// Opens the folder `path` to pass through it. Fails as `openSafely` does.
SafeFolder openFolderSafely(std::string_view path);

/// Opens the folder `path` to pass through it. Makes it, and missing folders on the way, with `mode` less the
/// umask. What a symlink of the third kind names is not made. Fails as `openSafely` does; the folders made
/// so far stay.
FileDescriptor makeFoldersSafely(std::string_view path, mode_t mode);

/// Whether `user` is root or the effective user.
bool isTrusted(uid_t user);

/// Whether only root and the effective user can write to the folder, or could have put it in its place.
bool isSealed(const SafeFolder& folder);

/// A path whose last component is split off: "a/b/c" is "c" in "a/b/", "c" is "c" in "".
struct SplitPath {
    std::string_view folder;
    std::string_view name;
};
SplitPath splitPath(std::string_view path);

} // namespace platform

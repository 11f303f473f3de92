#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <sys/types.h>

/// Files and folders. No operation throws for a failure of the system; paths are C strings, and an
/// empty path names nothing.
namespace platform {

enum class ItemKind {
    Missing, ///< nothing there, a dangling link, or a place that cannot be looked at
    File,    ///< anything that is not a folder
    Folder,
};

/// What is at `path`, links followed.
ItemKind itemAtPath(const char* path);

/// Whether there is an entry called `path`, links not followed: a dangling link counts.
bool entryExists(const char* path);

struct EntryInfo {
    uid_t owner = 0;
    gid_t group = 0;
    bool isLink = false;
    long long size = 0; ///< in bytes; of a link, the length of its text
};

/// The entry called `path` itself, links not followed. Nothing when it cannot be looked at.
std::optional<EntryInfo> entryInfo(const char* path);

struct FolderAttributes {
    std::optional<uid_t> owner;
    std::optional<gid_t> group;
    mode_t mode = 0; ///< exact, not reduced by the umask
};

/// Creates the folder `path` and every missing parent. An existing folder (or a link to one) is a
/// success and stays as it is. `attributes`, when given, go to every folder that this call makes and to
/// no other; a refused owner or mode is no failure. Without them a folder gets 0777 less the umask, and a
/// parent always lets its owner work in it. On failure the parents made so far stay.
std::error_code createFolders(const char* path, const FolderAttributes* attributes);

/// Creates one folder with `mode` less the umask. An entry of that name that is there already, of any kind,
/// counts as success. Symlinks on the way are followed only if no other user can have put them there
/// (posix/SafePath.h); the error is too_many_symbolic_link_levels for one that is not followed.
std::error_code createFolder(const char* path, mode_t mode);

/// The names in the folder `path`, without "." and "..", in no order. On the home platform also without those
/// that begin with "._", which hold what a file system of another kind cannot. Nothing when it cannot be
/// listed.
std::optional<std::vector<std::string>> folderEntries(const char* path);

/// Removes `path`, a folder with everything below it, however deep. Links are removed, never followed. It is
/// an error if `path` is missing, "." or ".."; if it is a mount point or one is below it, which keeps its
/// content (`device_or_resource_busy`); or if somebody moves a folder away meanwhile. It is no error if
/// others remove something meanwhile. The first failure ends the work, and what was removed before is gone.
/// Needs a few descriptors; memory grows with the number of names in one folder and with the depth.
std::error_code removeTree(const char* path);

/// Removes one file, link or empty folder.
std::error_code removeEntry(const char* path);

/// Puts a file with exactly `content` at `path`, whole or not at all: a temporary file beside it is
/// written, synced and renamed over it, and removed on failure. A file that is replaced passes its mode
/// on, a new one gets 0666 less the umask; a link is replaced, its target untouched. Missing parents
/// are not made. Blocks until the content is on the disk; the folder's own entry follows in the system's
/// time.
std::error_code writeFileAtomically(const char* path, std::string_view content);

/// Removes from the folder `path` the temporary files that killed runs of `writeFileAtomically` left: regular
/// files of the effective user that have exactly such a name and that nobody writes any more. What cannot be
/// removed stays, and so does everything when `path` is a link. Removes nothing on the home platform: the
/// framework names the temporary files of every program alike.
void removeLeftTemporaries(const char* path);

/// Puts the content of the file `from` into the file `to`, which is emptied first, or made with 0666 less the
/// umask. Nothing happens to `to` when `from` cannot be opened; after a later failure it is incomplete.
std::error_code copyContent(const char* from, const char* to);

/// The content of the regular file at `path`, links followed. Nothing when it is no regular file or
/// cannot be read.
std::optional<std::string> readFile(const char* path);

} // namespace platform

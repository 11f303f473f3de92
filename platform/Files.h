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

/// Creates one folder with `mode` less the umask. An entry of that name that is there already, of any
/// kind, counts as success.
std::error_code createFolder(const char* path, mode_t mode);

/// The names in the folder `path`, without "." and "..", in no order. On the home platform also without those
/// that begin with "._", which hold what a file system of another kind cannot. Nothing when it cannot be
/// listed.
std::optional<std::vector<std::string>> folderEntries(const char* path);

/// Everything below the folder `path`, as paths relative to it: a folder before its content, siblings in byte
/// order, links not followed. What cannot be listed is left out; empty when `path` is no folder.
std::vector<std::string> treeEntries(const char* path);

/// Removes `path`, a folder with everything below it. Links are removed, never followed. Removing
/// nothing, "." or ".." is an error. The first failure ends the work; what was removed before stays so.
std::error_code removeTree(const char* path);

/// Removes one file, link or empty folder.
std::error_code removeEntry(const char* path);

/// Puts a file with exactly `content` at `path`, whole or not at all: a temporary file beside it is
/// written, synced and renamed over it, and removed on failure. A file that is replaced passes its mode
/// on, a new one gets 0666 less the umask; a link is replaced, its target untouched. Missing parents
/// are not made. Blocks until the content is on the disk; the folder's own entry follows in the system's
/// time.
std::error_code writeFileAtomically(const char* path, std::string_view content);

/// Puts the content of the file `from` into the file `to`, which is emptied first, or made with 0666 less the
/// umask. Nothing happens to `to` when `from` cannot be opened; after a later failure it is incomplete.
std::error_code copyContent(const char* from, const char* to);

/// The same to a new file: it is an error when an entry called `to`, of any kind, is there already.
std::error_code copyContentToNew(const char* from, const char* to);

/// Waits until the content of the file `path` is on the disk.
std::error_code syncFile(const char* path);

/// Gives the entry `from` the name `to` in the same file system, replacing what is there.
std::error_code moveFile(const char* from, const char* to);

/// The content of the regular file at `path`, links followed. Nothing when it is no regular file or
/// cannot be read.
std::optional<std::string> readFile(const char* path);

/// The first `most` bytes of the regular file `path`, or all of them when there are fewer. Nothing when it
/// cannot be read.
std::optional<std::string> fileHead(const char* path, std::size_t most);

struct FileTail {
    std::string text;       ///< the last bytes
    long long fileSize = 0; ///< in bytes
};

/// The last `most` bytes of the regular file `path`, or all of them when there are fewer. Nothing when it
/// cannot be read.
std::optional<FileTail> fileTail(const char* path, std::size_t most);

/// Cuts the existing file `path` to its first `size` bytes.
std::error_code truncateFile(const char* path, long long size);

/// Sets owner, group and (exactly) mode of the folder `name` in the folder `parent`; "." is `parent` itself.
/// Neither may be a link: somebody could have put it there to get another folder.
std::error_code giveFolder(const char* parent, const char* name, uid_t owner, gid_t group, mode_t mode);

/// Whether opening `path` for appending neither blocks nor writes where somebody else leads to: it is no pipe
/// or socket, and no link that another user than root and the effective one made. A place where nothing is is
/// safe.
bool isSafeToAppendTo(const char* path);

/// Creates the empty file `path` with exactly `mode`. False when it is not made: an entry of that name, of
/// any kind, is there already, or the system refuses. `modeError` is why the file, which then stays, could
/// not get the mode.
bool createFile(const char* path, mode_t mode, std::error_code& modeError);

} // namespace platform

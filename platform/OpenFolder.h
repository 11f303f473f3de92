#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/Files.h"

namespace platform {

class FileDescriptor;
struct SafeFolder;

/// A folder that is held open. Whatever its path leads to later, everything here happens in this folder.
/// Names are those of entries in it; relative paths lead below it, and no symlink on the way is followed. If
/// no folder is open, every operation fails or finds nothing. For one thread at a time.
class OpenFolder {
  public:
    OpenFolder();
    ~OpenFolder();
    OpenFolder(OpenFolder&&) noexcept;
    OpenFolder& operator=(OpenFolder&&) noexcept;

    /// Opens the folder `path` in place of the one that is open. Symlinks are followed as posix/SafePath.h
    /// says. On failure no folder is open.
    std::error_code open(std::string_view path);

    void close();

    bool isOpen() const;

    /// The entry itself; a symlink is not followed. Nothing if it cannot be looked at.
    std::optional<EntryInfo> entry(const std::string& name) const;

    /// The first `most` bytes of a regular file, or all of them if there are fewer. Nothing if it cannot be
    /// read. Never blocks. Symlinks as in `open`.
    std::optional<std::string> fileHead(const std::string& name, std::size_t most) const;

    /// The relative paths of everything whose path begins with `prefix`: a folder before its content,
    /// siblings in byte order. Left out are what cannot be listed, and the content of folders on which
    /// something is mounted, or that are more than 128 levels down: others could make listing them take
    /// hours. Nothing at all if the paths take more than 64 MiB.
    std::vector<std::string> tree(const std::string& prefix) const;

    /// Removes one file, symlink or empty folder by its relative path.
    std::error_code remove(const std::string& path) const;

    /// Removes files, symlinks and empty folders by their relative paths, in this order. What cannot be
    /// removed stays.
    void removeAll(const std::vector<std::string>& paths) const;

    /// Gives the entry `from` the name `to`, replacing what has that name.
    std::error_code rename(const std::string& from, const std::string& to) const;

    /// Waits until the folder's list of names is on the disk.
    std::error_code sync() const;

    /// Not open if no folder is.
    const FileDescriptor& descriptor() const;
    const SafeFolder& safeFolder() const;

  private:
    std::unique_ptr<SafeFolder> folder;
};

/// Whether something that is not a folder is at `path`. Symlinks as in `OpenFolder::open`; one that is not
/// followed counts as nothing, so that the answer tells nobody what is where only root may look.
bool isFileSafely(std::string_view path);

/// Makes the folder `path` and every missing parent with 0777 less the umask. A folder that is there is a
/// success. Symlinks as in `OpenFolder::open`. On failure the parents made so far stay.
std::error_code createFoldersSafely(std::string_view path);

/// Sets owner, group and (exactly) mode of the folder `path`. It must belong to `owner` or to the effective
/// user before, and hold nothing but perhaps `child`: somebody may have moved a folder there that is not
/// meant to be open to others. Only if there is a `child`, a folder of `owner` may hold more. The mode is set
/// also if the owner is refused. Symlinks as in `OpenFolder::open`.
std::error_code giveFolder(std::string_view path, uid_t owner, gid_t group, mode_t mode,
                           std::string_view child);

} // namespace platform

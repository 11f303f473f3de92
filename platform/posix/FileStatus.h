#pragma once

#include <optional>

#include <sys/stat.h>

#include "FileDescriptor.h"
#include "platform/Files.h"

namespace platform {

using FileStatus = std::optional<struct stat>;

/// Nothing if the file cannot be looked at.
inline FileStatus statusOf(const FileDescriptor& file) {
    struct stat status = {};
    return ::fstat(file.get(), &status) == 0 ? FileStatus(status) : std::nullopt;
}

/// The entry `name` itself; a symlink is not followed. Nothing if it cannot be looked at.
inline FileStatus statusIn(const FileDescriptor& folder, const char* name) {
    struct stat status = {};
    return ::fstatat(folder.get(), name, &status, AT_SYMLINK_NOFOLLOW) == 0 ? FileStatus(status)
                                                                            : std::nullopt;
}

/// The entry `path` itself; a symlink is not followed. Nothing if it cannot be looked at.
inline FileStatus statusOfEntry(const char* path) {
    struct stat status = {};
    return ::lstat(path, &status) == 0 ? FileStatus(status) : std::nullopt;
}

inline std::optional<EntryInfo> entryInfoOf(const FileStatus& status) {
    return status ? std::optional(
                        EntryInfo{status->st_uid, status->st_gid, S_ISLNK(status->st_mode), status->st_size})
                  : std::nullopt;
}

inline mode_t permissionsIn(const struct stat& status) { return status.st_mode & 07777; }

inline bool isRegular(const FileStatus& status) { return status && S_ISREG(status->st_mode); }

inline bool isSameFile(const FileStatus& one, const FileStatus& other) {
    return one && other && one->st_dev == other->st_dev && one->st_ino == other->st_ino;
}

} // namespace platform

#include "platform/Files.h"

#include <exception>
#include <optional>

#include <sys/file.h>

#include "../posix/FileStatus.h"
#include "../posix/FolderNames.h"
#include "../posix/NewFile.h"
#include "../posix/RandomDigits.h"

namespace platform {

namespace {

constexpr std::string_view temporaryStart = ".new-";
constexpr std::size_t temporaryDigits = 16;

/// A new, short name in the folder that holds `path`. Empty when the system has no randomness.
std::string temporaryNameBeside(std::string_view path) {
    const std::string digits = randomDigits();
    const std::string folder(path.substr(0, path.rfind('/') + 1));
    return digits.empty() ? "" : folder + std::string(temporaryStart) + digits;
}

std::optional<mode_t> modeOfNewFileBeside(const char* path) {
    return modeOfNewFile(AT_FDCWD, temporaryNameBeside(path).c_str());
}

bool isTemporaryName(std::string_view name) {
    return name.starts_with(temporaryStart) && name.size() == temporaryStart.size() + temporaryDigits &&
           name.find_first_not_of("0123456789abcdef", temporaryStart.size()) == std::string_view::npos;
}

/// Locks a file until it is closed, by the end of its process at the latest.
std::error_code lock(const FileDescriptor& file) {
    return errorOf(uninterrupted([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }));
}

/// A new file beside a destination, locked for as long as it is written: who removes what killed runs left
/// leaves it alone. Removed at the end unless it took the destination's place.
class TemporaryFile {
  public:
    TemporaryFile() = default;
    ~TemporaryFile() { remove(); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Makes the file for its owner alone, so that nobody else takes the lock. `mode` tells what he may do.
    std::error_code create(const char* destination, mode_t mode) {
        constexpr int mostTries = 3;
        for (int tries = 0; tries < mostTries; ++tries) {
            const std::string next = temporaryNameBeside(destination);
            file = FileDescriptor(next.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW,
                                  mode & (S_IRUSR | S_IWUSR));
            if (!file.isOpen()) {
                return lastError();
            }
            name = next;
            claim = FileDescriptor(::fcntl(file.get(), F_DUPFD_CLOEXEC, 0));
            if (!claim.isOpen()) {
                return lastError();
            }
            if (isOurs()) {
                return {};
            }
            remove();
        }
        return std::make_error_code(std::errc::device_or_resource_busy);
    }

    /// Puts `content` on the disk, and gives the file exactly `mode`.
    std::error_code fill(std::string_view content, mode_t mode) {
        std::error_code error = writeAll(file, content);
        if (!error) {
            error = setMode(mode);
        }
        if (!error) {
            error = errorOf(uninterrupted([this] { return ::fsync(file.get()); }));
        }
        const std::error_code closing = file.close();
        return error ? error : closing;
    }

    std::error_code moveTo(const char* destination) {
        const std::error_code error = errorOf(::rename(name.c_str(), destination));
        if (!error) {
            name.clear();
        }
        return error;
    }

  private:
    /// Whether nobody took the file for a left one before it was locked. A file system without locks is no
    /// reason to write nothing: there nobody can take it.
    bool isOurs() const {
        struct stat status = {};
        return lock(claim) != std::errc::operation_would_block && ::fstat(file.get(), &status) == 0 &&
               status.st_nlink > 0;
    }

    /// Changes nothing if the file has the mode: where there is only one, the system may refuse.
    std::error_code setMode(mode_t mode) const {
        const auto status = statusOf(file);
        const bool hasIt = status && permissionsIn(*status) == mode;
        return hasIt ? std::error_code() : errorOf(::fchmod(file.get(), mode));
    }

    void remove() {
        if (!name.empty()) {
            ::unlink(name.c_str());
            name.clear();
        }
    }

    std::string name; ///< empty if there is nothing to remove
    FileDescriptor file;
    FileDescriptor claim; ///< the same open file, which keeps the lock when `file` is closed
};

bool isOwnFile(const struct stat& status) { return S_ISREG(status.st_mode) && status.st_uid == ::geteuid(); }

/// Removes the file `name` unless it is somebody else's, no regular file, or still being written.
void removeIfLeft(const FileDescriptor& folder, const std::string& name) {
    struct stat status = {};
    if (::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == -1 || !isOwnFile(status)) {
        return; // opening another kind could do something
    }
    const FileDescriptor file(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (file.isOpen() && ::fstat(file.get(), &status) == 0 && isOwnFile(status) && !lock(file)) {
        ::unlinkat(folder.get(), name.c_str(), 0);
    }
}

} // namespace

std::error_code writeFileAtomically(const char* path, std::string_view content) {
    struct stat old = {};
    const bool isThere = ::lstat(path, &old) == 0;
    if (*path == '\0' || (!isThere && errno != ENOENT)) {
        return lastError();
    }
    if (isThere && S_ISDIR(old.st_mode)) {
        return std::make_error_code(std::errc::is_a_directory);
    }
    const bool isReplaced = isThere && S_ISREG(old.st_mode);
    const auto mode = isReplaced ? std::optional(permissionsIn(old)) : modeOfNewFileBeside(path);
    if (!mode) {
        return lastError();
    }
    TemporaryFile file;
    std::error_code error = file.create(path, *mode);
    if (!error) {
        error = file.fill(content, *mode);
    }
    return error ? error : file.moveTo(path);
}

void removeLeftTemporaries(const char* path) try {
    const FileDescriptor folder(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    FolderNames names;
    if (!folder.isOpen() || names.read(folder)) {
        return;
    }
    for (std::string name = names.take(); !name.empty(); name = names.take()) {
        if (isTemporaryName(name)) {
            removeIfLeft(folder, name);
        }
    }
} catch (const std::exception&) { // no memory: they stay until the next time
    return;
}

} // namespace platform

#include "platform/Files.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <stdexcept>

#include <dirent.h>
#include <sys/random.h>
#include <sys/stat.h>

#include "FileDescriptor.h"

namespace platform {

namespace {

using FileStatus = struct stat;

std::error_code errorOf(std::errc error) { return std::make_error_code(error); }

std::optional<FileStatus> statusOfEntry(const char* path) {
    FileStatus status = {};
    return ::lstat(path, &status) == 0 ? std::optional(status) : std::nullopt;
}

// ---- Folders

/// Lets the owner of the new folder `path` work in it whatever the umask is.
void openToOwner(const char* path) {
    const auto status = statusOfEntry(path);
    constexpr mode_t needed = S_IWUSR | S_IXUSR;
    if (status && (status->st_mode & needed) != needed) {
        ::fchmodat(AT_FDCWD, path, (status->st_mode & 07777) | needed, AT_SYMLINK_NOFOLLOW);
    }
}

void applyAttributes(const char* path, const FolderAttributes& attributes) {
    constexpr auto unchanged = static_cast<uid_t>(-1);
    ::fchmodat(AT_FDCWD, path, attributes.mode, AT_SYMLINK_NOFOLLOW);
    if (attributes.owner || attributes.group) {
        [[maybe_unused]] const int refused = ::lchown(path, attributes.owner.value_or(unchanged),
                                                      attributes.group.value_or(unchanged));
    }
}

/// Makes sure of one folder whose parent exists.
std::error_code makeFolder(const char* path, const FolderAttributes* attributes, bool isParent) {
    if (itemAtPath(path) == ItemKind::Folder) {
        return {};
    }
    if (::mkdir(path, attributes ? attributes->mode : 0777) == -1) {
        const std::error_code error = lastError();
        return itemAtPath(path) == ItemKind::Folder ? std::error_code() : error;
    }
    if (attributes) {
        applyAttributes(path, *attributes);
    } else if (isParent) {
        openToOwner(path);
    }
    return {};
}

// ---- Reading and writing

/// Appends what is left of the open file to `content`. False on a read error.
bool readToEnd(const FileDescriptor& file, std::string& content) {
    std::array<char, 16384> chunk;
    ssize_t count = 0;
    do {
        count = uninterrupted([&] { return ::read(file.get(), chunk.data(), chunk.size()); });
        content.append(chunk.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    } while (count > 0);
    return count == 0;
}

std::error_code writeAll(const FileDescriptor& file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count =
            uninterrupted([&] { return ::write(file.get(), content.data(), content.size()); });
        if (count <= 0) {
            return count == 0 ? errorOf(std::errc::io_error) : lastError();
        }
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return {};
}

std::error_code syncToDisk(const FileDescriptor& file) {
    return errorOf(uninterrupted([&] { return ::fsync(file.get()); }));
}

// ---- Temporary files

/// A new, short name in the folder of `path`.
std::optional<std::string> temporaryNameBeside(std::string_view path) {
    std::uint64_t number = 0;
    if (::getentropy(&number, sizeof number) != 0) {
        return std::nullopt;
    }
    std::array<char, 24> name;
    std::snprintf(name.data(), name.size(), ".new-%016llx", static_cast<unsigned long long>(number));
    return std::string(path.substr(0, path.rfind('/') + 1)) + name.data();
}

/// A file of its own beside a destination, removed at the end unless it took the destination's place.
class TemporaryFile {
  public:
    /// Open afterwards, or `errno` says why not.
    TemporaryFile(const char* destination, mode_t mode)
        : name(temporaryNameBeside(destination).value_or("")),
          descriptor(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode) {}
    ~TemporaryFile() {
        if (descriptor.isOpen() || mustBeRemoved) {
            ::unlink(name.c_str());
        }
    }

  private:
    std::string name;
    FileDescriptor descriptor;
    bool mustBeRemoved = false;
};

} // namespace
} // namespace platform

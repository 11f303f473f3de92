#include "platform/Files.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>

#include <dirent.h>
#include <sys/random.h>
#include <sys/stat.h>

#include "../posix/FileDescriptor.h"
#include "../posix/FileRules.h"

namespace platform {

namespace {

std::optional<struct stat> statusOfEntry(const char* path) {
    struct stat status = {};
    return ::lstat(path, &status) == 0 ? std::optional(status) : std::nullopt;
}

bool isEmpty(const char* path) { return *path == '\0'; }

mode_t permissionsIn(const struct stat& status) { return status.st_mode & 07777; }

/// Lets the owner of a folder that was just made work in it, whatever the umask is.
void openToOwner(const char* path) {
    constexpr mode_t needed = S_IWUSR | S_IXUSR;
    const auto status = statusOfEntry(path);
    if (status && (status->st_mode & needed) != needed) {
        ::fchmodat(AT_FDCWD, path, permissionsIn(*status) | needed, AT_SYMLINK_NOFOLLOW);
    }
}

void applyAttributes(const char* path, const FolderAttributes& attributes) {
    constexpr auto unchanged = static_cast<uid_t>(-1);
    const FileDescriptor folder(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    const uid_t owner = attributes.owner.value_or(unchanged);
    const gid_t group = attributes.group.value_or(unchanged);
    [[maybe_unused]] int refused = 0;
    if (folder.isOpen()) {
        ::fchmod(folder.get(), attributes.mode);
        refused = ::fchown(folder.get(), owner, group);
    } else { // the umask may keep its owner from opening it
        ::fchmodat(AT_FDCWD, path, attributes.mode, AT_SYMLINK_NOFOLLOW);
        refused = ::lchown(path, owner, group);
    }
}

/// Makes sure of one folder whose parent exists.
std::error_code ensureFolder(const char* path, const FolderAttributes* attributes, bool isParent) {
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

/// A new, short name in the folder that holds `path`. Empty when the system has no randomness.
std::string temporaryNameBeside(std::string_view path) {
    std::uint64_t number = 0;
    if (::getentropy(&number, sizeof number) == -1) {
        return {};
    }
    std::array<char, 24> name;
    std::snprintf(name.data(), name.size(), ".new-%016llx", static_cast<unsigned long long>(number));
    return std::string(path.substr(0, path.rfind('/') + 1)) + name.data();
}

/// A new file beside a destination. Removed at the end unless it took the destination's place.
class TemporaryFile {
  public:
    TemporaryFile(const char* destination, mode_t mode)
        : name(temporaryNameBeside(destination)),
          file(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode),
          creation(file.isOpen() ? std::error_code() : lastError()), isThere(file.isOpen()) {}
    ~TemporaryFile() {
        if (isThere) {
            ::unlink(name.c_str());
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Puts `content` on the disk. The mode, when given, is set exactly.
    std::error_code fill(std::string_view content, std::optional<mode_t> mode) {
        std::error_code error = creation ? creation : writeAll(file, content);
        if (!error && mode) {
            error = errorOf(::fchmod(file.get(), *mode));
        }
        if (!error) {
            error = errorOf(uninterrupted([this] { return ::fsync(file.get()); }));
        }
        const std::error_code closing = file.close();
        return error ? error : closing;
    }

    std::error_code moveTo(const char* destination) {
        const std::error_code error = errorOf(::rename(name.c_str(), destination));
        isThere = bool(error);
        return error;
    }

  private:
    std::string name;
    FileDescriptor file;
    std::error_code creation;
    bool isThere;
};

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

using OpenFolder = std::unique_ptr<DIR, FolderCloser>;

/// Null when `path` is no folder or cannot be opened.
OpenFolder openFolder(const char* path) {
    FileDescriptor descriptor(path, O_RDONLY | O_DIRECTORY);
    OpenFolder folder(descriptor.isOpen() ? ::fdopendir(descriptor.get()) : nullptr);
    if (folder) {
        descriptor.release();
    }
    return folder;
}

/// The next entry of `folder`. Null at the end, with `errno` 0, and on failure.
const dirent* nextEntry(DIR* folder) {
    errno = 0;
    return ::readdir(folder);
}

/// Appends what is below the folder `top` + "/" + `below`, each name with `below` before it.
void appendEntriesBelow(const std::string& top, const std::string& below, std::vector<std::string>& entries) {
    const std::string folder = std::string(top).append("/").append(below);
    auto names = folderEntries(folder.c_str()).value_or(std::vector<std::string>());
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const std::string entry = below + name;
        entries.push_back(entry);
        const auto status = statusOfEntry((folder + name).c_str());
        if (status && S_ISDIR(status->st_mode)) {
            appendEntriesBelow(top, entry + "/", entries);
        }
    }
}

/// Removes an existing tree. What others remove meanwhile is no failure.
std::error_code removeAll(const std::string& path) try {
    constexpr int mostRounds = 10'000;
    std::error_code error;
    for (int round = 0; round < mostRounds; ++round) {
        std::filesystem::remove_all(path, error);
        if (error != std::errc::no_such_file_or_directory || !entryExists(path.c_str())) {
            break;
        }
    }
    return error;
} catch (const std::exception&) {
    return std::make_error_code(std::errc::not_enough_memory);
}

} // namespace

ItemKind itemAtPath(const char* path) {
    struct stat status = {};
    if (::stat(path, &status) == -1) {
        return ItemKind::Missing;
    }
    return S_ISDIR(status.st_mode) ? ItemKind::Folder : ItemKind::File;
}

std::error_code createFolders(const char* path, const FolderAttributes* attributes) {
    const std::string whole = withoutTrailingSlashes(path);
    for (std::size_t end = whole.find('/', 1); end != std::string::npos; end = whole.find('/', end + 1)) {
        const std::error_code error = ensureFolder(whole.substr(0, end).c_str(), attributes, true);
        if (error) {
            return error;
        }
    }
    return ensureFolder(whole.empty() ? path : whole.c_str(), attributes, false);
}

std::optional<std::vector<std::string>> folderEntries(const char* path) {
    const OpenFolder folder = openFolder(path);
    if (!folder) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    while (const dirent* entry = nextEntry(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    return errno == 0 ? std::optional(std::move(names)) : std::nullopt;
}

std::vector<std::string> treeEntries(const char* path) {
    std::vector<std::string> entries;
    if (!isEmpty(path)) {
        appendEntriesBelow(path, "", entries);
    }
    return entries;
}

std::error_code removeTree(const char* path) {
    const std::error_code refusal = removalRefusal(path);
    return refusal ? refusal : removeAll(withoutTrailingSlashes(path));
}

std::error_code writeFileAtomically(const char* path, std::string_view content) {
    const auto old = statusOfEntry(path);
    if (isEmpty(path) || (!old && errno != ENOENT)) {
        return lastError();
    }
    if (old && S_ISDIR(old->st_mode)) {
        return std::make_error_code(std::errc::is_a_directory);
    }
    const auto kept = old && S_ISREG(old->st_mode) ? std::optional(permissionsIn(*old)) : std::nullopt;
    TemporaryFile file(path, kept ? *kept & (S_IRUSR | S_IWUSR) : 0666);
    const std::error_code error = file.fill(content, kept);
    return error ? error : file.moveTo(path);
}

} // namespace platform

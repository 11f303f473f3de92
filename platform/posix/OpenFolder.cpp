#include "platform/OpenFolder.h"

#include <algorithm>

#include "FileStatus.h"
#include "FolderNames.h"
#include "MountPoint.h"
#include "SafePath.h"

namespace platform {

namespace {

constexpr int kMostLevels = 128;
constexpr std::size_t kMostBytes = std::size_t{64} * 1024 * 1024;

dev_t deviceOf(const FileDescriptor& folder) {
    const auto status = statusOf(folder);
    return status ? status->st_dev : dev_t{};
}

/// Opens the folder that is `path` below `top`. No symlink is followed, and nothing that is mounted below is
/// entered.
FileDescriptor folderBelow(const FileDescriptor& top, std::string_view path) {
    FileDescriptor folder(top, ".", kPassThrough);
    while (!path.empty() && folder.isOpen()) {
        const std::string name(path.substr(0, path.find('/')));
        folder = FileDescriptor(folder, name.c_str(), kPassThrough | O_NOFOLLOW);
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        if (folder.isOpen() && (deviceOf(folder) != deviceOf(top) || isMountedWithinItsDevice(folder))) {
            errno = EXDEV;
            return {};
        }
    }
    return folder;
}

std::error_code removeFrom(const FileDescriptor& folder, const std::string& name) {
    const auto status = statusIn(folder, name.c_str());
    const bool isFolder = status && S_ISDIR(status->st_mode);
    return errorOf(::unlinkat(folder.get(), name.c_str(), isFolder ? AT_REMOVEDIR : 0));
}

/// Whether `folder` holds nothing, or nothing but `child`.
bool holdsAtMost(const FileDescriptor& folder, std::string_view child) {
    FolderNames names;
    if (names.read(folder)) {
        return false;
    }
    std::string name = names.take();
    if (name == child) {
        name = names.take();
    }
    return name.empty();
}

struct Child {
    std::string name;
    bool isFolder = false;
};

/// Lists what is in a folder and its subfolders, up to an amount of memory. Holds no folder open meanwhile,
/// however deep they are.
class TreeList {
  public:
    explicit TreeList(const FileDescriptor& folder) : top(folder) {}

    /// All paths that begin with `prefix`. Nothing if there are too many.
    std::vector<std::string> pathsWith(std::string_view prefix) {
        append("", prefix, 0);
        return used <= kMostBytes ? std::move(entries) : std::vector<std::string>();
    }

  private:
    /// Appends what is in the folder `below` (empty, or with a slash at its end) and its subfolders.
    void append(const std::string& below, std::string_view prefix, int level) {
        for (const Child& child : childrenOf(below, prefix)) {
            if (used > kMostBytes) {
                return;
            }
            const std::string path = below + child.name;
            entries.push_back(path);
            if (child.isFolder && level < kMostLevels) {
                append(path + "/", "", level + 1);
            }
        }
    }

    std::vector<Child> childrenOf(const std::string& below, std::string_view prefix) {
        const FileDescriptor folder = folderBelow(top, below);
        std::vector<Child> children;
        for (std::string& name : namesIn(folder, below.size(), prefix)) {
            const auto status = statusIn(folder, name.c_str());
            children.push_back({std::move(name), status && S_ISDIR(status->st_mode)});
        }
        return children;
    }

    /// The names in `folder` that begin with `prefix`, in byte order. Their paths are counted, each of them
    /// longer by `more` bytes than the name.
    std::vector<std::string> namesIn(const FileDescriptor& folder, std::size_t more,
                                     std::string_view prefix) {
        const FileDescriptor readable(folder, ".", O_RDONLY | O_DIRECTORY);
        FolderNames all;
        std::vector<std::string> names;
        if (!readable.isOpen() || all.read(readable, kMostBytes)) {
            return names;
        }
        for (std::string name = all.take(); !name.empty() && used <= kMostBytes; name = all.take()) {
            if (name.starts_with(prefix)) {
                used += sizeof(std::string) + more + name.size();
                names.push_back(std::move(name));
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const FileDescriptor& top;
    std::vector<std::string> entries;
    std::size_t used = 0;
};

} // namespace

OpenFolder::OpenFolder() : folder(std::make_unique<SafeFolder>()) {}

OpenFolder::~OpenFolder() = default;

OpenFolder::OpenFolder(OpenFolder&&) noexcept = default;

OpenFolder& OpenFolder::operator=(OpenFolder&&) noexcept = default;

std::error_code OpenFolder::open(std::string_view path) {
    *folder = openFolderSafely(path);
    return isOpen() ? std::error_code() : lastError();
}

void OpenFolder::close() { folder->descriptor.close(); }

bool OpenFolder::isOpen() const { return folder->descriptor.isOpen(); }

const FileDescriptor& OpenFolder::descriptor() const { return folder->descriptor; }

const SafeFolder& OpenFolder::safeFolder() const { return *folder; }

std::optional<EntryInfo> OpenFolder::entry(const std::string& name) const {
    return entryInfoOf(statusIn(descriptor(), name.c_str()));
}

std::optional<std::string> OpenFolder::fileHead(const std::string& name, std::size_t most) const {
    const FileDescriptor file = openSafely(*folder, name, O_RDONLY | kNeverBlocking);
    if (!file.isOpen() || !isRegular(statusOf(file))) {
        return std::nullopt;
    }
    std::string head(most, '\0');
    const auto count = uninterrupted([&] { return ::pread(file.get(), head.data(), head.size(), 0); });
    if (count == -1) {
        return std::nullopt;
    }
    head.resize(static_cast<std::size_t>(count));
    return head;
}

std::vector<std::string> OpenFolder::tree(const std::string& prefix) const {
    return TreeList(descriptor()).pathsWith(prefix);
}

std::error_code OpenFolder::remove(const std::string& path) const {
    const SplitPath split = splitPath(path);
    const FileDescriptor parent = folderBelow(descriptor(), split.folder);
    return parent.isOpen() ? removeFrom(parent, std::string(split.name)) : lastError();
}

void OpenFolder::removeAll(const std::vector<std::string>& paths) const {
    std::string_view openedPath;
    FileDescriptor parent = folderBelow(descriptor(), openedPath);
    for (const std::string& path : paths) {
        const SplitPath split = splitPath(path);
        if (split.folder != openedPath) {
            openedPath = split.folder;
            parent = folderBelow(descriptor(), openedPath);
        }
        removeFrom(parent, std::string(split.name));
    }
}

std::error_code OpenFolder::rename(const std::string& from, const std::string& to) const {
    return errorOf(::renameat(descriptor().get(), from.c_str(), descriptor().get(), to.c_str()));
}

std::error_code OpenFolder::sync() const {
    const FileDescriptor readable(descriptor(), ".", O_RDONLY | O_DIRECTORY);
    return readable.isOpen() ? errorOf(uninterrupted([&] { return ::fsync(readable.get()); })) : lastError();
}

bool isFileSafely(std::string_view path) {
    const SplitPath split = splitPath(path);
    const FileDescriptor folder = openSafely(split.folder.empty() ? "." : split.folder, kPassThrough);
    auto status = folder.isOpen() ? statusIn(folder, std::string(split.name).c_str()) : std::nullopt;
    if (status && S_ISLNK(status->st_mode)) {
        const FileDescriptor target = openSafely(path, O_RDONLY | kNeverBlocking);
        status = target.isOpen() ? statusOf(target) : std::nullopt;
    }
    return status && !S_ISDIR(status->st_mode);
}

std::error_code createFoldersSafely(std::string_view path) {
    return makeFoldersSafely(path, 0777).isOpen() ? std::error_code() : lastError();
}

std::error_code giveFolder(std::string_view path, uid_t owner, gid_t group, mode_t mode,
                           std::string_view child) {
    const FileDescriptor folder = openSafely(path, O_RDONLY | O_DIRECTORY);
    const auto status = folder.isOpen() ? statusOf(folder) : std::nullopt;
    if (!status) {
        return lastError();
    }
    const bool isHis = status->st_uid == owner;
    const bool isFresh = (isHis || status->st_uid == ::geteuid()) && holdsAtMost(folder, child);
    if (!isFresh && (!isHis || child.empty())) {
        return std::make_error_code(std::errc::operation_not_permitted);
    }
    const std::error_code error = errorOf(::fchown(folder.get(), owner, group));
    const std::error_code modeError = errorOf(::fchmod(folder.get(), mode));
    return error ? error : modeError;
}

} // namespace platform

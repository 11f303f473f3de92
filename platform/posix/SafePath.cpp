#include "SafePath.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#ifdef __linux__
#include <linux/openat2.h>
#include <sys/syscall.h>
#endif

#include "FileStatus.h"

namespace platform {

namespace {

constexpr int kMostLinks = 40;
constexpr std::size_t kLongestTarget = 4096;

FileDescriptor refused() {
    errno = ELOOP;
    return {};
}

bool belongsTo(const FileDescriptor& file, uid_t owner) {
    const auto status = statusOf(file);
    return status && status->st_uid == owner;
}

/// Whether `entry` must not even be opened for `owner`: opening can rewind a tape or start a watchdog.
/// What a symlink leads to is looked at when it is followed.
bool isOfAnother(uid_t owner, const FileStatus& entry) {
    return entry && !S_ISLNK(entry->st_mode) && entry->st_uid != owner;
}

struct Link {
    struct stat status = {};
    std::string target;
};

/// The kernel's own symlinks, as for open files, lead somewhere without their text, which only describes.
bool isOfTheKernel(const Link& link) { return link.status.st_size != static_cast<off_t>(link.target.size()); }

bool canSearch(uid_t user, const FileStatus& folder) {
    const mode_t needed = folder && folder->st_uid == user ? S_IXUSR : S_IXGRP | S_IXOTH;
    return folder && (folder->st_mode & needed) == needed;
}

bool isWrittenByTrustedOnly(const FileStatus& folder) {
    return folder && isTrusted(folder->st_uid) && (folder->st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// Whether nobody else could have put `entry` into `folder`: of a sticky folder others can take only what is
/// theirs, but they may have mounted something on it.
bool isOfTrustedOnly(const FileStatus& folder, const FileStatus& entry) {
    const bool isProtected = folder && isTrusted(folder->st_uid) && (folder->st_mode & S_ISVTX) != 0;
    return isWrittenByTrustedOnly(folder) ||
           (isProtected && entry && isTrusted(entry->st_uid) && entry->st_dev == folder->st_dev);
}

/// Whether `folder` is a place for symlinks of `linkOwner`: his own, or one of root's to which nobody else
/// can write. Other users could move them elsewhere to where they do harm.
bool isPlaceOf(uid_t linkOwner, const FileStatus& folder) {
    const bool isRootsAlone = folder && folder->st_uid == 0 && (folder->st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return folder && (folder->st_uid == linkOwner || isRootsAlone);
}

/// False if there is no folder afterwards. An ordinary user can use the folder whatever the umask is.
bool makeFolder(const FileDescriptor& parent, const char* name, mode_t mode) {
    if (::mkdirat(parent.get(), name, mode) == -1) {
        return errno == EEXIST;
    }
    const auto made = ::geteuid() == 0 ? std::nullopt : statusIn(parent, name);
    if (made && (made->st_mode & S_IRWXU) != S_IRWXU) {
        const mode_t usable = permissionsIn(*made) | S_IRWXU;
        [[maybe_unused]] const int result = ::fchmodat(parent.get(), name, usable, AT_SYMLINK_NOFOLLOW);
    }
    return true;
}

/// How the last entry of a path is opened.
struct Opening {
    int flags = kPassThrough;
    mode_t mode = 0;
    std::optional<uid_t> owner; ///< who must own it, if it is behind a user's symlink
};

/// The text of a symlink, read by `read`. Nothing if it cannot be read or is too long.
template <typename Read> std::optional<Link> linkOf(const struct stat& status, const Read& read) {
    std::array<char, kLongestTarget> text;
    const ssize_t length = read(text);
    if (length <= 0 || static_cast<std::size_t>(length) == text.size()) {
        return std::nullopt;
    }
    return Link{status, std::string(text.data(), static_cast<std::size_t>(length))};
}

#if defined(O_PATH)
/// Nothing if `name` is no symlink. Status and text are of the same symlink, because it is held open.
std::optional<Link> linkIn(const FileDescriptor& folder, const char* name) {
    const FileDescriptor entry(folder, name, O_PATH | O_NOFOLLOW);
    const auto status = entry.isOpen() ? statusOf(entry) : std::nullopt;
    if (!status || !S_ISLNK(status->st_mode)) {
        return std::nullopt;
    }
    return linkOf(*status,
                  [&](auto& text) { return ::readlinkat(entry.get(), "", text.data(), text.size()); });
}
#else
bool isSameMoment(const struct timespec& one, const struct timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

/// Whether nobody changed the file, or its name, between two looks at it.
bool isUntouched(const FileStatus& before, const FileStatus& after) {
#if defined(__APPLE__)
    return isSameFile(before, after) && isSameMoment(before->st_ctimespec, after->st_ctimespec);
#else
    return isSameFile(before, after) && isSameMoment(before->st_ctim, after->st_ctim);
#endif
}

/// Nothing if `name` is no symlink, or if somebody moved it or put another one there meanwhile.
std::optional<Link> linkIn(const FileDescriptor& folder, const char* name) {
    const auto before = statusIn(folder, name);
    if (!before || !S_ISLNK(before->st_mode)) {
        return std::nullopt;
    }
    auto link = linkOf(
        *before, [&](auto& text) { return ::readlinkat(folder.get(), name, text.data(), text.size()); });
    return isUntouched(before, statusIn(folder, name)) ? std::move(link) : std::nullopt;
}
#endif

/// Opens a path with no symlink on it in one step, as a walk would: nobody can lead that elsewhere. Not open
/// on failure, and where the system has no such call: only the walk tells what is the matter.
FileDescriptor openWithoutLinks([[maybe_unused]] std::string_view path, [[maybe_unused]] int flags) {
#ifdef SYS_openat2
    open_how how = {};
    how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_NO_SYMLINKS;
    const std::string text(path);
    const bool isText = text.find('\0') == std::string::npos;
    if (isText && (flags & O_CREAT) == 0) {
        return FileDescriptor(static_cast<int>(
            uninterrupted([&] { return ::syscall(SYS_openat2, AT_FDCWD, text.c_str(), &how, sizeof how); })));
    }
#endif
    return {};
}

/// Opens a path component by component.
class Walk {
  public:
    explicit Walk(bool startsTrusted, std::optional<mode_t> modeOfMissing = std::nullopt)
        : trusted(startsTrusted), folderMode(modeOfMissing) {}

    FileDescriptor open(const FileDescriptor& start, std::string_view path, Opening last) {
        if (path.ends_with('/')) {
            last.flags = (last.flags & ~O_CREAT) | O_DIRECTORY;
        }
        FileDescriptor folder(start, path.starts_with('/') ? "/" : ".", kPassThrough);
        std::string name = nextComponent(path);
        while (folder.isOpen()) {
            const std::string after = nextComponent(path);
            if (after.empty()) {
                return openEntry(folder, name.empty() ? "." : name, last);
            }
            folder = openEntry(folder, name, Opening());
            name = after;
        }
        return folder;
    }

    /// Whether nobody else could have put what was opened last in its place.
    bool isTrustedWay() const { return trusted; }

  private:
    /// Takes the first component off `path`; empty at its end.
    static std::string nextComponent(std::string_view& path) {
        path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
        const std::string_view component = path.substr(0, path.find('/'));
        path.remove_prefix(component.size());
        return std::string(component);
    }

    /// Whether everybody whose symlinks led here could go on himself.
    bool canAllSearch(const FileStatus& folder) const {
        return std::all_of(linkOwners.begin(), linkOwners.end(),
                           [&folder](uid_t owner) { return canSearch(owner, folder); });
    }

    FileDescriptor openEntry(const FileDescriptor& folder, const std::string& name, const Opening& how) {
        const auto folderStatus = statusOf(folder);
        if (!canAllSearch(folderStatus)) {
            return refused();
        }
        if (how.owner && isOfAnother(*how.owner, statusIn(folder, name.c_str()))) {
            return refused();
        }
        FileDescriptor entry = openOrMake(folder, name.c_str(), how);
        if (entry.isOpen()) {
            trusted = trusted && isOfTrustedOnly(folderStatus, statusOf(entry));
            return entry;
        }
        // Systems differ in which of the two they say of a symlink.
        if (errno != ELOOP && errno != ENOTDIR) {
            return entry;
        }
        const int cause = errno;
        const auto link = linkIn(folder, name.c_str());
        errno = cause;
        return link ? follow(folder, folderStatus, name, *link, how) : FileDescriptor();
    }

    FileDescriptor openOrMake(const FileDescriptor& folder, const char* name, const Opening& how) const {
        FileDescriptor entry(folder, name, how.flags | O_NOFOLLOW, how.mode);
        const bool isMade = !entry.isOpen() && errno == ENOENT && folderMode &&
                            (how.flags & O_DIRECTORY) != 0 && makeFolder(folder, name, *folderMode);
        return isMade ? FileDescriptor(folder, name, how.flags | O_NOFOLLOW) : std::move(entry);
    }

    FileDescriptor follow(const FileDescriptor& folder, const FileStatus& folderStatus,
                          const std::string& name, const Link& link, const Opening& how) {
        const uid_t owner = link.status.st_uid;
        if (++linksFollowed > kMostLinks) {
            return refused();
        }
        if (trusted && isTrusted(owner) && isWrittenByTrustedOnly(folderStatus)) {
            return isOfTheKernel(link) ? FileDescriptor(folder, name.c_str(), how.flags & ~O_CREAT, how.mode)
                                       : open(folder, link.target, how);
        }
        trusted = false;
        if (owner == 0 || link.status.st_nlink != 1 || !isPlaceOf(owner, folderStatus)) {
            return refused();
        }
        return owner == ::geteuid() ? open(folder, link.target, how)
                                    : followOf(owner, folder, link.target, how);
    }

    /// Follows another user's symlink.
    FileDescriptor followOf(uid_t owner, const FileDescriptor& folder, const std::string& target,
                            Opening how) {
        how.flags &= ~(O_CREAT | O_TRUNC);
        how.owner = owner;
        const auto making = std::exchange(folderMode, std::nullopt);
        linkOwners.push_back(owner);
        FileDescriptor opened = open(folder, target, how);
        linkOwners.pop_back();
        folderMode = making;
        return !opened.isOpen() || belongsTo(opened, owner) ? std::move(opened) : refused();
    }

    bool trusted;
    std::optional<mode_t> folderMode; ///< of missing folders, if they are made
    std::vector<uid_t> linkOwners;    ///< other users whose symlinks led here
    int linksFollowed = 0;
};

/// Where the way of `path` begins. The working folder was chosen by its user, so it is trusted where its own
/// owner and mode allow. An absolute path needs no folder to begin in.
SafeFolder startOf(std::string_view path) {
    return {path.starts_with('/') ? FileDescriptor() : FileDescriptor(".", kPassThrough), true};
}

} // namespace

FileDescriptor openSafely(std::string_view path, int flags, mode_t mode) {
    FileDescriptor file = openWithoutLinks(path, flags);
    return file.isOpen() ? std::move(file) : openSafely(startOf(path), path, flags, mode);
}

FileDescriptor openSafely(const SafeFolder& folder, std::string_view path, int flags, mode_t mode) {
    if (path.empty()) {
        errno = ENOENT;
        return {};
    }
    return Walk(folder.isTrusted).open(folder.descriptor, path, {flags, mode, std::nullopt});
}

SafeFolder openFolderSafely(std::string_view path) {
    if (path.empty()) {
        errno = ENOENT;
        return {};
    }
    Walk walk(true);
    FileDescriptor folder = walk.open(startOf(path).descriptor, path, Opening());
    return {std::move(folder), walk.isTrustedWay()};
}

FileDescriptor makeFoldersSafely(std::string_view path, mode_t mode) {
    return Walk(true, mode).open(startOf(path).descriptor, path, Opening());
}

bool isTrusted(uid_t user) { return user == 0 || user == ::geteuid(); }

bool isSealed(const SafeFolder& folder) {
    return folder.isTrusted && isWrittenByTrustedOnly(statusOf(folder.descriptor));
}

SplitPath splitPath(std::string_view path) {
    const auto nameStart = path.rfind('/') + 1;
    return {path.substr(0, nameStart), path.substr(nameStart)};
}

} // namespace platform

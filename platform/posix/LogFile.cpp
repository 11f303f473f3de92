#include "platform/LogFile.h"

#include <algorithm>
#include <atomic>

#include "FileStatus.h"
#include "SafePath.h"

namespace platform {

namespace {

constexpr mode_t kModeForAll = 0666;
constexpr int kAppending = O_APPEND | kNeverBlocking;

/// A file as it was opened.
struct Opened {
    FileDescriptor file;
    bool isBehindSymlink = false;
};

bool mayHaveSeveralNames(const struct stat& status, const OpenFolder& folder) {
    const bool isOrdinaryUsersOwn = status.st_uid == ::geteuid() && status.st_uid != 0;
    return isOrdinaryUsersOwn || (isTrusted(status.st_uid) && isSealed(folder.safeFolder()));
}

/// Whether the file has its name in the folder and no other one. Both are told by one call: another user
/// could take one name away between two.
bool hasOneName(const FileStatus& file, const OpenFolder& folder, const std::string& name) {
    const auto entry = statusIn(folder.descriptor(), name.c_str());
    return isSameFile(file, entry) && entry->st_nlink == 1;
}

/// Behind a symlink, the file's owner was compared with the symlink's.
bool isUsable(const Opened& opened, const OpenFolder& folder, const std::string& name) {
    const auto status = statusOf(opened.file);
    if (!status || S_ISCHR(status->st_mode)) {
        return status && (isTrusted(status->st_uid) || isSealed(folder.safeFolder()));
    }
    return S_ISREG(status->st_mode) &&
           (mayHaveSeveralNames(*status, folder) ||
            (opened.isBehindSymlink ? status->st_nlink <= 1 : hasOneName(status, folder, name)));
}

Opened openWith(const OpenFolder& folder, const std::string& name, int flags) {
    FileDescriptor file(folder.descriptor(), name.c_str(), flags | O_NOFOLLOW, kModeForAll);
    if (file.isOpen() || errno != ELOOP) {
        return {std::move(file), false};
    }
    return {openSafely(folder.safeFolder(), name, flags, kModeForAll), true};
}

/// Opens an existing file for appending, and for reading if that is allowed.
Opened openForAppending(const OpenFolder& folder, const std::string& name, int more = 0) {
    Opened opened = openWith(folder, name, O_RDWR | kAppending | more);
    const bool mayNotRead = !opened.file.isOpen() && errno == EACCES;
    return mayNotRead ? openWith(folder, name, O_WRONLY | kAppending | more) : std::move(opened);
}

FileDescriptor createForAll(const OpenFolder& folder, const std::string& name, std::error_code& modeError) {
    FileDescriptor file(folder.descriptor(), name.c_str(),
                        O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | kAppending, kModeForAll);
    if (file.isOpen()) {
        modeError = errorOf(::fchmod(file.get(), kModeForAll));
    }
    return file;
}

/// Opens the file, or makes it; or opens what somebody else made meanwhile, or makes what a symlink leads to.
Opened openOrCreate(const OpenFolder& folder, const std::string& name, std::error_code& modeError) {
    Opened opened = openForAppending(folder, name);
    if (!opened.file.isOpen() && errno == ENOENT) {
        opened = {createForAll(folder, name, modeError), false};
    }
    if (!opened.file.isOpen() && errno == EEXIST) {
        opened = openForAppending(folder, name, O_CREAT);
    }
    return opened;
}

std::error_code letBlock(const FileDescriptor& file) {
    const int flags = ::fcntl(file.get(), F_GETFL);
    return errorOf(flags == -1 ? -1 : ::fcntl(file.get(), F_SETFL, flags & ~O_NONBLOCK));
}

} // namespace

LogFile::LogFile() : file(std::make_unique<FileDescriptor>()) {
    static std::atomic<long> objects = 0;
    ownNumber = ++objects;
}

LogFile::~LogFile() = default;

std::error_code LogFile::open(std::string_view path, std::error_code& modeError) {
    return openAs(path, [&] { return openOrCreate(place, fileName, modeError); });
}

std::error_code LogFile::openExisting(std::string_view path) {
    const int earlier = attached;
    const std::error_code error = openAs(path, [&] { return openForAppending(place, fileName); });
    if (!error) {
        attach(earlier);
    }
    return error;
}

template <typename Open> std::error_code LogFile::openAs(std::string_view path, const Open& openFile) {
    const SplitPath split = splitPath(path);
    close();
    openedPath = path;
    fileName = split.name;
    if (const std::error_code error = place.open(split.folder.empty() ? "." : split.folder)) {
        return error;
    }
    Opened opened = openFile();
    if (!opened.file.isOpen()) {
        return lastError();
    }
    if (!isUsable(opened, place, fileName)) {
        return std::make_error_code(std::errc::operation_not_permitted);
    }
    const auto status = statusOf(opened.file);
    const std::error_code error = status ? letBlock(opened.file) : lastError();
    if (!error) {
        *file = std::move(opened.file);
        device = status->st_dev;
        inode = status->st_ino;
    }
    return error;
}

void LogFile::close() {
    file->close();
    place.close();
    detach();
}

bool LogFile::isOpen() const { return file->isOpen(); }

const OpenFolder& LogFile::folder() const { return place; }

const std::string& LogFile::name() const { return fileName; }

bool LogFile::isNamed(std::string_view path) const {
    return isOpen() && openedPath == path &&
           isSameFile(statusOf(*file), statusIn(place.descriptor(), fileName.c_str()));
}

std::string LogFile::reopenPath() const { return "/dev/fd/" + std::to_string(file->get()); }

int LogFile::nextDescriptor() const {
    const int number = ::fcntl(file->get(), F_DUPFD_CLOEXEC, 0);
    ::close(number);
    return number;
}

void LogFile::attach(int descriptor) {
    attached = descriptor;
    if (!isAttached() || ::fcntl(attached, F_SETFD, FD_CLOEXEC) == -1) {
        detach();
    }
}

void LogFile::detach() { attached = -1; }

bool LogFile::hasAttached() const { return attached != -1; }

bool LogFile::isAttached() const {
    struct stat status = {};
    return isOpen() && ::fstat(attached, &status) == 0 && status.st_dev == device && status.st_ino == inode;
}

long long LogFile::end() const { return std::max(::lseek(attached, 0, SEEK_END), off_t{0}); }

long LogFile::number() const { return ownNumber; }

std::optional<long long> LogFile::size() const {
    const auto status = isOpen() ? statusOf(*file) : std::nullopt;
    return status ? std::optional<long long>(status->st_size) : std::nullopt;
}

std::optional<std::string> LogFile::tail(long long end, std::size_t most) const {
    const auto length = std::min(end, static_cast<long long>(most));
    std::string text(static_cast<std::size_t>(length), '\0');
    const auto count = uninterrupted(
        [&] { return ::pread(file->get(), text.data(), text.size(), static_cast<off_t>(end - length)); });
    return count == length ? std::optional(std::move(text)) : std::nullopt;
}

std::error_code LogFile::append(std::string_view bytes) const {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const auto count =
            uninterrupted([&] { return ::write(attached, bytes.data() + written, bytes.size() - written); });
        if (count <= 0) {
            const std::error_code error =
                count == 0 ? std::make_error_code(std::errc::io_error) : lastError();
            undo(bytes.substr(0, written));
            return error;
        }
        written += static_cast<std::size_t>(count);
    }
    return {};
}

/// The position is the end of what this process wrote last.
void LogFile::undo(std::string_view written) const {
    const long long end = ::lseek(attached, 0, SEEK_CUR);
    if (!written.empty() && end == size() && tail(end, written.size()) == written) {
        [[maybe_unused]] const int result =
            ::ftruncate(file->get(), static_cast<off_t>(end) - static_cast<off_t>(written.size()));
    }
}

std::error_code LogFile::empty() const {
    const auto status = statusOf(*file);
    if (status && S_ISCHR(status->st_mode)) {
        return {};
    }
    return errorOf(uninterrupted([this] { return ::ftruncate(file->get(), 0); }));
}

} // namespace platform

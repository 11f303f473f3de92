#include "platform/Files.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>

#include <sys/stat.h>

#include "FileDescriptor.h"

namespace platform {

namespace {

std::optional<struct stat> statusOfEntry(const char* path) {
    struct stat status = {};
    return ::lstat(path, &status) == 0 ? std::optional(status) : std::nullopt;
}

/// Opens a regular file for reading, links followed. Not open for anything else; never blocks.
FileDescriptor openRegularFile(const char* path) {
    FileDescriptor file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status = {};
    if (file.isOpen() && (::fstat(file.get(), &status) == -1 || !S_ISREG(status.st_mode))) {
        file.close();
    }
    return file;
}

/// The rest of an open file. Nothing on a read error, or when there is more than memory holds.
std::optional<std::string> readToEnd(const FileDescriptor& file) try {
    std::string content;
    std::array<char, 16384> chunk;
    ssize_t count = 0;
    while ((count = uninterrupted([&] { return ::read(file.get(), chunk.data(), chunk.size()); })) > 0) {
        content.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return count == 0 ? std::optional(std::move(content)) : std::nullopt;
} catch (const std::exception&) {
    return std::nullopt;
}

std::error_code copyToEnd(const FileDescriptor& from, const FileDescriptor& to) {
    std::array<char, 16384> chunk;
    ssize_t count = 0;
    while ((count = uninterrupted([&] { return ::read(from.get(), chunk.data(), chunk.size()); })) > 0) {
        const std::string_view part(chunk.data(), static_cast<std::size_t>(count));
        if (const std::error_code error = writeAll(to, part)) {
            return error;
        }
    }
    return count == -1 ? lastError() : std::error_code();
}

/// Copies to a file that is opened with `flags` besides those for writing and creating it.
std::error_code copyTo(const char* from, const char* to, int flags) {
    const FileDescriptor source(from, O_RDONLY);
    if (!source.isOpen()) {
        return lastError();
    }
    FileDescriptor target(to, O_WRONLY | O_CREAT | flags, 0666);
    if (!target.isOpen()) {
        return lastError();
    }
    const std::error_code error = copyToEnd(source, target);
    const std::error_code closing = target.close();
    return error ? error : closing;
}

} // namespace

bool entryExists(const char* path) { return statusOfEntry(path).has_value(); }

std::optional<EntryInfo> entryInfo(const char* path) {
    const auto status = statusOfEntry(path);
    if (!status) {
        return std::nullopt;
    }
    return EntryInfo{status->st_uid, status->st_gid, S_ISLNK(status->st_mode), status->st_size};
}

std::error_code createFolder(const char* path, mode_t mode) {
    const std::error_code error = errorOf(::mkdir(path, mode));
    return error == std::errc::file_exists ? std::error_code() : error;
}

std::error_code removeEntry(const char* path) { return errorOf(std::remove(path)); }

std::error_code copyContent(const char* from, const char* to) { return copyTo(from, to, O_TRUNC); }

std::error_code copyContentToNew(const char* from, const char* to) {
    return copyTo(from, to, O_EXCL | O_NOFOLLOW);
}

std::error_code syncFile(const char* path) {
    const FileDescriptor file(path, O_RDONLY);
    return file.isOpen() ? errorOf(uninterrupted([&file] { return ::fsync(file.get()); })) : lastError();
}

std::error_code moveFile(const char* from, const char* to) { return errorOf(::rename(from, to)); }

std::optional<std::string> readFile(const char* path) {
    const auto file = openRegularFile(path);
    return file.isOpen() ? readToEnd(file) : std::nullopt;
}

std::optional<std::string> fileHead(const char* path, std::size_t most) {
    const auto file = openRegularFile(path);
    if (!file.isOpen()) {
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

std::optional<FileTail> fileTail(const char* path, std::size_t most) {
    const auto file = openRegularFile(path);
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) == -1) {
        return std::nullopt;
    }
    const auto start = status.st_size - std::min(status.st_size, static_cast<off_t>(most));
    if (::lseek(file.get(), start, SEEK_SET) == -1) {
        return std::nullopt;
    }
    auto text = readToEnd(file);
    return text ? std::optional(FileTail{std::move(*text), status.st_size}) : std::nullopt;
}

std::error_code truncateFile(const char* path, long long size) {
    return errorOf(uninterrupted([&] { return ::truncate(path, static_cast<off_t>(size)); }));
}

std::error_code giveFolder(const char* parent, const char* name, uid_t owner, gid_t group, mode_t mode) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;
    const FileDescriptor above(parent, flags);
    if (!above.isOpen()) {
        return lastError();
    }
    const FileDescriptor folder(above, name, flags);
    if (!folder.isOpen()) {
        return lastError();
    }
    const std::error_code error = errorOf(::fchown(folder.get(), owner, group));
    const std::error_code modeError = errorOf(::fchmod(folder.get(), mode));
    return error ? error : modeError;
}

bool isSafeToAppendTo(const char* path) {
    struct stat target = {};
    if (::stat(path, &target) == 0 && (S_ISFIFO(target.st_mode) || S_ISSOCK(target.st_mode))) {
        return false;
    }
    const auto entry = statusOfEntry(path);
    return !entry || !S_ISLNK(entry->st_mode) || entry->st_uid == 0 || entry->st_uid == ::geteuid();
}

bool createFile(const char* path, mode_t mode, std::error_code& modeError) {
    const FileDescriptor file(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    modeError = file.isOpen() ? errorOf(::fchmod(file.get(), mode)) : std::error_code();
    return file.isOpen();
}

} // namespace platform

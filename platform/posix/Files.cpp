#include "platform/Files.h"

#include <array>
#include <cstdio>
#include <exception>

#include "FileStatus.h"
#include "SafePath.h"

namespace platform {

namespace {

/// Opens a regular file for reading, links followed. Not open for anything else; never blocks.
FileDescriptor openRegularFile(const char* path) {
    FileDescriptor file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!isRegular(statusOf(file))) {
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

} // namespace

bool entryExists(const char* path) { return statusOfEntry(path).has_value(); }

std::optional<EntryInfo> entryInfo(const char* path) { return entryInfoOf(statusOfEntry(path)); }

std::error_code createFolder(const char* path, mode_t mode) {
    const SplitPath split = splitPath(path);
    const std::string name(split.name);
    const FileDescriptor parent = openSafely(split.folder.empty() ? "." : split.folder, kPassThrough);
    if (!parent.isOpen()) {
        return lastError();
    }
    const std::error_code error = errorOf(::mkdirat(parent.get(), name.c_str(), mode));
    return error == std::errc::file_exists ? std::error_code() : error;
}

std::error_code removeEntry(const char* path) { return errorOf(std::remove(path)); }

std::error_code copyContent(const char* from, const char* to) {
    const FileDescriptor source(from, O_RDONLY);
    if (!source.isOpen()) {
        return lastError();
    }
    FileDescriptor target(to, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (!target.isOpen()) {
        return lastError();
    }
    const std::error_code error = copyToEnd(source, target);
    const std::error_code closing = target.close();
    return error ? error : closing;
}

std::optional<std::string> readFile(const char* path) {
    const auto file = openRegularFile(path);
    return file.isOpen() ? readToEnd(file) : std::nullopt;
}

} // namespace platform

#include "platform/LogCopy.h"

#include <sys/file.h>

#include "ContentCopy.h"
#include "FileStatus.h"
#include "NewFile.h"
#include "RandomDigits.h"
#include "SafePath.h"
#include "platform/LogFile.h"

namespace platform {

namespace {

/// A log that grows while it is copied is written to by somebody who does not take the lock.
constexpr int kMostRounds = 10;

constexpr off_t kMostCompared = off_t{1} << 30;

/// Gives another hidden name to what is in the way.
bool moveAside(const OpenFolder& folder, const std::string& name) {
    const std::string digits = randomDigits();
    return !digits.empty() && !folder.rename(name, name + "-" + digits);
}

/// Whether a file may be a copy in the making: nobody else's file has a second name here.
bool isLikeACopy(const FileStatus& status) { return isRegular(status) && status->st_nlink == 1; }

/// A file system without such locks does not stop rotation.
bool lock(const FileDescriptor& file) {
    return ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

/// A file system that cannot be told to does not stop rotation.
std::error_code bringToDisk(const FileDescriptor& file) {
    const std::error_code error = errorOf(uninterrupted([&file] { return ::fsync(file.get()); }));
    const bool isUnsupported = error == std::errc::invalid_argument || error == std::errc::not_supported;
    return isUnsupported ? std::error_code() : error;
}

bool isReadByAll(const FileStatus& status) { return status && (status->st_mode & S_IROTH) != 0; }

/// Whether the owner of `copy` may learn whether `log` begins with it.
bool mayBeCompared(const FileStatus& copy, const FileStatus& log) {
    return isTrusted(copy->st_uid) || isReadByAll(log) || (log && log->st_uid == copy->st_uid);
}

constexpr mode_t kPrivate = 0600;

} // namespace

LogCopy::LogCopy(const OpenFolder& folder, std::string name, FileDescriptor opened, mode_t mode)
    : place(&folder), copyName(std::move(name)), file(std::make_unique<FileDescriptor>(std::move(opened))),
      finalMode(mode) {}

LogCopy::~LogCopy() = default;

LogCopy::LogCopy(LogCopy&&) noexcept = default;

bool LogCopy::makeWay(const OpenFolder& folder, const std::string& name) {
    const auto old = statusIn(folder.descriptor(), name.c_str());
    if (!old) {
        return true;
    }
    const bool mayBeACopy = isLikeACopy(old) && isTrusted(old->st_uid);
    return !mayBeACopy && moveAside(folder, name);
}

std::optional<LogCopy> LogCopy::make(const OpenFolder& folder, const std::string& name) {
    if (!makeWay(folder, name)) {
        return std::nullopt;
    }
    const mode_t mode = modeOfNewFile(folder.descriptor().get(), name.c_str()).value_or(kPrivate);
    FileDescriptor file(folder.descriptor(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, kPrivate);
    if (!file.isOpen() || !lock(file)) {
        return std::nullopt;
    }
    return LogCopy(folder, name, std::move(file), mode);
}

std::optional<LogCopy> LogCopy::find(const LogFile& log, const std::string& name) {
    const OpenFolder& folder = log.folder();
    FileDescriptor file(folder.descriptor(), name.c_str(), O_RDONLY | O_NOFOLLOW | kNeverBlocking);
    const auto entry = statusIn(folder.descriptor(), name.c_str());
    const bool isCopy = file.isOpen() && isLikeACopy(entry) && isSameFile(statusOf(file), entry) &&
                        mayBeCompared(entry, statusOf(*log.file));
    if (!isCopy || !lock(file)) {
        return std::nullopt;
    }
    return LogCopy(folder, name, std::move(file), entry->st_mode & 0777);
}

std::error_code LogCopy::fill(const LogFile& log) const {
    off_t copied = 0;
    for (int round = 0; round < kMostRounds; ++round) {
        const auto size = log.size();
        if (!size) {
            return std::make_error_code(std::errc::bad_file_descriptor);
        }
        if (round > 0 && *size == copied) {
            openToReaders(log);
            return hasItsName() ? std::error_code()
                                : std::make_error_code(std::errc::no_such_file_or_directory);
        }
        if (const auto error = copyContentBetween(*log.file, *file, copied, static_cast<off_t>(*size))) {
            return error;
        }
        if (const auto error = bringToDisk(*file)) {
            return error;
        }
        copied = static_cast<off_t>(*size);
    }
    return std::make_error_code(std::errc::resource_unavailable_try_again);
}

/// The copy was private so far: whoever may not read the log could have opened it before the mode was
/// changed. Where the file system has no modes, it stays as it is.
void LogCopy::openToReaders(const LogFile& log) const {
    const auto status = statusOf(*log.file);
    if (isReadByAll(status)) {
        ::fchmod(file->get(), finalMode & status->st_mode);
    }
}

bool LogCopy::isTooLargeToCompare() const {
    const auto status = statusOf(*file);
    return !status || status->st_size > kMostCompared;
}

bool LogCopy::isContainedIn(const LogFile& log) const { return beginsWith(*log.file, *file); }

std::error_code LogCopy::rename(const std::string& newName) {
    if (!hasItsName()) {
        return std::make_error_code(std::errc::no_such_file_or_directory);
    }
    if (const auto error = place->rename(copyName, newName)) {
        return error;
    }
    copyName = newName;
    place->sync(); // not every folder can be synced; the name is given all the same
    return {};
}

void LogCopy::putAside() const {
    if (hasItsName()) {
        moveAside(*place, copyName);
    }
}

void LogCopy::discard() const {
    if (hasItsName()) {
        place->remove(copyName);
    }
}

bool LogCopy::hasItsName() const {
    return isSameFile(statusOf(*file), statusIn(place->descriptor(), copyName.c_str()));
}

} // namespace platform

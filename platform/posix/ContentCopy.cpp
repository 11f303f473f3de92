#include "ContentCopy.h"

#include <algorithm>
#include <array>

#include "FileStatus.h"

namespace platform {

namespace {

constexpr std::size_t kChunkSize = 65536;

using Chunk = std::array<char, kChunkSize>;

/// Where the next data begins, from `place` on; `end` if only a hole follows.
off_t nextData(const FileDescriptor& file, off_t place, off_t end) {
    const off_t data = ::lseek(file.get(), place, SEEK_DATA);
    if (data == -1) {
        return errno == ENXIO ? end : place; // a file system without holes
    }
    return std::min(data, end);
}

/// Where the data at `place` ends; `end` if that is farther.
off_t nextHole(const FileDescriptor& file, off_t place, off_t end) {
    const off_t hole = ::lseek(file.get(), place, SEEK_HOLE);
    return hole == -1 ? end : std::min(hole, end);
}

/// Part of a length that may not fit into a size.
std::size_t sizeUpTo(off_t length) { return static_cast<std::size_t>(std::min(length, off_t{1} << 30)); }

std::error_code copyData(const FileDescriptor& from, const FileDescriptor& to, off_t place, off_t end) {
    while (place < end) {
        const auto count = copyRange(from, to, place, sizeUpTo(end - place));
        if (count == -1) {
            return lastError();
        }
        if (count == 0) { // somebody shortened the file
            return std::make_error_code(std::errc::io_error);
        }
        place += count;
    }
    return {};
}

ssize_t readAt(const FileDescriptor& file, Chunk& chunk, off_t place, std::size_t count) {
    return uninterrupted(
        [&] { return ::pread(file.get(), chunk.data(), std::min(count, chunk.size()), place); });
}

} // namespace

std::error_code copyContentBetween(const FileDescriptor& from, const FileDescriptor& to, off_t begin,
                                   off_t end) {
    std::error_code error;
    off_t place = nextData(from, begin, end);
    while (!error && place < end) {
        const off_t dataEnd = nextHole(from, place, end);
        error = copyData(from, to, place, dataEnd);
        place = nextData(from, dataEnd, end);
    }
    return error ? error : errorOf(uninterrupted([&] { return ::ftruncate(to.get(), end); }));
}

bool beginsWith(const FileDescriptor& whole, const FileDescriptor& part) {
    const auto partStatus = statusOf(part);
    const auto wholeStatus = statusOf(whole);
    if (!partStatus || !wholeStatus || partStatus->st_size > wholeStatus->st_size) {
        return false;
    }
    const off_t end = partStatus->st_size;
    const auto nextOfBoth = [&](off_t from) {
        return std::min(nextData(whole, from, end), nextData(part, from, end));
    };
    Chunk left;
    Chunk right;
    for (off_t place = nextOfBoth(0); place < end;) {
        const auto wanted = sizeUpTo(end - place);
        const auto count = readAt(part, left, place, wanted);
        if (count <= 0 || readAt(whole, right, place, static_cast<std::size_t>(count)) != count ||
            !std::equal(left.begin(), left.begin() + count, right.begin())) {
            return false;
        }
        place = nextOfBoth(place + count);
    }
    return true;
}

ssize_t copyRangeByHand(const FileDescriptor& from, const FileDescriptor& to, off_t place,
                        std::size_t count) {
    Chunk chunk;
    const auto got = readAt(from, chunk, place, count);
    if (got <= 0) {
        return got;
    }
    return uninterrupted(
        [&] { return ::pwrite(to.get(), chunk.data(), static_cast<std::size_t>(got), place); });
}

} // namespace platform

#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>

#include <sys/stat.h>

/// The open descriptors of this process.
namespace support {

/// How many there are.
inline std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/dev/fd"),
                         std::filesystem::directory_iterator());
}

/// Whether `descriptor` is open on what is at `path`, links followed.
inline bool isOn(int descriptor, const std::string& path) {
    struct stat one = {};
    struct stat other = {};
    return ::fstat(descriptor, &one) == 0 && ::stat(path.c_str(), &other) == 0 &&
           one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

} // namespace support

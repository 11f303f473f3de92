#pragma once

#include "FileDescriptor.h"

/// Copying and comparing the content of files. Holes of sparse files are neither read nor filled, so that a
/// huge file that holds little costs little.
namespace platform {

/// Copies what `from` holds from `begin` to `end` to the same place in `to`, which has a hole there. Sets the
/// size of `to` to `end`.
std::error_code copyContentBetween(const FileDescriptor& from, const FileDescriptor& to, off_t begin,
                                   off_t end);

/// Whether the file `whole` begins with all that the file `part` holds. False if one of them cannot be read.
bool beginsWith(const FileDescriptor& whole, const FileDescriptor& part);

/// Copies at most `count` bytes at `place` from one file to another, where the system can without going
/// through this process. The number of bytes; 0 at the end of `from`; -1 on failure. Each host has its own.
ssize_t copyRange(const FileDescriptor& from, const FileDescriptor& to, off_t place, std::size_t count);

/// The same through a buffer of this process.
ssize_t copyRangeByHand(const FileDescriptor& from, const FileDescriptor& to, off_t place, std::size_t count);

} // namespace platform

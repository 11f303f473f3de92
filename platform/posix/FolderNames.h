#pragma once

#include <limits>
#include <string>
#include <system_error>

#include "FileDescriptor.h"

namespace platform {

/// The names in a folder but for "." and "..", in no order, as they were when it was read.
class FolderNames {
  public:
    /// Reads an open folder from its beginning, in place of what was read before. Leaves nothing to take on
    /// failure, and it is one if the names take more than `most` bytes.
    std::error_code read(const FileDescriptor& folder,
                         std::size_t most = std::numeric_limits<std::size_t>::max());

    /// Takes the next name. Empty at the end.
    std::string take();

  private:
    std::string names; ///< each followed by a NUL
    std::size_t next = 0;
};

} // namespace platform

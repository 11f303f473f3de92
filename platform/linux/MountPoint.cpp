#include "../posix/MountPoint.h"

#include <sys/stat.h>

namespace platform {

/// A kernel before 5.8 does not tell; what it mounts from another device is still recognised.
bool isMountedWithinItsDevice(const FileDescriptor& folder) {
    struct statx status = {};
    return ::statx(folder.get(), "", AT_EMPTY_PATH, 0, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

} // namespace platform

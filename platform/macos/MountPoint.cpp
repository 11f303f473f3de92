#include "../posix/MountPoint.h"

namespace platform {

/// Every mounted file system has a device of its own here.
bool isMountedWithinItsDevice(const FileDescriptor& /*folder*/) { return false; }

} // namespace platform

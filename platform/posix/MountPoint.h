#pragma once

#include "FileDescriptor.h"

/// What a host adds to the comparison of devices.
namespace platform {

/// Whether something is mounted at an open folder that has the same device as its surroundings, so that the
/// device does not tell.
bool isMountedWithinItsDevice(const FileDescriptor& folder);

} // namespace platform

#include "../posix/ContentCopy.h"

namespace platform {

ssize_t copyRange(const FileDescriptor& from, const FileDescriptor& to, off_t place, std::size_t count) {
    off_t source = place;
    off_t target = place;
    const auto copied =
        uninterrupted([&] { return ::copy_file_range(from.get(), &source, to.get(), &target, count, 0); });
    // Some file systems and older kernels refuse, or copy nothing. A true failure then shows again.
    return copied > 0 ? copied : copyRangeByHand(from, to, place, count);
}

} // namespace platform

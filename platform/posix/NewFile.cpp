#include "NewFile.h"

#include "FileStatus.h"

namespace platform {

std::optional<mode_t> modeOfNewFile(int folder, const char* name) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor file(uninterrupted([&] { return ::openat(folder, name, flags, 0666); }));
    const auto status = file.isOpen() ? statusOf(file) : std::nullopt;
    if (!status) {
        return std::nullopt;
    }
    ::unlinkat(folder, name, 0);
    return status->st_mode & 0777;
}

} // namespace platform

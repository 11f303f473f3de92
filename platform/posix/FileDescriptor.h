#pragma once

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace platform {

/// Runs a system call again for as long as a signal interrupts it.
template <typename Call> auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

inline std::error_code lastError() { return {errno, std::generic_category()}; }

/// What a call that gives -1 on failure came to.
inline std::error_code errorOf(int result) { return result == -1 ? lastError() : std::error_code(); }

/// Owns an open file descriptor.
class FileDescriptor {
  public:
    /// Owns none yet.
    FileDescriptor() : number(-1) {}
    /// Opens `path`, not passed on to programs that are executed. The mode counts when a file is created.
    FileDescriptor(const char* path, int flags, mode_t mode = 0)
        : number(uninterrupted([&] { return ::open(path, flags | O_CLOEXEC, mode); })) {}
    /// Opens `name` in an open folder.
    FileDescriptor(const FileDescriptor& folder, const char* name, int flags, mode_t mode = 0)
        : number(uninterrupted([&] { return ::openat(folder.get(), name, flags | O_CLOEXEC, mode); })) {}
    /// Takes over a descriptor that a call gave, or the -1 of its failure.
    explicit FileDescriptor(int descriptor) : number(descriptor) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(FileDescriptor&& other) noexcept : number(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        close();
        number = other.release();
        return *this;
    }

    bool isOpen() const { return number != -1; }
    int get() const { return number; }
    int release() { return std::exchange(number, -1); }

    /// Closes early, to learn of errors that only come up then. Never repeated: after an interruption the
    /// number is free already.
    std::error_code close() {
        const std::error_code error = isOpen() ? errorOf(::close(release())) : std::error_code();
        return error == std::errc::interrupted ? std::error_code() : error;
    }

  private:
    int number;
};

/// Writes `content`, with a further call for the rest where the system took a part.
inline std::error_code writeAll(const FileDescriptor& file, std::string_view content) {
    while (!content.empty()) {
        const auto count = uninterrupted([&] { return ::write(file.get(), content.data(), content.size()); });
        if (count <= 0) {
            return count == 0 ? std::make_error_code(std::errc::io_error) : lastError();
        }
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return {};
}

} // namespace platform

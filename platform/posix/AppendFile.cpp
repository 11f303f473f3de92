#include "platform/AppendFile.h"

#include <new>

#include "FileDescriptor.h"

namespace platform {

AppendFile::AppendFile() = default;

AppendFile::~AppendFile() = default;

std::error_code AppendFile::open(const char* path) {
    close();
    // A pipe that was put in the file's place meanwhile is not waited for.
    constexpr int flags = O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY;
    std::unique_ptr<FileDescriptor> opened(new (std::nothrow) FileDescriptor(path, flags));
    if (!opened) {
        return std::make_error_code(std::errc::not_enough_memory);
    }
    if (!opened->isOpen()) {
        return lastError();
    }
    file = std::move(opened);
    return {};
}

void AppendFile::close() { file.reset(); }

std::error_code AppendFile::append(std::string_view bytes) {
    return file ? writeAll(*file, bytes) : std::make_error_code(std::errc::bad_file_descriptor);
}

long long AppendFile::seek(long long offset, int whence) {
    return file ? ::lseek(file->get(), static_cast<off_t>(offset), whence) : -1;
}

} // namespace platform

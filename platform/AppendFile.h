#pragma once

#include <memory>
#include <string_view>
#include <system_error>

namespace platform {

class FileDescriptor;

/// A file that is open for writing at its end, whoever else writes there. Nothing is kept back: what could
/// not be written is gone.
class AppendFile {
  public:
    AppendFile();
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Opens the existing file `path` in place of the one that is open. Not passed on to programs that are
    /// executed.
    std::error_code open(const char* path);

    /// Does nothing when no file is open.
    void close();

    /// Writes `bytes` with one call of the system, and the rest with another where the system took a part.
    /// On failure a part of them may be in the file.
    std::error_code append(std::string_view bytes);

    /// Moves the position, which the next `append` moves to the end, by `offset` from where `whence`, as
    /// lseek takes it, says. The new position; -1 on failure.
    long long seek(long long offset, int whence);

  private:
    std::unique_ptr<FileDescriptor> file;
};

} // namespace platform

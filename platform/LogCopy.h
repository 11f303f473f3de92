#pragma once

#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <sys/types.h>

namespace platform {

class FileDescriptor;
class LogFile;
class OpenFolder;

/// A copy of a log file, in the same folder, which is not published yet. While this object lives the copy is
/// locked (`flock`), so that nobody takes it for one whose maker was killed. The file stays when the object
/// ends. The folder, or the log it is the folder of, must outlive the object. Nothing here waits for other
/// processes. For one thread at a time.
class LogCopy {
  public:
    ~LogCopy();
    LogCopy(LogCopy&&) noexcept;
    LogCopy& operator=(LogCopy&&) = delete;

    /// Makes sure that the name `name` is free. An entry that cannot be a copy gets another hidden name: what
    /// is no regular file, has a second name, or belongs to a user other than root and the effective user. An
    /// entry that may be a copy stays, and the result is false, as it is if the system refuses.
    static bool makeWay(const OpenFolder& folder, const std::string& name);

    /// Makes an empty file called `name`, after `makeWay`. Nothing if that fails or the system refuses.
    static std::optional<LogCopy> make(const OpenFolder& folder, const std::string& name);

    /// Opens the regular file `name` in the folder of `log`, if its owner may know what is in the log: root,
    /// the effective user or the log's owner; or anybody if everybody can read the log. What becomes of a
    /// copy tells whether the log begins like it. Nothing if there is none or another process has it locked.
    static std::optional<LogCopy> find(const LogFile& log, const std::string& name);

    /// Copies all of `log`, holes as holes, and waits until the copy is on the disk. Others can read the copy
    /// then if everybody can read the log, and not before. It is an error if the log does not stop growing
    /// meanwhile, or if the copy has lost its name. On failure the copy holds a part.
    std::error_code fill(const LogFile& log) const;

    /// Whether comparing the copy with a log would take too long.
    bool isTooLargeToCompare() const;

    /// Whether `log` begins with all that the copy holds.
    bool isContainedIn(const LogFile& log) const;

    /// Gives the copy another name, replacing what has that name, and waits until the name is on the disk,
    /// as far as the folder can be synced. It is an error if something else has the copy's name now.
    std::error_code rename(const std::string& newName);

    /// Gives the copy another hidden name, unless something else has its name now. Ignores failures.
    void putAside() const;

    /// Removes the copy, unless something else has its name now. Ignores failures.
    void discard() const;

  private:
    LogCopy(const OpenFolder& folder, std::string name, FileDescriptor opened, mode_t mode);
    void openToReaders(const LogFile& log) const;
    bool hasItsName() const;

    const OpenFolder* place;
    std::string copyName;
    std::unique_ptr<FileDescriptor> file;
    mode_t finalMode;
};

} // namespace platform

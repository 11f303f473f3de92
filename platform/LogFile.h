#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/OpenFolder.h"

namespace platform {

/// A log file that several processes append to, held open together with its folder, in a place where other
/// users can put anything. All operations use what was opened and checked; none goes by path again.
///
/// The file is a regular file, or a character device of root or the effective user. It has one name only,
/// because another one may be that of somebody's file elsewhere. In a folder to which no other user can write
/// or lead, devices of other users are accepted too, and so are files of root or the effective user that have
/// more names. An ordinary user's own file may have more names anywhere. Symlinks are followed as
/// posix/SafePath.h says. Not passed on to programs that are executed. For one thread at a time.
class LogFile {
  public:
    LogFile();
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Opens the file `path` in place of the one that is open, never blocking, and detaches the descriptor
    /// that was attached. A missing file is made with exactly 0666; `modeError` is why one that was made did
    /// not get that mode, and is no failure. On failure the file is not open, the folder may be.
    std::error_code open(std::string_view path, std::error_code& modeError);

    /// The same, but a missing file is an error, and a descriptor that was attached stays attached if it is
    /// open on the file.
    std::error_code openExisting(std::string_view path);

    /// Closes the file and the folder, and detaches the descriptor that was attached.
    void close();

    bool isOpen() const;

    const OpenFolder& folder() const;
    const std::string& name() const; ///< of the file in its folder

    /// Whether the file was opened as `path` and is what has its name in the folder now.
    bool isNamed(std::string_view path) const;

    /// A path by which this process can open the same file again, whatever happens to its name.
    std::string reopenPath() const;

    /// The number that the next file this process opens will get, unless another thread opens one first: then
    /// `attach` refuses the number.
    int nextDescriptor() const;

    /// Lets `append` write through `descriptor`; detaches if that is not open on this file. The caller goes
    /// on owning it. It is not passed on to programs that are executed.
    void attach(int descriptor);
    void detach();

    /// Whether a descriptor was attached that was open on the file then.
    bool hasAttached() const;

    /// The same, and the attached descriptor, or whatever has its number now, is open on the file now.
    bool isAttached() const;

    /// Where the file ends, by the attached descriptor. 0 if it is a device, or none is attached.
    long long end() const;

    /// Tells this object from all others of the process, also from earlier ones.
    long number() const;

    std::optional<long long> size() const;

    /// The last `most` bytes before `end`, or all if there are fewer. Nothing if the file cannot be read.
    std::optional<std::string> tail(long long end, std::size_t most) const;

    /// Writes `bytes` through the attached descriptor, which appends. Makes one call of the system, and more
    /// only where the system took a part. Fails if none is attached. On failure the part that got into the
    /// file is cut off again, unless something follows it or the file cannot be read.
    std::error_code append(std::string_view bytes) const;

    /// Cuts the file to nothing. A device has nothing to cut.
    std::error_code empty() const;

  private:
    friend class LogCopy;

    template <typename Open> std::error_code openAs(std::string_view path, const Open& openFile);
    void undo(std::string_view written) const;

    OpenFolder place;
    std::string openedPath;
    std::string fileName;
    std::unique_ptr<FileDescriptor> file;
    int attached = -1;
    long ownNumber;
    dev_t device = 0;
    ino_t inode = 0;
};

} // namespace platform

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <elmu/logging/LogHeader.h>
#include <elmu/logging/LogTargetBase.h>
#include <elmu/logging/TimeText.h>

namespace platform {
class LogFile;
class OpenFolder;
} // namespace platform

namespace elmu {

class BinaryLock;

/// The file target: one line a record, in a file that many processes share. A process holds the lock keyed by
/// the file's path and the number 11 from before a record is formatted until its line is in the file, so
/// lines never mix. Failures are silent: a record that cannot be written is dropped, and after a failed write
/// all later ones until the stream is opened again. The one message, on standard error, is about the mode of
/// a newly created file. `SetStreamHandle` opens `stream` on the log file; each text that is then inserted
/// into it is a write of its own (with libc++, a write for each 4,096 bytes). If `stream` is made to lead
/// elsewhere, records go there.
class LogTargetDefault : public LogTargetBase {
  public:
    /// `id` is the identifier to register under; null leaves it empty.
    explicit LogTargetDefault(const char* id);

    /// Closes the stream and leaves the lock. The target must be unregistered.
    ~LogTargetDefault() override;

    /// Opens `s` on the log file for appending, closing it first if it is open. A file that this creates
    /// gets mode 0666, so that every user's processes can append. Refuses a pipe, a file that may be
    /// another user's under a second name, and what is behind a symlink that another user may have put there
    /// (docs/security.md). Never blocks. On failure `s` is closed and has its failbit. True when it is good.
    bool SetStreamHandle(std::fstream& s) override;

    /// Makes `fileName` in the user's Library/Logs folder the log file. False, with the path unchanged, when
    /// there is no such folder.
    bool SetStreamPath(const char* fileName);

    /// Opens the stream and the lock. False when the log file was found unusable or cannot be opened.
    bool onRegisterTarget() override;

    /// Closes the stream and leaves the lock. Always true.
    bool onUnregisterTarget() override;

    /// Writes one record. Always true: a record below the level, without a lock although one was asked for,
    /// or whose line cannot be written is dropped. A message from `format` and `args` keeps at most 4094
    /// characters; a finished one (null `args`) any number. Blocks while another process holds the lock.
    bool writeLog(Log_Level level, const char* context1, const char* context2, const char* context3,
                  const char* context4, const char* detail1, const char* detail2, const char* format,
                  char* args, unsigned long long timeMs, bool locked) override;

    /// Writes a header block: the target's own for a null `header`; `header` alone when it is not persistent;
    /// else the target's own after `header` was merged into it, which later files start with too. Each line
    /// is a record at `level` with the four contexts, written with or without the lock as `locked` says.
    /// Always true.
    bool logHeader(Log_Level level, const char* context1, const char* context2, const char* context3,
                   const char* context4, stLogHeader* header, bool locked) override;

    /// Puts `text` and a newline into the file as one write, after another newline if a killed writer's
    /// record lacks its own. When that fails half-way, the part that got into the file is removed unless
    /// something follows it, and the stream is bad. A stream that leads elsewhere gets the line there,
    /// flushed. Null marks the stream bad, so that nothing more is written.
    void WriteStream(const char* text) override;

    /// Writes the local date and time of `timeMs` (milliseconds since the epoch, 0 for now), a colon and
    /// three digits of milliseconds into `buffer`, which holds 256 bytes, and remembers the second as the
    /// time of the latest record.
    void getTimeStr(unsigned long long timeMs, char* buffer);

    /// The kernel's id of the calling thread in decimal digits, or nothing on systems too old to have one.
    std::string getCurrentThreadID() const;

    /// Empties the log file, making it if it is missing, and leaves the stream closed. False when the file
    /// cannot be opened or emptied.
    bool cleanFile();

    /// Fills the target's own header with what is known of the machine and the installed application.
    void initializeHeader();

    /// Completes or undoes the rotation of a process that was killed. Then rotates the log file if its size
    /// has reached the limit of the target's level: moves its content to a dated copy beside it, opens it
    /// again, makes a header due, and prunes old copies unless the marker file "ruk.trace" beside the log
    /// holds "keeplogs". If the copy fails, the file keeps its records. Whenever the process is killed, each
    /// record is in the log or in one copy. To be called with the lock held. Returns the result of the size
    /// query, or, after a rotation, of opening the file. Ignores the argument.
    bool SegmentLogFile(bool ignored);

    /// Removes everything below the log's folder whose path from there begins with the log's base name: also
    /// other people's files, and files in folders with such a name. The live file stays, and of the copies
    /// from the latest `count` days the newest, `count` + 1 files in all. Ignores failures. Removes nothing
    /// if `count` is 0 or negative. Always returns false.
    bool removeLogFilesExceptLastN(int count);

    /// Appends the names of the elements whose content is masked to `xmlTagNameList`.
    void initializeXMLTagNameList();

    /// Masks the content of the elements of `xmlTagNameList` in `out`, which must equal `message` on entry.
    /// Only the first element of a name is looked at; an empty one is left as it is.
    void hideDataOfXMLTag(const char* message, std::string& out) const;

    /// Replaces what is in `text` between the end of an opening tag of `openLength` characters at
    /// `openPosition` and `closePosition` with "****". Throws `std::out_of_range` when `closePosition` is
    /// beyond the end.
    static void hideDataOfXMLTagHelper(std::string& text, const int& openPosition, const int& closePosition,
                                       const int& openLength);

    /// Appends the record's line, without newline, to `out`: time, level, six texts (null ones empty),
    /// thread and message, the separator between them. A message that carries a token is replaced by a notice
    /// at level WARN; in others the content of the elements of `xmlTagNameList` is masked.
    void formatLog(unsigned long long timeMs, Log_Level level, const char* context1, const char* context2,
                   const char* context3, const char* context4, const char* detail1, const char* detail2,
                   const char* message, std::string& out);

    /// The level's name; "ALL" for a number without one.
    std::string getLogLevelString(Log_Level level) const;

    BinaryLock* logLock = nullptr; ///< owned
    stLogHeader storedHeader;
    bool headerPending = false;
    bool useThreadSelfId = true;
    std::string headerData;
    std::int32_t lastSegmentCheckTime = 0; ///< seconds since the epoch
    std::int32_t lastRecordTime = 0;       ///< seconds since the epoch
    std::vector<std::string> xmlTagNameList;

  private:
    std::string spareLine;   ///< memory for the next record's line
    std::string spareOutput; ///< memory for what is written of it
    CurrentSecondText currentSecond;
    /// Never null. Writes through the descriptor of `stream` while that leads to it.
    std::unique_ptr<platform::LogFile> file;

    void checkSizeWhenDue();
    bool rotate(bool keepsCopies, std::int64_t now);
    void prune(const platform::OpenFolder& folder, int count, std::int64_t now) const;
    void closeStream();
    void forgetFailures();
    void closeLock();
};

} // namespace elmu

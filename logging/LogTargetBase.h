#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include <pthread.h>

#include <elmu/logging/LogLevel.h>

namespace elmu {

struct stLogHeader;

/// A place that records go to. The logging core files a target under its identifier and hands it every
/// record sent there. A target is used by one thread at a time; only its registration count may be changed
/// by several at once. Unregister a target before it is destroyed: the core holds a plain pointer to it.
class LogTargetBase {
  public:
    /// Opens the log file named by `logFilePath` for appending on `s`. False when it cannot be opened.
    virtual bool SetStreamHandle(std::fstream& s) = 0;

    virtual ~LogTargetBase();

    /// Called before the core files the target, and again for every repeated registration. False refuses.
    virtual bool onRegisterTarget() = 0;

    /// Called when the last registration of the target ends.
    virtual bool onUnregisterTarget() = 0;

    /// Filters, formats and writes one record. Null texts are empty fields. `args` is an argument list in
    /// the form of elmu/logging/ArgumentList.h, or null if `format` is the finished message; the target works
    /// on a copy of the list. `timeMs` is in milliseconds since the epoch, 0 for now. `locked` asks for the
    /// lock between processes, which may block.
    virtual bool writeLog(Log_Level level, const char* context1, const char* context2, const char* context3,
                          const char* context4, const char* detail1, const char* detail2, const char* format,
                          char* args, unsigned long long timeMs, bool locked) = 0;

    /// Writes a header block, each line a record at `level` with the given contexts; `header` null stands
    /// for the target's own. True when a block was written.
    virtual bool logHeader(Log_Level level, const char* context1, const char* context2, const char* context3,
                           const char* context4, stLogHeader* header, bool locked) = 0;

    /// Writes one finished line.
    virtual void WriteStream(const char* text) = 0;

    LogTargetBase(const LogTargetBase&) = delete;
    LogTargetBase& operator=(const LogTargetBase&) = delete;

    /// Sets the threshold. Marker files in the user's Library/Logs folder then make it more verbose: the
    /// log's base name with extension "trace", or "ruk.trace", always gives `TRACE`; the same with "debug"
    /// gives `DEBUG` to a level above it. The first marker found in the order NAME.trace, NAME.debug,
    /// ruk.trace, ruk.debug decides. One behind a symlink that is not followed (docs/security.md) counts as
    /// missing. Touches the file system.
    void setLogLevel(Log_Level level);
    Log_Level getLogLevel() const;

    /// Sets the key under which the core files the target. False, with nothing changed, for null.
    bool setIdentifier(const char* id);
    const std::string& getIdentifier() const;

    /// Sets the log file: `fileName` (null or empty: the current name) in `folder` (null or empty:
    /// Halcyra/HCD in the user's Library/Logs folder, made if missing and then given to the console user),
    /// and proves that it can be opened, creating it if missing. A target that is registered moves its stream
    /// there. False, and registration will be refused, when the name has a folder part or the file cannot
    /// be opened; a place where another user may have put a symlink counts as one that cannot.
    bool setLogFile(const char* fileName, const char* folder);

    void incrementRefCount();
    void decrementRefCount();
    int getRefCount() const;

    std::string identifier;
    std::string separator;
    std::string logFileName;
    std::string logFilePath;
    Log_Level logLevel;
    std::fstream stream;
    bool logFileValid;
    bool streamAttached;
    std::int32_t refCount;
    pthread_mutex_t refCountMutex;

  protected:
    LogTargetBase();

  private:
    void useDefaultFolder();
    bool openLogFile();
};

} // namespace elmu

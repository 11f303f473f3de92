#pragma once

#include <elmu/logging/LogLevel.h>

namespace elmu {

/// What code that reports needs of a logger. `format` and what follows it are those of `printf`; `args`
/// is an argument list in the form of elmu/logging/ArgumentList.h, or null when `format` is the finished
/// message. Nothing fails visibly: a record that cannot be written is dropped.
class AbstractLogger {
  public:
    [[gnu::__format__(__printf__, 2, 3)]] virtual void trace(const char* format, ...) = 0;
    [[gnu::__format__(__printf__, 2, 3)]] virtual void debug(const char* format, ...) = 0;
    [[gnu::__format__(__printf__, 2, 3)]] virtual void info(const char* format, ...) = 0;
    [[gnu::__format__(__printf__, 3, 4)]] virtual void warn(const char* detail1, const char* format, ...) = 0;
    [[gnu::__format__(__printf__, 3, 4)]] virtual void error(const char* detail1, const char* format,
                                                             ...) = 0;
    [[gnu::__format__(__printf__, 3, 4)]] virtual void fatal(const char* detail1, const char* format,
                                                             ...) = 0;
    [[gnu::__format__(__printf__, 5, 6)]] virtual void log(Log_Level level, const char* detail1,
                                                           const char* detail2, const char* format, ...) = 0;
    virtual void logit(Log_Level level, const char* detail1, const char* detail2, const char* format,
                       char* args) = 0;
    [[gnu::__format__(__printf__, 3, 4)]] virtual void logTrace(const char* context4, const char* format,
                                                                ...) = 0;
    [[gnu::__format__(__printf__, 3, 4)]] virtual void logDebug(const char* context4, const char* format,
                                                                ...) = 0;
    [[gnu::__format__(__printf__, 3, 4)]] virtual void logInfo(const char* context4, const char* format,
                                                               ...) = 0;
    [[gnu::__format__(__printf__, 4, 5)]] virtual void logWarn(const char* context4, const char* detail1,
                                                               const char* format, ...) = 0;
    [[gnu::__format__(__printf__, 4, 5)]] virtual void logError(const char* context4, const char* detail1,
                                                                const char* format, ...) = 0;
    [[gnu::__format__(__printf__, 4, 5)]] virtual void logFatal(const char* context4, const char* detail1,
                                                                const char* format, ...) = 0;

  protected:
    ~AbstractLogger() = default;
};

} // namespace elmu

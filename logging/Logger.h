#pragma once

#include <string>

#include <elmu/logging/AbstractLogger.h>

namespace elmu {

class LoggingCore;

/// A client of the logging core. Its records reach the targets registered under its identifier and carry
/// its four context texts. Building one registers nothing. `trace` to `fatal` and `log` go through the
/// virtual `logit`; `logTrace` to `logFatal`, which replace the fourth context text, do not. A null `format`
/// makes no record, except in `logit`, which checks nothing; null detail texts are empty, except that
/// `logTrace` to `logFatal` make no record when any of their texts is null. As thread-safe as the core and
/// the targets: one thread at a time.
class Logger : public AbstractLogger {
  public:
    /// The identifier to address and the four context texts. Null arguments leave their field empty.
    Logger(const char* id, const char* first, const char* second, const char* third, const char* fourth);

    [[gnu::__format__(__printf__, 2, 3)]] void trace(const char* format, ...) override;
    [[gnu::__format__(__printf__, 2, 3)]] void debug(const char* format, ...) override;
    [[gnu::__format__(__printf__, 2, 3)]] void info(const char* format, ...) override;
    [[gnu::__format__(__printf__, 3, 4)]] void warn(const char* detail1, const char* format, ...) override;
    [[gnu::__format__(__printf__, 3, 4)]] void error(const char* detail1, const char* format, ...) override;
    [[gnu::__format__(__printf__, 3, 4)]] void fatal(const char* detail1, const char* format, ...) override;
    [[gnu::__format__(__printf__, 5, 6)]] void log(Log_Level level, const char* detail1, const char* detail2,
                                                   const char* format, ...) override;
    void logit(Log_Level level, const char* detail1, const char* detail2, const char* format,
               char* args) override;
    [[gnu::__format__(__printf__, 3, 4)]] void logTrace(const char* context4, const char* format,
                                                        ...) override;
    [[gnu::__format__(__printf__, 3, 4)]] void logDebug(const char* context4, const char* format,
                                                        ...) override;
    [[gnu::__format__(__printf__, 3, 4)]] void logInfo(const char* context4, const char* format,
                                                       ...) override;
    [[gnu::__format__(__printf__, 4, 5)]] void logWarn(const char* context4, const char* detail1,
                                                       const char* format, ...) override;
    [[gnu::__format__(__printf__, 4, 5)]] void logError(const char* context4, const char* detail1,
                                                        const char* format, ...) override;
    [[gnu::__format__(__printf__, 4, 5)]] void logFatal(const char* context4, const char* detail1,
                                                        const char* format, ...) override;

  private:
    LoggingCore* core;
    std::string context1;
    std::string context2;
    std::string context3;
    std::string context4;
    std::string identifier;
};

} // namespace elmu

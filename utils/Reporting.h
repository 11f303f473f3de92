#pragma once

#include <elmu/logging/AbstractLogger.h>

namespace ELMUUtils {

/// A receiver of records for processes that do not log through a logger object: level, library,
/// component, two empty texts, then a `printf` format and its arguments.
using LogMessageFn = void (*)(elmu::Log_Level level, const char* library, const char* component,
                              const char* detail1, const char* detail2, const char* format, ...);

/// Where operations report that were given no logger; null (as at start) for nowhere. Read without a
/// lock: set it before other threads run.
extern LogMessageFn elmuUtilsLogMessageFnPtr;

/// Where operations report that were given no logger while `elmuUtilsLogMessageFnPtr` is null; null (as
/// at start) for nowhere. Not owned. Read without a lock.
extern elmu::AbstractLogger* elmuUtilsLogger;

/// Sends one record to the first of these that exists and only to it: `logger` (an
/// `elmu::AbstractLogger*`), the process-wide function, the process-wide logger.
template <class... Arguments>
void report(void* logger, const char* component, elmu::Log_Level level, const char* format,
            Arguments... arguments) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    if (logger == nullptr && elmuUtilsLogMessageFnPtr != nullptr) {
        elmuUtilsLogMessageFnPtr(level, "ELMUUtils", component, "", "", format, arguments...);
        return;
    }
    auto* receiver = logger != nullptr ? static_cast<elmu::AbstractLogger*>(logger) : elmuUtilsLogger;
    if (receiver != nullptr) {
        receiver->log(level, "", component, format, arguments...);
    }
#pragma GCC diagnostic pop
}

} // namespace ELMUUtils

#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <elmu/logging/LogLevel.h>

namespace elmu {

class LogTargetBase;

/// The one place where records find their targets. Holds plain pointers and deletes none. It has no lock:
/// registration, unregistration and dispatch run on one thread or are serialised by the caller; only
/// `getInstance` may race. A target's hooks and its `writeLog` register and unregister nothing.
class LoggingCore {
  public:
    /// The process's single instance, created by the first call. At process exit it forgets its targets
    /// without telling them.
    static LoggingCore* getInstance();

    LoggingCore(const LoggingCore&) = delete;
    LoggingCore& operator=(const LoggingCore&) = delete;

    /// Files `target` under its identifier after its `onRegisterTarget` agreed. Filing it again returns true,
    /// calls `onRegisterTarget` again and counts nothing. False for null and when the target refuses.
    bool registerTarget(LogTargetBase* target);

    /// Takes `target` out. When that ended its last registration, the result is that of its
    /// `onUnregisterTarget`. True when nothing is filed under its identifier; false for null and when the
    /// identifier has targets but not this one.
    bool unregisterTarget(LogTargetBase* target);

    /// Hands one record to every target filed under `identifier`, in the order of registration. `args` and
    /// `timeMs` are those of `LogTargetBase::writeLog`. Without a target, or with a null identifier, the
    /// record is dropped.
    void log(const char* identifier, Log_Level level, const char* context1, const char* context2,
             const char* context3, const char* context4, const char* detail1, const char* detail2,
             const char* format, char* args, unsigned long long timeMs);

  private:
    LoggingCore() = default;

    std::map<std::string, std::vector<LogTargetBase*>, std::less<>> registry;
};

} // namespace elmu

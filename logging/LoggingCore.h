#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <elmu/logging/LogLevel.h>

namespace elmu {

class LogTargetBase;

/// The one place where records find their targets. Holds plain pointers and deletes none: unregister a target
/// before it is destroyed. It has no lock: registration, unregistration and dispatch run on one thread or are
/// serialised by the caller, with the process's exit too; only `getInstance` may race. A target's hooks and
/// its `writeLog` register and unregister nothing.
///
/// Constructors and destructors of static objects, in programs and shared objects, and exit handlers may use
/// the core in any order. At exit the core is closed, as a static object that the first `getInstance`
/// constructs would be: it forgets its targets, without a hook and without deleting one. From then on records
/// are dropped, registration is refused, unregistration finds nothing to do, and no hook runs. A static
/// object whose constructor calls `getInstance`, as building a `Logger` does, is destroyed before the core;
/// one of a shared object may be destroyed after it on some systems.
class LoggingCore {
  public:
    /// Returns the process's single instance, which the first call makes. The pointer is valid until the
    /// process ends, also when the core is gone.
    static LoggingCore* getInstance();

    LoggingCore(const LoggingCore&) = delete;
    LoggingCore& operator=(const LoggingCore&) = delete;

    /// Files `target` under its identifier after its `onRegisterTarget` agreed. Filing it again returns true,
    /// calls `onRegisterTarget` again and counts nothing. False for null, when the target refuses, and,
    /// without asking it, when the core is gone.
    bool registerTarget(LogTargetBase* target);

    /// Takes `target` out. When that ended its last registration, the result is that of its
    /// `onUnregisterTarget`. True when nothing is filed under its identifier, as when the core is gone; false
    /// for null and when the identifier has targets but not this one.
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

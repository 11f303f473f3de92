#include <elmu/logging/LoggingCore.h>

#include <algorithm>

#include <elmu/logging/LogTargetBase.h>

namespace elmu {

namespace {

/// Whether the process exits and the registry was cleared.
constinit bool isGone = false;

} // namespace

LoggingCore* LoggingCore::getInstance() {
    // Never deleted: static objects may call it until the process ends.
    static LoggingCore* const instance = new LoggingCore;
    struct End {
        ~End() {
            isGone = true;
            instance->registry.clear();
        }
    };
    static const End atExit;
    return instance;
}

bool LoggingCore::registerTarget(LogTargetBase* target) {
    if (isGone || target == nullptr || !target->onRegisterTarget()) {
        return false;
    }
    auto& targets = registry[target->getIdentifier()];
    if (std::find(targets.begin(), targets.end(), target) != targets.end()) {
        return true;
    }
    target->incrementRefCount();
    targets.push_back(target);
    return true;
}

bool LoggingCore::unregisterTarget(LogTargetBase* target) {
    if (target == nullptr) {
        return false;
    }
    const auto entry = registry.find(target->getIdentifier());
    if (entry == registry.end()) {
        return true;
    }
    auto& targets = entry->second;
    const auto position = std::find(targets.begin(), targets.end(), target);
    if (position == targets.end()) {
        return false;
    }
    target->decrementRefCount();
    const bool result = target->getRefCount() != 0 || target->onUnregisterTarget();
    targets.erase(position);
    if (targets.empty()) {
        registry.erase(entry);
    }
    return result;
}

void LoggingCore::log(const char* identifier, Log_Level level, const char* context1, const char* context2,
                      const char* context3, const char* context4, const char* detail1, const char* detail2,
                      const char* format, char* args, unsigned long long timeMs) {
    if (identifier == nullptr) {
        return;
    }
    const auto entry = registry.find(identifier);
    if (entry == registry.end()) {
        return;
    }
    for (LogTargetBase* target : entry->second) {
        target->writeLog(level, context1, context2, context3, context4, detail1, detail2, format, args,
                         timeMs, true);
    }
}

} // namespace elmu

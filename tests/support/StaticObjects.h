#pragma once

#include <cstdlib>
#include <iostream>
#include <string>

#include "support/ScriptedHost.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

/// Static objects that use the logging core before `main` and after it. They are idle unless the environment
/// names a folder for their logs.
namespace statics {

/// The environment variable that names the folder.
inline constexpr const char* folderVariable = "HCD_STATIC_OBJECTS";

/// Returns the name of the objects of the shared object. Linkers leave out a shared object that is not asked
/// for anything.
const char* sharedName();

inline const char* folder() { return std::getenv(folderVariable); }

inline std::string shown(bool result) { return result ? "true" : "false"; }

/// Uses the core in its destructor alone.
class LastCaller {
  public:
    explicit LastCaller(const char* objectName) : name(objectName) {}
    ~LastCaller() {
        if (folder() == nullptr) {
            return;
        }
        elmu::LogTargetDefault target(name);
        target.setLogFile((std::string(name) + "-last.log").c_str(), folder());
        auto* const core = elmu::LoggingCore::getInstance();
        const bool isRegistered = core->registerTarget(&target);
        elmu::Logger(name, "", "", "", "").info("last call");
        const bool isUnregistered = core->unregisterTarget(&target);
        std::cout << name << " last: registered " << shown(isRegistered) << ", unregistered "
                  << shown(isUnregistered) << std::endl;
    }
    LastCaller(const LastCaller&) = delete;
    LastCaller& operator=(const LastCaller&) = delete;

  private:
    const char* name;
};

/// Has a target registered from its constructor to its destructor, and logs in both.
class Member {
  public:
    explicit Member(const char* objectName) : name(objectName) {
        if (folder() == nullptr) {
            return;
        }
        scripted::host().homeFolder = folder();
        target = new elmu::LogTargetDefault(name);
        target->setLogFile((std::string(name) + ".log").c_str(), folder());
        elmu::LoggingCore::getInstance()->registerTarget(target);
        elmu::Logger(name, "", "", "", "").info("constructed");
    }
    ~Member() {
        if (target == nullptr) {
            return;
        }
        elmu::Logger(name, "", "", "", "").info("destroyed");
        const bool isUnregistered = elmu::LoggingCore::getInstance()->unregisterTarget(target);
        std::cout << name << ": unregistered " << shown(isUnregistered) << std::endl;
        delete target;
    }
    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;

  private:
    const char* name;
    elmu::LogTargetDefault* target = nullptr;
};

} // namespace statics

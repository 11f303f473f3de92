#include "use_logging.h"

#include <string>

#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

namespace {

/// Logs before `main`, and after it when the core is gone.
class StaticUser {
  public:
    StaticUser() { logger.info("%s", "before main: no target, no record"); }
    ~StaticUser() { logger.info("%s", "after main: no target, no record"); }

  private:
    elmu::Logger logger{"consumer", "", "", "", ""};
};

const StaticUser staticUser;

} // namespace

bool useLogging(const char* folder) {
    elmu::LogTargetDefault target("consumer");
    target.setLogLevel(elmu::levels::info);
    if (!target.setLogFile("consumer.log", folder) ||
        !elmu::LoggingCore::getInstance()->registerTarget(&target)) {
        return false;
    }
    elmu::Logger logger("consumer", "one", "two", "three", "four");
    logger.debug("%s", "below the level");
    logger.warn("detail", "%d of %s", 7, "nine");
    return elmu::LoggingCore::getInstance()->unregisterTarget(&target);
}

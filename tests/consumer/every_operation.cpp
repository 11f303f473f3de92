#include <elmu/logging/Logger.h>

/// One mistake in each operation with a format, of both classes: 26 calls that a compiler must warn about.
void makeAMistakeInEachOperation(elmu::AbstractLogger& interface, elmu::Logger& logger) {
    interface.trace("%s", 5);
    interface.debug("%s", 5);
    interface.info("%s", 5);
    interface.warn("", "%s", 5);
    interface.error("", "%s", 5);
    interface.fatal("", "%s", 5);
    interface.log(elmu::levels::info, "", "", "%s", 5);
    interface.logTrace("", "%s", 5);
    interface.logDebug("", "%s", 5);
    interface.logInfo("", "%s", 5);
    interface.logWarn("", "", "%s", 5);
    interface.logError("", "", "%s", 5);
    interface.logFatal("", "", "%s", 5);
    logger.trace("%s", 5);
    logger.debug("%s", 5);
    logger.info("%s", 5);
    logger.warn("", "%s", 5);
    logger.error("", "%s", 5);
    logger.fatal("", "%s", 5);
    logger.log(elmu::levels::info, "", "", "%s", 5);
    logger.logTrace("", "%s", 5);
    logger.logDebug("", "%s", 5);
    logger.logInfo("", "%s", 5);
    logger.logWarn("", "", "%s", 5);
    logger.logError("", "", "%s", 5);
    logger.logFatal("", "", "%s", 5);
}

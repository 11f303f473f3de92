#include <string>

#include <elmu/logging/Logger.h>

/// Four calls that a compiler must warn about.
void makeMistakes(elmu::AbstractLogger& interface, elmu::Logger& logger, const char* path, long count) {
    logger.warn("could not open %s", path); // the path is the format
    logger.info("%d records", count);
    interface.error("", "%s", 5);
    interface.logFatal("", "", "%s and %s", path);
}

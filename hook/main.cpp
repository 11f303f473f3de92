#include <csignal>
#include <string>

#include "hook/CacheCleanup.h"
#include "hook/SpecifierManifest.h"
#include "platform/Users.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>
#include <elmu/utils/CommandLineParser.h>

int main(int argc, char* argv[]) {
    // A file-size limit or a closed standard error is a failed write, not the end.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    const uid_t self = platform::effectiveUser(); // finding the log's folder acts as the user at the console
    elmu::LogTargetDefault target("HCDCustomHook");
    target.setLogLevel(elmu::levels::info);
    target.setLogFile("HCD.log", "");
    elmu::LoggingCore::getInstance()->registerTarget(&target);

    elmu::Logger logger("HCDCustomHook", "", "HCD", "HCDCustomHook", "");
    ELMUUtils::CommandLineParser parser;
    parser.setLogger(static_cast<elmu::AbstractLogger*>(&logger));
    parser.parseCommandLineArguments(argc, argv);
    const std::string key = "install";
    std::string value;
    bool succeeded = true;
    if (!platform::returnToUser(self)) {
        logger.warn("", "Unable to act as the installing user again: nothing is changed");
    } else if (parser.getValueForArgument(key, value) && value == "1") {
        createSpecifierFile(&logger);
        succeeded = deleteCEFFolder(&logger);
    } else {
        deleteSpecifierFile(&logger);
    }

    elmu::LoggingCore::getInstance()->unregisterTarget(&target);
    return succeeded ? 0 : -1;
}

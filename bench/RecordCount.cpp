// Logs as many records as it is told, so that a tool that counts instructions tells what one of them costs:
// the difference between two runs. usage: record_count LOG RECORDS

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: record_count LOG RECORDS\n");
        return 2;
    }
    const std::filesystem::path path = std::filesystem::absolute(arguments[1]);
    const long records = std::strtol(arguments[2], nullptr, 10);
    elmu::LogTargetDefault target("bench");
    target.setLogFile(path.filename().c_str(), path.parent_path().c_str());
    if (!elmu::LoggingCore::getInstance()->registerTarget(&target)) {
        return 1;
    }
    elmu::Logger logger("bench", "", "HCD", "HCDCustomHook", "");
    for (long record = 0; record < records; ++record) {
        logger.info("Copied %s to %s: %ld of %ld files, %d bytes, mode %x", "/Applications/Utilities",
                    "/Library", record, records, 123456789, 0644U);
    }
    elmu::LoggingCore::getInstance()->unregisterTarget(&target);
    return 0;
}

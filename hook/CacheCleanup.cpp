#include "hook/CacheCleanup.h"

#include "hook/ApplicationFolder.h"
#include <elmu/utils/FileUtils.h>

using ELMUUtils::FileUtils;

bool deleteCEFFolder(elmu::Logger* /*logger*/) {
    std::string folder = applicationFolder();
    if (!FileUtils::AppendPath(folder, "CEF", nullptr)) {
        folder = "CEF";
    }
    if (FileUtils::PathExists(folder, nullptr)) {
        FileUtils::DeleteDirectoryAtPath(folder, true, true, nullptr, true);
    }
    return true;
}

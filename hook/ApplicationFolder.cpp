#include "hook/ApplicationFolder.h"

#include <elmu/utils/FileUtils.h>

namespace {

/// All that a lookup leaves that found no utilities folder.
constexpr const char* kBareSuffix = "/Korvane Halcyra/";

} // namespace

std::string applicationFolder() {
    std::string folder;
    ELMUUtils::FileUtils::GetDirectoryPath(ELMUUtils::HalcyraUtilitiesDir, folder, nullptr);
    return folder == kBareSuffix ? std::string() : folder;
}

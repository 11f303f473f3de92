#include <elmu/logging/FileProbes.h>

#include "platform/Files.h"

namespace elmu {

bool fileExistsAtPath(std::string& path) {
    return platform::itemAtPath(path.c_str()) == platform::ItemKind::File;
}

bool folderExitsAtPath(const std::string& path) {
    return platform::itemAtPath(path.c_str()) == platform::ItemKind::Folder;
}

bool createDirectoryPath(const std::string& path) { return !platform::createFolders(path.c_str(), nullptr); }

bool getFileSize(const std::string& path, long long& size) {
    const auto info = platform::entryInfo(path.c_str());
    if (!info) {
        return false;
    }
    size = info->size;
    return true;
}

bool copyContentOfFileToFile(const std::string& source, std::string& target) {
    return !platform::copyContent(source.c_str(), target.c_str());
}

} // namespace elmu

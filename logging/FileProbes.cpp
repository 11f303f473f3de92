#include "logging/FileProbes.h"

#include <fstream>

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
    std::ifstream reader(source.c_str(), std::ios::in | std::ios::binary);
    if (!reader.is_open()) {
        return false;
    }
    std::ofstream writer(target.c_str(), std::ios::out | std::ios::trunc | std::ios::binary);
    if (!writer.is_open()) {
        return false;
    }
    char block[4096];
    do {
        reader.read(block, sizeof block);
        writer.write(block, reader.gcount());
    } while (reader.gcount() == sizeof block && writer.good());
    writer.flush();
    return !reader.bad() && writer.good();
}

} // namespace elmu

#include <elmu/logging/PathText.h>

#include <libgen.h>

#include "platform/Paths.h"
#include <elmu/logging/TimeText.h>

namespace elmu {

bool appendPath(std::string& path, const std::string& component) {
    path = platform::appendingPathComponent(path.c_str(), component.c_str());
    return true;
}

bool removeLastPathComponent(std::string& path) {
    path = platform::deletingLastPathComponent(path.c_str());
    return true;
}

bool changeFileExtension(std::string& path, const std::string& extension) {
    std::string changed = path;
    if (!removeFileExtension(changed) || !addFileExtension(changed, extension)) {
        return false;
    }
    path = changed;
    return true;
}

bool addFileExtension(std::string& path, const std::string& extension) {
    const auto extended = platform::appendingPathExtension(path.c_str(), extension.c_str());
    if (!extended) {
        return false;
    }
    path = *extended;
    return true;
}

bool removeFileExtension(std::string& path) {
    path = platform::deletingPathExtension(path.c_str());
    return true;
}

bool getFileExtension(const std::string& path, std::string& extension) {
    const auto dot = path.rfind('.');
    if (dot == std::string::npos) {
        return false;
    }
    extension = path.substr(dot + 1);
    return true;
}

bool getFilePathBaseName(const std::string& path, std::string& name) {
    name.clear();
    std::string copy = path;
    const char* base = ::basename(copy.data());
    if (base == nullptr) {
        return false;
    }
    name = base;
    return true;
}

bool isFileName(const std::string& name) {
    const std::string text = name.c_str();
    return platform::lastPathComponent(text) == text;
}

bool appendTimeStampToFile(std::string& path) {
    timeval now = {};
    getCurrentTime(now);
    return appendTimeStampToFile(path, now.tv_sec);
}

bool appendTimeStampToFile(std::string& path, std::int64_t now) {
    std::string stamped = path;
    removeFileExtension(stamped);
    std::string stamp;
    getDatetime(stamp, now);
    stamped += " " + stamp;
    std::string extension;
    getFileExtension(path, extension);
    addFileExtension(stamped, extension);
    path = stamped;
    return true;
}

} // namespace elmu

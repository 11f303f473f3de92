#include <elmu/logging/LogTargetBase.h>

#include "platform/OpenFolder.h"
#include "platform/Users.h"
#include <elmu/logging/PathText.h>
#include <elmu/logging/UserFolders.h>

namespace elmu {

namespace {

bool replaceLastPathComponent(std::string& path, const std::string& name) {
    return removeLastPathComponent(path) && appendPath(path, name);
}

/// `level` made more verbose by the marker files in `folder`, of which those with the base name of `logName`
/// come first. A step that fails leaves the level as it is.
Log_Level levelByMarkers(Log_Level level, const std::string& folder, const std::string& logName) {
    const Log_Level debugLevel = level > levels::debug ? levels::debug : level;
    std::string name = logName;
    std::string marker = folder;
    if (!changeFileExtension(name, "trace") || !appendPath(marker, name)) {
        return level;
    }
    if (platform::isFileSafely(marker)) {
        return levels::trace;
    }
    if (changeFileExtension(marker, "debug") && platform::isFileSafely(marker)) {
        return debugLevel;
    }
    if (!replaceLastPathComponent(marker, "ruk.trace")) {
        return level;
    }
    if (platform::isFileSafely(marker)) {
        return levels::trace;
    }
    if (replaceLastPathComponent(marker, "ruk.debug") && platform::isFileSafely(marker)) {
        return debugLevel;
    }
    return level;
}

/// Lets every user's processes, and the console user above all, write in the folders of the default place.
void giveToConsoleUser(const std::string& folder) {
    const auto user = platform::consoleUser();
    if (!user) {
        return;
    }
    constexpr mode_t everybody = 0777;
    std::string outer;
    getTempPath(outer);
    platform::giveFolder(outer + "/Halcyra", user->uid, user->gid, everybody, "HCD");
    platform::giveFolder(folder, user->uid, user->gid, everybody, "");
}

} // namespace

LogTargetBase::LogTargetBase()
    : separator(" | "), logFileName("ELMU.log"), logLevel(levels::info), logFileValid(true),
      streamAttached(false), refCount(0) {
    setLogLevel(levels::info);
    ::pthread_mutex_init(&refCountMutex, nullptr);
}

LogTargetBase::~LogTargetBase() {
    refCount = 0;
    ::pthread_mutex_destroy(&refCountMutex);
}

void LogTargetBase::setLogLevel(Log_Level level) {
    logLevel = level;
    std::string folder;
    if (getTempPath(folder)) {
        logLevel = levelByMarkers(level, folder, logFileName);
    }
}

Log_Level LogTargetBase::getLogLevel() const { return logLevel; }

bool LogTargetBase::setIdentifier(const char* id) {
    if (id == nullptr) {
        return false;
    }
    identifier = id;
    return true;
}

const std::string& LogTargetBase::getIdentifier() const { return identifier; }

bool LogTargetBase::setLogFile(const char* fileName, const char* folder) {
    const bool named = fileName != nullptr && *fileName != '\0';
    const std::string name = named ? fileName : logFileName;
    if (folder != nullptr && *folder != '\0') {
        logFilePath = folder;
    } else {
        useDefaultFolder();
    }
    logFileValid = false;
    if (named && !isFileName(name)) {
        return false;
    }
    if (!appendPath(logFilePath, name)) {
        return false;
    }
    getFilePathBaseName(logFilePath, logFileName);
    logFileValid = openLogFile();
    return logFileValid;
}

void LogTargetBase::useDefaultFolder() {
    getTempPath(logFilePath);
    logFilePath += "/Halcyra/HCD";
    const std::error_code error = platform::OpenFolder().open(logFilePath);
    // Behind a symlink that is not followed nothing is made or given: that would tell what is there.
    if (!error || error == std::errc::too_many_symbolic_link_levels) {
        return;
    }
    platform::createFoldersSafely(logFilePath);
    giveToConsoleUser(logFilePath);
}

bool LogTargetBase::openLogFile() {
    if (streamAttached) {
        return SetStreamHandle(stream);
    }
    std::fstream probe;
    return SetStreamHandle(probe);
}

void LogTargetBase::incrementRefCount() {
    ::pthread_mutex_lock(&refCountMutex);
    ++refCount;
    ::pthread_mutex_unlock(&refCountMutex);
}

void LogTargetBase::decrementRefCount() {
    ::pthread_mutex_lock(&refCountMutex);
    --refCount;
    ::pthread_mutex_unlock(&refCountMutex);
}

int LogTargetBase::getRefCount() const { return refCount; }

} // namespace elmu

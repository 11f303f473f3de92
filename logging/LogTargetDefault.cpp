#include <elmu/logging/LogTargetDefault.h>

#include <cstdio>
#include <exception>

#include "platform/Files.h"
#include "platform/System.h"
#include <elmu/logging/BinaryLock.h>
#include <elmu/logging/DatedCopy.h>
#include <elmu/logging/FileProbes.h>
#include <elmu/logging/Fragment.h>
#include <elmu/logging/PathText.h>
#include <elmu/logging/Segmentation.h>
#include <elmu/logging/SensitiveData.h>
#include <elmu/logging/TimeText.h>
#include <elmu/logging/UserFolders.h>

namespace elmu {

namespace {

constexpr int kLockProject = 11;
constexpr std::size_t kMessageBufferSize = 4096;
constexpr std::size_t kTimeBufferSize = 256;
constexpr std::size_t kUsualLineSize = 512;
constexpr std::int32_t kSegmentCheckSeconds = 900;
constexpr int kDaysOfCopies = 2;
constexpr std::streamoff kBlockSize = 4096;
constexpr std::size_t kMarkerSize = 9;
constexpr std::streamoff kUnknown = -1;

/// Mac OS X 10.5 and older have no kernel thread ids.
bool threadIdsAvailable(long majorNumber, long minorNumber) { return majorNumber > 10 || minorNumber > 5; }

const char* orEmpty(const char* text) { return text == nullptr ? "" : text; }

/// In 32 bits that wrap around.
std::int32_t secondsBetween(std::int32_t earlier, std::int32_t later) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(later) - static_cast<std::uint32_t>(earlier));
}

/// Gives a stream the buffer of its own back. Its state stays.
void useOwnBuffer(std::fstream& s) {
    const std::ios::iostate state = s.rdstate();
    s.std::ios::rdbuf(s.rdbuf());
    s.setstate(state);
}

void openForAppending(std::fstream& s, const std::string& path) {
    useOwnBuffer(s);
    if (s.is_open()) {
        s.close();
    }
    if (!platform::isSafeToAppendTo(path.c_str())) {
        s.setstate(std::ios::failbit);
        return;
    }
    std::error_code modeError;
    platform::createFile(path.c_str(), 0666, modeError);
    s.open(path, std::ios::out | std::ios::app);
    if (modeError) {
        std::fprintf(stderr, "\n Error Set File permissions. errno = %s", modeError.message().c_str());
    }
}

} // namespace

LogTargetDefault::LogTargetDefault(const char* id) {
    setIdentifier(id);
    // These stand when the system does not say its version.
    long majorNumber = 11;
    long minorNumber = 0;
    long patchNumber = 0;
    utilGetCurrentOSVersion(majorNumber, minorNumber, patchNumber);
    useThreadSelfId = threadIdsAvailable(majorNumber, minorNumber);
    initializeXMLTagNameList();
    initializeHeader();
    headerPending = false;
}

LogTargetDefault::~LogTargetDefault() {
    closeLock();
    closeStream();
}

bool LogTargetDefault::SetStreamHandle(std::fstream& s) {
    openForAppending(s, logFilePath);
    if (&s == &stream) {
        openLineBuffer();
    }
    return s.good();
}

/// The stream's own buffer stays open on the file, so that the stream is; nothing is written through it.
void LogTargetDefault::openLineBuffer() {
    lineBuffer.close();
    if (!stream.good()) {
        return;
    }
    if (!lineBuffer.open(logFilePath)) {
        stream.setstate(std::ios::failbit);
        return;
    }
    stream.std::ios::rdbuf(&lineBuffer);
}

bool LogTargetDefault::SetStreamPath(const char* fileName) {
    std::string path;
    if (!getTempPath(path) || !appendPath(path, orEmpty(fileName))) {
        return false;
    }
    logFilePath = path;
    return true;
}

bool LogTargetDefault::onRegisterTarget() {
    if (!logFileValid) {
        return false;
    }
    if (logFilePath.empty() && !SetStreamPath(logFileName.c_str())) {
        return false;
    }
    if (!SetStreamHandle(stream)) {
        return false;
    }
    if (logLock == nullptr) {
        logLock = new BinaryLock;
        logLock->create(logFilePath, kLockProject);
    }
    timeval now = {};
    getCurrentTime(now);
    lastSegmentCheckTime = static_cast<std::int32_t>(now.tv_sec);
    lastRecordTime = lastSegmentCheckTime;
    if (const LockHolder held(logLock); held) {
        SegmentLogFile(true);
    }
    streamAttached = true;
    return true;
}

bool LogTargetDefault::onUnregisterTarget() {
    closeStream();
    closeLock();
    streamAttached = false;
    return true;
}

void LogTargetDefault::closeStream() {
    if (!stream.fail()) {
        stream.close();
    }
    lineBuffer.close();
    useOwnBuffer(stream);
}

void LogTargetDefault::closeLock() {
    if (logLock != nullptr) {
        logLock->finalize();
        delete logLock;
        logLock = nullptr;
    }
}

bool LogTargetDefault::writeLog(Log_Level level, const char* context1, const char* context2,
                                const char* context3, const char* context4, const char* detail1,
                                const char* detail2, const char* format, char* args,
                                unsigned long long timeMs, bool locked) try {
    if (getLogLevel() > level) {
        return true;
    }
    const LockHolder held(locked ? logLock : nullptr);
    if (locked && !held) {
        return true;
    }
    if (locked) {
        checkSizeWhenDue();
        lineStart = mendedEnd();
    }
    if (headerPending) {
        logHeader(levels::info, context1, context2, context3, context4, nullptr, false);
    }
    char expanded[kMessageBufferSize];
    expanded[0] = '\0';
    const char* message = orEmpty(format);
    if (args != nullptr) {
        getLogMessage(expanded, sizeof expanded, message, args);
        message = expanded;
    }
    std::string line;
    formatLog(timeMs, level, context1, context2, context3, context4, detail1, detail2, message, line);
    WriteStream(line.c_str());
    if (locked) {
        lineStart = kUnknown;
    }
    return true;
} catch (const std::exception&) {
    // Out of memory: the record is dropped.
    lineStart = kUnknown;
    return true;
}

void LogTargetDefault::checkSizeWhenDue() {
    if (secondsBetween(lastSegmentCheckTime, lastRecordTime) >= kSegmentCheckSeconds &&
        SegmentLogFile(true)) {
        lastSegmentCheckTime = lastRecordTime;
    }
}

/// Returns the end of the file, after an unfinished record was removed from it. A writer that is killed in
/// the middle of its write leaves part of a line, which ends where a block of memory does: the end is read
/// only then.
std::streamoff LogTargetDefault::mendedEnd() {
    std::streambuf& buffer = *stream.std::ios::rdbuf();
    const auto end = std::streamoff(buffer.pubseekoff(0, std::ios::end));
    if (end <= 0 || end % kBlockSize != 0) {
        return end;
    }
    cutUnfinishedRecord(logFilePath, end);
    return std::streamoff(buffer.pubseekoff(0, std::ios::end));
}

bool LogTargetDefault::logHeader(Log_Level level, const char* context1, const char* context2,
                                 const char* context3, const char* context4, stLogHeader* header,
                                 bool locked) {
    headerPending = false;
    if (header != nullptr && header->persistent) {
        mergeHeader(storedHeader, *header);
    }
    const bool once = header != nullptr && !header->persistent;
    for (const std::string& line : headerLines(once ? *header : storedHeader)) {
        writeLog(level, context1, context2, context3, context4, nullptr, nullptr, line.c_str(), nullptr, 0,
                 locked);
    }
    return true;
}

void LogTargetDefault::initializeHeader() {
    mergeHeader(storedHeader, headerFromFacts(currentHeaderFacts()));
}

bool LogTargetDefault::SegmentLogFile(bool /*ignored*/) {
    const std::string marker = logFolder(logFilePath) + "//" + "ruk.trace";
    const bool keepsCopies = asksToKeepLogs(platform::fileHead(marker.c_str(), kMarkerSize).value_or(""));
    long long size = 0;
    if (!getFileSize(logFilePath, size)) {
        return false;
    }
    if (size < segmentSizeLimit(getLogLevel())) {
        return true;
    }
    headerPending = true;
    mendedEnd(); // an unfinished record would never be removed from the copy
    closeStream();
    timeval now = {};
    getCurrentTime(now);
    const auto copied = makeDatedCopy(logFilePath, now.tv_sec);
    if (copied) {
        cleanFile();
    }
    const bool reopened = SetStreamHandle(stream);
    if (!keepsCopies) {
        // The copy may bear the name of a later second, and that second may be of the next day.
        prune(kDaysOfCopies, copied.value_or(now.tv_sec));
    }
    return reopened;
}

bool LogTargetDefault::removeLogFilesExceptLastN(int count) {
    timeval now = {};
    getCurrentTime(now);
    prune(count, now.tv_sec);
    return false;
}

void LogTargetDefault::prune(int count, std::int64_t now) const {
    std::string basePath = logFilePath;
    removeFileExtension(basePath);
    LogFamily log;
    log.folder = logFolder(logFilePath);
    log.baseName = basePath.substr(basePath.rfind('/') + 1);
    log.currentName = logFilePath.substr(logFilePath.rfind('/') + 1);
    const auto entries = platform::treeEntries(log.folder.c_str());
    const auto prefixes = recentDatePrefixes(log.baseName, count, now);
    for (const std::string& path : pathsToPrune(log, prefixes, entries, count)) {
        platform::removeEntry(path.c_str());
    }
}

void LogTargetDefault::initializeXMLTagNameList() {
    for (const char* name : {"proxyusername", "proxy-user", "proxyuser", "user", "username", "proxy-password",
                             "proxypassword", "password"}) {
        xmlTagNameList.emplace_back(name);
    }
}

void LogTargetDefault::hideDataOfXMLTag(const char* message, std::string& out) const {
    maskElements(xmlTagNameList, orEmpty(message), out);
}

void LogTargetDefault::hideDataOfXMLTagHelper(std::string& text, const int& openPosition,
                                              const int& closePosition, const int& openLength) {
    maskContent(text, static_cast<std::size_t>(openPosition), static_cast<std::size_t>(closePosition),
                static_cast<std::size_t>(openLength));
}

void LogTargetDefault::WriteStream(const char* text) {
    if (text == nullptr || !stream.is_open()) {
        stream.setstate(std::ios::badbit);
        return;
    }
    // One insertion, whatever the length, reaches the file as one write.
    std::string line = text;
    line += '\n';
    const bool wasGood = stream.good();
    stream.write(line.data(), static_cast<std::streamsize>(line.size()));
    stream.flush();
    if (lineStart < 0 || !wasGood) {
        return;
    }
    if (stream.good()) {
        lineStart += static_cast<std::streamoff>(line.size());
    } else {
        cutFailedLine(logFilePath, lineStart, line);
    }
}

void LogTargetDefault::getTimeStr(unsigned long long timeMs, char* buffer) {
    auto seconds = static_cast<std::int64_t>(timeMs / 1000);
    auto milliseconds = static_cast<int>(timeMs % 1000);
    if (timeMs == 0) {
        timeval now = {};
        getCurrentTime(now);
        seconds = now.tv_sec;
        milliseconds = static_cast<int>(now.tv_usec / 1000);
    }
    lastRecordTime = static_cast<std::int32_t>(seconds);
    const std::size_t length = timeMs == 0 ? currentSecond.format(seconds, buffer, kTimeBufferSize)
                                           : formatLocalTime(seconds, "%x %X", buffer, kTimeBufferSize);
    std::snprintf(buffer + length, kTimeBufferSize - length, ":%.3d", milliseconds);
}

std::string LogTargetDefault::getCurrentThreadID() const {
    return useThreadSelfId ? std::to_string(platform::threadId()) : std::string();
}

bool LogTargetDefault::cleanFile() {
    if (stream.is_open()) {
        stream.close();
    }
    lineBuffer.close();
    useOwnBuffer(stream);
    stream.open(logFilePath, std::ios::out | std::ios::trunc);
    if (!stream.good()) {
        return false;
    }
    stream.close();
    return true;
}

void LogTargetDefault::formatLog(unsigned long long timeMs, Log_Level level, const char* context1,
                                 const char* context2, const char* context3, const char* context4,
                                 const char* detail1, const char* detail2, const char* message,
                                 std::string& out) {
    char time[kTimeBufferSize];
    getTimeStr(timeMs, time);
    const char* const text = orEmpty(message);
    const bool hasToken = carriesToken(text);
    out.reserve(out.size() + kUsualLineSize);
    out.append(time).append(separator);
    out.append("[").append(getLogLevelString(hasToken ? levels::warn : level)).append("]").append(separator);
    for (const char* field : {context1, context2, context3, context4, detail1, detail2}) {
        out.append(orEmpty(field)).append(separator);
    }
    out.append(getCurrentThreadID()).append(separator);
    if (hasToken) {
        out.append(kTokenNotice);
    } else if (mayHoldElement(text)) {
        std::string masked = text;
        hideDataOfXMLTag(text, masked);
        out.append(masked);
    } else {
        out.append(text);
    }
}

std::string LogTargetDefault::getLogLevelString(Log_Level level) const {
    switch (level) {
    case levels::trace:
        return "TRACE";
    case levels::debug:
        return "DEBUG";
    case levels::info:
        return "INFO";
    case levels::warn:
        return "WARN";
    case levels::error:
        return "ERROR";
    case levels::fatal:
        return "FATAL";
    case levels::none:
        return "NONE";
    case levels::all:
        break;
    }
    return "ALL";
}

} // namespace elmu

#include <elmu/logging/LogTargetDefault.h>

#include <array>
#include <cstdio>
#include <exception>
#include <string_view>
#include <utility>

#include "platform/LogFile.h"
#include "platform/System.h"
#include <elmu/logging/BinaryLock.h>
#include <elmu/logging/DatedCopy.h>
#include <elmu/logging/LogStream.h>
#include <elmu/logging/PathText.h>
#include <elmu/logging/Segmentation.h>
#include <elmu/logging/SensitiveData.h>
#include <elmu/logging/TimeText.h>
#include <elmu/logging/UnfinishedRecord.h>
#include <elmu/logging/UserFolders.h>

namespace elmu {

namespace {

constexpr int kLockProject = 11;
constexpr std::size_t kMessageBufferSize = 4096;
constexpr std::size_t kTimeBufferSize = 256;
constexpr std::size_t kUsualLineSize = 512;
constexpr std::size_t kMostSpareMemory = 65536;
constexpr std::int32_t kSegmentCheckSeconds = 900;
constexpr int kDaysOfCopies = 2;
constexpr std::size_t kMarkerSize = 9;

/// Mac OS X 10.5 and older have no kernel thread ids.
bool threadIdsAvailable(long majorNumber, long minorNumber) { return majorNumber > 10 || minorNumber > 5; }

const char* orEmpty(const char* text) { return text == nullptr ? "" : text; }

/// Writes a colon and three digits into `buffer` of `size` bytes, as far as they fit.
void appendMilliseconds(int milliseconds, char* buffer, std::size_t size) {
    const auto digit = [milliseconds](int unit) { return static_cast<char>('0' + milliseconds / unit % 10); };
    const std::array<char, 4> text = {':', digit(100), digit(10), digit(1)};
    buffer[std::string_view(text.data(), text.size()).copy(buffer, size - 1)] = '\0';
}

/// The message of a record. Works in `buffer` before the lock is taken, so that others wait less.
const char* expand(const char* format, char* args, char (&buffer)[kMessageBufferSize]) {
    if (args == nullptr) {
        return orEmpty(format);
    }
    buffer[0] = '\0';
    getLogMessage(buffer, sizeof buffer, orEmpty(format), args);
    return buffer;
}

/// An empty text with the memory of an earlier one.
std::string taken(std::string& spare) {
    std::string text = std::exchange(spare, {});
    text.clear();
    return text;
}

/// Keeps the memory of `text` unless it is unusually much.
void giveBack(std::string& spare, std::string&& text) {
    if (text.capacity() <= kMostSpareMemory) {
        spare = std::move(text);
    }
}

/// In 32 bits that wrap around.
std::int32_t secondsBetween(std::int32_t earlier, std::int32_t later) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(later) - static_cast<std::uint32_t>(earlier));
}

} // namespace

LogTargetDefault::LogTargetDefault(const char* id) : file(std::make_unique<platform::LogFile>()) {
    setIdentifier(id);
    // These count when the system does not say its version.
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
    if (s.is_open()) {
        s.close();
    }
    auto opened = std::make_unique<platform::LogFile>();
    std::error_code modeError;
    if (opened->open(logFilePath, modeError)) {
        s.setstate(std::ios::failbit);
    } else {
        openStream(s, *opened);
    }
    if (modeError) {
        std::fprintf(stderr, "\n Error Set File permissions. errno = %s", modeError.message().c_str());
    }
    if (&s == &stream) {
        file = std::move(opened);
        markAsOpenedOn(stream, *file);
    }
    return s.good();
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
    if (const LockHolder held(&logLock); held) {
        SegmentLogFile(true);
    }
    streamAttached = true;
    return true;
}

bool LogTargetDefault::onUnregisterTarget() {
    closeStream();
    file->close();
    closeLock();
    streamAttached = false;
    return true;
}

void LogTargetDefault::closeStream() {
    if (!stream.fail()) {
        stream.close();
    }
    file->detach();
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
    char expanded[kMessageBufferSize];
    const char* const message = expand(format, args, expanded);
    const LockHolder held(locked ? &logLock : nullptr);
    if (locked && !held) {
        return true;
    }
    if (locked) {
        checkSizeWhenDue();
    }
    if (headerPending) {
        logHeader(levels::info, context1, context2, context3, context4, nullptr, false);
    }
    std::string line = taken(spareLine);
    formatLog(timeMs, level, context1, context2, context3, context4, detail1, detail2, message, line);
    WriteStream(line.c_str());
    giveBack(spareLine, std::move(line));
    return true;
} catch (const std::exception&) {
    // Out of memory: the record is dropped.
    return true;
}

void LogTargetDefault::checkSizeWhenDue() {
    if (secondsBetween(lastSegmentCheckTime, lastRecordTime) >= kSegmentCheckSeconds &&
        SegmentLogFile(true)) {
        lastSegmentCheckTime = lastRecordTime;
    }
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
    if (!file->isNamed(logFilePath)) {
        file->openExisting(logFilePath);
    }
    timeval now = {};
    getCurrentTime(now);
    if (file->isOpen()) {
        finishInterruptedMove(*file, logFilePath, now.tv_sec);
    }
    const bool keepsCopies = hasFolder(logFilePath) &&
                             asksToKeepLogs(file->folder().fileHead("ruk.trace", kMarkerSize).value_or(""));
    const auto entry = file->folder().entry(file->name());
    if (!entry) {
        return false;
    }
    // What somebody puts in the place of the open log does not say how large that is.
    const bool isOfTheLog = !file->isOpen() || file->isNamed(logFilePath);
    const long long size = isOfTheLog ? file->size().value_or(entry->size) : 0;
    return size < segmentSizeLimit(getLogLevel()) || rotate(keepsCopies, now.tv_sec);
}

bool LogTargetDefault::rotate(bool keepsCopies, std::int64_t now) {
    headerPending = true;
    closeStream();
    const auto rotated = std::exchange(file, std::make_unique<platform::LogFile>());
    const auto copied = moveToDatedCopy(*rotated, logFilePath, now);
    if (copied) {
        forgetFailures();
    }
    const bool reopened = SetStreamHandle(stream);
    if (!keepsCopies) {
        // The copy may have the name of a later second, and that second may be of the next day.
        prune(rotated->folder(), kDaysOfCopies, copied.value_or(now));
    }
    return reopened;
}

/// Closes the stream, also a failed one, and leaves it in a good state.
void LogTargetDefault::forgetFailures() {
    if (stream.is_open()) {
        stream.close();
    }
    stream.clear();
}

bool LogTargetDefault::removeLogFilesExceptLastN(int count) {
    timeval now = {};
    getCurrentTime(now);
    platform::OpenFolder folder;
    folder.open(logFolder(logFilePath));
    prune(folder, count, now.tv_sec);
    return false;
}

void LogTargetDefault::prune(const platform::OpenFolder& folder, int count, std::int64_t now) const try {
    if (!hasFolder(logFilePath) || logFolder(logFilePath).empty()) {
        return;
    }
    const LogNames names = logNames(logFilePath);
    const auto prefixes = recentDatePrefixes(names.baseName, count, now);
    folder.removeAll(pathsToPrune(names, prefixes, folder.tree(names.baseName), count));
} catch (const std::exception&) {
    // More names than memory holds: nothing is removed.
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

/// The line reaches the file as one write. A stream that was pointed elsewhere is written to where it points.
void LogTargetDefault::WriteStream(const char* text) {
    if (text == nullptr || !stream.is_open()) {
        stream.setstate(std::ios::badbit);
        return;
    }
    if (!stream.good()) {
        return;
    }
    std::string line = taken(spareOutput);
    const bool goesToLog = leadsTo(stream, *file);
    if (goesToLog && endsInUnfinishedRecord(*file, file->end())) {
        line += '\n';
    }
    line.append(text).append("\n");
    if (!goesToLog) {
        stream << line << std::flush;
    } else if (file->append(line)) {
        stream.setstate(std::ios::badbit);
    }
    giveBack(spareOutput, std::move(line));
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
    appendMilliseconds(milliseconds, buffer + length, kTimeBufferSize - length);
}

std::string LogTargetDefault::getCurrentThreadID() const {
    return useThreadSelfId ? std::to_string(platform::threadId()) : std::string();
}

bool LogTargetDefault::cleanFile() {
    if (stream.is_open()) {
        stream.close();
    }
    file->detach();
    std::error_code modeError;
    const bool isEmptied = !file->open(logFilePath, modeError) && !file->empty();
    if (isEmptied) {
        stream.clear();
    } else {
        stream.setstate(std::ios::failbit);
    }
    return isEmptied;
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

#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <elmu/logging/ArgumentList.h>
#include <elmu/logging/LogTargetBase.h>

namespace support {

/// How a null text shows in what a RecordingTarget remembers.
inline constexpr const char* nullText = "<null>";

/// One call of `writeLog`.
struct DispatchedRecord {
    elmu::Log_Level level;
    std::vector<std::string>
        fields; ///< the seven texts; the last is the message, `format` with its arguments
    std::string format;
    char* args;
    unsigned long long timeMs;
    bool locked;
};

/// A target that remembers what it was asked and answers as it was told.
class RecordingTarget : public elmu::LogTargetBase {
  public:
    explicit RecordingTarget(const char* id) { setIdentifier(id); }
    ~RecordingTarget() override = default;

    bool SetStreamHandle(std::fstream& s) override {
        openedStreams.push_back(&s);
        openedPaths.push_back(logFilePath);
        return opens;
    }
    bool onRegisterTarget() override {
        ++registrations;
        return accepts;
    }
    bool onUnregisterTarget() override {
        ++unregistrations;
        return leavesWell;
    }
    bool writeLog(elmu::Log_Level level, const char* context1, const char* context2, const char* context3,
                  const char* context4, const char* detail1, const char* detail2, const char* format,
                  char* args, unsigned long long timeMs, bool locked) override {
        records.push_back({level,
                           {shown(context1), shown(context2), shown(context3), shown(context4),
                            shown(detail1), shown(detail2), message(format, args)},
                           shown(format),
                           args,
                           timeMs,
                           locked});
        if (order != nullptr) {
            order->push_back(name);
        }
        return writesWell;
    }
    bool logHeader(elmu::Log_Level, const char*, const char*, const char*, const char*, elmu::stLogHeader*,
                   bool) override {
        return true;
    }
    void WriteStream(const char*) override {}

    bool opens = true;
    bool accepts = true;
    bool leavesWell = true;
    bool writesWell = true;
    int registrations = 0;
    int unregistrations = 0;
    std::vector<std::fstream*> openedStreams;
    std::vector<std::string> openedPaths; ///< `logFilePath` at each opening
    std::vector<DispatchedRecord> records;
    std::string name;                          ///< what this target adds to `order`
    std::vector<std::string>* order = nullptr; ///< grows at every record

  private:
    static std::string shown(const char* text) { return text == nullptr ? nullText : text; }

    static std::string message(const char* format, char* args) {
        if (format == nullptr || args == nullptr) {
            return shown(format);
        }
        char text[8192];
        elmu::ArgumentList list(args);
        std::vsnprintf(text, sizeof text, format, list.get());
        return text;
    }
};

} // namespace support

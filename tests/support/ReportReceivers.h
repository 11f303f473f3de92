#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/RecordingLogger.h"
#include <elmu/utils/Reporting.h>

/// What the utilities report, caught at each of the places that their reports can go to.
namespace support {

enum class Receiver {
    OwnLogger,           ///< given to the operation or the object
    ProcessWideFunction, ///< ELMUUtils::elmuUtilsLogMessageFnPtr
    ProcessWideLogger,   ///< ELMUUtils::elmuUtilsLogger
    Nobody,
};

inline const std::vector<Receiver>& allReceivers() {
    static const std::vector<Receiver> all{Receiver::OwnLogger, Receiver::ProcessWideFunction,
                                           Receiver::ProcessWideLogger};
    return all;
}

inline std::string nameOf(Receiver receiver) {
    static const std::vector<std::string> names{"ToItsOwnLogger", "ToTheProcessWideFunction",
                                                "ToTheProcessWideLogger", "ToNobody"};
    return names[static_cast<std::size_t>(receiver)];
}

inline void PrintTo(Receiver receiver, std::ostream* out) { *out << nameOf(receiver); }

inline std::string receiverName(const testing::TestParamInfo<Receiver>& info) { return nameOf(info.param); }

/// A report without its envelope.
struct Line {
    elmu::Log_Level level;
    std::string message;
    bool operator==(const Line&) const = default;
};

using Lines = std::vector<Line>;

inline std::ostream& operator<<(std::ostream& out, const Line& line) {
    return out << line.level << " \"" << line.message << "\"";
}

/// Installs `first` and every receiver that ranks below it, and puts the process-wide ones back to none at
/// the end. Only one instance may be alive at a time.
class ReportReceivers {
  public:
    explicit ReportReceivers(Receiver first) : receiver(first) {
        functionRecords().clear();
        if (receiver <= Receiver::ProcessWideFunction) {
            ELMUUtils::elmuUtilsLogMessageFnPtr = &catchFunctionCall;
        }
        if (receiver <= Receiver::ProcessWideLogger) {
            ELMUUtils::elmuUtilsLogger = &processWideLogger;
        }
    }
    ~ReportReceivers() {
        ELMUUtils::elmuUtilsLogMessageFnPtr = nullptr;
        ELMUUtils::elmuUtilsLogger = nullptr;
    }
    ReportReceivers(const ReportReceivers&) = delete;
    ReportReceivers& operator=(const ReportReceivers&) = delete;

    /// What to hand to the operation or the object under test.
    void* logger() {
        return receiver == Receiver::OwnLogger ? static_cast<elmu::AbstractLogger*>(&ownLogger) : nullptr;
    }

    /// The calls that the first receiver got. The test fails when a receiver that ranks lower got any.
    std::vector<Record> records() const {
        EXPECT_TRUE(receiver == Receiver::OwnLogger || ownLogger.records.empty());
        EXPECT_TRUE(receiver == Receiver::ProcessWideFunction || functionRecords().empty());
        EXPECT_TRUE(receiver == Receiver::ProcessWideLogger || processWideLogger.records.empty());
        switch (receiver) {
        case Receiver::OwnLogger:
            return ownLogger.records;
        case Receiver::ProcessWideFunction:
            return functionRecords();
        case Receiver::ProcessWideLogger:
            return processWideLogger.records;
        case Receiver::Nobody:
            break;
        }
        return {};
    }

    /// Levels and messages of `records`. The test fails when one of them does not come from `component` or
    /// has other texts beside its message than reports have.
    Lines lines(const std::string& component) const {
        Lines result;
        for (const Record& record : records()) {
            EXPECT_EQ(record.operation, receiver == Receiver::ProcessWideFunction
                                            ? "ELMUUtils:" + component + ":function"
                                            : "log");
            EXPECT_EQ(record.detail1, "");
            EXPECT_EQ(record.detail2, receiver == Receiver::ProcessWideFunction ? "" : component);
            result.push_back({record.level, record.message});
        }
        return result;
    }

  private:
    static std::vector<Record>& functionRecords() {
        static std::vector<Record> instance;
        return instance;
    }

    static void catchFunctionCall(elmu::Log_Level level, const char* library, const char* component,
                                  const char* detail1, const char* detail2, const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        functionRecords().push_back({textOrNull(library) + ":" + textOrNull(component) + ":function", level,
                                     "", textOrNull(detail1), textOrNull(detail2), textOrNull(format),
                                     formatted(format, arguments)});
        va_end(arguments);
    }

    Receiver receiver;
    RecordingLogger ownLogger;
    RecordingLogger processWideLogger;
};

} // namespace support

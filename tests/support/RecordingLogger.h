#pragma once

#include <cstdarg>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include <elmu/logging/AbstractLogger.h>
#include <elmu/logging/ArgumentList.h>

/// A logger that remembers what it was told.
namespace support {

/// One call of one of a logger's operations. A null text is kept as "(null)", a text that the operation does
/// not have as "".
struct Record {
    std::string operation;
    elmu::Log_Level level = elmu::ALL;
    std::string context4;
    std::string detail1;
    std::string detail2;
    std::string format;
    std::string message; ///< `format` with its arguments, of any length
    bool operator==(const Record&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Record& record) {
    return out << record.operation << " " << record.level << " [" << record.context4 << "|" << record.detail1
               << "|" << record.detail2 << "] \"" << record.format << "\" -> \"" << record.message << "\"";
}

inline std::string textOrNull(const char* text) { return text == nullptr ? "(null)" : text; }

inline std::string formatted(const char* format, std::va_list arguments) {
    if (format == nullptr) {
        return "";
    }
    std::va_list copy;
    va_copy(copy, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length < 0) {
        return "(unprintable)";
    }
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

class RecordingLogger final : public elmu::AbstractLogger {
  public:
    std::vector<Record> records;

    void trace(const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"trace", elmu::TRACE, "", "", "", textOrNull(format), formatted(format, arguments)});
        va_end(arguments);
    }
    void debug(const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"debug", elmu::DEBUG, "", "", "", textOrNull(format), formatted(format, arguments)});
        va_end(arguments);
    }
    void info(const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"info", elmu::INFO, "", "", "", textOrNull(format), formatted(format, arguments)});
        va_end(arguments);
    }
    void warn(const char* detail1, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"warn", elmu::WARN, "", textOrNull(detail1), "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void error(const char* detail1, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"error", elmu::ERROR, "", textOrNull(detail1), "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void fatal(const char* detail1, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"fatal", elmu::FATAL, "", textOrNull(detail1), "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void log(elmu::Log_Level level, const char* detail1, const char* detail2, const char* format,
             ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"log", level, "", textOrNull(detail1), textOrNull(detail2), textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void logit(elmu::Log_Level level, const char* detail1, const char* detail2, const char* format,
               char* args) override {
        std::string message = textOrNull(format);
        if (args != nullptr) {
            elmu::ArgumentList arguments(args);
            message = formatted(format, arguments.get());
        }
        add({"logit", level, "", textOrNull(detail1), textOrNull(detail2), textOrNull(format), message});
    }
    void logTrace(const char* context4, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"logTrace", elmu::TRACE, textOrNull(context4), "", "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void logDebug(const char* context4, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"logDebug", elmu::DEBUG, textOrNull(context4), "", "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void logInfo(const char* context4, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"logInfo", elmu::INFO, textOrNull(context4), "", "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void logWarn(const char* context4, const char* detail1, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"logWarn", elmu::WARN, textOrNull(context4), textOrNull(detail1), "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void logError(const char* context4, const char* detail1, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"logError", elmu::ERROR, textOrNull(context4), textOrNull(detail1), "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }
    void logFatal(const char* context4, const char* detail1, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        add({"logFatal", elmu::FATAL, textOrNull(context4), textOrNull(detail1), "", textOrNull(format),
             formatted(format, arguments)});
        va_end(arguments);
    }

  private:
    void add(Record record) { records.push_back(std::move(record)); }
};

} // namespace support

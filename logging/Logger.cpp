#include <elmu/logging/Logger.h>

#include <elmu/logging/ArgumentList.h>
#include <elmu/logging/LoggingCore.h>

namespace elmu {

namespace {

const char* orEmpty(const char* text) { return text == nullptr ? "" : text; }

} // namespace

Logger::Logger(const char* id, const char* first, const char* second, const char* third, const char* fourth)
    : core(nullptr), context1(orEmpty(first)), context2(orEmpty(second)), context3(orEmpty(third)),
      context4(orEmpty(fourth)), identifier(orEmpty(id)) {
    core = LoggingCore::getInstance();
}

void Logger::trace(const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    logit(levels::trace, "", "", format, travellingArguments(list));
    va_end(list);
}

void Logger::debug(const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    logit(levels::debug, "", "", format, travellingArguments(list));
    va_end(list);
}

void Logger::info(const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    logit(levels::info, "", "", format, travellingArguments(list));
    va_end(list);
}

void Logger::warn(const char* detail1, const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    logit(levels::warn, orEmpty(detail1), "", format, travellingArguments(list));
    va_end(list);
}

void Logger::error(const char* detail1, const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    logit(levels::error, orEmpty(detail1), "", format, travellingArguments(list));
    va_end(list);
}

void Logger::fatal(const char* detail1, const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    logit(levels::fatal, orEmpty(detail1), "", format, travellingArguments(list));
    va_end(list);
}

void Logger::log(Log_Level level, const char* detail1, const char* detail2, const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    logit(level, orEmpty(detail1), orEmpty(detail2), format, travellingArguments(list));
    va_end(list);
}

void Logger::logit(Log_Level level, const char* detail1, const char* detail2, const char* format,
                   char* args) {
    core->log(identifier.c_str(), level, context1.c_str(), context2.c_str(), context3.c_str(),
              context4.c_str(), detail1, detail2, format, args, 0);
}

void Logger::logTrace(const char* replacedContext4, const char* format, ...) {
    if (replacedContext4 == nullptr || format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    core->log(identifier.c_str(), levels::trace, context1.c_str(), context2.c_str(), context3.c_str(),
              replacedContext4, "", "", format, travellingArguments(list), 0);
    va_end(list);
}

void Logger::logDebug(const char* replacedContext4, const char* format, ...) {
    if (replacedContext4 == nullptr || format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    core->log(identifier.c_str(), levels::debug, context1.c_str(), context2.c_str(), context3.c_str(),
              replacedContext4, "", "", format, travellingArguments(list), 0);
    va_end(list);
}

void Logger::logInfo(const char* replacedContext4, const char* format, ...) {
    if (replacedContext4 == nullptr || format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    core->log(identifier.c_str(), levels::info, context1.c_str(), context2.c_str(), context3.c_str(),
              replacedContext4, "", "", format, travellingArguments(list), 0);
    va_end(list);
}

void Logger::logWarn(const char* replacedContext4, const char* detail1, const char* format, ...) {
    if (replacedContext4 == nullptr || detail1 == nullptr || format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    core->log(identifier.c_str(), levels::warn, context1.c_str(), context2.c_str(), context3.c_str(),
              replacedContext4, detail1, "", format, travellingArguments(list), 0);
    va_end(list);
}

void Logger::logError(const char* replacedContext4, const char* detail1, const char* format, ...) {
    if (replacedContext4 == nullptr || detail1 == nullptr || format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    core->log(identifier.c_str(), levels::error, context1.c_str(), context2.c_str(), context3.c_str(),
              replacedContext4, detail1, "", format, travellingArguments(list), 0);
    va_end(list);
}

void Logger::logFatal(const char* replacedContext4, const char* detail1, const char* format, ...) {
    if (replacedContext4 == nullptr || detail1 == nullptr || format == nullptr) {
        return;
    }
    std::va_list list;
    va_start(list, format);
    core->log(identifier.c_str(), levels::fatal, context1.c_str(), context2.c_str(), context3.c_str(),
              replacedContext4, detail1, "", format, travellingArguments(list), 0);
    va_end(list);
}

} // namespace elmu

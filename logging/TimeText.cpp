#include <elmu/logging/TimeText.h>

#include <cstdio>
#include <ctime>

#include <langinfo.h>

#include <elmu/logging/ArgumentList.h>
#include <elmu/logging/PlainFormat.h>

namespace elmu {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

std::int64_t currentSeconds() {
    timeval now = {};
    getCurrentTime(now);
    return now.tv_sec;
}

bool assignLocalTime(std::string& text, std::int64_t seconds, const char* pattern) {
    char buffer[256];
    const std::size_t length = formatLocalTime(seconds, pattern, buffer, sizeof buffer);
    if (length == 0) {
        return false;
    }
    text.assign(buffer, length);
    return true;
}

} // namespace

bool getOffSetDate(std::string& date, int days) { return getOffSetDate(date, days, currentSeconds()); }

bool getOffSetDate(std::string& date, int days, std::int64_t now) {
    return assignLocalTime(date, now + days * kSecondsPerDay, "%Y-%m-%d");
}

bool getDatetime(std::string& stamp) { return getDatetime(stamp, currentSeconds()); }

bool getDatetime(std::string& stamp, std::int64_t now) {
    return assignLocalTime(stamp, now, "%Y-%m-%d %H-%M-%S");
}

int getLogMessage(char* buffer, unsigned long size, const char* format, char* args) {
    if (args == nullptr) {
        return 0;
    }
    if (size > 1) {
        ArgumentList list(args);
        if (const auto length = formatPlainly(buffer, size - 1, format, list.get())) {
            return *length;
        }
    }
    ArgumentList list(args);
    return std::vsnprintf(buffer, size - 1, format, list.get());
}

std::size_t formatLocalTime(std::int64_t seconds, const char* pattern, char* buffer, std::size_t size) {
    // localtime_r alone may keep to the time zone it saw first.
    ::tzset();
    const std::time_t time = seconds;
    std::tm local = {};
    if (::localtime_r(&time, &local) == nullptr) {
        return 0;
    }
    return std::strftime(buffer, size, pattern, &local);
}

std::size_t CurrentSecondText::format(std::int64_t seconds, char* buffer, std::size_t size) {
    const char* locale = ::nl_langinfo(D_FMT);
    if (!heldText.empty() && seconds == heldSeconds && locale == heldLocale) {
        return heldText.copy(buffer, size);
    }
    const std::size_t length = formatLocalTime(seconds, "%x %X", buffer, size);
    heldText.assign(buffer, length);
    heldSeconds = seconds;
    heldLocale = locale;
    return length;
}

} // namespace elmu

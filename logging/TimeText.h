#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <sys/time.h>

/// Times and messages as text. All dates are local time, by the time zone in force at the call. Seconds
/// travel as 64 bits: on 32-bit systems the size of `time_t` depends on a macro that a program may set
/// otherwise than the library does.
namespace elmu {

/// Fills `now` with the current time. Each source file has its own copy of this function, because two files
/// of one program may mean different structures by `timeval`.
static inline void getCurrentTime(timeval& now) { ::gettimeofday(&now, nullptr); }

/// Puts the date of now plus `days` times 86400 seconds, as 2026-11-16, into `date`. False, with `date`
/// untouched, when it has no text.
bool getOffSetDate(std::string& date, int days);

/// The same with `now` in seconds since the epoch.
bool getOffSetDate(std::string& date, int days, std::int64_t now);

/// Puts the current date and time, as 2026-11-16 04-49-07, into `stamp`: fit for a file name. False, with
/// `stamp` untouched, when it has no text.
bool getDatetime(std::string& stamp);

/// The same with `now` in seconds since the epoch.
bool getDatetime(std::string& stamp, std::int64_t now);

/// Formats `format` with a copy of the travelling argument list `args` (see elmu/logging/ArgumentList.h) into
/// `buffer` of `size` bytes, of which the last is never used: at most `size` - 2 characters and a NUL. The
/// result is `vsnprintf`'s. With null `args`, 0 and `buffer` untouched.
int getLogMessage(char* buffer, unsigned long size, const char* format, char* args);

/// Writes `seconds` since the epoch as local time by the `strftime` pattern `pattern` into `buffer` of
/// `size` bytes. The number of characters without the NUL; 0 when there is no text, and `buffer` is then
/// undefined.
std::size_t formatLocalTime(std::int64_t seconds, const char* pattern, char* buffer, std::size_t size);

/// The text of the second in which records are being written, so that the records of one second pay for it
/// once. A change of the locale shows at once, one of the time zone with the next second.
class CurrentSecondText {
  public:
    /// What `formatLocalTime` gives for "%x %X".
    std::size_t format(std::int64_t seconds, char* buffer, std::size_t size);

  private:
    std::int64_t heldSeconds = 0;
    const char* heldLocale = nullptr;
    std::string heldText;
};

} // namespace elmu

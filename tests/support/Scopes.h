#pragma once

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

/// Settings of the process that hold from construction to destruction.
namespace support {

/// Works in the time zone `zone`, written as TZ takes it.
class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(const std::string& zone) {
        if (const char* value = std::getenv("TZ")) {
            saved = value;
        }
        ::setenv("TZ", zone.c_str(), 1);
        ::tzset();
    }
    ~ScopedTimeZone() {
        if (saved) {
            ::setenv("TZ", saved->c_str(), 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

  private:
    std::optional<std::string> saved;
};

/// Has the environment variable `variable` at `value`, or without one.
class ScopedVariable {
  public:
    ScopedVariable(const char* variable, const char* value) : name(variable) {
        const char* const old = std::getenv(name);
        earlier = old ? std::optional<std::string>(old) : std::nullopt;
        set(value);
    }
    ~ScopedVariable() { set(earlier ? earlier->c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    void set(const char* value) const { value ? ::setenv(name, value, 1) : ::unsetenv(name); }

    const char* name;
    std::optional<std::string> earlier;
};

/// Lets no file of this process grow beyond `bytes`; a write there fails.
class ScopedFileSizeLimit {
  public:
    explicit ScopedFileSizeLimit(rlim_t bytes) : savedHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &saved);
        rlimit limit = saved;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~ScopedFileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, savedHandler);
    }
    ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
    ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;

  private:
    rlimit saved = {};
    void (*savedHandler)(int);
};

/// Ends the process when it takes longer than `seconds`, so that waiting for ever is a failure.
class ScopedAlarm {
  public:
    explicit ScopedAlarm(unsigned seconds) { ::alarm(seconds); }
    ~ScopedAlarm() { ::alarm(0); }
    ScopedAlarm(const ScopedAlarm&) = delete;
    ScopedAlarm& operator=(const ScopedAlarm&) = delete;
};

} // namespace support

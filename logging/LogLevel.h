#pragma once

#include <cstdint>

namespace elmu {

/// How severe a record is; a larger number is more severe. A target writes a record whose level is at
/// least its own, so a target at `ALL` writes every record and one at `NONE` none that the levels name.
enum Log_Level : std::int32_t {
    ALL = 0,
    TRACE = 10,
    DEBUG = 20,
    INFO = 30,
    WARN = 40,
    ERROR = 50,
    FATAL = 60,
    NONE = 70,
};

} // namespace elmu

#pragma once

#include <cstdint>

// Builds define some of these names as macros: Xcode's debug builds DEBUG, others ERROR or TRACE. The macros
// are put aside for this header and restored at its end.
#pragma push_macro("ALL")
#pragma push_macro("TRACE")
#pragma push_macro("DEBUG")
#pragma push_macro("INFO")
#pragma push_macro("WARN")
#pragma push_macro("ERROR")
#pragma push_macro("FATAL")
#pragma push_macro("NONE")
#undef ALL
#undef TRACE
#undef DEBUG
#undef INFO
#undef WARN
#undef ERROR
#undef FATAL
#undef NONE

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

/// The same levels, for code in which a macro hides one of the names above: with `-DDEBUG`, write
/// `elmu::levels::debug`.
namespace levels {

inline constexpr Log_Level all = ALL;
inline constexpr Log_Level trace = TRACE;
inline constexpr Log_Level debug = DEBUG;
inline constexpr Log_Level info = INFO;
inline constexpr Log_Level warn = WARN;
inline constexpr Log_Level error = ERROR;
inline constexpr Log_Level fatal = FATAL;
inline constexpr Log_Level none = NONE;

} // namespace levels

} // namespace elmu

#pragma pop_macro("NONE")
#pragma pop_macro("FATAL")
#pragma pop_macro("ERROR")
#pragma pop_macro("WARN")
#pragma pop_macro("INFO")
#pragma pop_macro("DEBUG")
#pragma pop_macro("TRACE")
#pragma pop_macro("ALL")

#pragma once

#include <string>

#include "Messages.h"

namespace bench {

/// What a log must hold: the records 0 to `recordsEach` - 1 of each process.
struct Expected {
    Kind kind;
    bool masks;
    int processes;
    int recordsEach;
};

/// Why the log `path` is not made of the expected whole lines, each once, those of a process in their order.
/// Empty when it is.
std::string faultOf(const std::string& path, const Expected& expected);

} // namespace bench

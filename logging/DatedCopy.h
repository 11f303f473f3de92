#pragma once

#include <ctime>
#include <string>

namespace elmu {

/// Copies the file `path` to its dated copy beside it, named after `now` (in seconds since the epoch). The
/// copy appears under its name whole and on the disk, or not at all; until then it is a hidden file, which
/// the next call clears away if this one was killed. It takes no other copy's place: when the name is taken,
/// the copy is named after the next second that is free. False, with `path` untouched in any case, when the
/// copying fails. To be called by one process at a time.
bool makeDatedCopy(const std::string& path, std::time_t now);

} // namespace elmu

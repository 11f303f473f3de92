#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace elmu {

/// Copies the file `path` to its dated copy beside it, named after `now` (in seconds since the epoch). The
/// copy appears under its name whole and on the disk, or not at all; until then it is a hidden file, which
/// the next call clears away if this one was killed. It takes no other copy's place, and its name is greater
/// than those of the copies made in the same second: when names from `now` on are taken, it is named after
/// the second that follows the last of them. The second in its name; nothing, with `path` untouched in any
/// case, when the copying fails. To be called by one process at a time.
std::optional<std::int64_t> makeDatedCopy(const std::string& path, std::int64_t now);

} // namespace elmu

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {
class LogFile;
}

namespace elmu {

/// Moves the content of `log`, which was opened as `path`, to its dated copy beside it, named after `now` (in
/// seconds since the epoch). Whenever this process is killed, `finishInterruptedMove` brings about that each
/// record is either in the log or in a copy: the copy has a hidden name while it is made, and another one
/// when it is on the disk; then the log is emptied, and then the copy gets its dated name. The copy takes no
/// other copy's place, and its name is greater than those of copies made in the same second: if names from
/// `now` on are taken, it is named after the second that follows the last of them. Returns the second in its
/// name. Returns nothing if that fails, with the log as it was; or with an empty log and the copy waiting for
/// `finishInterruptedMove`, if only the dated name was refused. To be called with the lock held.
std::optional<std::int64_t> moveToDatedCopy(const platform::LogFile& log, const std::string& path,
                                            std::int64_t now);

/// Completes or undoes the move of a process that was killed. An unfinished copy is removed, and so is a
/// finished one if `log` still begins with all it holds; otherwise it gets its dated name, or another hidden
/// one if comparing it would take too long. Left alone are a copy whose maker lives, and one of a user who
/// must not learn whether the log begins like it. To be called with the lock held.
void finishInterruptedMove(const platform::LogFile& log, const std::string& path, std::int64_t now);

} // namespace elmu

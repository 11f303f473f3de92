#pragma once

#include <string_view>

namespace platform {
class LogFile;
}

namespace elmu {

/// Whether a file ends with the beginning of a record whose writer was killed. `tail` is the end of the file,
/// or all of it if `isWholeFile`. False if the last line is finished, or does not begin like a record, with a
/// date and a time in the form of the C locale: other text has other rules.
bool endsInUnfinishedRecord(std::string_view tail, bool isWholeFile);

/// The same for `log`, which ends at `end`. A killed writer's text ends where a block of memory does, so the
/// file is read only then. False if the file cannot be read or has grown meanwhile: somebody is writing.
bool endsInUnfinishedRecord(const platform::LogFile& log, long long end);

} // namespace elmu

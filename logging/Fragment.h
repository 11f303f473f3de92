#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace elmu {

/// How many bytes at the end of a file are the beginning of a record whose writer was killed. `tail` is the
/// end of the file from some place in an earlier line on, or, when `isWholeFile`, all of it. 0 when the last
/// line is finished or does not begin like a record, with a date and a time in the form of the C locale: then
/// it is not ours to judge.
std::size_t unfinishedRecordLength(std::string_view tail, bool isWholeFile);

/// Cuts off the beginning of a record that a killed writer left at the end of the file `path`, if there is
/// one and the file ends at `end`: otherwise it is not the file that was looked at. To be called with the
/// lock held.
void cutUnfinishedRecord(const std::string& path, long long end);

/// Cuts off what a failed write of `line` left in the file `path` from `start` on. Does nothing when
/// something else stands there. To be called with the lock held.
void cutFailedLine(const std::string& path, long long start, std::string_view line);

} // namespace elmu

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace elmu {

/// How many bytes at the end of a file are the beginning of a line whose writing failed. `tail` is the end of
/// the file, as long as `line` (which ends in its newline) or, if the file is shorter, all of it, and then
/// `isWholeFile`. The line began after a newline or at the start of the file. 0 when none of it is there.
std::size_t fragmentLength(std::string_view tail, bool isWholeFile, std::string_view line);

/// How many bytes at the end of a file are the beginning of a record whose writer was killed. `tail` is the
/// end of the file from some place in an earlier line on, or, when `isWholeFile`, all of it. 0 when the last
/// line is finished or does not begin like a record (with a date and a time): then it is not ours to judge.
std::size_t unfinishedRecordLength(std::string_view tail, bool isWholeFile);

/// Cuts off the beginning of a record that a killed writer left at the end of the file `path`, if there is
/// one.
void cutUnfinishedRecord(const std::string& path);

/// Cuts off what a failed write of `line` left at the end of the file `path`, so that the next line does not
/// begin in the middle of one. Does nothing when the file cannot be read or ends in something else.
void cutFragment(const std::string& path, const std::string& line);

} // namespace elmu

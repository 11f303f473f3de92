#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <elmu/logging/LogLevel.h>

/// When a log file is rotated, and which of its dated copies stay: decided on values alone.
namespace elmu {

/// The size in bytes from which on a target at `level` rotates its file.
long long segmentSizeLimit(Log_Level level);

/// Whether a marker file that begins with `firstBytes` asks to keep all copies. Only the first nine bytes
/// count: it holds "keeplogs" and then ends or goes on with a zero byte. A newline there asks for nothing.
bool asksToKeepLogs(std::string_view firstBytes);

/// The folder of the file `path`: what is before its last "/", or all of `path` when it has none.
std::string logFolder(const std::string& path);

/// Whether `path` has a folder part. A log without one has no marker beside it and no copies to prune.
bool hasFolder(const std::string& path);

/// How the names of copies from the latest `days` days begin: `baseName`, a blank, and the local date of
/// `now`, of the day before, and so on. Empty when `days` is 0 or negative.
std::vector<std::string> recentDatePrefixes(const std::string& baseName, int days, std::int64_t now);

/// The names by which pruning knows a log and its copies.
struct LogNames {
    std::string baseName;    ///< of the live file, without its extension
    std::string currentName; ///< of the live file
};

/// The names of the log file `path`.
LogNames logNames(const std::string& path);

/// The paths to remove, in order, from the paths `entries` below the log's folder: everything whose path
/// begins with the base name, except the live file and copies that begin with one of `prefixes`; and of these
/// copies all but the greatest names, so that `count` + 1 files stay with the live one. Nothing if `prefixes`
/// is empty.
std::vector<std::string> pathsToPrune(const LogNames& log, const std::vector<std::string>& prefixes,
                                      std::vector<std::string> entries, int count);

} // namespace elmu

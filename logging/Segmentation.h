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

/// Whether a marker file that begins with `firstBytes`, of which the first nine count, asks to keep all
/// copies: it holds "keeplogs" and then ends or goes on with a zero byte. A newline there asks for nothing.
bool asksToKeepLogs(std::string_view firstBytes);

/// The folder of the file `path`: what stands before its last "/", or all of `path` when it has none.
std::string logFolder(const std::string& path);

/// How the names of copies from the latest `days` days begin: `baseName`, a blank, and the local date of
/// `now`, of the day before, and so on. Empty when `days` is 0 or negative.
std::vector<std::string> recentDatePrefixes(const std::string& baseName, int days, std::int64_t now);

/// What pruning has to know of a log.
struct LogFamily {
    std::string folder;
    std::string baseName;    ///< of the live file, without its extension
    std::string currentName; ///< of the live file
};

/// The paths to remove, in order, from the paths `entries` below the log's folder: everything whose name
/// begins with the base name, except the live file and copies that begin with one of `prefixes`; and of these
/// copies all but the greatest names, so that `count` + 1 files stay with the live one. Nothing when
/// `prefixes` is empty.
std::vector<std::string> pathsToPrune(const LogFamily& log, const std::vector<std::string>& prefixes,
                                      const std::vector<std::string>& entries, int count);

} // namespace elmu

#include <elmu/logging/UnfinishedRecord.h>

#include <algorithm>

#include "platform/LogFile.h"

namespace elmu {

namespace {

constexpr long long kBlockSize = 4096;

/// Longer lines than this are not searched for their beginning.
constexpr std::size_t kLongestTail = std::size_t{1024} * 1024;

/// The beginning of a record. A '0' matches any digit.
constexpr std::string_view kRecordStart = "00/00/00 00:00:00:000 ";

bool beginsLikeARecord(std::string_view line) {
    const std::size_t length = std::min(line.size(), kRecordStart.size());
    return std::equal(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(length), kRecordStart.begin(),
                      [](char character, char pattern) {
                          return pattern == '0' ? character >= '0' && character <= '9' : character == pattern;
                      });
}

} // namespace

bool endsInUnfinishedRecord(std::string_view tail, bool isWholeFile) {
    const auto newline = tail.rfind('\n');
    if (newline == std::string_view::npos && !isWholeFile) {
        return false;
    }
    const std::string_view line = tail.substr(newline + 1);
    return !line.empty() && beginsLikeARecord(line);
}

bool endsInUnfinishedRecord(const platform::LogFile& log, long long end) {
    if (end == 0 || end % kBlockSize != 0 || log.tail(end, 1).value_or("\n") == "\n") {
        return false;
    }
    const auto tail = log.tail(end, kLongestTail);
    const bool isWholeFile = end <= static_cast<long long>(kLongestTail);
    return tail && endsInUnfinishedRecord(*tail, isWholeFile) && log.size() == end;
}

} // namespace elmu

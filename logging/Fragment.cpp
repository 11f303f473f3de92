#include <elmu/logging/Fragment.h>

#include <algorithm>

#include "platform/Files.h"

namespace elmu {

namespace {

/// Longer lines than this are not searched for their beginning.
constexpr std::size_t kLongestTail = std::size_t{1024} * 1024;

/// How a record begins; '0' stands for any digit.
constexpr std::string_view kRecordStart = "00/00/00 00:00:00:000 ";

bool beginsLikeARecord(std::string_view line) {
    const std::size_t length = std::min(line.size(), kRecordStart.size());
    return std::equal(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(length), kRecordStart.begin(),
                      [](char character, char pattern) {
                          return pattern == '0' ? character >= '0' && character <= '9' : character == pattern;
                      });
}

} // namespace

std::size_t unfinishedRecordLength(std::string_view tail, bool isWholeFile) {
    const auto newline = tail.rfind('\n');
    if (newline == std::string_view::npos && !isWholeFile) {
        return 0;
    }
    const std::string_view line = tail.substr(newline + 1);
    return beginsLikeARecord(line) ? line.size() : 0;
}

void cutUnfinishedRecord(const std::string& path, long long end) {
    const auto last = platform::fileTail(path.c_str(), 1);
    if (!last || last->text == "\n" || last->fileSize != end) {
        return;
    }
    const auto tail = platform::fileTail(path.c_str(), kLongestTail);
    if (!tail) {
        return;
    }
    const bool isWholeFile = static_cast<long long>(tail->text.size()) == tail->fileSize;
    const auto length = static_cast<long long>(unfinishedRecordLength(tail->text, isWholeFile));
    if (length != 0) {
        platform::truncateFile(path.c_str(), tail->fileSize - length);
    }
}

void cutFailedLine(const std::string& path, long long start, std::string_view line) {
    const auto tail = platform::fileTail(path.c_str(), line.size());
    const long long length = tail ? tail->fileSize - start : 0;
    if (length <= 0 || length >= static_cast<long long>(line.size())) {
        return;
    }
    if (tail->text.ends_with(line.substr(0, static_cast<std::size_t>(length)))) {
        platform::truncateFile(path.c_str(), start);
    }
}

} // namespace elmu

#include "logging/Fragment.h"

#include <algorithm>

#include "platform/Files.h"

namespace elmu {

namespace {

/// Longer lines than this are not searched for their beginning.
constexpr std::size_t kLongestTail = 1024 * 1024;

/// Where the line after the one at `position` begins; the end when there is none.
std::size_t nextLine(std::string_view text, std::size_t position) {
    const auto newline = text.find('\n', position);
    return newline == std::string_view::npos ? text.size() : newline + 1;
}

/// How a record begins; '0' stands for any digit.
constexpr std::string_view kRecordStart = "00/00/00 00:00:00:000 ";

bool beginsLikeARecord(std::string_view line) {
    const std::size_t length = std::min(line.size(), kRecordStart.size());
    return std::equal(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(length), kRecordStart.begin(),
                      [](char character, char pattern) {
                          return pattern == '0' ? character >= '0' && character <= '9' : character == pattern;
                      });
}

/// Cuts the last `length` bytes off a file whose end is `tail`.
void cutOff(const std::string& path, const platform::FileTail& tail, std::size_t length) {
    if (length != 0) {
        platform::truncateFile(path.c_str(), tail.fileSize - static_cast<long long>(length));
    }
}

bool isWholeFile(const platform::FileTail& tail) {
    return static_cast<long long>(tail.text.size()) == tail.fileSize;
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

void cutUnfinishedRecord(const std::string& path) {
    const auto last = platform::fileTail(path.c_str(), 1);
    if (!last || last->text == "\n") {
        return;
    }
    if (const auto tail = platform::fileTail(path.c_str(), kLongestTail)) {
        cutOff(path, *tail, unfinishedRecordLength(tail->text, isWholeFile(*tail)));
    }
}

std::size_t fragmentLength(std::string_view tail, bool isWholeFile, std::string_view line) {
    for (auto start = isWholeFile ? 0 : nextLine(tail, 0); start < tail.size();
         start = nextLine(tail, start)) {
        const std::string_view fragment = tail.substr(start);
        if (fragment.size() < line.size() && line.starts_with(fragment)) {
            return fragment.size();
        }
    }
    return 0;
}

void cutFragment(const std::string& path, const std::string& line) {
    if (const auto tail = platform::fileTail(path.c_str(), line.size())) {
        cutOff(path, *tail, fragmentLength(tail->text, isWholeFile(*tail), line));
    }
}

} // namespace elmu

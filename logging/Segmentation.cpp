#include <elmu/logging/Segmentation.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include <elmu/logging/PathText.h>
#include <elmu/logging/TimeText.h>

namespace elmu {

namespace {

constexpr long long kMebibyte = 1024LL * 1024;
constexpr std::string_view kKeepLogs = "keeplogs";

bool beginsWithOneOf(const std::vector<std::string>& prefixes, const std::string& name) {
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&name](const std::string& prefix) { return name.starts_with(prefix); });
}

} // namespace

long long segmentSizeLimit(Log_Level level) {
    switch (level) {
    case levels::trace:
        return 50 * kMebibyte;
    case levels::debug:
        return 20 * kMebibyte;
    default:
        return 10 * kMebibyte;
    }
}

bool asksToKeepLogs(std::string_view firstBytes) {
    return firstBytes.starts_with(kKeepLogs) &&
           (firstBytes.size() == kKeepLogs.size() || firstBytes[kKeepLogs.size()] == '\0');
}

bool hasFolder(const std::string& path) { return path.find('/') != std::string::npos; }

std::string logFolder(const std::string& path) { return path.substr(0, path.rfind('/')); }

std::vector<std::string> recentDatePrefixes(const std::string& baseName, int days, std::int64_t now) {
    std::vector<std::string> prefixes;
    for (int day = 0; day < days; ++day) {
        std::string date;
        getOffSetDate(date, -day, now);
        prefixes.push_back(std::string(baseName).append(" ").append(date));
    }
    return prefixes;
}

LogNames logNames(const std::string& path) {
    std::string basePath = path;
    removeFileExtension(basePath);
    return {basePath.substr(basePath.rfind('/') + 1), path.substr(path.rfind('/') + 1)};
}

std::vector<std::string> pathsToPrune(const LogNames& log, const std::vector<std::string>& prefixes,
                                      std::vector<std::string> entries, int count) {
    std::vector<std::string> pruned;
    std::vector<std::string> retained;
    if (prefixes.empty()) {
        return pruned;
    }
    for (std::string& entry : entries) {
        if (!entry.starts_with(log.baseName)) {
            continue;
        }
        const bool stays = entry == log.currentName || beginsWithOneOf(prefixes, entry);
        (stays ? retained : pruned).push_back(std::move(entry));
    }
    std::sort(retained.begin(), retained.end());
    // A name without an extension sorts before its copies; the live file must not be the first to go.
    std::stable_partition(retained.begin(), retained.end(),
                          [&log](const std::string& path) { return path != log.currentName; });
    const auto kept = std::min(retained.size(), static_cast<std::size_t>(count) + 1);
    pruned.insert(pruned.end(), std::make_move_iterator(retained.begin()),
                  std::make_move_iterator(retained.end() - static_cast<std::ptrdiff_t>(kept)));
    return pruned;
}

} // namespace elmu

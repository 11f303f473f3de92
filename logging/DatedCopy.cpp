#include <elmu/logging/DatedCopy.h>

#include "platform/LogCopy.h"
#include "platform/LogFile.h"
#include <elmu/logging/PathText.h>

namespace elmu {

namespace {

/// How many names are looked at at least, from that of `now` on.
constexpr int kSecondsTried = 100;

std::string datedPath(const std::string& path, std::int64_t second) {
    std::string name = path;
    appendTimeStampToFile(name, second);
    return name;
}

/// The name of the dated copy in the log's folder. Empty if it would be in another folder: what follows the
/// last dot of the path counts as the extension, also when that dot is in a folder's name.
std::string datedName(const std::string& path, std::int64_t second) {
    const std::string dated = datedPath(path, second);
    const auto nameStart = path.rfind('/') + 1;
    return dated.find('/', nameStart) == std::string::npos ? dated.substr(nameStart) : std::string();
}

/// The second after the last one near `now` whose name is taken. A gap before it is not used: pruning may
/// have made it, and a copy in it would be the next to go.
std::int64_t freeSecond(const platform::OpenFolder& folder, const std::string& path, std::int64_t now) {
    std::int64_t free = now;
    for (std::int64_t second = now; second < now + kSecondsTried || second == free; ++second) {
        if (folder.entry(datedName(path, second))) {
            free = second + 1;
        }
    }
    return free;
}

/// The copy's name until it is whole. It begins with a dot, so that pruning does not take it for a copy.
std::string unfinishedName(const platform::LogFile& log) { return "." + log.name() + ".copy"; }

/// The copy's name from then on, until the log is empty.
std::string finishedName(const platform::LogFile& log) { return "." + log.name() + ".copied"; }

/// Gives the copy its dated name. Returns the second in it.
std::optional<std::int64_t> publish(platform::LogCopy& copy, const platform::LogFile& log,
                                    const std::string& path, std::int64_t now) {
    const std::int64_t second = freeSecond(log.folder(), path, now);
    const bool isPublished = !copy.rename(datedName(path, second));
    return isPublished ? std::optional(second) : std::nullopt;
}

/// A whole copy under the name for one.
std::optional<platform::LogCopy> makeCopy(const platform::LogFile& log) {
    if (!platform::LogCopy::makeWay(log.folder(), finishedName(log))) {
        return std::nullopt;
    }
    auto copy = platform::LogCopy::make(log.folder(), unfinishedName(log));
    if (copy && (copy->fill(log) || copy->rename(finishedName(log)))) {
        copy->discard();
        return std::nullopt;
    }
    return copy;
}

} // namespace

std::optional<std::int64_t> moveToDatedCopy(const platform::LogFile& log, const std::string& path,
                                            std::int64_t now) {
    if (datedName(path, now).empty()) {
        return std::nullopt;
    }
    auto copy = makeCopy(log);
    if (copy && log.empty()) {
        copy->discard();
        return std::nullopt;
    }
    return copy ? publish(*copy, log, path, now) : std::nullopt;
}

void finishInterruptedMove(const platform::LogFile& log, const std::string& path, std::int64_t now) {
    const auto unfinished = platform::LogCopy::find(log, unfinishedName(log));
    if (unfinished) {
        unfinished->discard();
    }
    auto finished = platform::LogCopy::find(log, finishedName(log));
    if (!finished) {
        return;
    }
    if (finished->isTooLargeToCompare()) {
        finished->putAside();
    } else if (finished->isContainedIn(log)) {
        finished->discard();
    } else {
        publish(*finished, log, path, now);
    }
}

} // namespace elmu

#include "XmlListCost.h"

#include <algorithm>
#include <cstdint>
#include <unordered_set>
#include <vector>

namespace platform {

namespace {

/// The keys of one dictionary.
struct Keys {
    std::unordered_set<std::string_view> known = {};
    std::uint64_t count = 0;
    std::uint64_t repeated = 0;

    /// Whatever needs reading before it can be compared counts as a repetition.
    void add(std::string_view key) {
        ++count;
        const bool isPlain = key.find_first_of("&<") == std::string_view::npos;
        repeated += isPlain && known.insert(key).second ? 0 : 1;
    }
};

/// The comparisons that repeated keys cost.
class KeyCount {
  public:
    std::uint64_t searchesIn(std::string_view list) {
        for (std::size_t at = list.find('<'); at != std::string_view::npos; at = list.find('<', at + 1)) {
            take(list.substr(at));
        }
        while (!open.empty()) {
            close();
        }
        return searches;
    }

  private:
    void take(std::string_view markup) {
        constexpr std::string_view key = "<key>";
        if (markup.starts_with("<dict")) {
            open.emplace_back();
        } else if (markup.starts_with("</dict") && !open.empty()) {
            close();
        } else if (markup.starts_with(key) && !open.empty()) {
            open.back().add(markup.substr(key.size(), markup.find("</key") - key.size()));
        }
    }

    void close() {
        searches += open.back().count * open.back().repeated;
        open.pop_back();
    }

    std::vector<Keys> open;
    std::uint64_t searches = 0;
};

} // namespace

bool mayTakeLongToRead(std::string_view list) {
    constexpr std::uint64_t mostMoved = 100'000'000'000; // bytes
    constexpr std::uint64_t mostSearches = 20'000'000;
    const auto references = static_cast<std::uint64_t>(std::count(list.begin(), list.end(), '&'));
    return references * list.size() > mostMoved || KeyCount().searchesIn(list) > mostSearches;
}

} // namespace platform

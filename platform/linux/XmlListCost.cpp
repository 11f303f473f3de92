#include "XmlListCost.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace platform {

namespace {

/// The keys of one dictionary.
class Keys {
  public:
    /// Takes the key at the beginning of `text`. Whatever needs reading before it can be compared counts as
    /// a repetition.
    void add(std::string_view text) {
        const std::string_view key = text.substr(0, text.find('<'));
        ++count;
        if (text.substr(key.size()).starts_with("</key") && key.find('&') == std::string_view::npos) {
            comparable.push_back(key);
        }
    }

    /// The comparisons that the repeated keys cost. Sorts the keys: a list can be written so that all its
    /// keys have the same hash.
    std::uint64_t searches() {
        std::sort(comparable.begin(), comparable.end());
        const auto different = std::unique(comparable.begin(), comparable.end()) - comparable.begin();
        return count * (count - static_cast<std::uint64_t>(different));
    }

  private:
    std::vector<std::string_view> comparable;
    std::uint64_t count = 0;
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
            open.back().add(markup.substr(key.size()));
        }
    }

    void close() {
        searches += open.back().searches();
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

#include "XmlListCost.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "../posix/TextScan.h"

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
        for (takeUntil(list, "<"); !list.empty(); takeUntil(list, "<")) {
            if (!skipWhatIsNoTag(list)) {
                takeTag(list);
            }
        }
        while (!open.empty()) {
            close();
        }
        return searches;
    }

  private:
    /// Skips a comment, a section of character data or an instruction at the beginning of `list`.
    static bool skipWhatIsNoTag(std::string_view& list) {
        for (const auto& [opening, closing] :
             {std::pair("<!--", "-->"), std::pair("<![CDATA[", "]]>"), std::pair("<?", "?>")}) {
            if (take(list, opening)) {
                if (!takeThrough(list, closing)) {
                    list = {};
                }
                return true;
            }
        }
        return false;
    }

    void takeTag(std::string_view& list) {
        const std::string_view tag = takeUntil(list, ">");
        const std::string_view name = tag.substr(0, tag.find_first_of(" \t\r\n/", 1));
        take(list, ">");
        if (tag.starts_with("</")) {
            if (tag.starts_with("</dict") && !open.empty()) {
                close();
            }
        } else if (!tag.ends_with('/') && name == "<dict") {
            open.emplace_back();
        } else if (!tag.ends_with('/') && name == "<key" && !open.empty()) {
            open.back().add(list);
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

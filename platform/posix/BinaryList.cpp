#include "BinaryList.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "ParsingCost.h"

namespace platform {

namespace {

using Number = std::optional<std::uint64_t>;

/// The number that `size` bytes at `position` hold, the highest byte first.
Number numberAt(std::string_view bytes, std::uint64_t position, std::uint64_t size) {
    if (size == 0 || size > sizeof(std::uint64_t) || position > bytes.size() ||
        size > bytes.size() - position) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const char byte : bytes.substr(static_cast<std::size_t>(position), static_cast<std::size_t>(size))) {
        number = number << 8 | static_cast<unsigned char>(byte);
    }
    return number;
}

/// A binary property list as far as its values go.
class BinaryOutline {
  public:
    explicit BinaryOutline(std::string_view list)
        : content(list), trailer(list.substr(list.size() - std::min(list.size(), trailerSize))),
          offsetSize(trailerNumber(6, 1)), referenceSize(trailerNumber(7, 1)), count(trailerNumber(8, 8)),
          root(trailerNumber(16, 8)), offsetTable(trailerNumber(24, 8)) {}

    bool isTame() const {
        std::vector<Place> pending = {{root, 1}};
        std::uint64_t bytes = 0;
        for (std::size_t values = 1; !pending.empty();) {
            const Place place = pending.back();
            pending.pop_back();
            const auto parts = partsOf(place.value, mostValues - values);
            if (!parts || place.depth > deepest) {
                return false;
            }
            values += parts->size();
            bytes += bytesOf(place.value);
            if (values * markupMemory + 2 * bytes > mostParsingMemory) {
                return false;
            }
            for (const std::uint64_t part : *parts) {
                pending.push_back({part, place.depth + 1});
            }
        }
        return true;
    }

  private:
    struct Place {
        std::uint64_t value;
        int depth;
    };

    static constexpr std::size_t trailerSize = 32;
    static constexpr std::size_t mostValues = mostParsingMemory / markupMemory;
    static constexpr int deepest = 256;

    std::uint64_t trailerNumber(std::uint64_t position, std::uint64_t size) const {
        return numberAt(trailer, position, size).value_or(0);
    }

    Number positionOf(std::uint64_t value) const {
        if (value >= count || count > content.size() || offsetTable > content.size()) {
            return std::nullopt;
        }
        return numberAt(content, offsetTable + value * offsetSize, offsetSize);
    }

    /// The numbers of the values in a container; none for a value of another kind. Nothing when it is
    /// broken, not whole, or has more than `most`.
    std::optional<std::vector<std::uint64_t>> partsOf(std::uint64_t value, std::uint64_t most) const {
        const Number position = positionOf(value);
        const Number marker = position ? numberAt(content, *position, 1) : std::nullopt;
        if (!marker) {
            return std::nullopt;
        }
        const std::uint64_t kind = *marker >> 4;
        if (kind >= 0xA && kind <= 0xD) {
            return references(*position, kind == 0xD ? 2 : 1, most);
        }
        return isWhole(kind, *position) ? std::optional<std::vector<std::uint64_t>>(std::in_place)
                                        : std::nullopt;
    }

    /// Whether a value that is no container lies within the list.
    bool isWhole(std::uint64_t kind, std::uint64_t position) const {
        const std::uint64_t low = *numberAt(content, position, 1) & 0xF;
        if (kind >= 0x4 && kind <= 0x7) { // data and texts
            const std::uint64_t unit = kind == 0x6 ? 2 : 1;
            const Number entries = takeEntries(position);
            return entries && position <= content.size() && *entries <= (content.size() - position) / unit;
        }
        const bool isNumber = kind >= 0x1 && kind <= 0x3;
        const std::uint64_t size = isNumber ? std::uint64_t(1) << low : kind == 0x8 ? low + 1 : 0;
        return size < content.size() - position;
    }

    /// The length of a text or of data, which is known to be whole. 0 for any other value.
    std::uint64_t bytesOf(std::uint64_t value) const {
        std::uint64_t position = *positionOf(value);
        const std::uint64_t kind = *numberAt(content, position, 1) >> 4;
        return kind >= 0x4 && kind <= 0x7 ? *takeEntries(position) * (kind == 0x6 ? 2 : 1) : 0;
    }

    /// How many entries the value at `position` has, which becomes that of the first one.
    Number takeEntries(std::uint64_t& position) const {
        const std::uint64_t low = *numberAt(content, position++, 1) & 0xF;
        if (low != 0xF) {
            return low;
        }
        const std::uint64_t size = std::uint64_t(1) << (numberAt(content, position++, 1).value_or(0) & 0xF);
        const Number entries = numberAt(content, position, size);
        position += size;
        return entries;
    }

    std::optional<std::vector<std::uint64_t>> references(std::uint64_t position, std::uint64_t perEntry,
                                                         std::uint64_t most) const {
        const Number entries = takeEntries(position);
        if (!entries || *entries > most / perEntry) {
            return std::nullopt;
        }
        std::vector<std::uint64_t> result;
        for (std::uint64_t i = 0; i < *entries * perEntry; ++i) {
            const Number reference = numberAt(content, position + i * referenceSize, referenceSize);
            if (!reference) {
                return std::nullopt;
            }
            result.push_back(*reference);
        }
        return result;
    }

    std::string_view content;
    std::string_view trailer;
    std::uint64_t offsetSize;
    std::uint64_t referenceSize;
    std::uint64_t count;
    std::uint64_t root;
    std::uint64_t offsetTable;
};

} // namespace

bool isTameBinaryList(std::string_view list) { return BinaryOutline(list).isTame(); }

} // namespace platform

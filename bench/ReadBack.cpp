#include "ReadBack.h"

#include <cctype>
#include <charconv>
#include <fstream>
#include <optional>
#include <vector>

namespace bench {

namespace {

constexpr std::string_view kShape = "0/0/0 0:0:0:0 | [info] |  | hcd | hcdcustomhook |  |  |  | 0 | ";
/// On systems that have no thread ids in elmu's eyes (docs/log.md).
constexpr std::string_view kShapeWithoutThread =
    "0/0/0 0:0:0:0 | [info] |  | hcd | hcdcustomhook |  |  |  |  | ";

bool isDigit(char character) { return std::isdigit(static_cast<unsigned char>(character)) != 0; }

/// The text in lower case, with a 0 for each number.
std::string shapeOf(std::string_view text) {
    std::string shape;
    for (const char character : text) {
        const char next = isDigit(character) ? '0' : static_cast<char>(std::tolower(character));
        if (next != '0' || shape.empty() || shape.back() != '0') {
            shape += next;
        }
    }
    return shape;
}

/// The number in `text`; -1 if it is none.
int numberIn(std::string_view text) {
    int number = -1;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// The record that the line names.
std::optional<Identity> identityIn(std::string_view line) {
    const auto place = line.rfind(kMark);
    if (place == std::string::npos || line.size() - place < kIdentity.size()) {
        return std::nullopt;
    }
    return Identity{numberIn(line.substr(place + kProcessPlace, kProcessDigits)),
                    numberIn(line.substr(place + kMark.size(), kSequenceDigits))};
}

bool isWhole(std::string_view line, const std::string& message) {
    if (!line.ends_with(message)) {
        return false;
    }
    const std::string shape = shapeOf(line.substr(0, line.size() - message.size()));
    return shape == kShape || shape == kShapeWithoutThread;
}

/// Takes the lines of a log one by one.
class Reader {
  public:
    explicit Reader(const Expected& records)
        : expected(records), seen(static_cast<std::size_t>(expected.processes)) {}

    bool take(const std::string& line) {
        const auto id = identityIn(line);
        if (!id || id->process < 0 || id->process >= expected.processes) {
            return false;
        }
        int& count = seen[static_cast<std::size_t>(id->process)];
        return id->sequence == count++ &&
               isWhole(line, messageText(expected.kind, *id, expected.masks ? kMask : kSecret));
    }

    bool hasAll() const { return seen == std::vector(seen.size(), expected.recordsEach); }

  private:
    Expected expected;
    std::vector<int> seen;
};

} // namespace

std::string faultOf(const std::string& path, const Expected& expected) {
    std::ifstream file(path);
    Reader reader(expected);
    for (std::string line; std::getline(file, line);) {
        if (file.eof()) {
            return "its last line has no end: " + line;
        }
        if (!reader.take(line)) {
            return "this line is torn, out of order or there twice: " + line.substr(0, 200);
        }
    }
    return reader.hasAll() ? "" : "records are missing";
}

} // namespace bench

#include <elmu/logging/SensitiveData.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace elmu {

namespace {

std::string lowered(std::string_view text) {
    std::string copy(text);
    std::transform(copy.begin(), copy.end(), copy.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
    return copy;
}

} // namespace

bool carriesToken(const char* message) {
    const char* token = std::strstr(message, "eyJ");
    return token != nullptr && std::strstr(token, ".eyJ") != nullptr;
}

bool mayHoldElement(const char* message) { return std::strchr(message, '<') != nullptr; }

void maskContent(std::string& text, std::size_t openPosition, std::size_t closePosition,
                 std::size_t openLength) {
    const std::string tail = text.substr(closePosition);
    text.resize(std::min(text.size(), openPosition + openLength));
    text.append("****").append(tail);
}

void maskElements(const std::vector<std::string>& tags, std::string_view message, std::string& out) {
    std::string searched = lowered(message);
    for (const std::string& tag : tags) {
        const std::string opening = "<" + tag + ">";
        const auto open = searched.find(opening);
        if (open == std::string::npos) {
            continue;
        }
        const auto close = searched.find("</" + tag + ">");
        if (close == std::string::npos || open + opening.size() == close) {
            continue;
        }
        maskContent(out, open, close, opening.size());
        maskContent(searched, open, close, opening.size());
    }
}

} // namespace elmu

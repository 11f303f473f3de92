#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/LogHome.h"
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/SensitiveData.h>

/// The rules for tokens and elements once more, as plainly as they can be said, against the library's.
namespace {

using elmu::LogTargetDefault;
using support::LogHome;

constexpr std::size_t absent = std::string::npos;

bool plainCarriesToken(const std::string& message) {
    const std::size_t first = message.find("eyJ");
    return first != absent && message.find(".eyJ", first) != absent;
}

std::string plainLower(std::string text) {
    for (char& character : text) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return text;
}

std::string plainHide(const std::string& text, std::size_t open, std::size_t close, std::size_t length) {
    return text.substr(0, open + length) + "****" + text.substr(close);
}

struct TagPair {
    std::string opening;
    std::string closing;
};

const std::array<TagPair, 8> tagPairs{{{"<proxyusername>", "</proxyusername>"},
                                       {"<proxy-user>", "</proxy-user>"},
                                       {"<proxyuser>", "</proxyuser>"},
                                       {"<user>", "</user>"},
                                       {"<username>", "</username>"},
                                       {"<proxy-password>", "</proxy-password>"},
                                       {"<proxypassword>", "</proxypassword>"},
                                       {"<password>", "</password>"}}};

std::string plainMask(const std::string& message) {
    std::string out = message;
    std::string lower = plainLower(message);
    for (const TagPair& tag : tagPairs) {
        const std::size_t open = lower.find(tag.opening);
        const std::size_t close = lower.find(tag.closing);
        if (open == absent || close == absent || open + tag.opening.size() == close) {
            continue;
        }
        out = plainHide(out, open, close, tag.opening.size());
        lower = plainHide(lower, open, close, tag.opening.size());
    }
    return out;
}

/// Messages made of pieces, the same ones in every run.
class Messages {
  public:
    std::string next() {
        std::string message;
        const unsigned count = below(10);
        for (unsigned piece = 0; piece < count; ++piece) {
            message += nextPiece();
        }
        return message;
    }

  private:
    std::string nextPiece() {
        const unsigned kind = below(16);
        if (kind < 10) {
            return tag();
        }
        return kind < 14 ? std::string(pieces[below(pieces.size())])
                         : std::string(1, static_cast<char>(1 + below(255)));
    }

    /// A tag in any letter case, of few names in a message, so that they meet.
    std::string tag() {
        std::string name(names[(below(3) + family) % names.size()]);
        if (below(8) == 0) {
            family = below(names.size());
        }
        const unsigned spelling = below(4);
        for (char& character : name) {
            if (spelling == 0 && below(2) == 0 && character >= 'a') {
                character = static_cast<char>(character - 'a' + 'A');
            }
        }
        return (below(2) == 0 ? "<" : "</") + name + ">";
    }

    unsigned below(std::size_t limit) { return static_cast<unsigned>(random() % limit); }

    static constexpr std::array<std::string_view, 9> names{"user",          "username",       "proxyuser",
                                                           "proxyusername", "proxy-user",     "password",
                                                           "proxypassword", "proxy-password", "other"};
    static constexpr std::array<std::string_view, 24> pieces{
        "eyJ",    ".eyJ",       "eyJ",    ".eyJ",   "eyJ",      ".eyJ", "eyJ", ".eyJ",
        "ey",     "eyj",        ".",      "<",      "/",        ">",    "*",   "****",
        "<user ", "<user id=>", "</user", "userna", "\xc3\xa4", " x ",  "",    "a\nb"};

    std::minstd_rand random{20261116};
    std::size_t family = 0;
};

#ifdef NDEBUG
constexpr int messageCount = 1'000'000;
#else
constexpr int messageCount = 300'000; // where nothing is optimised
#endif
constexpr int sampleCount = 10000;

/// Three elements of one character each find room in a message; what grows more repeats a part of itself.
constexpr std::size_t longestGrowthByMasks = 9;

std::string maskedByTarget(const LogTargetDefault& target, const std::string& message) {
    std::string out = message;
    target.hideDataOfXMLTag(message.c_str(), out);
    return out;
}

std::string maskedByRule(const LogTargetDefault& target, const std::string& message) {
    std::string out = message;
    elmu::maskElements(target.xmlTagNameList, message, out);
    return out;
}

} // namespace

TEST(MaskingModel, AgreesOnTokens) {
    Messages messages;
    for (int number = 0; number < messageCount; ++number) {
        const std::string message = messages.next();
        ASSERT_EQ(elmu::carriesToken(message.c_str()), plainCarriesToken(message)) << message;
    }
}

TEST(MaskingModel, AgreesOnElements) {
    const LogHome home;
    const LogTargetDefault target("model");
    Messages messages;
    for (int number = 0; number < messageCount; ++number) {
        const std::string message = messages.next();
        const std::string expected = plainMask(message);
        ASSERT_EQ(number % 2 == 0 ? maskedByTarget(target, message) : maskedByRule(target, message), expected)
            << message;
    }
}

TEST(MaskingModel, SeesEnoughMessagesOfEveryKind) {
    Messages messages;
    int tokens = 0;
    int masked = 0;
    int repeated = 0;
    for (int number = 0; number < sampleCount; ++number) {
        const std::string message = messages.next();
        const std::string expected = plainMask(message);
        tokens += plainCarriesToken(message) ? 1 : 0;
        masked += expected != message ? 1 : 0;
        repeated += expected.size() > message.size() + longestGrowthByMasks ? 1 : 0;
    }
    EXPECT_GT(tokens, sampleCount / 100);
    EXPECT_GT(masked, sampleCount / 10);
    EXPECT_LT(masked, sampleCount * 9 / 10);
    EXPECT_GT(repeated, sampleCount / 100);
}

#include <cstddef>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <elmu/logging/Segmentation.h>

/// Retention once more, told step by step, against the library's.
namespace {

struct Listing {
    elmu::LogNames log;
    std::vector<std::string> prefixes;
    std::vector<std::string> entries;
    int count = 0;
};

bool sameStart(const std::string& text, const std::string& start) {
    if (text.length() < start.length()) {
        return false;
    }
    for (std::size_t i = 0; i < start.length(); ++i) {
        if (text[i] != start[i]) {
            return false;
        }
    }
    return true;
}

bool comesBefore(const std::string& a, const std::string& b) {
    for (std::size_t i = 0; i < a.length() && i < b.length(); ++i) {
        if (a[i] != b[i]) {
            return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[i]);
        }
    }
    return a.length() < b.length();
}

void insertInOrder(std::vector<std::string>& sorted, const std::string& text) {
    auto place = sorted.begin();
    while (place != sorted.end() && !comesBefore(text, *place)) {
        ++place;
    }
    sorted.insert(place, text);
}

bool isRecent(const std::string& entry, const std::vector<std::string>& prefixes) {
    for (const std::string& prefix : prefixes) {
        if (sameStart(entry, prefix)) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> removedByTheModel(const Listing& listing) {
    std::vector<std::string> removed;
    std::vector<std::string> retained;
    std::vector<std::string> live;
    for (const std::string& entry : listing.entries) {
        if (entry == "." || entry == ".." || listing.prefixes.empty()) {
            continue;
        }
        const bool ours = sameStart(entry, listing.log.baseName);
        const bool recent = ours && isRecent(entry, listing.prefixes);
        if (ours && !recent && entry != listing.log.currentName) {
            removed.push_back(entry);
        } else if (entry == listing.log.currentName) {
            live.push_back(entry);
        } else if (ours) {
            insertInOrder(retained, entry);
        }
    }
    retained.insert(retained.end(), live.begin(), live.end());
    while (static_cast<long>(retained.size()) > listing.count + 1L) {
        removed.push_back(retained.front());
        retained.erase(retained.begin());
    }
    return removed;
}

/// Folder listings in which almost everything has to do with the log.
class Listings {
  public:
    Listing next() {
        Listing listing;
        const std::string base = oneOf({"HCD", "HCD", "H", "my.tool", ".hcd"});
        listing.log = {base, base + oneOf({".log", ".log", ""})};
        listing.count = below(5);
        for (int day = 0; day < listing.count; ++day) {
            listing.prefixes.push_back(base + " " + dateBack(day));
        }
        const int entries = below(8);
        for (int i = 0; i < entries; ++i) {
            listing.entries.push_back(entry(listing.log));
        }
        return listing;
    }

  private:
    int below(int bound) { return static_cast<int>(dice() % static_cast<unsigned>(bound)); }

    const char* oneOf(std::initializer_list<const char*> texts) {
        return texts.begin()[below(static_cast<int>(texts.size()))];
    }

    static std::string dateBack(int day) { return "2026-11-" + std::to_string(16 - day); }

    std::string entry(const elmu::LogNames& log) {
        switch (below(8)) {
        case 0:
            return log.currentName;
        case 1:
            return oneOf({"ruk.trace", "HC", "hcd.log", "x", ".", "..", "a/HCD.log", ""});
        case 2:
            return log.baseName + oneOf({"old.txt", "/inside", "", " ", " 2026-11-1", ".log.1", "\xc3\xa9"});
        default:
            return log.baseName + oneOf({" ", " ", " ", "  ", "-"}) + dateBack(below(6)) + time();
        }
    }

    std::string time() {
        const std::string digits = std::to_string(10 + below(14)) + "-" + std::to_string(10 + below(3));
        return oneOf({" ", " ", "/", "\xff", ""}) + digits + oneOf({".log", ".log", ".txt", ""});
    }

    std::mt19937 dice{20261121};
};

std::string described(const Listing& listing) {
    return "base name '" + listing.log.baseName + "', " + std::to_string(listing.count) + " days, entries " +
           testing::PrintToString(listing.entries);
}

TEST(RetentionModel, AgreesOn200000Folders) {
    Listings listings;
    long removed = 0;
    for (int i = 0; i < 200000; ++i) {
        const Listing listing = listings.next();
        const auto expected = removedByTheModel(listing);
        ASSERT_EQ(elmu::pathsToPrune(listing.log, listing.prefixes, listing.entries, listing.count), expected)
            << described(listing);
        removed += static_cast<long>(expected.size());
    }
    EXPECT_GT(removed, 200000) << "the folders have to give something to remove";
}

} // namespace

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

struct Include {
    std::string file; ///< below the sources' root
    std::string room;
    std::string header; ///< as it is written
};

std::vector<Include> projectIncludes() {
    static const std::regex pattern(R"re(^\s*#\s*(?:include|import)\s+(?:"|<elmu/)([^">]+))re");
    std::vector<Include> includes;
    for (const char* room : {"platform", "utils", "logging", "hook"}) {
        for (const auto& entry : fs::recursive_directory_iterator(fs::path(HCD_SOURCES) / room)) {
            std::ifstream source(entry.path());
            std::smatch match;
            for (std::string line; std::getline(source, line);) {
                if (std::regex_search(line, match, pattern)) {
                    includes.push_back(
                        {fs::relative(entry.path(), HCD_SOURCES).string(), room, match[1].str()});
                }
            }
        }
    }
    return includes;
}

/// The room that an include names; one that names none means a file beside it, or the sources that hosts
/// share.
std::string roomOf(const Include& include) {
    const auto slash = include.header.find('/');
    const bool isBeside = slash == std::string::npos || include.header.starts_with("../posix/");
    return isBeside ? include.room : include.header.substr(0, slash);
}

bool isFront(const std::string& path) {
    static const std::set<std::string> front = {"logging/LogLevel.h", "logging/AbstractLogger.h",
                                                "logging/ArgumentList.h", "logging/StringUtils.h",
                                                "logging/StringUtils.cpp"};
    return front.count(path) != 0;
}

} // namespace

TEST(Arrows, PointOnlyTheWayTheyAreDrawn) {
    static const std::map<std::string, std::set<std::string>> seen = {
        {"platform", {"platform"}},
        {"utils", {"utils", "platform", "logging"}},
        {"logging", {"logging", "utils", "platform"}},
        {"hook", {"hook", "logging", "utils", "platform"}},
    };
    const auto includes = projectIncludes();
    ASSERT_GT(includes.size(), 50U);
    for (const auto& include : includes) {
        EXPECT_EQ(seen.at(include.room).count(roomOf(include)), 1U)
            << include.file << " includes " << include.header;
    }
}

TEST(Arrows, LetUtilitiesSeeOnlyTheFrontOfLogging) {
    for (const auto& include : projectIncludes()) {
        if (include.room == "utils" && roomOf(include) == "logging") {
            EXPECT_TRUE(isFront(include.header)) << include.file << " includes " << include.header;
        }
    }
}

TEST(Arrows, LetTheFrontOfLoggingSeeOnlyItself) {
    for (const auto& include : projectIncludes()) {
        if (isFront(include.file)) {
            EXPECT_TRUE(isFront(include.header)) << include.file << " includes " << include.header;
        }
    }
}

TEST(Arrows, KeepTheNamesOfOperatingSystemsInsideThePlatform) {
    static const std::regex pattern(R"(__APPLE__|__linux__|__unix__|GNUSTEP|TARGET_OS_)");
    for (const char* room : {"utils", "logging", "hook"}) {
        for (const auto& entry : fs::recursive_directory_iterator(fs::path(HCD_SOURCES) / room)) {
            std::ifstream source(entry.path());
            for (std::string line; std::getline(source, line);) {
                EXPECT_FALSE(std::regex_search(line, pattern)) << entry.path() << ": " << line;
            }
        }
    }
}

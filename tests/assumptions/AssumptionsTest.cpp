#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "e2e/Command.h"
#include "support/TempFolder.h"

using testing::ContainerEq;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

enum Finder { Anybody, OrdinaryUser };

/// What GNUstep does differently from the home platform, who finds that, and the versions of GNUstep Base
/// that do so: all if none is named.
struct Difference {
    const char* name;
    Finder finder;
    const char* reason;
    std::set<std::string> versions = {};
};

const std::vector<Difference> knownDifferences = {
    {R"(stringByStandardizingPath "/usr/include/objc/..")", Anybody,
     "a slash is left behind the part that goes"},
    {R"(stringByDeletingPathExtension "..")", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "zip." (unsure))", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "/foo/bar/.zip")", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "..zip" (unsure))", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "/..")", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "/..zip" (unsure))", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "/foo/bar/..zip" (unsure))", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "..." (unsure))", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "/..." (unsure))", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "/foo/bar/...zip" (unsure))", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "/.././.././.")", Anybody,
     "a dot at the start or the end of a name begins an extension"},
    {R"(stringByDeletingPathExtension "0123456789. foo" (unsure))", Anybody, "an extension may hold blanks"},
    {R"(stringByDeletingPathExtension "0123456789.foo " (unsure))", Anybody, "an extension may hold blanks"},
    {R"(stringByAppendingPathExtension: "" "foo")", Anybody, "odd receivers and extensions are accepted"},
    {R"(stringByAppendingPathExtension: "foo" "/bar")", Anybody, "odd receivers and extensions are accepted"},
    {"creating a folder where a file is", Anybody, "what is there is not looked at"},
    {"creating a folder at an empty path", Anybody, "nothing is to be made, so nothing fails"},
    {"names that begin with ._", Anybody, "resource forks are unknown here"},
    {"modes of new files, umasks 022 002 077", Anybody, "files begin as 0644", {"1.28"}},
    {"layout of the manifest", Anybody, "two blanks a level; the encoding in small letters"},
    {"layout of an element in an element", Anybody, "two blanks a level"},
    {"element with an empty text", Anybody, "two blanks a level"},
    {"letters beyond ASCII", Anybody, "two blanks a level"},
    {"marks in a text", Anybody, "two blanks a level"},
    {"ampersand in an attribute", Anybody, "values are read for references"},
    {"reference in an attribute", Anybody, "values are read for references"},
    {"attribute added twice", Anybody, "the first value stays"},
    {"declaration with the encoding set again", Anybody, "the encoding is written in small letters"},
    {"external entity, with the option Never", Anybody, "libxml2 takes the option for another"},
    {"property list: XML without a declaration", Anybody, "needs a declaration"},
    {"property list: XML with a byte order mark", Anybody, "needs to begin with the declaration"},
    {"bundle of a tool without a bundle", Anybody, "another layout of bundles"},
    {"system version", Anybody, "came in a later version"},
    {"an owner that is refused", OrdinaryUser, "a refused attribute ends the work"},
    {"removing an empty folder that cannot be read", OrdinaryUser,
     "the folder is removed without being read"},
};

bool isFoundHere(const Difference& difference) {
    const bool isInVersion =
        difference.versions.empty() || difference.versions.contains(HCD_GNUSTEP_BASE_VERSION);
    return isInVersion && (difference.finder == Anybody || ::geteuid() != 0);
}

std::set<std::string> namesToDiffer() {
    std::set<std::string> names;
    for (const Difference& difference : knownDifferences) {
        if (isFoundHere(difference)) {
            names.insert(difference.name);
        }
    }
    return names;
}

/// The program for the first run on a Mac, run here to its end.
class Assumptions : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        const support::TempFolder place;
        outcome = e2e::runCommand({HCD_ASSUMPTIONS},
                                  {"PATH=/usr/bin:/bin", "LANG=C", "TMPDIR=" + place.path()}, place);
        leftovers.clear();
        for (const auto& entry : std::filesystem::directory_iterator(place.path())) {
            leftovers.insert(entry.path().filename());
        }
    }

    static std::vector<std::string> lines() {
        std::vector<std::string> all;
        std::istringstream text(outcome.output);
        for (std::string line; std::getline(text, line);) {
            all.push_back(line);
        }
        return all;
    }

    /// The names on the lines that begin with `verdict`.
    static std::multiset<std::string> namesThat(const std::string& verdict) {
        constexpr std::size_t start = 9;
        std::multiset<std::string> names;
        for (const std::string& line : lines()) {
            if (line.starts_with(verdict)) {
                names.insert(line.substr(start, line.find(" | ") - start));
            }
        }
        return names;
    }

    inline static e2e::Outcome outcome;
    inline static std::set<std::string> leftovers;
};

} // namespace

TEST_F(Assumptions, AreReportedOnOneLineEachAndCountedOnTheLast) {
    ASSERT_GE(lines().size(), 220U);
    const std::string last = lines().back();
    for (const std::string& line : lines()) {
        EXPECT_THAT(line, line == last ? MatchesRegex("[0-9]+ hold, [0-9]+ differ, [0-9]+ unknown")
                                       : MatchesRegex("(holds  |DIFFERS|unknown)  .+ [|] .* [|] .*"));
    }
    EXPECT_EQ(last, std::to_string(namesThat("holds").size()) + " hold, " +
                        std::to_string(namesThat("DIFFERS").size()) + " differ, " +
                        std::to_string(namesThat("unknown").size()) + " unknown");
}

TEST_F(Assumptions, DifferHereWhereTheFoundationIsKnownToDiffer) {
    const auto found = namesThat("DIFFERS");
    EXPECT_THAT(std::set<std::string>(found.begin(), found.end()), ContainerEq(namesToDiffer()));
}

TEST_F(Assumptions, EndWithAStatusOtherThanZeroWhenOneDiffers) { EXPECT_EQ(outcome.status, 1); }

TEST_F(Assumptions, AreAllLookedAtAlthoughOneEndsItsProcess) {
    EXPECT_THAT(outcome.output, HasSubstr("unknown  property list: cut off | (nil) | ended with 139\n"));
    EXPECT_THAT(lines().back(), EndsWith(" unknown"));
}

TEST_F(Assumptions, LeaveNothingInTheTemporaryFolder) {
    leftovers.erase("output");
    leftovers.erase("errors");
    EXPECT_THAT(leftovers, IsEmpty());
}

TEST_F(Assumptions, AreNotLookedAtWithAWrongArgument) {
    const support::TempFolder place;
    const auto refused = e2e::runCommand({HCD_ASSUMPTIONS, "--one", "100000"}, {}, place);
    EXPECT_EQ(refused.status, 64);
    EXPECT_EQ(refused.errors, "usage: assumptions\n");
    EXPECT_EQ(refused.output, "");
}

#include <elmu/utils/OSUtils.h>

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "support/ScriptedHost.h"

using ELMUUtils::OSUtils;
using platform::VersionPart;
using scripted::host;

namespace {

class OSUtilsTest : public testing::Test {
  protected:
    OSUtilsTest() { scripted::reset(); }
    ~OSUtilsTest() override { scripted::reset(); }

    static void offerOnlyTheOlderQuery() {
        host().offersSystemVersion = false;
        host().systemVersion = platform::SystemVersion{99, 98, 97};
    }
};

void expectVersion(const OSUtils::OSVersion& version, long major, long minor, long patch) {
    EXPECT_EQ(version.major, major);
    EXPECT_EQ(version.minor, minor);
    EXPECT_EQ(version.patch, patch);
}

std::string nameOf(const OSUtils::OSVersion& version) {
    std::string name = "before";
    EXPECT_TRUE(OSUtils::GetCurrentOSName(version, name));
    return name;
}

std::string textOf(const OSUtils::OSVersion& version) {
    std::string text = "before";
    EXPECT_TRUE(OSUtils::GetOSVersionStringFromOSVersion(version, text));
    return text;
}

} // namespace

TEST_F(OSUtilsTest, KeepsTheThreeNumbersOfAVersionInTheOrderMajorMinorPatch) {
    const OSUtils::OSVersion version{10, 15, 7};
    expectVersion(version, 10, 15, 7);
}

TEST_F(OSUtilsTest, CountsBitnessInBits) {
    EXPECT_EQ(static_cast<int>(OSUtils::Bits32), 32);
    EXPECT_EQ(static_cast<int>(OSUtils::Bits64), 64);
}

TEST_F(OSUtilsTest, AsksASystemWithTheModernQueryNothingElse) {
    host().systemVersion = platform::SystemVersion{10, 15, 7};
    host().olderVersionNumbers = {1, 2, 3};
    OSUtils::OSVersion version{-1, -1, -1};
    EXPECT_TRUE(OSUtils::GetCurrentOSVersion(version));
    expectVersion(version, 10, 15, 7);
    EXPECT_TRUE(host().olderVersionQueries.empty());
}

TEST_F(OSUtilsTest, KeepsNumbersThatNeedAllOfALong) {
    host().systemVersion = platform::SystemVersion{LONG_MAX, LONG_MIN, 0};
    OSUtils::OSVersion version{-1, -1, -1};
    EXPECT_TRUE(OSUtils::GetCurrentOSVersion(version));
    expectVersion(version, LONG_MAX, LONG_MIN, 0);
}

TEST_F(OSUtilsTest, GivesZeroesWhenTheModernQueryHasNoAnswer) {
    host().systemVersion = std::nullopt;
    host().olderVersionNumbers = {1, 2, 3};
    OSUtils::OSVersion version{-1, -1, -1};
    EXPECT_TRUE(OSUtils::GetCurrentOSVersion(version));
    expectVersion(version, 0, 0, 0);
    EXPECT_TRUE(host().olderVersionQueries.empty());
}

TEST_F(OSUtilsTest, AsksAnOlderSystemForMajorThenMinorThenPatch) {
    offerOnlyTheOlderQuery();
    host().olderVersionNumbers = {10, 5, 8};
    OSUtils::OSVersion version{-1, -1, -1};
    EXPECT_TRUE(OSUtils::GetCurrentOSVersion(version));
    expectVersion(version, 10, 5, 8);
    EXPECT_EQ(host().olderVersionQueries,
              (std::vector{VersionPart::Major, VersionPart::Minor, VersionPart::Patch}));
}

TEST_F(OSUtilsTest, KeepsTheSignOfTheOlderSystemsNumbers) {
    offerOnlyTheOlderQuery();
    host().olderVersionNumbers = {INT_MIN, -1, INT_MAX};
    OSUtils::OSVersion version{0, 0, 0};
    EXPECT_TRUE(OSUtils::GetCurrentOSVersion(version));
    expectVersion(version, INT_MIN, -1, INT_MAX);
}

TEST_F(OSUtilsTest, StopsAtAFailedQueryForTheMajorNumber) {
    offerOnlyTheOlderQuery();
    host().olderVersionNumbers = {std::nullopt, 5, 8};
    OSUtils::OSVersion version{-1, -2, -3};
    EXPECT_FALSE(OSUtils::GetCurrentOSVersion(version));
    expectVersion(version, -1, -2, -3);
    EXPECT_EQ(host().olderVersionQueries, (std::vector{VersionPart::Major}));
}

TEST_F(OSUtilsTest, StopsAtAFailedQueryForTheMinorNumber) {
    offerOnlyTheOlderQuery();
    host().olderVersionNumbers = {10, std::nullopt, 8};
    OSUtils::OSVersion version{-1, -2, -3};
    EXPECT_FALSE(OSUtils::GetCurrentOSVersion(version));
    expectVersion(version, -1, -2, -3);
    EXPECT_EQ(host().olderVersionQueries, (std::vector{VersionPart::Major, VersionPart::Minor}));
}

TEST_F(OSUtilsTest, LeavesTheVersionAloneAfterAFailedQueryForThePatchNumber) {
    offerOnlyTheOlderQuery();
    host().olderVersionNumbers = {10, 5, std::nullopt};
    OSUtils::OSVersion version{-1, -2, -3};
    EXPECT_FALSE(OSUtils::GetCurrentOSVersion(version));
    expectVersion(version, -1, -2, -3);
    EXPECT_EQ(host().olderVersionQueries,
              (std::vector{VersionPart::Major, VersionPart::Minor, VersionPart::Patch}));
}

TEST_F(OSUtilsTest, NamesASystemByItsThreeNumbers) {
    EXPECT_EQ(nameOf({10, 15, 7}), "Mac OS 10.15.7");
    EXPECT_EQ(nameOf({10, 9, 5}), "Mac OS 10.9.5");
}

TEST_F(OSUtilsTest, NamesAPatchNumberOfZeroToo) { EXPECT_EQ(nameOf({11, 0, 0}), "Mac OS 11.0.0"); }

TEST_F(OSUtilsTest, NamesNegativeNumbersWithTheirSign) { EXPECT_EQ(nameOf({-1, -2, -3}), "Mac OS -1.-2.-3"); }

TEST_F(OSUtilsTest, KeepsNumbersOfNineteenCharactersWholeInTheName) {
    EXPECT_EQ(nameOf({1234567, 1234567, 123}), "Mac OS 1234567.1234567.123");
}

TEST_F(OSUtilsTest, CutsTheNumbersInTheNameAtNineteenCharacters) {
    EXPECT_EQ(nameOf({1234567, 1234567, 1234}), "Mac OS 1234567.1234567.123");
    EXPECT_EQ(nameOf({INT_MIN, INT_MIN, INT_MIN}), "Mac OS -2147483648.-214748");
    EXPECT_EQ(nameOf({LONG_MIN, LONG_MIN, LONG_MIN}).size(), std::string("Mac OS ").size() + 19);
}

TEST_F(OSUtilsTest, WritesAVersionAsNumbersJoinedByFullStops) {
    EXPECT_EQ(textOf({10, 15, 7}), "10.15.7");
    EXPECT_EQ(textOf({10, 9, 5}), "10.9.5");
}

TEST_F(OSUtilsTest, WritesAPatchNumberOfZeroToo) { EXPECT_EQ(textOf({11, 0, 0}), "11.0.0"); }

TEST_F(OSUtilsTest, WritesNegativeNumbersWithTheirSign) { EXPECT_EQ(textOf({-1, -2, -3}), "-1.-2.-3"); }

TEST_F(OSUtilsTest, WritesNumbersOfAnySizeWhole) {
    EXPECT_EQ(textOf({LONG_MAX, LONG_MIN, 0}),
              std::to_string(LONG_MAX) + "." + std::to_string(LONG_MIN) + ".0");
}

class OSUtilsBitness : public OSUtilsTest,
                       public testing::WithParamInterface<std::pair<const char*, OSUtils::OSBitness>> {};

TEST_P(OSUtilsBitness, FollowsTheMachineName) {
    const auto& [machine, expected] = GetParam();
    host().machineName = machine;
    auto bitness = expected == OSUtils::Bits32 ? OSUtils::Bits64 : OSUtils::Bits32;
    EXPECT_TRUE(OSUtils::GetCurrentOSBitness(bitness));
    EXPECT_EQ(bitness, expected);
}

INSTANTIATE_TEST_SUITE_P(
    MachineNames, OSUtilsBitness,
    testing::Values(std::pair{"i386", OSUtils::Bits32}, std::pair{"x86_64", OSUtils::Bits64},
                    std::pair{"i686", OSUtils::Bits64}, std::pair{"arm64", OSUtils::Bits64},
                    std::pair{"I386", OSUtils::Bits64}, std::pair{"i386x", OSUtils::Bits64},
                    std::pair{"i38", OSUtils::Bits64}, std::pair{"", OSUtils::Bits64}));

TEST_F(OSUtilsTest, LeavesTheBitnessAloneWhenTheMachineNameCannotBeHad) {
    host().machineName = std::nullopt;
    auto bitness = OSUtils::Bits32;
    EXPECT_FALSE(OSUtils::GetCurrentOSBitness(bitness));
    EXPECT_EQ(bitness, OSUtils::Bits32);
}

#include <cerrno>
#include <cstdio>
#include <string>

#include <gmock/gmock.h>
#include <sys/personality.h>
#include <sys/syscall.h>
#include <sys/utsname.h>

#include "../Child.h"
#include "platform/System.h"

using namespace platform;

namespace {

std::string textOf(const SystemVersion& version) {
    return std::to_string(version.majorNumber) + "." + std::to_string(version.minorNumber) + "." +
           std::to_string(version.patchNumber);
}

SystemVersion scanned(const char* release) {
    SystemVersion version;
    EXPECT_GE(
        std::sscanf(release, "%ld.%ld.%ld", &version.majorNumber, &version.minorNumber, &version.patchNumber),
        1);
    return version;
}

utsname names() {
    utsname result = {};
    EXPECT_EQ(::uname(&result), 0);
    return result;
}

} // namespace

TEST(System, OffersTheSystemVersion) { EXPECT_TRUE(offersSystemVersion()); }

TEST(System, TheVersionIsThatOfTheKernelRelease) {
    const auto version = systemVersion();
    ASSERT_TRUE(version);
    EXPECT_EQ(textOf(*version), textOf(scanned(names().release)));
    EXPECT_GT(version->majorNumber, 0);
}

TEST(System, TheVersionFollowsWhatTheKernelSays) {
    constexpr unsigned long release26 = UNAME26;
    EXPECT_THAT(child::resultOf([] {
                    const int earlier = ::personality(0xffffffff);
                    ::personality(static_cast<unsigned long>(earlier) | release26);
                    const auto version = systemVersion();
                    return version ? textOf(*version) : "nothing";
                }),
                testing::StartsWith("2.6."));
}

TEST(System, GivesNothingWhenTheKernelDoesNotSay) {
    const std::string result = child::resultOf([] {
        if (!child::refuseSystemCall(SYS_uname, EPERM)) {
            return "not arranged";
        }
        return systemVersion() || machineName() ? "something" : "nothing";
    });
    if (result == "not arranged") {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    EXPECT_EQ(result, "nothing");
}

#include <string>

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>

#include "../Child.h"
#include "platform/System.h"

using namespace platform;

namespace {

#ifdef GNUSTEP
struct Version {
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
};

Version laterVersion(id /*process*/, SEL /*selector*/) { return {14, 6, 1}; }
#endif

std::string seenVersion() {
    const auto version = offersSystemVersion() ? systemVersion() : std::nullopt;
    return version ? std::to_string(version->majorNumber) + "." + std::to_string(version->minorNumber) + "." +
                         std::to_string(version->patchNumber)
                   : "none";
}

} // namespace

#ifdef GNUSTEP
TEST(SystemVersion, IsNotOfferedByAnOlderFoundation) {
    EXPECT_FALSE(offersSystemVersion());
    EXPECT_FALSE(systemVersion());
}

TEST(SystemVersion, IsThatOfALaterFoundation) {
    EXPECT_EQ(child::resultOf([] {
                  class_addMethod([NSProcessInfo class], @selector(operatingSystemVersion),
                                  reinterpret_cast<IMP>(reinterpret_cast<void (*)()>(laterVersion)),
                                  "{?=qqq}@:");
                  return seenVersion();
              }),
              "14.6.1");
}
#else
TEST(SystemVersion, IsThatOfTheSystem) {
    const NSOperatingSystemVersion version = [[NSProcessInfo processInfo] operatingSystemVersion];
    EXPECT_EQ(seenVersion(), std::to_string(version.majorVersion) + "." +
                                 std::to_string(version.minorVersion) + "." +
                                 std::to_string(version.patchVersion));
}
#endif

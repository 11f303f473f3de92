#include <tuple>

#include <gtest/gtest.h>

#include "support/ScriptedHost.h"
#include <elmu/logging/LogHeader.h>

namespace {

using scripted::host;
using Version = std::tuple<long, long, long>;

class OsVersion : public testing::Test {
  protected:
    OsVersion() { scripted::reset(); }
    ~OsVersion() override { scripted::reset(); }

    static Version query() {
        long major = -1;
        long minor = -2;
        long patch = -3;
        EXPECT_TRUE(elmu::utilGetCurrentOSVersion(major, minor, patch));
        return {major, minor, patch};
    }
};

TEST_F(OsVersion, IsTheSystemsVersion) {
    host().systemVersion = platform::SystemVersion{13, 6, 9};
    EXPECT_EQ(query(), Version(13, 6, 9));
}

TEST_F(OsVersion, IsNotAskedForAtTheOlderSourceWhenTheNewerOneIsThere) {
    host().olderVersionNumbers = {10, 4, 11};
    query();
    EXPECT_TRUE(host().olderVersionQueries.empty());
}

TEST_F(OsVersion, ComesFromTheOlderSourceOnOlderSystems) {
    host().offersSystemVersion = false;
    host().olderVersionNumbers = {10, 4, 11};
    EXPECT_EQ(query(), Version(10, 4, 11));
}

TEST_F(OsVersion, IsTrueWithItsOutputsUntouchedWhenTheQueryFails) {
    host().offersSystemVersion = false;
    host().olderVersionNumbers = {10, std::nullopt, 11};
    EXPECT_EQ(query(), Version(-1, -2, -3));
}

TEST_F(OsVersion, IsZeroWhenTheSystemOffersAVersionButHasNone) {
    host().systemVersion.reset();
    EXPECT_EQ(query(), Version(0, 0, 0));
}

} // namespace

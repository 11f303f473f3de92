#include <gtest/gtest.h>

#include "platform/Users.h"
#include "support/ScriptedHost.h"

using platform::EffectiveUserSwitch;
using platform::returnToUser;
using scripted::host;

namespace {

class UserSwitch : public testing::Test {
  protected:
    void SetUp() override { scripted::reset(); }
    void TearDown() override { scripted::reset(); }

    static void actAsAnotherOnce() { const EffectiveUserSwitch acting(501); }
};

} // namespace

TEST_F(UserSwitch, ComesBackWhenTheSystemRefusesForTheMoment) {
    host().refusalsOfRoot = 2;
    actAsAnotherOnce();
    EXPECT_EQ(host().effectiveUser, 0U);
}

TEST_F(UserSwitch, GivesUpComingBackWhenTheSystemKeepsRefusing) {
    host().refusalsOfRoot = 1000;
    actAsAnotherOnce();
    EXPECT_EQ(host().effectiveUser, 501U);
    EXPECT_FALSE(returnToUser(0));
}

TEST_F(UserSwitch, CanComeBackLater) {
    host().refusalsOfRoot = 3;
    actAsAnotherOnce();
    EXPECT_EQ(host().effectiveUser, 501U);
    EXPECT_TRUE(returnToUser(0));
    EXPECT_EQ(host().effectiveUser, 0U);
}

TEST_F(UserSwitch, IsBackWhenItNeverLeft) {
    host().refusesUserSwitch = true;
    actAsAnotherOnce();
    EXPECT_TRUE(returnToUser(0));
}

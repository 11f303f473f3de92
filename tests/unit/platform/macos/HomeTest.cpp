#include <cstdlib>

#include <gtest/gtest.h>
#include <unistd.h>

#include "../Child.h"
#include "platform/Users.h"

using namespace platform;

namespace {

/// The home folder with HOME as given, on a machine that has `record` for everybody.
std::optional<std::string> homeThere(const char* variable, const std::string& record) {
    const child::Machine machine;
    machine.put("/etc/passwd", "root:x:0:0:root:" + record +
                                   ":/bin/sh\nnobody:x:65534:65534:nobody:" + record + ":/bin/sh\n");
    return machine.resultOf([&] {
        variable ? ::setenv("HOME", variable, 1) : ::unsetenv("HOME");
        return homeFolder();
    });
}

class TheHomeFolder : public testing::Test {
  protected:
    void SetUp() override {
        if (!child::Machine().resultOf([] { return "works"; })) {
            GTEST_SKIP() << "needs a user namespace: it changes its root folder";
        }
    }
};

} // namespace

TEST_F(TheHomeFolder, IsTheRecordWhateverTheVariable) {
    EXPECT_EQ(homeThere("/somewhere/else", "/record"), "/record");
    EXPECT_EQ(homeThere(nullptr, "/record/"), "/record");
    EXPECT_EQ(homeThere("", "/record"), "/record");
}

TEST_F(TheHomeFolder, IsEmptyWhenTheMachineKnowsNone) {
    EXPECT_EQ(child::Machine().resultOf([] { return homeFolder(); }), "");
}

TEST_F(TheHomeFolder, IsTheEffectiveUsersWhenActingAsAnother) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it acts as another user";
    }
    const child::Machine machine;
    machine.put("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\nann:x:501:20:Ann:/home/ann:/bin/sh\n");
    EXPECT_EQ(machine.resultOf([] {
        ::setenv("HOME", "/somewhere", 1);
        const EffectiveUserSwitch acting(501);
        return homeFolder();
    }),
              "/home/ann");
}

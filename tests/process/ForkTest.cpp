#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "support/FileTargetTest.h"
#include "support/InChild.h"
#include "support/RefusedCalls.h"
#include "support/Scopes.h"
#include "support/SemaphoreSets.h"
#include "support/TempFolder.h"

namespace {

class LogOfAParent : public support::FileTargetTest<> {};

TEST_F(LogOfAParent, LosesNoRecordWhenForkedChildrenUnregister) {
    ASSERT_TRUE(enroll());
    for (int i = 0; i < 20; ++i) {
        support::inChild([this] { EXPECT_TRUE(leave()); });
        write("record");
    }
    const std::string all = content();
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 20);
    EXPECT_EQ(support::memberValue(set(), support::userCount), 1);
}

TEST_F(LogOfAParent, HoldsTheRecordsOfForkedChildren) {
    ASSERT_TRUE(enroll());
    support::inChild([this] { write("of a child"); });
    write("of the parent");
    const std::string all = content();
    EXPECT_NE(all.find("of a child\n"), std::string::npos);
    EXPECT_NE(all.find("of the parent\n"), std::string::npos);
}

/// Makes the system refuse what gives the lock back while it writes a record.
class TargetThatCannotGiveBack : public elmu::LogTargetDefault {
  public:
    using LogTargetDefault::LogTargetDefault;

    void WriteStream(const char* text) override {
        LogTargetDefault::WriteStream(text);
        EXPECT_TRUE(support::refuseCalls(support::semaphoreOperations()));
    }
};

class LogWhoseLockStays : public support::FileTargetTest<TargetThatCannotGiveBack> {};

TEST_F(LogWhoseLockStays, DropsRecordsInsteadOfWaitingForItself) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    support::inChild([this] {
        const support::ScopedAlarm deadline(60);
        ASSERT_TRUE(enroll());
        EXPECT_TRUE(write("first"));
        EXPECT_TRUE(write("second"));
        EXPECT_TRUE(leave());
        EXPECT_TRUE(enroll());
        EXPECT_TRUE(write("third"));
        EXPECT_TRUE(leave());
    });
    EXPECT_NE(content().find("first"), std::string::npos);
    EXPECT_EQ(content().find("second"), std::string::npos);
    EXPECT_EQ(content().find("third"), std::string::npos);
    EXPECT_EQ(support::memberValue(set(), support::lockMember), 1);
}

} // namespace

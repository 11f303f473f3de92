#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogHome.h"
#include "support/RecordingTarget.h"
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

namespace {

using elmu::LoggingCore;
using support::LogHome;
using support::nullText;
using support::RecordingTarget;
using testing::ElementsAre;
using testing::IsEmpty;

class Core : public testing::Test {
  protected:
    Core() {
        const std::vector<RecordingTarget*> all{&first, &second, &third};
        for (std::size_t i = 0; i < all.size(); ++i) {
            all[i]->name = std::to_string(i + 1);
            all[i]->order = &order;
        }
    }

    ~Core() override {
        for (RecordingTarget* target : {&first, &second, &third}) {
            for (const char* id : {"shared", "other", "Shared", ""}) {
                target->setIdentifier(id);
                core.unregisterTarget(target);
            }
        }
    }

    void send(const char* identifier) {
        core.log(identifier, elmu::WARN, "c1", "c2", "c3", "c4", "d1", "d2", "text", nullptr, 0);
    }

    LogHome home;
    LoggingCore& core = *LoggingCore::getInstance();
    std::vector<std::string> order;
    RecordingTarget first{"shared"};
    RecordingTarget second{"shared"};
    RecordingTarget third{"shared"};
};

TEST_F(Core, IsOne) { EXPECT_EQ(LoggingCore::getInstance(), LoggingCore::getInstance()); }

TEST_F(Core, IsOneForEveryThread) {
    LoggingCore* there = nullptr;
    std::thread([&there] { there = LoggingCore::getInstance(); }).join();
    EXPECT_EQ(there, &core);
}

TEST_F(Core, RefusesNoTarget) {
    EXPECT_FALSE(core.registerTarget(nullptr));
    EXPECT_FALSE(core.unregisterTarget(nullptr));
}

TEST_F(Core, AsksATargetBeforeItFilesIt) {
    EXPECT_TRUE(core.registerTarget(&first));
    EXPECT_EQ(first.registrations, 1);
    EXPECT_EQ(first.getRefCount(), 1);
    send("shared");
    EXPECT_EQ(first.records.size(), 1U);
}

TEST_F(Core, DoesNotFileATargetThatRefuses) {
    first.accepts = false;
    EXPECT_FALSE(core.registerTarget(&first));
    EXPECT_EQ(first.getRefCount(), 0);
    send("shared");
    EXPECT_THAT(first.records, IsEmpty());
}

TEST_F(Core, HasNoEntryForATargetThatRefused) {
    first.accepts = false;
    core.registerTarget(&first);
    EXPECT_TRUE(core.unregisterTarget(&first));
    EXPECT_EQ(first.unregistrations, 0);
}

TEST_F(Core, KeepsTheOthersWhenATargetRefuses) {
    core.registerTarget(&first);
    second.accepts = false;
    EXPECT_FALSE(core.registerTarget(&second));
    send("shared");
    EXPECT_THAT(order, ElementsAre("1"));
}

TEST_F(Core, AsksAgainButCountsOnceWhenATargetIsRegisteredTwice) {
    EXPECT_TRUE(core.registerTarget(&first));
    EXPECT_TRUE(core.registerTarget(&first));
    EXPECT_EQ(first.registrations, 2);
    EXPECT_EQ(first.getRefCount(), 1);
    send("shared");
    EXPECT_EQ(first.records.size(), 1U);
}

TEST_F(Core, EndsARepeatedRegistrationAtOnce) {
    core.registerTarget(&first);
    core.registerTarget(&first);
    EXPECT_TRUE(core.unregisterTarget(&first));
    EXPECT_EQ(first.unregistrations, 1);
    EXPECT_EQ(first.getRefCount(), 0);
    send("shared");
    EXPECT_THAT(first.records, IsEmpty());
}

TEST_F(Core, KeepsATargetFiledThatRefusesARepeatedRegistration) {
    core.registerTarget(&first);
    first.accepts = false;
    EXPECT_FALSE(core.registerTarget(&first));
    EXPECT_EQ(first.getRefCount(), 1);
    send("shared");
    EXPECT_EQ(first.records.size(), 1U);
}

TEST_F(Core, HandsEveryRecordToEveryTargetInTheOrderOfRegistration) {
    core.registerTarget(&second);
    core.registerTarget(&first);
    core.registerTarget(&third);
    send("shared");
    send("shared");
    EXPECT_THAT(order, ElementsAre("2", "1", "3", "2", "1", "3"));
}

TEST_F(Core, KeepsTheOrderOfTheOthersWhenOneLeaves) {
    core.registerTarget(&first);
    core.registerTarget(&second);
    core.registerTarget(&third);
    EXPECT_TRUE(core.unregisterTarget(&second));
    send("shared");
    EXPECT_THAT(order, ElementsAre("1", "3"));
}

TEST_F(Core, LeavesTheSecondInPlaceWhenTheFirstLeaves) {
    core.registerTarget(&first);
    core.registerTarget(&second);
    EXPECT_TRUE(core.unregisterTarget(&first));
    EXPECT_EQ(second.unregistrations, 0);
    send("shared");
    EXPECT_THAT(order, ElementsAre("2"));
}

TEST_F(Core, ForgetsTheIdentifierWithItsLastTarget) {
    core.registerTarget(&first);
    core.registerTarget(&second);
    core.unregisterTarget(&first);
    core.unregisterTarget(&second);
    EXPECT_TRUE(core.unregisterTarget(&third)) << "nothing is filed under the identifier any more";
    send("shared");
    EXPECT_THAT(order, IsEmpty());
}

TEST_F(Core, AppendsATargetThatComesBack) {
    core.registerTarget(&first);
    core.registerTarget(&second);
    core.unregisterTarget(&first);
    EXPECT_TRUE(core.registerTarget(&first));
    EXPECT_EQ(first.getRefCount(), 1);
    send("shared");
    EXPECT_THAT(order, ElementsAre("2", "1"));
}

TEST_F(Core, IsContentWithATargetOfAnUnknownIdentifier) {
    EXPECT_TRUE(core.unregisterTarget(&first));
    EXPECT_EQ(first.unregistrations, 0);
    EXPECT_EQ(first.getRefCount(), 0);
}

TEST_F(Core, RefusesToTakeOutAStrangerOfAKnownIdentifier) {
    core.registerTarget(&first);
    EXPECT_FALSE(core.unregisterTarget(&second));
    EXPECT_EQ(second.unregistrations, 0);
    EXPECT_EQ(second.getRefCount(), 0);
}

TEST_F(Core, PassesOnWhatALeavingTargetSays) {
    core.registerTarget(&first);
    first.leavesWell = false;
    EXPECT_FALSE(core.unregisterTarget(&first));
    send("shared");
    EXPECT_THAT(first.records, IsEmpty()) << "it is taken out all the same";
}

TEST_F(Core, TellsATargetThatItLeavesOnlyAtItsLastRegistration) {
    core.registerTarget(&first);
    first.setIdentifier("other");
    core.registerTarget(&first);
    EXPECT_EQ(first.getRefCount(), 2);

    first.leavesWell = false;
    EXPECT_TRUE(core.unregisterTarget(&first));
    EXPECT_EQ(first.unregistrations, 0);
    EXPECT_EQ(first.getRefCount(), 1);

    first.setIdentifier("shared");
    EXPECT_FALSE(core.unregisterTarget(&first));
    EXPECT_EQ(first.unregistrations, 1);
}

TEST_F(Core, LooksForATargetUnderItsIdentifierOfTheMoment) {
    core.registerTarget(&first);
    first.setIdentifier("other");
    EXPECT_TRUE(core.unregisterTarget(&first));
    EXPECT_EQ(first.unregistrations, 0);
    EXPECT_EQ(first.getRefCount(), 1);
    send("other");
    EXPECT_THAT(first.records, IsEmpty());
    send("shared");
    EXPECT_EQ(first.records.size(), 1U) << "the old entry is still there";
}

TEST_F(Core, DropsRecordsWithoutATarget) {
    core.registerTarget(&first);
    send("nobody");
    EXPECT_THAT(first.records, IsEmpty());
}

TEST_F(Core, DropsRecordsWithoutAnIdentifier) {
    first.setIdentifier("");
    core.registerTarget(&first);
    send(nullptr);
    EXPECT_THAT(first.records, IsEmpty());
}

TEST_F(Core, ServesTheEmptyIdentifier) {
    first.setIdentifier("");
    core.registerTarget(&first);
    send("");
    EXPECT_EQ(first.records.size(), 1U);
}

TEST_F(Core, ComparesWholeIdentifiersByteByByte) {
    core.registerTarget(&first);
    for (const char* id : {"Shared", "share", "shared ", "shared2", ""}) {
        send(id);
    }
    EXPECT_THAT(first.records, IsEmpty());
}

TEST_F(Core, KeepsIdentifiersApart) {
    core.registerTarget(&first);
    second.setIdentifier("other");
    core.registerTarget(&second);
    send("other");
    EXPECT_THAT(order, ElementsAre("2"));
}

TEST_F(Core, HandsOnEveryPartOfARecord) {
    core.registerTarget(&first);
    char args[] = "opaque";
    core.log("shared", elmu::WARN, "c1", "c2", "c3", "c4", "d1", "d2", nullptr, args, 1794804088007ULL);
    ASSERT_EQ(first.records.size(), 1U);
    const auto& record = first.records[0];
    EXPECT_EQ(record.level, elmu::WARN);
    EXPECT_THAT(record.fields, ElementsAre("c1", "c2", "c3", "c4", "d1", "d2", nullText));
    EXPECT_EQ(record.args, args);
    EXPECT_EQ(record.timeMs, 1794804088007ULL);
}

TEST_F(Core, HandsOnNullTextsAsTheyAre) {
    core.registerTarget(&first);
    core.log("shared", elmu::ALL, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "text", nullptr, 0);
    ASSERT_EQ(first.records.size(), 1U);
    EXPECT_THAT(first.records[0].fields,
                ElementsAre(nullText, nullText, nullText, nullText, nullText, nullText, "text"));
}

TEST_F(Core, AsksTargetsToWriteUnderTheirLock) {
    core.registerTarget(&first);
    send("shared");
    ASSERT_EQ(first.records.size(), 1U);
    EXPECT_TRUE(first.records[0].locked);
}

TEST_F(Core, FiltersNothingItself) {
    core.registerTarget(&first);
    first.setLogLevel(elmu::NONE);
    core.log("shared", elmu::TRACE, "", "", "", "", "", "", "text", nullptr, 0);
    EXPECT_EQ(first.records.size(), 1U);
}

TEST_F(Core, GoesOnAfterATargetThatFails) {
    core.registerTarget(&first);
    core.registerTarget(&second);
    first.writesWell = false;
    send("shared");
    EXPECT_THAT(order, ElementsAre("1", "2"));
}

/// A target that says so when it is told to leave.
class TellingTarget : public RecordingTarget {
  public:
    using RecordingTarget::RecordingTarget;
    bool onUnregisterTarget() override {
        std::fputs("told to leave", stderr);
        return true;
    }
};

void exitWithARegisteredTarget() {
    static TellingTarget target("at exit");
    const bool registered = LoggingCore::getInstance()->registerTarget(&target);
    std::exit(registered ? 0 : 1);
}

TEST(CoreAtExit, ForgetsItsTargetsWithoutTellingThem) {
    const LogHome home;
    EXPECT_EXIT(exitWithARegisteredTarget(), testing::ExitedWithCode(0), testing::Eq(""));
}

} // namespace

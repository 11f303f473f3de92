#include <chrono>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Children.h"
#include "support/SemaphoreSets.h"
#include "support/TempFolder.h"
#include <elmu/logging/BinaryLock.h>

namespace {

using support::Child;
using support::lockMember;
using support::memberValue;
using support::semaphoreSetExists;
using support::userCount;

std::string shown(bool value) { return value ? "true" : "false"; }

/// Does with a lock on the file of its first argument what it is told, and says what came of it.
const support::KnownRole lockUser("lock-user", [](const std::vector<std::string>& arguments) {
    elmu::BinaryLock lock;
    const std::map<std::string, std::function<std::string()>> orders{
        {"create", [&] { return shown(lock.create(arguments.at(0), support::logProject)); }},
        {"wait", [&] { return shown(lock.wait()); }},
        {"release", [&] { return shown(lock.release()); }},
        {"finalize", [&] { return shown(lock.finalize()); }},
        {"set", [&] { return std::to_string(lock.semId); }},
    };
    std::string order;
    while (std::getline(std::cin, order)) {
        support::answer(orders.at(order)());
    }
    return 0;
});

class LockBetweenProcesses : public testing::Test {
  protected:
    LockBetweenProcesses() { support::writeFile(path, ""); }
    ~LockBetweenProcesses() override { support::removeSemaphoreSetsBelow(folder.path()); }

    /// A process that has the lock open.
    std::unique_ptr<Child> user() {
        auto child = std::make_unique<Child>(std::vector<std::string>{"lock-user", path});
        EXPECT_EQ(child->ask("create"), "true");
        return child;
    }

    std::unique_ptr<Child> holder() {
        auto child = user();
        EXPECT_EQ(child->ask("wait"), "true");
        return child;
    }

    int set() const { return support::semaphoreSetOf(path).value_or(-1); }

    /// Returns when `count` processes wait for the lock. Fails the test when `child` got it instead.
    void untilWaiting(const Child& child, int count) const {
        const auto deadline = std::chrono::steady_clock::now() + support::childDeadline;
        while (support::waitersFor(set(), lockMember) != count) {
            ASSERT_FALSE(child.hasAnswerWithin(std::chrono::milliseconds(1))) << "it did not wait";
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        }
    }

    /// A process that waits for the lock, together with `others` that do already.
    std::unique_ptr<Child> waiter(int others = 0) {
        auto child = user();
        child->tell("wait");
        untilWaiting(*child, others + 1);
        return child;
    }

    static Child& firstToAnswer(Child& one, Child& other) {
        const auto deadline = std::chrono::steady_clock::now() + support::childDeadline;
        while (std::chrono::steady_clock::now() < deadline) {
            for (Child* child : {&one, &other}) {
                if (child->hasAnswerWithin(std::chrono::milliseconds(1))) {
                    return *child;
                }
            }
        }
        ADD_FAILURE() << "neither answers";
        return one;
    }

    support::TempFolder folder;
    std::string path = folder / "HCD.log";
};

TEST_F(LockBetweenProcesses, UsesOneSetForOneFile) {
    const auto first = user();
    const auto second = user();
    EXPECT_EQ(first->ask("set"), second->ask("set"));
    EXPECT_EQ(first->ask("set"), std::to_string(set()));
}

TEST_F(LockBetweenProcesses, CountsEveryProcess) {
    std::vector<std::unique_ptr<Child>> users;
    for (int count = 1; count <= 8; ++count) {
        users.push_back(user());
        EXPECT_EQ(memberValue(set(), userCount), count);
    }
}

TEST_F(LockBetweenProcesses, MakesTheSecondWaitUntilTheFirstReleases) {
    const auto first = holder();
    const auto second = waiter();
    EXPECT_EQ(first->ask("release"), "true");
    EXPECT_EQ(second->hear(), "true");
    EXPECT_EQ(memberValue(set(), lockMember), 0);
}

TEST_F(LockBetweenProcesses, CanBeTakenAtOnceAfterARelease) {
    const auto first = holder();
    const auto second = user();
    first->ask("release");
    EXPECT_EQ(second->ask("wait"), "true");
}

TEST_F(LockBetweenProcesses, GoesToOneWaiterAtATime) {
    const auto first = holder();
    const auto second = waiter();
    const auto third = waiter(1);
    first->ask("release");
    untilWaiting(*first, 1);
    Child& lucky = firstToAnswer(*second, *third);
    Child& patient = &lucky == second.get() ? *third : *second;
    EXPECT_EQ(lucky.hear(), "true");
    EXPECT_EQ(support::waitersFor(set(), lockMember), 1);
    EXPECT_FALSE(patient.hasAnswerWithin(std::chrono::milliseconds(0)));
    EXPECT_EQ(lucky.ask("release"), "true");
    EXPECT_EQ(patient.hear(), "true");
}

TEST_F(LockBetweenProcesses, IsLeftInPlaceByTheFirstOfTwo) {
    const auto first = user();
    const auto second = user();
    ASSERT_EQ(memberValue(set(), userCount), 2);
    EXPECT_EQ(first->ask("finalize"), "true");
    EXPECT_EQ(memberValue(set(), userCount), 1);
    EXPECT_EQ(second->ask("wait"), "true");
    EXPECT_EQ(second->ask("release"), "true");
}

TEST_F(LockBetweenProcesses, IsRemovedByTheLastOfTwo) {
    const auto first = user();
    const auto second = user();
    const int id = set();
    EXPECT_EQ(first->ask("finalize"), "true");
    EXPECT_EQ(second->ask("finalize"), "true");
    EXPECT_FALSE(semaphoreSetExists(id));
}

TEST_F(LockBetweenProcesses, IsRemovedByTheLastWhenProcessesEndOrderly) {
    const auto first = user();
    const auto second = user();
    const int id = set();
    EXPECT_EQ(first->join(), 0);
    EXPECT_TRUE(semaphoreSetExists(id));
    EXPECT_EQ(second->join(), 0);
    EXPECT_FALSE(semaphoreSetExists(id));
}

TEST_F(LockBetweenProcesses, IsMadeAnewAfterItsRemoval) {
    const auto first = user();
    first->ask("finalize");
    const auto second = user();
    EXPECT_EQ(memberValue(set(), userCount), 1);
    EXPECT_EQ(second->ask("wait"), "true");
}

TEST_F(LockBetweenProcesses, IsFreeWhenItsHolderIsKilled) {
    const auto first = holder();
    const auto second = user();
    first->killAndJoin();
    EXPECT_EQ(memberValue(set(), lockMember), 1);
    EXPECT_EQ(second->ask("wait"), "true");
}

TEST_F(LockBetweenProcesses, GoesToAWaiterWhenItsHolderIsKilled) {
    const auto first = holder();
    const auto second = waiter();
    first->killAndJoin();
    EXPECT_EQ(second->hear(), "true");
    EXPECT_EQ(second->ask("release"), "true");
    EXPECT_EQ(memberValue(set(), lockMember), 1);
}

TEST_F(LockBetweenProcesses, IsNotTakenByAWaiterThatIsKilled) {
    const auto first = holder();
    const auto second = waiter();
    second->killAndJoin();
    EXPECT_EQ(support::waitersFor(set(), lockMember), 0);
    EXPECT_EQ(first->ask("release"), "true");
    EXPECT_EQ(memberValue(set(), lockMember), 1);
}

TEST_F(LockBetweenProcesses, StaysBehindWhenAUserIsKilled) {
    const auto first = user();
    const auto second = user();
    const int id = set();
    first->killAndJoin();
    EXPECT_EQ(memberValue(id, userCount), 2);
    EXPECT_EQ(second->ask("finalize"), "true");
    EXPECT_TRUE(semaphoreSetExists(id));
    EXPECT_EQ(memberValue(id, userCount), 1);
}

TEST_F(LockBetweenProcesses, ServesLaterProcessesWhenItStayedBehind) {
    holder()->killAndJoin();
    const auto later = user();
    EXPECT_EQ(memberValue(set(), userCount), 2);
    EXPECT_EQ(later->ask("wait"), "true");
    EXPECT_EQ(later->ask("release"), "true");
}

TEST_F(LockBetweenProcesses, DisappointsAWaiterWhenItIsRemoved) {
    const auto first = holder();
    const auto second = waiter();
    support::removeSemaphoreSet(set());
    EXPECT_EQ(second->hear(), "false");
}

} // namespace

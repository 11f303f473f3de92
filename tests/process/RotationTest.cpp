#include <algorithm>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "process/RotatedLog.h"

namespace {

using rotated::Checks;
using rotated::Tally;
using rotated::tell;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using support::Child;

/// How long a loop that waits for a moment leaves the processor to the others.
constexpr std::chrono::microseconds shortly{100};

TEST(RotationAmongProcesses, KeepsEveryRecordOfEightWritersOnce) {
    constexpr int rotations = 10;
    rotated::SharedLog log;
    std::vector<std::unique_ptr<Child>> all;
    for (int i = 0; i < 8; ++i) {
        all.push_back(log.startWriter(i % 4 == 3 ? Checks::AtEveryRecord : Checks::AtRegistration));
        EXPECT_EQ(all.back()->hear(), "ready");
    }
    for (int i = 0; i < rotations; ++i) {
        log.fillUp();
        log.letAGuestCome();
        log.lookAtCopies();
    }
    for (const auto& child : all) {
        child->tell("leave");
        EXPECT_EQ(child->join(), 0);
    }
    const Tally found = log.tally();
    tell("rotations", static_cast<long long>(log.copies().size()));
    tell("records", log.returnedCalls());
    EXPECT_GE(log.copies().size(), static_cast<std::size_t>(rotations));
    EXPECT_EQ(found.doubled(), 0);
    EXPECT_GT(found.headers, 0);
    log.expectOrder(found);
}

/// Writers that come all the time and are killed at moments that a fixed seed chooses.
class KilledWriters : public testing::Test {
  protected:
    struct Running {
        std::unique_ptr<Child> child;
        int number = 0;
        Checks checks = Checks::AtRegistration;
    };

    int anyBelow(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(dice); }
    Running& anyone() {
        return running[static_cast<std::size_t>(anyBelow(static_cast<int>(running.size())))];
    }
    pid_t processOf(const Running& slot) const { return log.progressOf(slot.number).process; }

    void replace(Running& slot) {
        slot.checks = anyBelow(2) == 0 ? Checks::AtEveryRecord : Checks::AtRegistration;
        slot.number = log.writers();
        slot.child = log.startWriter(slot.checks);
    }

    void kill(Running& slot, const std::string& when) {
        ++kills;
        slot.child->killAndJoin();
        log.note("killed writer " + std::to_string(slot.number) + " " + when + " after " +
                 std::to_string(log.progressOf(slot.number).returned) + " records, log with " +
                 std::to_string(log.size()) + " bytes");
        replace(slot);
    }

    /// A process that checks the size of the log with every record is rotating now, or about to.
    bool rotates(const Running& slot) const {
        const pid_t process = processOf(slot);
        return slot.checks == Checks::AtEveryRecord && process != 0 && log.isLockedBy(process) &&
               log.size() >= rotated::sizeLimit;
    }

    Running* rotatingOne() {
        const auto found = std::find_if(running.begin(), running.end(),
                                        [this](const Running& slot) { return rotates(slot); });
        return found == running.end() ? nullptr : &*found;
    }

    /// Returns a random while later, or when the process rotates no more.
    void untilSomeMoment(const Running& slot) {
        const auto moment = steady_clock::now() + std::chrono::microseconds(anyBelow(30000));
        while (steady_clock::now() < moment && rotates(slot)) {
            std::this_thread::sleep_for(shortly);
        }
    }

    /// Returns when the process's copy is there, or when the process rotates no more.
    void untilItsCopyIsThere(const Running& slot) const {
        const std::size_t before = log.copies().size();
        while (rotates(slot) && log.copies().size() == before) {
            std::this_thread::sleep_for(shortly);
        }
    }

    /// Kills a process at some moment of its rotation. It is stopped before, so that nothing can change while
    /// the test finds out whether it still rotates.
    void killARotatingOne() {
        const auto soon = steady_clock::now() + milliseconds(200);
        Running* slot = nullptr;
        while (slot == nullptr && steady_clock::now() < soon) {
            slot = rotatingOne();
            std::this_thread::sleep_for(shortly);
        }
        if (slot == nullptr) {
            return;
        }
        anyBelow(2) == 0 ? untilItsCopyIsThere(*slot) : untilSomeMoment(*slot);
        slot->child->stop();
        const bool isInRotation = rotates(*slot);
        killsInRotation += isInRotation ? 1 : 0;
        kill(*slot, isInRotation ? "in a rotation" : "after a rotation");
    }

    /// Kills any process a random while later, or when it says that it is registered.
    void killAnyone() {
        Running& slot = anyone();
        slot.child->hasAnswerWithin(milliseconds(anyBelow(30)));
        kill(slot, "at any time");
    }

    /// Kills a process in the middle of its writing.
    void killABusyOne() {
        Running& slot = anyone();
        const rotated::Progress& progress = log.progressOf(slot.number);
        const int enough = progress.returned + 1 + anyBelow(60);
        const auto soon = steady_clock::now() + milliseconds(200);
        while (progress.returned < enough && steady_clock::now() < soon) {
            std::this_thread::sleep_for(shortly);
        }
        kill(slot, "while it wrote");
    }

    void killInSomeWay() {
        switch (anyBelow(4)) {
        case 0:
            killAnyone();
            break;
        case 1:
            killABusyOne();
            break;
        default:
            log.fillUp();
            killARotatingOne();
        }
    }

    void killUntilEnough() {
        const auto deadline = steady_clock::now() + support::childDeadline;
        while (kills < enoughKills || killsInRotation < enoughKillsInRotation) {
            ASSERT_LT(steady_clock::now(), deadline) << killsInRotation << " kills in a rotation";
            killInSomeWay();
            log.lookAtCopies();
        }
    }

    static constexpr int enoughKills = 24;
    static constexpr int enoughKillsInRotation = 4;

    rotated::SharedLog log;
    std::mt19937 dice{20261121};
    std::vector<Running> running{4};
    int kills = 0;
    int killsInRotation = 0;
};

TEST_F(KilledWriters, LeaveEachRecordWhoseCallReturnedOnce) {
    for (Running& slot : running) {
        replace(slot);
    }
    ASSERT_NO_FATAL_FAILURE(killUntilEnough());
    for (Running& slot : running) {
        slot.child->killAndJoin();
    }
    log.fillUp();
    log.letAGuestCome();
    log.letAGuestCome();
    log.lookAtCopies();
    const Tally found = log.tally();
    tell("kills", kills);
    tell("kills in a rotation", killsInRotation);
    tell("rotations", static_cast<long long>(log.copies().size()));
    tell("records", log.returnedCalls());
    log.expectOrder(found);
}

} // namespace

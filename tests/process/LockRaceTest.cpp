#include <array>
#include <chrono>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include "support/Children.h"
#include "support/SemaphoreSets.h"
#include "support/TempFolder.h"
#include <elmu/logging/BinaryLock.h>

namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using support::Child;
using support::lockMember;
using support::memberValue;
using support::userCount;

/// Takes the lock, and makes sure with a file that nobody else has it.
bool holdsAlone(elmu::BinaryLock& lock, const std::string& mark) {
    if (!lock.wait()) {
        return false;
    }
    const int file = ::open(mark.c_str(), O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const bool isAlone = file != -1 && ::close(file) == 0 && ::unlink(mark.c_str()) == 0;
    return lock.release() && isAlone;
}

/// Told a path and a time: creates the lock of that file at that time, and uses it. Told `leave`: leaves.
const support::KnownRole racer("lock-racer", [](const std::vector<std::string>&) {
    elmu::BinaryLock lock;
    std::string order;
    while (std::getline(std::cin, order)) {
        if (order == "leave") {
            support::answer(lock.finalize() ? "left" : "failed");
            continue;
        }
        std::istringstream words(order);
        std::string path;
        long long start = 0;
        words >> path >> start;
        while (steady_clock::now().time_since_epoch() < nanoseconds(start)) {
        }
        support::answer(
            lock.create(path, support::logProject) && holdsAlone(lock, path + ".held") ? "alone" : "failed");
    }
    return 0;
});

/// Comes to the lock of a file and leaves, often. Says how often it did not get the lock for itself.
const support::KnownRole guest("lock-guest", [](const std::vector<std::string>& arguments) {
    const std::string& path = arguments.at(0);
    int failures = 0;
    support::answer("ready");
    support::wasTold("start");
    for (int visits = std::stoi(arguments.at(1)); visits > 0; --visits) {
        elmu::BinaryLock lock;
        failures += lock.create(path, support::logProject) && holdsAlone(lock, path + ".held") ? 0 : 1;
        lock.finalize();
    }
    support::answer(std::to_string(failures));
    return 0;
});

class LockRace : public testing::Test {
  protected:
    static constexpr int rounds = 200;

    LockRace() {
        for (auto& child : racers) {
            child = std::make_unique<Child>(std::vector<std::string>{"lock-racer", ""});
        }
    }
    ~LockRace() override { support::removeSemaphoreSetsBelow(folder.path()); }

    std::string newFile(int number) const {
        std::string path = folder / (std::to_string(number) + ".log");
        support::writeFile(path, "");
        return path;
    }

    void race(const std::string& path) {
        const auto start = (steady_clock::now() + std::chrono::microseconds(300)).time_since_epoch();
        for (const auto& child : racers) {
            child->tell(path + " " + std::to_string(nanoseconds(start).count()));
        }
        for (const auto& child : racers) {
            EXPECT_EQ(child->hear(), "alone");
        }
        const int set = support::semaphoreSetOf(path).value_or(-1);
        EXPECT_EQ(memberValue(set, lockMember), 1);
        EXPECT_EQ(memberValue(set, userCount), static_cast<int>(racers.size()));
    }

    void leave() {
        for (const auto& child : racers) {
            child->ask("leave");
        }
    }

    support::TempFolder folder;
    std::array<std::unique_ptr<Child>, 3> racers;
};

TEST_F(LockRace, OfMakersLeavesOneFreeLockAndCountsThemAll) {
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        race(newFile(round));
        leave();
    }
}

TEST_F(LockRace, ForSetsThatWereAbandonedLeavesOneFreeLockAndCountsThemAll) {
    // Nobody waits for the maker of a set this old, so that all come at once.
    constexpr std::chrono::seconds age(3);
    std::vector<std::string> paths;
    for (int round = 0; round < rounds; ++round) {
        paths.push_back(newFile(round));
        ASSERT_NE(::semget(::ftok(paths.back().c_str(), support::logProject), 2, IPC_CREAT | IPC_EXCL | 0666),
                  -1);
    }
    std::this_thread::sleep_for(age);
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        race(path);
        leave();
    }
}

TEST_F(LockRace, ForASetThatWasAbandonedJustNowLeavesOneFreeLock) {
    const std::string path = newFile(0);
    ASSERT_NE(::semget(::ftok(path.c_str(), support::logProject), 2, IPC_CREAT | IPC_EXCL | 0666), -1);
    race(path);
}

TEST_F(LockRace, OfComersAndLeaversGivesEveryComerALock) {
    const std::string path = newFile(0);
    std::vector<std::unique_ptr<Child>> guests;
    for (int i = 0; i < 2; ++i) { // more would hardly ever leave the set without a user
        guests.push_back(std::make_unique<Child>(std::vector<std::string>{"lock-guest", path, "5000"}));
        ASSERT_EQ(guests.back()->hear(), "ready");
    }
    for (const auto& child : guests) {
        child->tell("start");
    }
    for (const auto& child : guests) {
        EXPECT_EQ(child->hear(), "0");
    }
    EXPECT_FALSE(support::semaphoreSetOf(path));
}

} // namespace

#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include "support/InChild.h"
#include "support/OwnIpc.h"
#include "support/RefusedCalls.h"
#include "support/Scopes.h"
#include "support/SemaphoreSets.h"
#include "support/TempFolder.h"
#include <elmu/logging/BinaryLock.h>

namespace {

using elmu::BinaryLock;
using support::lockMember;
using support::logProject;
using support::memberValue;
using support::ScopedAlarm;
using support::semaphoreSetExists;
using support::semaphoreSetOf;
using support::setMemberValue;
using support::untilSomebodyWaits;
using support::userCount;

class Lock : public testing::Test {
  protected:
    Lock() {
        support::writeFile(path, "");
        EXPECT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    }
    ~Lock() override { support::removeSemaphoreSetsBelow(folder.path()); }

    int makeSet(int members, int mode) const {
        return ::semget(::ftok(path.c_str(), logProject), members, IPC_CREAT | IPC_EXCL | mode);
    }

    /// Takes the lock and fails to give it back, because the system refuses `calls`. The lock must be closed
    /// then, and its member have `value`. To be called in a child.
    void failToGiveBack(const std::vector<std::vector<support::RefusedCall>>& calls, int value) const {
        const ScopedAlarm deadline(100);
        BinaryLock lock;
        ASSERT_TRUE(lock.create(path, logProject));
        const int set = lock.semId;
        ASSERT_TRUE(lock.wait());
        for (const auto& some : calls) {
            ASSERT_TRUE(support::refuseCalls(some));
        }
        EXPECT_FALSE(lock.release());
        EXPECT_EQ(lock.semId, -1);
        EXPECT_FALSE(lock.wait());
        EXPECT_EQ(memberValue(set, lockMember), value);
    }

    support::TempFolder folder;
    std::string path = folder / "HCD.log";
};

TEST_F(Lock, StartsClosed) { EXPECT_EQ(BinaryLock().semId, -1); }

TEST_F(Lock, OpensTheSetOfItsPathAndNumber) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    EXPECT_EQ(semaphoreSetOf(path, logProject), lock.semId);
}

TEST_F(Lock, MakesASetOfTwoMembersForEverybody) {
    const support::ScopedUmask umask(077);
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    semid_ds state = {};
    support::SemaphoreArgument argument;
    argument.state = &state;
    ASSERT_NE(::semctl(lock.semId, 0, IPC_STAT, argument), -1);
    EXPECT_EQ(state.sem_nsems, 2U);
    EXPECT_EQ(state.sem_perm.mode & 0777U, 0666U);
}

TEST_F(Lock, CountsItsUserAndIsFreeInANewSet) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    EXPECT_EQ(memberValue(lock.semId, userCount), 1);
    EXPECT_EQ(memberValue(lock.semId, lockMember), 1);
}

TEST_F(Lock, HasSetsOfItsOwnForOtherNumbersAndFiles) {
    support::writeFile(folder / "other.log", "");
    BinaryLock lock;
    BinaryLock otherNumber;
    BinaryLock otherFile;
    ASSERT_TRUE(lock.create(path, logProject));
    ASSERT_TRUE(otherNumber.create(path, 12));
    ASSERT_TRUE(otherFile.create(folder / "other.log", logProject));
    EXPECT_NE(lock.semId, otherNumber.semId);
    EXPECT_NE(lock.semId, otherFile.semId);
    EXPECT_NE(otherNumber.semId, otherFile.semId);
}

TEST_F(Lock, CannotBeMadeForAMissingFile) {
    BinaryLock lock;
    EXPECT_FALSE(lock.create(folder / "missing", logProject));
    EXPECT_EQ(lock.semId, -1);
    EXPECT_FALSE(lock.create("", logProject));
    EXPECT_EQ(lock.semId, -1);
}

TEST_F(Lock, CanBeMadeAfterItCouldNot) {
    BinaryLock lock;
    ASSERT_FALSE(lock.create(folder / "missing", logProject));
    EXPECT_TRUE(lock.create(path, logProject));
}

TEST_F(Lock, CountsNothingWhenItIsOpenAlready) {
    support::writeFile(folder / "other.log", "");
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    const int set = lock.semId;
    EXPECT_TRUE(lock.create(path, logProject));
    EXPECT_TRUE(lock.create(folder / "other.log", logProject));
    EXPECT_TRUE(lock.create(folder / "missing", logProject));
    EXPECT_EQ(lock.semId, set);
    EXPECT_EQ(memberValue(set, userCount), 1);
    EXPECT_FALSE(semaphoreSetOf(folder / "other.log"));
}

TEST_F(Lock, JoinsAnExistingSet) {
    BinaryLock first;
    BinaryLock second;
    ASSERT_TRUE(first.create(path, logProject));
    ASSERT_TRUE(second.create(path, logProject));
    EXPECT_EQ(first.semId, second.semId);
    EXPECT_EQ(memberValue(first.semId, userCount), 2);
}

TEST_F(Lock, DoesNotFreeASetThatItJoins) {
    BinaryLock first;
    BinaryLock second;
    ASSERT_TRUE(first.create(path, logProject));
    ASSERT_TRUE(first.wait());
    ASSERT_TRUE(second.create(path, logProject));
    EXPECT_EQ(memberValue(first.semId, lockMember), 0);
}

TEST_F(Lock, JoinsASetThatOthersLeftBehind) {
    const int set = makeSet(2, 0666);
    ASSERT_TRUE(setMemberValue(set, userCount, 3) && setMemberValue(set, lockMember, 1));
    BinaryLock lock;
    EXPECT_TRUE(lock.create(path, logProject));
    EXPECT_EQ(lock.semId, set);
    EXPECT_EQ(memberValue(set, userCount), 4);
}

TEST_F(Lock, StaysClosedWhenItsUserCannotBeCounted) {
    const int set = makeSet(2, 0666);
    constexpr int mostUsers = 32767;
    ASSERT_TRUE(setMemberValue(set, userCount, mostUsers) && setMemberValue(set, lockMember, 1));
    BinaryLock lock;
    EXPECT_FALSE(lock.create(path, logProject));
    EXPECT_EQ(lock.semId, -1);
    EXPECT_EQ(memberValue(set, userCount), mostUsers);
}

TEST_F(Lock, StaysClosedWithoutPermission) {
    const int set = makeSet(2, 0444);
    ASSERT_NE(set, -1);
    support::asOrdinaryUser([this] {
        BinaryLock lock;
        EXPECT_FALSE(lock.create(path, logProject));
        EXPECT_EQ(lock.semId, -1);
    });
    EXPECT_TRUE(semaphoreSetExists(set));
}

TEST_F(Lock, StaysClosedWhenNoSetCanBeMade) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    support::inChild([this] {
        ASSERT_TRUE(support::refuseCalls(support::semaphoreOpenings()));
        BinaryLock lock;
        EXPECT_FALSE(lock.create(path, logProject));
        EXPECT_EQ(lock.semId, -1);
    });
}

TEST_F(Lock, LeavesNoSetBehindThatItMadeAndCannotSetFree) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    support::inChild([this] {
        ASSERT_TRUE(support::refuseCalls(support::semaphoreOperations()));
        BinaryLock lock;
        EXPECT_FALSE(lock.create(path, logProject));
        EXPECT_EQ(lock.semId, -1);
    });
    EXPECT_FALSE(semaphoreSetOf(path));
}

TEST_F(Lock, LeavesTheSetOfAnotherWhenItCannotJoin) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    BinaryLock first;
    ASSERT_TRUE(first.create(path, logProject));
    support::inChild([this] {
        ASSERT_TRUE(support::refuseCalls(support::semaphoreOperations()));
        BinaryLock lock;
        EXPECT_FALSE(lock.create(path, logProject));
        EXPECT_EQ(lock.semId, -1);
    });
    EXPECT_EQ(memberValue(first.semId, userCount), 1);
}

TEST_F(Lock, IsMadeAndJoinedWhenTheSystemTellsNothingAboutSets) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    support::inChild([this] {
        const ScopedAlarm deadline(100);
        ASSERT_TRUE(support::refuseCalls(support::semaphoreQuestions()));
        auto* const first = new BinaryLock;
        auto* const second = new BinaryLock;
        EXPECT_TRUE(first->create(path, logProject));
        EXPECT_TRUE(second->create(path, logProject));
        EXPECT_TRUE(first->wait());
        EXPECT_TRUE(first->release());
        EXPECT_TRUE(second->wait());
        EXPECT_TRUE(second->release());
    });
    const int set = semaphoreSetOf(path).value_or(-1);
    EXPECT_EQ(memberValue(set, userCount), 2);
    EXPECT_EQ(memberValue(set, lockMember), 1);
}

TEST_F(Lock, IsTakenAndGivenBack) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(lock.wait());
        EXPECT_EQ(memberValue(lock.semId, lockMember), 0);
        EXPECT_TRUE(lock.release());
        EXPECT_EQ(memberValue(lock.semId, lockMember), 1);
    }
    EXPECT_EQ(memberValue(lock.semId, userCount), 1);
}

TEST_F(Lock, AddsOneAtEveryRelease) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    EXPECT_TRUE(lock.release());
    EXPECT_EQ(memberValue(lock.semId, lockMember), 2);
}

TEST_F(Lock, CannotBeTakenOrGivenBackWhileItIsClosed) {
    BinaryLock lock;
    EXPECT_FALSE(lock.wait());
    EXPECT_FALSE(lock.release());
    EXPECT_EQ(lock.semId, -1);
}

TEST_F(Lock, CannotBeTakenWhenItsSetWasRemoved) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    support::removeSemaphoreSet(lock.semId);
    EXPECT_FALSE(lock.wait());
    EXPECT_FALSE(lock.release());
}

TEST_F(Lock, IsClosedWhenItCannotBeGivenBack) {
    const ScopedAlarm deadline(100);
    BinaryLock lock;
    BinaryLock other;
    ASSERT_TRUE(lock.create(path, logProject));
    ASSERT_TRUE(other.create(path, logProject));
    ASSERT_TRUE(lock.wait());
    constexpr int mostFree = 32767;
    ASSERT_TRUE(setMemberValue(other.semId, lockMember, mostFree));
    EXPECT_FALSE(lock.release());
    EXPECT_EQ(lock.semId, -1);
    EXPECT_FALSE(lock.wait());
    EXPECT_TRUE(lock.finalize());
    EXPECT_EQ(memberValue(other.semId, userCount), 2);
}

TEST_F(Lock, IsFreeForOthersWhenItCannotBeGivenBack) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    support::inChild([this] { failToGiveBack({support::semaphoreOperations()}, 1); });
    const int set = semaphoreSetOf(path).value_or(-1);
    EXPECT_EQ(memberValue(set, lockMember), 1);
    EXPECT_EQ(memberValue(set, userCount), 1);
}

TEST_F(Lock, IsFreeAfterAProcessThatCouldNotGiveItBackInAnyWay) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    support::inChild(
        [this] { failToGiveBack({support::semaphoreOperations(), support::semaphoreSettings()}, 0); });
    EXPECT_EQ(memberValue(semaphoreSetOf(path).value_or(-1), lockMember), 1);
}

TEST_F(Lock, OfAnotherHolderIsNotSetFreeByAFailedRelease) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    BinaryLock holder;
    ASSERT_TRUE(holder.create(path, logProject));
    ASSERT_TRUE(holder.wait());
    support::inChild([this] {
        BinaryLock lock;
        ASSERT_TRUE(lock.create(path, logProject));
        ASSERT_TRUE(support::refuseCalls(support::semaphoreOperations()));
        EXPECT_FALSE(lock.release());
    });
    EXPECT_EQ(memberValue(holder.semId, lockMember), 0);
}

TEST_F(Lock, IsLeftAloneByAForkedChild) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    support::inChild([&lock] {
        EXPECT_TRUE(lock.finalize());
        EXPECT_EQ(lock.semId, -1);
    });
    support::inChild([&lock] { lock.~BinaryLock(); });
    EXPECT_EQ(memberValue(lock.semId, userCount), 1);
    EXPECT_TRUE(lock.wait());
    EXPECT_TRUE(lock.release());
}

TEST_F(Lock, CanBeTakenByAForkedChild) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    support::inChild([&lock] {
        EXPECT_TRUE(lock.wait());
        EXPECT_EQ(memberValue(lock.semId, lockMember), 0);
        EXPECT_TRUE(lock.release());
    });
    EXPECT_EQ(memberValue(lock.semId, lockMember), 1);
}

TEST_F(Lock, OfAForkedChildIsItsOwnAfterItLeftTheInheritedOne) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    support::inChild([this, &lock] {
        EXPECT_TRUE(lock.finalize());
        EXPECT_TRUE(lock.create(path, logProject));
        EXPECT_EQ(memberValue(lock.semId, userCount), 2);
        EXPECT_TRUE(lock.finalize());
    });
    EXPECT_EQ(memberValue(lock.semId, userCount), 1);
}

TEST_F(Lock, LeavesASetThatItWasGiven) {
    BinaryLock opener;
    ASSERT_TRUE(opener.create(path, logProject));
    BinaryLock lock;
    lock.semId = opener.semId;
    EXPECT_TRUE(lock.finalize());
    EXPECT_FALSE(semaphoreSetExists(opener.semId));
}

TEST_F(Lock, CannotBeTakenInASetWithoutALockMember) {
    ASSERT_NE(makeSet(1, 0666), -1);
    BinaryLock lock;
    EXPECT_TRUE(lock.create(path, logProject));
    EXPECT_FALSE(lock.wait());
}

TEST_F(Lock, MakesASecondTakerWait) {
    const ScopedAlarm deadline(100);
    BinaryLock first;
    BinaryLock second;
    ASSERT_TRUE(first.create(path, logProject));
    ASSERT_TRUE(second.create(path, logProject));
    ASSERT_TRUE(first.wait());
    bool taken = false;
    std::thread taker([&] { taken = second.wait(); });
    untilSomebodyWaits(first.semId);
    EXPECT_TRUE(first.release());
    taker.join();
    EXPECT_TRUE(taken);
    EXPECT_EQ(memberValue(first.semId, lockMember), 0);
}

TEST_F(Lock, SerialisesTwoThreadsThatShareIt) {
    const ScopedAlarm deadline(100);
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    ASSERT_TRUE(lock.wait());
    std::thread other([&] {
        EXPECT_TRUE(lock.wait());
        EXPECT_TRUE(lock.release());
    });
    untilSomebodyWaits(lock.semId);
    EXPECT_TRUE(lock.release());
    other.join();
    EXPECT_EQ(memberValue(lock.semId, lockMember), 1);
}

TEST_F(Lock, FailsToWaitWhenTheSetIsRemovedMeanwhile) {
    const ScopedAlarm deadline(100);
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    ASSERT_TRUE(lock.wait());
    bool taken = true;
    std::thread taker([&] { taken = lock.wait(); });
    untilSomebodyWaits(lock.semId);
    support::removeSemaphoreSet(lock.semId);
    taker.join();
    EXPECT_FALSE(taken);
}

TEST_F(Lock, FailsToWaitWhenASignalHandlerRuns) {
    const ScopedAlarm deadline(100);
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    ASSERT_TRUE(lock.wait());
    auto* const earlier = std::signal(SIGUSR1, [](int) {});
    const pthread_t waiter = ::pthread_self();
    std::thread interrupter([&] {
        untilSomebodyWaits(lock.semId);
        ::pthread_kill(waiter, SIGUSR1);
    });
    EXPECT_FALSE(lock.wait());
    interrupter.join();
    std::signal(SIGUSR1, earlier);
    EXPECT_EQ(memberValue(lock.semId, lockMember), 0);
    EXPECT_TRUE(lock.release());
}

TEST_F(Lock, HasNothingToLeaveWhileItIsClosed) {
    BinaryLock lock;
    EXPECT_TRUE(lock.finalize());
    EXPECT_TRUE(lock.finalize());
    EXPECT_EQ(lock.semId, -1);
}

TEST_F(Lock, RemovesTheSetWhenItsLastUserLeaves) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    const int set = lock.semId;
    EXPECT_TRUE(lock.finalize());
    EXPECT_EQ(lock.semId, -1);
    EXPECT_FALSE(semaphoreSetExists(set));
}

TEST_F(Lock, LeavesTheSetToItsOtherUsers) {
    BinaryLock first;
    BinaryLock second;
    ASSERT_TRUE(first.create(path, logProject));
    ASSERT_TRUE(second.create(path, logProject));
    EXPECT_TRUE(first.finalize());
    EXPECT_EQ(first.semId, -1);
    EXPECT_EQ(memberValue(second.semId, userCount), 1);
    EXPECT_TRUE(second.wait());
    EXPECT_TRUE(second.release());
}

TEST_F(Lock, LeavesOnlyOnce) {
    BinaryLock first;
    BinaryLock second;
    ASSERT_TRUE(first.create(path, logProject));
    ASSERT_TRUE(second.create(path, logProject));
    EXPECT_TRUE(first.finalize());
    EXPECT_TRUE(first.finalize());
    EXPECT_EQ(memberValue(second.semId, userCount), 1);
}

TEST_F(Lock, RemovesTheSetEvenWhileItHoldsTheLock) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    ASSERT_TRUE(lock.wait());
    const int set = lock.semId;
    EXPECT_TRUE(lock.finalize());
    EXPECT_FALSE(semaphoreSetExists(set));
}

TEST_F(Lock, CanBeMadeAgainAfterItLeft) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    ASSERT_TRUE(lock.finalize());
    ASSERT_TRUE(lock.create(path, logProject));
    EXPECT_EQ(memberValue(lock.semId, userCount), 1);
    EXPECT_EQ(memberValue(lock.semId, lockMember), 1);
}

TEST_F(Lock, FailsToLeaveASetThatWasRemoved) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    support::removeSemaphoreSet(lock.semId);
    EXPECT_FALSE(lock.finalize());
    EXPECT_EQ(lock.semId, -1);
}

TEST_F(Lock, FailsToLeaveASetThatCountsNobody) {
    BinaryLock lock;
    ASSERT_TRUE(lock.create(path, logProject));
    const int set = lock.semId;
    ASSERT_TRUE(setMemberValue(set, userCount, 0));
    EXPECT_FALSE(lock.finalize());
    EXPECT_EQ(lock.semId, -1);
    EXPECT_TRUE(semaphoreSetExists(set));
}

TEST_F(Lock, LeavesTheSetWhenTheOtherUsersCannotBeCounted) {
    const int set = makeSet(2, 0222);
    ASSERT_NE(set, -1);
    support::asOrdinaryUser([this] {
        BinaryLock lock;
        EXPECT_TRUE(lock.create(path, logProject));
        EXPECT_TRUE(lock.finalize());
        EXPECT_EQ(lock.semId, -1);
    });
    EXPECT_TRUE(semaphoreSetExists(set));
}

TEST_F(Lock, FailsToLeaveWhenTheSetBelongsToAnother) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes a set and then becomes another user";
    }
    const int set = makeSet(2, 0666);
    ASSERT_TRUE(setMemberValue(set, lockMember, 1));
    support::asOrdinaryUser([this] {
        BinaryLock lock;
        EXPECT_TRUE(lock.create(path, logProject));
        EXPECT_FALSE(lock.finalize());
        EXPECT_EQ(lock.semId, -1);
    });
    EXPECT_TRUE(semaphoreSetExists(set));
    EXPECT_EQ(memberValue(set, userCount), 0);
}

TEST_F(Lock, RemovesTheSetWhenTheLastUserIsDestroyed) {
    int set = -1;
    {
        BinaryLock lock;
        ASSERT_TRUE(lock.create(path, logProject));
        set = lock.semId;
    }
    EXPECT_FALSE(semaphoreSetExists(set));
}

TEST_F(Lock, CountsADestroyedUserOut) {
    BinaryLock staying;
    ASSERT_TRUE(staying.create(path, logProject));
    {
        BinaryLock lock;
        ASSERT_TRUE(lock.create(path, logProject));
    }
    EXPECT_EQ(memberValue(staying.semId, userCount), 1);
}

TEST_F(Lock, IsNotCountedOutTwiceWhenItLeftBeforeItIsDestroyed) {
    BinaryLock staying;
    ASSERT_TRUE(staying.create(path, logProject));
    {
        BinaryLock lock;
        ASSERT_TRUE(lock.create(path, logProject));
        ASSERT_TRUE(lock.finalize());
    }
    EXPECT_EQ(memberValue(staying.semId, userCount), 1);
}

TEST_F(Lock, OfTheFirstSetOfAMachineLeavesLikeAnyOther) {
    if (!support::canHaveOwnSemaphores()) {
        GTEST_SKIP() << "needs a user namespace: it makes semaphores of its own";
    }
    support::inChild([this] {
        ASSERT_TRUE(support::haveOwnSemaphores());
        BinaryLock lock;
        ASSERT_TRUE(lock.create(path, logProject));
        ASSERT_EQ(lock.semId, 0);
        EXPECT_TRUE(lock.finalize());
        EXPECT_FALSE(semaphoreSetExists(0));
    });
}

TEST_F(Lock, OfTheFirstSetOfAMachineDoesNotLeaveWhenItIsDestroyed) {
    if (!support::canHaveOwnSemaphores()) {
        GTEST_SKIP() << "needs a user namespace: it makes semaphores of its own";
    }
    support::inChild([this] {
        ASSERT_TRUE(support::haveOwnSemaphores());
        {
            BinaryLock lock;
            ASSERT_TRUE(lock.create(path, logProject));
            ASSERT_EQ(lock.semId, 0);
        }
        EXPECT_TRUE(semaphoreSetExists(0));
        EXPECT_EQ(memberValue(0, userCount), 1);
    });
}

TEST_F(Lock, IsFreedButStaysCountedWhenItsHolderEndsWithoutLeaving) {
    support::inChild([this] {
        auto* const lock = new BinaryLock;
        EXPECT_TRUE(lock->create(path, logProject));
        EXPECT_TRUE(lock->wait());
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    });
    const auto set = semaphoreSetOf(path);
    ASSERT_TRUE(set);
    EXPECT_EQ(memberValue(*set, userCount), 1);
    EXPECT_EQ(memberValue(*set, lockMember), 1);
}

} // namespace

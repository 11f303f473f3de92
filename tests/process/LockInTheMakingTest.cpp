#ifdef __linux__

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/syscall.h>

#include "support/Children.h"
#include "support/SemaphoreSets.h"
#include "support/TempFolder.h"
#include "support/TracedProcess.h"

/// What may happen before any system call of a process that makes or joins the set of a lock.
namespace {

using support::Child;
using support::lockMember;
using support::memberValue;
using support::userCount;

class LockInTheMaking : public testing::Test {
  protected:
    LockInTheMaking() { support::writeFile(path, ""); }
    ~LockInTheMaking() override { support::removeSemaphoreSetsBelow(folder.path()); }

    /// Changes `path` to a new file, so that its lock does not exist yet.
    void takeANewFile() {
        path = folder / (std::to_string(++files) + ".log");
        support::writeFile(path, "");
    }

    /// A process that waits for orders.
    std::unique_ptr<Child> process() const {
        auto child = std::make_unique<Child>(std::vector<std::string>{"lock-user", path});
        EXPECT_EQ(child->ask("set"), "-1");
        return child;
    }
    std::unique_ptr<Child> user() const {
        auto child = process();
        EXPECT_EQ(child->ask("create"), "true");
        return child;
    }

    std::optional<int> set() const { return support::semaphoreSetOf(path); }
    int lockValue() const { return memberValue(set().value_or(-1), lockMember); }
    int users() const { return memberValue(set().value_or(-1), userCount); }

    /// As older versions do, which neither look nor wait.
    int makeSetLikeAnOlderVersion() const {
        const int made = ::semget(::ftok(path.c_str(), support::logProject), 2, IPC_CREAT | 0666);
        EXPECT_NE(made, -1);
        return made;
    }
    static void countInLikeAnOlderVersion(int id) {
        sembuf countIn = {userCount, 1, IPC_NOWAIT};
        EXPECT_EQ(::semop(id, &countIn, 1), 0);
    }

    void expectALockThatWorks() const {
        const auto later = user();
        EXPECT_EQ(later->ask("wait"), "true");
        EXPECT_EQ(lockValue(), 0);
        EXPECT_EQ(later->ask("release"), "true");
        EXPECT_EQ(lockValue(), 1);
    }

    using Happening = std::function<void(Child&, support::TracedProcess&)>;

    /// Gives `child` an order, and lets `happening` happen before its call `number`. False if it answers
    /// before that.
    static bool beforeCall(int number, Child& child, const std::string& order, const Happening& happening) {
        support::TracedProcess traced(child.id());
        child.tell(order);
        for (int call = 0; call < number; ++call) {
            traced.toNextCall();
            if (traced.number() == SYS_write) {
                traced.release();
                EXPECT_EQ(child.hear(), "true");
                return false;
            }
        }
        happening(child, traced);
        return true;
    }

    /// Does that before every call, each time with a new file and the child that `prepare` gives.
    void beforeEveryCall(const std::string& order, const std::function<std::unique_ptr<Child>()>& prepare,
                         const Happening& happening) {
        int number = 0;
        std::unique_ptr<Child> child;
        do {
            SCOPED_TRACE("call " + std::to_string(++number));
            takeANewFile();
            child = prepare();
        } while (beforeCall(number, *child, order, happening) && !HasFailure());
        EXPECT_GT(number, 4) << "It makes more calls than that.";
        RecordProperty("calls", number - 1);
    }

    void beforeEveryCallOfAMaker(const Happening& happening) {
        beforeEveryCall("create", [this] { return process(); }, happening);
    }
    /// The comer finds the set of another process, `earlier`.
    void beforeEveryCallOfAComer(const Happening& happening) {
        const auto prepare = [this] {
            earlier = user();
            return process();
        };
        beforeEveryCall("create", prepare, happening);
    }
    void beforeEveryCallOfALeaver(const Happening& happening) {
        beforeEveryCall("finalize", [this] { return user(); }, happening);
    }

    /// Removes the set before `child` goes on, which must end up with a set that works and is its alone.
    void expectSetIsMadeAgain(Child& child, support::TracedProcess& traced) const {
        support::removeSemaphoreSet(set().value_or(-1));
        traced.release();
        EXPECT_EQ(child.hear(), "true");
        EXPECT_EQ(child.ask("set"), std::to_string(set().value_or(-1)));
        EXPECT_EQ(lockValue(), 1);
        EXPECT_EQ(users(), 1);
    }

    support::TempFolder folder;
    std::string path = folder / "HCD.log";
    std::unique_ptr<Child> earlier;
    int files = 0;
};

TEST_F(LockInTheMaking, ServesLaterProcessesWhenItsMakerIsKilled) {
    beforeEveryCallOfAMaker([this](Child& maker, support::TracedProcess&) {
        maker.killAndJoin();
        expectALockThatWorks();
    });
}

TEST_F(LockInTheMaking, IsFreedOnceWhenItsMakerIsHeldUp) {
    beforeEveryCallOfAMaker([this](Child& maker, support::TracedProcess& traced) {
        const auto other = user();
        ASSERT_EQ(other->ask("wait"), "true");
        traced.release();
        EXPECT_EQ(maker.hear(), "true");
        EXPECT_EQ(lockValue(), 0);
        EXPECT_EQ(users(), 2);
        EXPECT_EQ(other->ask("release"), "true");
        EXPECT_EQ(lockValue(), 1);
    });
}

TEST_F(LockInTheMaking, IsFreedWhenAProcessOfAnOlderVersionCountsItselfIn) {
    beforeEveryCallOfAMaker([this](Child& maker, support::TracedProcess& traced) {
        const auto made = set();
        if (made) {
            countInLikeAnOlderVersion(*made);
        }
        traced.release();
        EXPECT_EQ(maker.hear(), "true");
        EXPECT_EQ(lockValue(), 1);
        EXPECT_EQ(users(), made ? 2 : 1);
    });
}

TEST_F(LockInTheMaking, IsMadeAgainWhenItsSetIsRemoved) {
    beforeEveryCallOfAMaker(
        [this](Child& maker, support::TracedProcess& traced) { expectSetIsMadeAgain(maker, traced); });
}

TEST_F(LockInTheMaking, IsMadeAgainWhenTheSetThatAProcessJoinsIsRemoved) {
    beforeEveryCallOfAComer(
        [this](Child& comer, support::TracedProcess& traced) { expectSetIsMadeAgain(comer, traced); });
}

TEST_F(LockInTheMaking, IsMadeAgainWhenTheLastUserLeavesWhileAProcessJoins) {
    beforeEveryCallOfAComer([this](Child& comer, support::TracedProcess& traced) {
        EXPECT_EQ(earlier->ask("finalize"), "true");
        traced.release();
        EXPECT_EQ(comer.hear(), "true");
        EXPECT_EQ(comer.ask("wait"), "true");
    });
}

TEST_F(LockInTheMaking, IsNotJoinedWhileItsLastUserRemovesIt) {
    beforeEveryCallOfALeaver([this](Child& leaver, support::TracedProcess& traced) {
        const auto comer = process();
        comer->tell("create");
        comer->hasAnswerWithin(std::chrono::milliseconds(10));
        traced.release();
        EXPECT_EQ(leaver.hear(), "true");
        EXPECT_EQ(comer->hear(), "true");
        EXPECT_EQ(comer->ask("wait"), "true");
        EXPECT_EQ(comer->ask("release"), "true");
        EXPECT_EQ(lockValue(), 1);
        EXPECT_EQ(users(), 1);
    });
}

TEST_F(LockInTheMaking, ServesLaterProcessesWhenItsLastUserIsKilledWhileItLeaves) {
    beforeEveryCallOfALeaver([this](Child& leaver, support::TracedProcess&) {
        leaver.killAndJoin();
        expectALockThatWorks();
    });
}

TEST_F(LockInTheMaking, WaitsForAMakerOfAnOlderVersion) {
    const int made = makeSetLikeAnOlderVersion();
    const auto comer = process();
    comer->tell("create");
    EXPECT_FALSE(comer->hasAnswerWithin(std::chrono::milliseconds(100)));
    ASSERT_TRUE(support::setMemberValue(made, lockMember, 1));
    countInLikeAnOlderVersion(made);
    EXPECT_EQ(comer->hear(), "true");
    EXPECT_EQ(lockValue(), 1);
    EXPECT_EQ(users(), 2);
}

TEST_F(LockInTheMaking, WaitsForALastUserThatIsAboutToRemoveIt) {
    const auto last = user();
    const int made = set().value_or(-1);
    ASSERT_TRUE(support::setMemberValue(made, userCount, 0));
    const auto comer = process();
    comer->tell("create");
    EXPECT_FALSE(comer->hasAnswerWithin(std::chrono::milliseconds(10)));
    support::removeSemaphoreSet(made);
    EXPECT_EQ(comer->hear(), "true");
    EXPECT_EQ(lockValue(), 1);
    EXPECT_EQ(users(), 1);
}

TEST_F(LockInTheMaking, IsJoinedWhenItsMakerOfAnOlderVersionWasKilledBeforeItCountedItself) {
    ASSERT_TRUE(support::setMemberValue(makeSetLikeAnOlderVersion(), lockMember, 1));
    expectALockThatWorks();
}

} // namespace

#endif

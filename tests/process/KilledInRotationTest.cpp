#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include "process/RotatedLog.h"

#ifdef __linux__
#include <algorithm>
#include <array>

#include <sys/syscall.h>

#include "support/TracedProcess.h"
#endif

namespace {

using rotated::SharedLog;
using rotated::sizeLimit;

class RecordOfAKilledWriter : public testing::Test {
  protected:
    /// A writer dies in the middle of a record, with which the log gets `size` bytes, a number of whole
    /// blocks.
    void dieInARecordAt(off_t size) {
        EXPECT_EQ(log.start("rotating-cut", std::to_string(size))->join(), 128 + SIGXFSZ);
        ASSERT_EQ(log.size(), size);
        ASSERT_FALSE(log.tally().torn.empty());
    }

    SharedLog log;
};

TEST_F(RecordOfAKilledWriter, IsALineOfItsOwnBeforeTheNextRecord) {
    dieInARecordAt(8192);
    log.letAGuestCome();
    const auto found = log.tally();
    log.expectOrder(found);
    EXPECT_EQ(found.torn.size(), 1U);
    EXPECT_EQ(found.timesOf(1, 0), 1) << "the guest's record";
}

TEST_F(RecordOfAKilledWriter, StaysAtTheEndOfTheCopy) {
    log.fillUp(sizeLimit - 8192);
    dieInARecordAt(sizeLimit);
    log.letAGuestCome();
    EXPECT_EQ(log.copies().size(), 1U);
    log.expectOrder(log.tally());
}

#ifdef __linux__

/// Whether a call leaves files and semaphores as they are. The list is not complete: what is not in it only
/// makes the test longer.
bool changesNothing(long call) {
    constexpr std::array calls = {
        SYS_read,       SYS_pread64, SYS_close, SYS_lseek, SYS_fstat, SYS_brk,
#ifdef SYS_newfstatat
        SYS_newfstatat,
#endif
#ifdef SYS_fstatat64
        SYS_fstatat64,
#endif
    };
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

/// Whether the latest of a row of calls is one of a loop of two calls, such as reading and writing.
class LoopOfTwo {
  public:
    bool goesOnWith(long number) {
        const bool goesOn = number == latest[1] && latest[0] == latest[2];
        latest = {number, latest[0], latest[1]};
        return goesOn;
    }

  private:
    std::array<long, 3> latest = {-1, -1, -1};
};

/// Lets a process register with a log that has to be rotated, write a record and leave. Kills it before its
/// call `last` while it holds the lock for the rotation; the calls of a loop count once. False if it made
/// fewer calls.
bool killBeforeCall(SharedLog& log, int last) {
    const auto child = log.start("rotating-traced");
    support::TracedProcess traced(child->id());
    child->tell("begin");
    do {
        traced.toNextCall();
    } while (!log.isLockedBy(child->id()));
    LoopOfTwo loop;
    for (int count = 0;; traced.toNextCall()) {
        if (!log.isLockedBy(child->id())) {
            traced.release();
            EXPECT_EQ(child->join(), 0);
            return false;
        }
        const long call = traced.number();
        count += loop.goesOnWith(call) || changesNothing(call) ? 0 : 1;
        if (count == last) {
            log.note("killed before call " + std::to_string(last) + ", number " + std::to_string(call));
            child->killAndJoin();
            return true;
        }
    }
}

TEST(KilledRotation, KeepsEachRecordOnceWhateverItsNextCallWas) {
    bool killed = true;
    int call = 0;
    while (killed && !testing::Test::HasFailure()) {
        SharedLog log;
        log.letAGuestCome();
        log.fillUp();
        killed = killBeforeCall(log, ++call);
        log.lookAtCopies();
        log.letAGuestCome();
        EXPECT_GE(log.copies().size(), 1U);
        log.expectOrder(log.tally());
    }
    EXPECT_GT(call, 10) << "A rotation makes more calls than that.";
    rotated::tell("kills", call - 1);
}

#endif

} // namespace

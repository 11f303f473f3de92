#include <elmu/logging/BinaryLock.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <ctime>
#include <optional>
#include <utility>

#include <sched.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include "platform/Processor.h"

namespace elmu {

namespace {

constexpr std::int32_t kNoSet = -1;
constexpr unsigned short kUserCount = 0;
constexpr unsigned short kLock = 1;
constexpr int kMemberCount = 2;
constexpr int kMostTries = 8;

/// How often to try before blocking: some ten microseconds if nobody else wants to run. Pauses alone are of
/// no use if the holder waits for this processor.
constexpr int kTriesWithPauses = 8;
constexpr int kMostTriesToTake = 40;

/// To make or remove a set takes microseconds. A second is enough for a maker under load, and short enough
/// for a program whose set was left by a killed maker. The wait for a removal is shorter, for two reasons. A
/// last user without the right to remove the set makes every newcomer of the next seconds wait. And less is
/// at stake: a process that joins too early loses its own records only.
constexpr int kMostPausesForMaking = 1000;
constexpr int kMostPausesForRemoval = 250;
constexpr timespec kPause = {0, 1'000'000};
constexpr std::time_t kTransitionSeconds = 2; ///< times of sets are whole seconds

/// The argument of `semctl`, which not every system declares.
union SemaphoreArgument {
    int value;
    semid_ds* state;
};

sembuf operation(unsigned short member, int by, int flags = IPC_NOWAIT) {
    sembuf result = {};
    result.sem_num = member;
    result.sem_op = static_cast<short>(by);
    result.sem_flg = static_cast<short>(flags);
    return result;
}

/// All operations or none, in their order.
template <std::size_t count> bool apply(std::int32_t set, std::array<sembuf, count> operations) {
    return ::semop(set, operations.data(), count) == 0;
}

bool setFree(std::int32_t set) {
    SemaphoreArgument freeLock = {};
    freeLock.value = 1;
    return ::semctl(set, kLock, SETVAL, freeLock) != -1;
}

/// When the set was made, and when it was last operated on, which is 0 for never.
std::optional<semid_ds> stateOf(std::int32_t set) {
    semid_ds state = {};
    SemaphoreArgument argument = {};
    argument.state = &state;
    return ::semctl(set, 0, IPC_STAT, argument) == -1 ? std::nullopt : std::optional(state);
}

bool isUnused(const std::optional<semid_ds>& state) { return state && state->sem_otime == 0; }

/// How often to look again whether somebody made or removed the set.
int mostPauses(const std::optional<semid_ds>& state) {
    if (!state) {
        return 0;
    }
    const std::time_t made = state->sem_ctime;
    const std::time_t used = state->sem_otime;
    if (std::time(nullptr) - std::max(made, used) > kTransitionSeconds) {
        return 0;
    }
    return isUnused(state) ? kMostPausesForMaking : kMostPausesForRemoval;
}

/// Whether nobody ever set the lock free or took it. To be asked only of sets that were just unused: a lock
/// that a process of another process-id namespace holds looks the same, because its id is not seen here.
bool lacksLock(std::int32_t set) {
    return ::semctl(set, kLock, GETVAL) == 0 && ::semctl(set, kLock, GETPID) == 0;
}

/// Counts this process in, whatever the count.
bool countIn(std::int32_t set) { return apply(set, std::array{operation(kUserCount, 1)}); }

/// Fails with EAGAIN while the set counts nobody.
bool countInBesideOthers(std::int32_t set) {
    return apply(set, std::array{operation(kUserCount, -1), operation(kUserCount, 2)});
}

/// Sets the lock free and counts this process in, in one step. Fails with EAGAIN unless the lock is 0 and the
/// count is `users`.
bool setFreeAndCountIn(std::int32_t set, int users) {
    return apply(set, std::array{operation(kLock, 0), operation(kLock, 1), operation(kUserCount, -users),
                                 operation(kUserCount, 0), operation(kUserCount, users + 1)});
}

/// Counts this process in, and sets the lock free if nobody did. That changes the count with it, so that of
/// several processes one succeeds, and nobody frees a lock that another one has taken already. Only a process
/// of an older version counts itself in beside a missing lock: then this tries again with the new count.
bool initialise(std::int32_t set) {
    int users = 0;
    for (int tries = 0; tries < kMostTries; ++tries) {
        if (setFreeAndCountIn(set, users)) {
            return true;
        }
        if (errno != EAGAIN) {
            return false;
        }
        users = ::semctl(set, kUserCount, GETVAL);
        if (!lacksLock(set)) {
            return countIn(set);
        }
    }
    return false;
}

/// Fails with EAGAIN while the set is being made or removed. A set that has its lock before any operation was
/// made by an older version, which may be killed between the two.
bool tryToJoin(std::int32_t set, bool isNew) {
    if (isNew && lacksLock(set)) {
        errno = EAGAIN;
        return false;
    }
    return isUnused(stateOf(set)) ? countIn(set) : countInBesideOthers(set);
}

/// Counts this process in a set that another one made. A set without a user is between its making and its
/// maker's first operation, or between its last user's leaving and its removal: this waits, but no longer
/// than such a thing takes, because that process may have been killed. Which process it is cannot be told: a
/// set does not name its maker. The wait before a lock is set free is for makers of an older version, which
/// do that without looking; those of this version may come later and harm nothing.
bool join(std::int32_t set) {
    const std::optional<semid_ds> state = stateOf(set);
    const int limit = mostPauses(state);
    for (int pauses = 0; !tryToJoin(set, isUnused(state)); ++pauses) {
        if (errno != EAGAIN) {
            return false;
        }
        if (pauses == limit) {
            return !state || isUnused(state) ? initialise(set) : countIn(set);
        }
        ::nanosleep(&kPause, nullptr);
    }
    return true;
}

/// Leaves no set behind that it made and could not initialise: its users would wait forever.
bool initialiseOrRemove(std::int32_t set) {
    if (initialise(set)) {
        return true;
    }
    const int reason = errno;
    ::semctl(set, 0, IPC_RMID);
    errno = reason;
    return false;
}

/// The set of `key` with this process counted in; `kNoSet`, and `errno` set, when that fails.
std::int32_t openOrMake(key_t key) {
    const std::int32_t found = ::semget(key, 0, 0);
    if (found != kNoSet) {
        return join(found) ? found : kNoSet;
    }
    const std::int32_t made = ::semget(key, kMemberCount, IPC_CREAT | IPC_EXCL | 0666);
    return made != kNoSet && initialiseOrRemove(made) ? made : kNoSet;
}

/// Whether a set came or went between two calls, going by what the second one failed with.
bool cameOrWent(int error) { return error == EEXIST || error == EIDRM || error == EINVAL; }

/// Whether the lock is taken, and by this process.
bool isHeldHere(std::int32_t set) {
    return ::semctl(set, kLock, GETVAL) == 0 && ::semctl(set, kLock, GETPID) == ::getpid();
}

} // namespace

BinaryLock::~BinaryLock() {
    if (semId != 0) {
        finalize();
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes its own copy.
bool BinaryLock::create(std::string path, int id) {
    if (semId != kNoSet) {
        return true;
    }
    const key_t key = ::ftok(path.c_str(), id);
    if (key == -1) {
        return false;
    }
    opener = ::getpid();
    for (int tries = 0; tries < kMostTries; ++tries) {
        semId = openOrMake(key);
        if (semId != kNoSet) {
            return true;
        }
        if (!cameOrWent(errno)) {
            return false;
        }
    }
    return false;
}

/// Whoever blocks costs everybody two switches between processes, because the system then hands the lock over
/// in turn. Holders need it for microseconds, so most waits end before that.
bool BinaryLock::wait() {
    for (int tries = 0; tries < kMostTriesToTake; ++tries) {
        if (apply(semId, std::array{operation(kLock, -1, SEM_UNDO | IPC_NOWAIT)})) {
            return true;
        }
        if (errno != EAGAIN) {
            return false;
        }
        if (tries < kTriesWithPauses) {
            platform::pauseBriefly();
        } else {
            ::sched_yield();
        }
    }
    return apply(semId, std::array{operation(kLock, -1, SEM_UNDO)});
}

bool BinaryLock::release() {
    if (apply(semId, std::array{operation(kLock, 1, SEM_UNDO)})) {
        return true;
    }
    const std::int32_t set = std::exchange(semId, kNoSet);
    if (isHeldHere(set)) {
        setFree(set);
    }
    return false;
}

bool BinaryLock::isInherited() const { return opener != kNobody && opener != ::getpid(); }

bool BinaryLock::finalize() {
    const std::int32_t set = std::exchange(semId, kNoSet);
    if (set == kNoSet || isInherited()) {
        return true;
    }
    if (!apply(set, std::array{operation(kUserCount, -1)})) {
        return false;
    }
    if (::semctl(set, kUserCount, GETVAL) != 0) {
        return true;
    }
    return ::semctl(set, 0, IPC_RMID) == 0;
}

LockHolder::LockHolder(BinaryLock* const* owner)
    : place(owner), lock(owner != nullptr && *owner != nullptr && (*owner)->wait() ? *owner : nullptr) {}

LockHolder::~LockHolder() {
    if (lock != nullptr && *place == lock) {
        lock->release();
    }
}

} // namespace elmu

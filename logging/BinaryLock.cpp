#include <elmu/logging/BinaryLock.h>

#include <sys/ipc.h>
#include <sys/sem.h>

namespace elmu {

namespace {

constexpr std::int32_t kNoSet = -1;
constexpr unsigned short kUserCount = 0;
constexpr unsigned short kLock = 1;
constexpr int kMemberCount = 2;

/// The argument of `semctl`, which not every system declares.
union SemaphoreArgument {
    int value;
    void* pointer;
};

bool change(std::int32_t set, unsigned short member, short by, short flags) {
    sembuf operation = {};
    operation.sem_num = member;
    operation.sem_op = by;
    operation.sem_flg = flags;
    return ::semop(set, &operation, 1) == 0;
}

/// A new set, its lock free; `kNoSet` when the system refuses.
std::int32_t makeSet(key_t key) {
    const std::int32_t set = ::semget(key, kMemberCount, IPC_CREAT | 0666);
    if (set == -1) {
        return kNoSet;
    }
    SemaphoreArgument freeLock = {};
    freeLock.value = 1;
    return ::semctl(set, kLock, SETVAL, freeLock) == -1 ? kNoSet : set;
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
    semId = ::semget(key, 0, 0);
    if (semId == kNoSet) {
        semId = makeSet(key);
    }
    if (semId == kNoSet) {
        return false;
    }
    if (!change(semId, kUserCount, 1, IPC_NOWAIT)) {
        semId = kNoSet;
        return false;
    }
    return true;
}

bool BinaryLock::wait() { return change(semId, kLock, -1, SEM_UNDO); }

bool BinaryLock::release() { return change(semId, kLock, 1, SEM_UNDO); }

bool BinaryLock::finalize() {
    if (semId == kNoSet) {
        return true;
    }
    const std::int32_t set = semId;
    semId = kNoSet;
    if (!change(set, kUserCount, -1, IPC_NOWAIT)) {
        return false;
    }
    if (::semctl(set, kUserCount, GETVAL) != 0) {
        return true;
    }
    return ::semctl(set, 0, IPC_RMID) == 0;
}

LockHolder::LockHolder(BinaryLock* candidate)
    : lock(candidate != nullptr && candidate->wait() ? candidate : nullptr) {}

LockHolder::~LockHolder() {
    if (lock != nullptr) {
        lock->release();
    }
}

} // namespace elmu

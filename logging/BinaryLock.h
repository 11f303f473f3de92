#pragma once

#include <cstdint>
#include <string>

#include <sys/types.h>

namespace elmu {

/// A lock between processes that name the same file: a System V semaphore set of two. Member 0 counts the
/// processes that have the set open and is not undone when one dies, so a set whose user was killed stays
/// behind. Member 1 is the lock, 1 when free, and is undone, so the death of a holder frees it. The last
/// process to leave removes the set. Not re-entrant: a holder that waits again waits forever. Nothing is
/// reported other than by results.
///
/// A forked child inherits an open lock. It may take it and give it back as long as the set exists; it is not
/// counted, and leaves the set to its parent.
class BinaryLock {
  public:
    BinaryLock() = default;

    /// Leaves as `finalize` does, unless the set's id is 0.
    ~BinaryLock();

    BinaryLock(const BinaryLock&) = delete;
    BinaryLock& operator=(const BinaryLock&) = delete;

    /// Opens or makes the set for the existing file `path` and the project number `id`, and counts this
    /// process in. True at once when a set is open. False, leaving none open, when the file is missing or
    /// the system refuses; a set that this process made is removed then. A set that is being made or removed
    /// is waited for, a second at most; one that its maker left without a lock gets one; one that vanishes
    /// meanwhile is made again, a few times.
    bool create(std::string path, int id);

    /// Takes the lock, blocking until it is free. False when no set is open, the set was removed, or a signal
    /// handler ran meanwhile.
    bool wait();

    /// Gives the lock back. On failure no set is open afterwards, so that this process does not wait for
    /// what it holds itself, and the lock is set free in another way. If the system refuses that too, the
    /// lock stays taken until this process ends. The process stays counted, like one that was killed.
    bool release();

    /// Counts this process out and removes the set when it was the last. True when no set is open, and in a
    /// process that inherited the lock, which changes nothing. False when the system refuses. No set is open
    /// afterwards in any case.
    bool finalize();

    std::int32_t semId = -1;

  private:
    static constexpr pid_t kNobody = 0;

    bool isInherited() const;

    pid_t opener = kNobody; ///< nobody when `semId` was set from outside
};

/// Holds a lock from its construction, which waits for it, to its destruction. False when there is no lock or
/// the wait failed.
class LockHolder {
  public:
    /// `owner` is where the lock's owner keeps it, null for no lock. Whoever destroys the lock meanwhile
    /// changes the pointer there; then nothing is given back.
    explicit LockHolder(BinaryLock* const* owner);
    ~LockHolder();
    LockHolder(const LockHolder&) = delete;
    LockHolder& operator=(const LockHolder&) = delete;

    explicit operator bool() const { return lock != nullptr; }

  private:
    BinaryLock* const* place;
    BinaryLock* lock;
};

} // namespace elmu

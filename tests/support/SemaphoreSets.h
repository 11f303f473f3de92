#pragma once

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>

#include <sched.h>
#include <sys/ipc.h>
#include <sys/sem.h>

/// The semaphore sets behind log locks, looked at from outside the library.
namespace support {

/// The project number under which a log file has its set.
inline constexpr int logProject = 11;

/// The members of a log's set.
inline constexpr unsigned short userCount = 0;
inline constexpr unsigned short lockMember = 1;

/// What `semctl` takes as its fourth argument.
union SemaphoreArgument {
    int value;
    semid_ds* state;
    unsigned short* values;
};

/// The id of the set that belongs to the file `path`, if there is one.
inline std::optional<int> semaphoreSetOf(const std::string& path, int project = logProject) {
    const key_t key = ::ftok(path.c_str(), project);
    const int set = key == -1 ? -1 : ::semget(key, 0, 0);
    return set == -1 ? std::nullopt : std::optional(set);
}

inline bool semaphoreSetExists(int set) {
    semid_ds state = {};
    SemaphoreArgument argument;
    argument.state = &state;
    return ::semctl(set, 0, IPC_STAT, argument) != -1 || errno == EACCES;
}

inline int memberValue(int set, unsigned short member) { return ::semctl(set, member, GETVAL); }

inline bool setMemberValue(int set, unsigned short member, int value) {
    SemaphoreArgument argument;
    argument.value = value;
    return ::semctl(set, member, SETVAL, argument) != -1;
}

/// How many processes or threads wait to take `member` down.
inline int waitersFor(int set, unsigned short member) { return ::semctl(set, member, GETNCNT); }

/// Returns when a thread or process waits for the lock of `set`.
inline void untilSomebodyWaits(int set) {
    while (waitersFor(set, lockMember) == 0) {
        ::sched_yield();
    }
}

inline void removeSemaphoreSet(int set) { ::semctl(set, 0, IPC_RMID); }

/// Removes the sets of all files below `folder`.
inline void removeSemaphoreSetsBelow(const std::string& folder) {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, ignored)) {
        if (const auto set = semaphoreSetOf(entry.path().string())) {
            removeSemaphoreSet(*set);
        }
    }
}

} // namespace support

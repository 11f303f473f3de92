#pragma once

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

/// Semaphores of this process alone.
namespace support {

/// Moves this process to semaphores of its own, for good: to be used in a child. The first set made there has
/// the id 0. False when the machine cannot.
inline bool haveOwnSemaphores() {
#ifdef CLONE_NEWIPC
    const int asOrdinaryUser = ::geteuid() == 0 ? 0 : CLONE_NEWUSER;
    return ::unshare(CLONE_NEWIPC | asOrdinaryUser) == 0;
#else
    return false;
#endif
}

/// Whether `haveOwnSemaphores` works here.
inline bool canHaveOwnSemaphores() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(haveOwnSemaphores() ? 0 : 1);
    }
    int status = 1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

} // namespace support

#include "e2e/CallFilter.h"

#include <cstddef>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/syscall.h>

namespace e2e {

// Not every kind of machine has the older call of each pair.
CallNumbers callsThatChangeModes() {
    CallNumbers calls = {SYS_fchmod, SYS_fchmodat};
#ifdef SYS_chmod
    calls.push_back(SYS_chmod);
#endif
    return calls;
}

CallNumbers callsThatRename() {
    CallNumbers calls = {SYS_renameat2};
#ifdef SYS_renameat
    calls.push_back(SYS_renameat);
#endif
#ifdef SYS_rename
    calls.push_back(SYS_rename);
#endif
    return calls;
}

CallNumbers callsThatSync() { return {SYS_fsync, SYS_fdatasync}; }

CallNumbers callsThatOpenSemaphores() { return {SYS_semget}; }

CallNumbers callsThatUseSemaphores() { return {SYS_semop, SYS_semtimedop}; }

std::string callFilter(const CallNumbers& calls, int error) {
    const auto refusal = SECCOMP_RET_ERRNO | static_cast<unsigned>(error);
    std::vector<sock_filter> program = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const unsigned call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, refusal));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    return {reinterpret_cast<const char*>(program.data()), program.size() * sizeof(sock_filter)};
}

} // namespace e2e

#include "e2e/CallFilter.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>

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

namespace {

std::string asBytes(const std::vector<sock_filter>& program) {
    return {reinterpret_cast<const char*>(program.data()), program.size() * sizeof(sock_filter)};
}

/// The program by which every one of `calls` has `outcome`.
std::string filterWith(const CallNumbers& calls, unsigned outcome) {
    std::vector<sock_filter> program = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const unsigned call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, outcome));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    return asBytes(program);
}

} // namespace

std::string callFilter(const CallNumbers& calls, int error) {
    return filterWith(calls, SECCOMP_RET_ERRNO | static_cast<unsigned>(error));
}

std::string filterAgainstRoot() {
    constexpr auto effectiveUser = offsetof(seccomp_data, args) + sizeof(std::uint64_t);
    const std::vector<sock_filter> program = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_setresuid, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, effectiveUser),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    return asBytes(program);
}

std::string killingFilter(const CallNumbers& calls) { return filterWith(calls, SECCOMP_RET_KILL_PROCESS); }

} // namespace e2e

#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <sys/sem.h>
#include <sys/syscall.h>

#if __has_include(<linux/seccomp.h>)
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#define HCD_TEST_CAN_REFUSE_CALLS 1
#endif

#include "support/InChild.h"

/// System calls that fail with EPERM, for faults that cannot be made in another way.
namespace support {

struct RefusedCall {
    struct Argument {
        std::size_t index; ///< from 0
        std::uint8_t lowByte;
    };

    long number;
    std::vector<Argument> only = {}; ///< only calls with all these arguments
};

/// Makes `calls` fail in this process, for good: to be used in a child. False when the machine cannot.
inline bool refuseCalls([[maybe_unused]] const std::vector<RefusedCall>& calls) {
#ifdef HCD_TEST_CAN_REFUSE_CALLS
    constexpr auto refuse = static_cast<std::uint32_t>(SECCOMP_RET_ERRNO) | EPERM;
    std::vector<sock_filter> filter;
    for (const RefusedCall& call : calls) {
        const auto number = static_cast<std::uint32_t>(call.number);
        auto left = static_cast<std::uint8_t>(3 * call.only.size() + 1);
        filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, left));
        for (const RefusedCall::Argument& argument : call.only) {
            left = static_cast<std::uint8_t>(left - 3);
            const auto place = offsetof(seccomp_data, args) + argument.index * sizeof(std::uint64_t);
            filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(place)));
            filter.push_back(BPF_STMT(BPF_ALU | BPF_AND | BPF_K, 0xff));
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, argument.lowByte, 0, left));
        }
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, refuse));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, static_cast<std::uint32_t>(SECCOMP_RET_ALLOW)));
    sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
#else
    return false;
#endif
}

/// Whether `refuseCalls` works here.
inline bool canRefuseCalls() {
    return succeedsInChild([] { return refuseCalls({}); });
}

/// Every call that changes a file's mode.
inline std::vector<RefusedCall> modeChanges() {
    std::vector<RefusedCall> calls{{SYS_fchmod}, {SYS_fchmodat}};
#ifdef SYS_chmod
    calls.push_back({SYS_chmod});
#endif
#ifdef SYS_fchmodat2
    calls.push_back({SYS_fchmodat2});
#endif
    return calls;
}

/// Every call that opens or makes a semaphore set. Some machines have one call for everything about them.
inline std::vector<RefusedCall> semaphoreOpenings() {
    std::vector<RefusedCall> calls{{SYS_semget}};
#ifdef SYS_ipc
    constexpr std::uint8_t semget = 2;
    calls.push_back({SYS_ipc, {{0, semget}}});
#endif
    return calls;
}

/// Every call that operates on semaphores.
inline std::vector<RefusedCall> semaphoreOperations() {
    std::vector<RefusedCall> calls;
#ifdef SYS_semop
    calls.push_back({SYS_semop});
#endif
#ifdef SYS_semtimedop
    calls.push_back({SYS_semtimedop});
#endif
#ifdef SYS_semtimedop_time64
    calls.push_back({SYS_semtimedop_time64});
#endif
#ifdef SYS_ipc
    constexpr std::uint8_t semop = 1;
    constexpr std::uint8_t semtimedop = 4;
    calls.push_back({SYS_ipc, {{0, semop}}});
    calls.push_back({SYS_ipc, {{0, semtimedop}}});
#endif
    return calls;
}

/// Every call that gives a semaphore set one of these commands.
inline std::vector<RefusedCall> semaphoreCommands(const std::vector<int>& commands) {
    std::vector<RefusedCall> calls;
    for (const int command : commands) {
        calls.push_back({SYS_semctl, {{2, static_cast<std::uint8_t>(command)}}});
#ifdef SYS_ipc
        constexpr std::uint8_t semctl = 3;
        calls.push_back({SYS_ipc, {{0, semctl}, {3, static_cast<std::uint8_t>(command)}}});
#endif
    }
    return calls;
}

/// Every call that gives a semaphore a value.
inline std::vector<RefusedCall> semaphoreSettings() { return semaphoreCommands({SETVAL}); }

/// Every call that asks for the state or a value of a semaphore set.
inline std::vector<RefusedCall> semaphoreQuestions() { return semaphoreCommands({IPC_STAT, GETVAL, GETPID}); }

} // namespace support

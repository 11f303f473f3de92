#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#if __has_include(<linux/seccomp.h>)
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#define HCD_TEST_CAN_REFUSE_CALLS 1
#endif

/// System calls that fail with EPERM, for faults that cannot be made in another way.
namespace support {

struct RefusedCall {
    long number;
    /// Only calls whose third argument has this value in its low byte.
    std::optional<std::uint8_t> thirdArgument = std::nullopt;
};

/// Makes `calls` fail in this process, for good: to be used in a child. False when the machine cannot.
inline bool refuseCalls([[maybe_unused]] const std::vector<RefusedCall>& calls) {
#ifdef HCD_TEST_CAN_REFUSE_CALLS
    constexpr auto refuse = static_cast<std::uint32_t>(SECCOMP_RET_ERRNO) | EPERM;
    std::vector<sock_filter> filter;
    for (const RefusedCall& call : calls) {
        const auto number = static_cast<std::uint32_t>(call.number);
        filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
        if (call.thirdArgument) {
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 4));
            filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])));
            filter.push_back(BPF_STMT(BPF_ALU | BPF_AND | BPF_K, 0xff));
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, *call.thirdArgument, 0, 1));
        } else {
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1));
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
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(refuseCalls({}) ? 0 : 1);
    }
    int status = 1;
    return ::waitpid(child, &status, 0) == child && status == 0;
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

} // namespace support

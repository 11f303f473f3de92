#pragma once

#include <stdexcept>

#include <gtest/gtest.h>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

/// A process that stops before each of its system calls.
class TracedProcess {
  public:
    explicit TracedProcess(pid_t id) : process(id) {
        EXPECT_EQ(::ptrace(PTRACE_SEIZE, process, nullptr, PTRACE_O_TRACESYSGOOD), 0);
        EXPECT_EQ(::ptrace(PTRACE_INTERRUPT, process, nullptr, nullptr), 0);
        EXPECT_EQ(::waitpid(process, nullptr, 0), process);
    }

    /// Lets the process run up to its next call. Throws if it ends before.
    void toNextCall() {
        do {
            int status = 0;
            if (::ptrace(PTRACE_SYSCALL, process, nullptr, nullptr) != 0 ||
                ::waitpid(process, &status, 0) != process || !WIFSTOPPED(status)) {
                throw std::runtime_error("the traced process ended");
            }
            ::ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof call, &call);
        } while (call.op != PTRACE_SYSCALL_INFO_ENTRY);
    }

    long number() const { return static_cast<long>(call.entry.nr); }
    void release() const { EXPECT_EQ(::ptrace(PTRACE_DETACH, process, nullptr, nullptr), 0); }

  private:
    pid_t process;
    __ptrace_syscall_info call = {};
};

} // namespace support

#include "Child.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __linux__
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#endif

#include "support/InChild.h"

namespace child {

namespace {

constexpr uid_t ordinaryUser = 65534;

[[noreturn]] void workAndLeave(const std::function<std::string()>& work, int output) {
    const std::string result = work();
    const auto written = ::write(output, result.data(), result.size());
    ::_exit(written == static_cast<ssize_t>(result.size()) ? 0 : 1);
}

std::string readToEnd(int input) {
    std::string text;
    std::array<char, 4096> chunk;
    for (ssize_t count = 0; (count = ::read(input, chunk.data(), chunk.size())) > 0;) {
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return text;
}

} // namespace

std::string resultOf(const std::function<std::string()>& work) {
    std::array<int, 2> ends = {};
    EXPECT_EQ(::pipe(ends.data()), 0);
    const pid_t process = ::fork();
    if (process == 0) {
        ::close(ends[0]);
        workAndLeave(work, ends[1]);
    }
    ::close(ends[1]);
    const std::string result = readToEnd(ends[0]);
    ::close(ends[0]);
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0) << "the child died";
    return result;
}

void becomeOrdinaryUser() {
    if (::geteuid() != 0) {
        return;
    }
    if (::setgroups(0, nullptr) != 0 || ::setgid(ordinaryUser) != 0 || ::setuid(ordinaryUser) != 0) {
        ::_exit(1);
    }
}

bool refuseSystemCall([[maybe_unused]] long number, [[maybe_unused]] int error) {
#ifdef __linux__
    const auto reason = static_cast<std::uint32_t>(error);
    std::array<sock_filter, 4> rules = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | (reason & SECCOMP_RET_DATA)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program = {static_cast<unsigned short>(rules.size()), rules.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
#else
    return false;
#endif
}

Machine::Machine() {
    namespace fs = std::filesystem;
    fs::permissions(root.path(), fs::perms(0755));
}

void Machine::put(const std::string& path, const std::string& content) const {
    const support::ScopedUmask umask(022);
    support::writeFile(outside(path), content);
}

std::optional<std::string> Machine::resultOf(const std::function<std::string()>& work) const {
    const std::string marker = "no machine";
    const std::string result =
        child::resultOf([&] { return support::enterRootOfItsOwn(root.path()) ? work() : marker; });
    return result == marker ? std::nullopt : std::optional(result);
}

} // namespace child

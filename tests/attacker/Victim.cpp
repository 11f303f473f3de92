#include "attacker/Victim.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "attacker/Ground.h"
#include "support/TempFolder.h"

namespace attack {

namespace {

constexpr int NoPath = -1;
const std::string Output = "/tmp/victim.output";

struct KnownCall {
    long number;
    const char* name;
    int path; ///< which argument names a file
};

/// The calls before which a victim stops. Not every kind of machine has all of them.
constexpr auto knownCalls = std::to_array<KnownCall>({
#ifdef SYS_open
    {SYS_open, "open", 0},
    {SYS_stat, "stat", 0},
    {SYS_lstat, "lstat", 0},
    {SYS_access, "access", 0},
    {SYS_readlink, "readlink", 0},
    {SYS_mkdir, "mkdir", 0},
    {SYS_rmdir, "rmdir", 0},
    {SYS_unlink, "unlink", 0},
    {SYS_rename, "rename", 0},
    {SYS_link, "link", 0},
    {SYS_symlink, "symlink", 1},
    {SYS_chmod, "chmod", 0},
    {SYS_chown, "chown", 0},
    {SYS_lchown, "lchown", 0},
    {SYS_getdents, "getdents", NoPath},
#endif
#ifdef SYS_renameat
    {SYS_renameat, "renameat", 1},
#endif
#ifdef SYS_fchmodat2
    {SYS_fchmodat2, "fchmodat2", 1},
#endif
    {SYS_openat, "openat", 1},
    {SYS_openat2, "openat2", 1},
    {SYS_newfstatat, "newfstatat", 1},
    {SYS_statx, "statx", 1},
    {SYS_faccessat, "faccessat", 1},
    {SYS_faccessat2, "faccessat2", 1},
    {SYS_readlinkat, "readlinkat", 1},
    {SYS_mkdirat, "mkdirat", 1},
    {SYS_unlinkat, "unlinkat", 1},
    {SYS_renameat2, "renameat2", 1},
    {SYS_linkat, "linkat", 1},
    {SYS_symlinkat, "symlinkat", 2},
    {SYS_mknodat, "mknodat", 1},
    {SYS_fchmodat, "fchmodat", 1},
    {SYS_fchownat, "fchownat", 1},
    {SYS_truncate, "truncate", 0},
    {SYS_statfs, "statfs", 0},
    {SYS_utimensat, "utimensat", 1},
    {SYS_fstat, "fstat", NoPath},
    {SYS_fstatfs, "fstatfs", NoPath},
    {SYS_fchmod, "fchmod", NoPath},
    {SYS_fchown, "fchown", NoPath},
    {SYS_ftruncate, "ftruncate", NoPath},
    {SYS_fallocate, "fallocate", NoPath},
    {SYS_write, "write", NoPath},
    {SYS_writev, "writev", NoPath},
    {SYS_pwrite64, "pwrite64", NoPath},
    {SYS_pwritev, "pwritev", NoPath},
    {SYS_copy_file_range, "copy_file_range", NoPath},
    {SYS_sendfile, "sendfile", NoPath},
    {SYS_lseek, "lseek", NoPath},
    {SYS_fsync, "fsync", NoPath},
    {SYS_fdatasync, "fdatasync", NoPath},
    {SYS_flock, "flock", NoPath},
    {SYS_getdents64, "getdents64", NoPath},
    {SYS_setresuid, "setresuid", NoPath},
    {SYS_setreuid, "setreuid", NoPath},
    {SYS_setuid, "setuid", NoPath},
    {SYS_setresgid, "setresgid", NoPath},
    {SYS_setfsuid, "setfsuid", NoPath},
    {SYS_semget, "semget", NoPath},
    {SYS_semctl, "semctl", NoPath},
    {SYS_semop, "semop", NoPath},
    {SYS_semtimedop, "semtimedop", NoPath},
});

const KnownCall& knownCall(long number) {
    return *std::find_if(knownCalls.begin(), knownCalls.end(),
                         [number](const KnownCall& call) { return call.number == number; });
}

std::vector<sock_filter> stopBeforeKnownCalls() {
    std::vector<sock_filter> program = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const KnownCall& call : knownCalls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call.number), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    return program;
}

/// In the child: gets ready to be stepped. The parent has to see the stop.
void getTraced() {
    std::vector<sock_filter> program = stopBeforeKnownCalls();
    const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0 || ::raise(SIGSTOP) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) != 0) {
        ::_exit(126);
    }
}

[[noreturn]] void becomeTheTool(const std::vector<std::string>& arguments) {
    std::vector<char*> pointers = {const_cast<char*>(Tool.c_str())};
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    const int output = ::open(Output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::execv(Tool.c_str(), pointers.data());
    ::_exit(127);
}

std::string textAt(pid_t process, std::uint64_t address) {
    std::array<char, 4096> text = {};
    const std::size_t inPage = text.size() - address % text.size(); // the next page may be missing
    iovec here = {text.data(), inPage};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address in another process
    iovec there = {reinterpret_cast<void*>(address), inPage};
    ::process_vm_readv(process, &here, 1, &there, 1, 0);
    text.back() = '\0';
    return text.data();
}

Call callOf(pid_t process) {
    __ptrace_syscall_info info = {};
    ::ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info);
    Call call;
    call.number = static_cast<long>(info.seccomp.nr);
    std::copy_n(info.seccomp.args, call.arguments.size(), call.arguments.begin());
    const int path = knownCall(call.number).path;
    call.path = path == NoPath ? "" : textAt(process, call.arguments[static_cast<std::size_t>(path)]);
    return call;
}

/// Whether a process sleeps in a call that need not end.
bool isAsleep(pid_t process) {
    const std::string place = "/proc/" + std::to_string(process);
    std::ifstream status(place + "/stat");
    std::ifstream sleep(place + "/syscall");
    std::string text;
    long call = -1;
    std::array<std::string, 4> arguments;
    std::getline(status, text);
    sleep >> call >> arguments[0] >> arguments[1] >> arguments[2] >> arguments[3];
    const bool hasEnd = call == SYS_nanosleep || call == SYS_clock_nanosleep ||
                        (call == SYS_semtimedop && arguments[3] != "0x0");
    return text.find(") S ") != std::string::npos && !hasEnd;
}

constexpr int LookMilliseconds = 200;
constexpr int LooksAsleepUntilItHangs = 6;
constexpr int LooksUntilItHangs = 100;

/// Interrupts waiting, again and again.
void wakeUpEvery(int milliseconds) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, nullptr);
    const timeval time = {0, milliseconds * 1000};
    const itimerval interval = {time, time};
    ::setitimer(ITIMER_REAL, &interval, nullptr);
}

constexpr int Options = PTRACE_O_EXITKILL | PTRACE_O_TRACESECCOMP | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                        PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC;

bool isEvent(int status, int event) { return status >> 8 == (SIGTRAP | event << 8); }

bool isNothingToPassOn(int status) { return status >> 16 != 0 || WSTOPSIG(status) == SIGSTOP; }

} // namespace

Victim::Victim(const std::vector<std::string>& arguments, Pace pace) {
    leader = ::fork();
    if (leader == 0) {
        ::setpgid(0, 0);
        if (pace == Pace::Stepped) {
            getTraced();
        }
        becomeTheTool(arguments);
    }
    ::setpgid(leader, leader);
    wakeUpEvery(LookMilliseconds);
    if (pace == Pace::Stepped) {
        if (!waitForStop() || ::ptrace(PTRACE_SETOPTIONS, leader, nullptr, Options) != 0) {
            throw std::runtime_error("the tool cannot be traced");
        }
    }
}

Victim::~Victim() {
    try {
        kill();
    } catch (const std::exception&) {
        // It is killed; only what it printed is not known.
    }
    wakeUpEvery(0);
}

void Victim::resume() {
    if (stopped != -1) {
        ::ptrace(PTRACE_CONT, stopped, nullptr, signal);
        stopped = -1;
        signal = 0;
    }
    atCall = false;
}

bool Victim::waitForStop() {
    int status = 0;
    pid_t who = -1;
    looks = 0;
    looksAsleep = 0;
    while (!ended) {
        who = ::waitpid(-leader, &status, __WALL);
        if (who == -1 && errno == EINTR) {
            lookWhetherItHangs();
        } else if (who == -1) {
            throw std::runtime_error("the victim got lost");
        } else if (WIFSTOPPED(status)) {
            stopped = who;
            atCall = isEvent(status, PTRACE_EVENT_SECCOMP);
            signal = isNothingToPassOn(status) ? 0 : WSTOPSIG(status);
            return true;
        } else if (who == leader) {
            ended = true;
            ending.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
    }
    return false;
}

void Victim::lookWhetherItHangs() {
    ++looks;
    looksAsleep = isAsleep(leader) ? looksAsleep + 1 : 0;
    if (looksAsleep >= LooksAsleepUntilItHangs || looks >= LooksUntilItHangs) {
        ending.hung = true;
        ::kill(-leader, SIGKILL);
    }
}

std::optional<Call> Victim::next() {
    while (!ended) {
        resume();
        if (waitForStop() && atCall) {
            return callOf(stopped);
        }
    }
    return std::nullopt;
}

Ending Victim::finish() {
    while (!ended) {
        resume();
        waitForStop();
    }
    ending.output = support::readFile(Output);
    return ending;
}

void Victim::kill() {
    if (!ended) {
        ::kill(-leader, SIGKILL);
        finish();
    }
}

namespace {

/// Whether nobody but root can change what is at `path`.
bool isOfRootAlone(const std::string& path) {
    constexpr std::array places = {"/etc/", "/run/", "/proc/", "/usr/", "/lib",
                                   "/dev/", "/sys/", "/opt/",  "/var/"};
    return std::any_of(places.begin(), places.end(),
                       [&path](const char* place) { return path.starts_with(place); });
}

/// Whether the call looks up a name in a folder in which the user can write, or lists names.
bool seesNames(const Call& call) {
    if (call.path.empty()) {
        return std::string_view(knownCall(call.number).name).starts_with("getdents");
    }
    if (call.path.starts_with('/')) {
        constexpr auto isBelow = [](const std::string& path, const std::string& folder) {
            return path.starts_with(folder + "/");
        };
        return isBelow(call.path, Home) || isBelow(call.path, HomelessFolder) || isBelow(call.path, Cache);
    }
    constexpr std::array namesOfRoot = {".", "Users", "mira", "Applications", "Utilities", "Korvane Halcyra"};
    return std::find(namesOfRoot.begin(), namesOfRoot.end(), call.path) == namesOfRoot.end();
}

/// What similar calls have in common: dated names differ in their digits alone.
std::string essenceOf(const Call& call) {
    std::string essence = call.path;
    std::erase_if(essence, [](char c) { return c >= '0' && c <= '9'; });
    return essence + "|" + std::to_string(call.number) + "|" +
           (call.path.empty() ? std::to_string(call.arguments[0]) : "");
}

} // namespace

bool Steps::isStep(const Call& call) {
    begun = begun || call.path.starts_with("/run/systemd/seats");
    wasOfRootAlone = isOfRootAlone(call.path) || (call.path.empty() && wasOfRootAlone);
    const std::string essence = essenceOf(call);
    likeCalls = essence == last ? likeCalls + 1 : 1;
    last = essence;
    return begun && likeCalls <= most && (sight == Sight::Names ? seesNames(call) : !wasOfRootAlone);
}

std::string described(const Call& call) {
    return std::string(knownCall(call.number).name) + "(" +
           (call.path.empty() ? std::to_string(call.arguments[0]) : call.path) + ")";
}

} // namespace attack

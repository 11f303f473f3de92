#pragma once

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

/// Other processes: this same program executed again, in a role. A child reads orders from its standard input
/// and answers on its standard output, a line each.
namespace support {

/// How long a test waits for a child before it fails.
inline constexpr std::chrono::seconds childDeadline{120};

/// What makes a program play a role instead of running its tests.
inline constexpr const char* roleOption = "--role";

/// The file of the running program.
inline std::string ownProgram() {
#ifdef __APPLE__
    char path[4096] = {};
    std::uint32_t size = sizeof path;
    EXPECT_EQ(::_NSGetExecutablePath(path, &size), 0);
    return path;
#else
    return std::filesystem::read_symlink("/proc/self/exe").string();
#endif
}

/// What starts this program again: its file, after the emulator that runs it where there is one. An emulator
/// does not run what its program executes.
inline std::vector<std::string> ownCommand() {
    std::istringstream emulator(HCD_TEST_EMULATOR);
    std::vector<std::string> command{std::istream_iterator<std::string>(emulator), {}};
    command.push_back(ownProgram());
    return command;
}

/// Opens a pipe of which no program that is started gets anything.
inline void openPipe(int (&ends)[2]) {
    EXPECT_EQ(::pipe(ends), 0);
    for (const int end : ends) {
        EXPECT_EQ(::fcntl(end, F_SETFD, FD_CLOEXEC), 0);
    }
}

class Child {
  public:
    /// Starts a child in the role and with the arguments given.
    explicit Child(const std::vector<std::string>& roleAndArguments) {
        int orders[2];
        int answers[2];
        openPipe(orders);
        openPipe(answers);
        std::vector<std::string> command = ownCommand();
        command.emplace_back(roleOption);
        command.insert(command.end(), roleAndArguments.begin(), roleAndArguments.end());
        process = ::fork();
        if (process == 0) {
            ::dup2(orders[0], STDIN_FILENO);
            ::dup2(answers[1], STDOUT_FILENO);
            execute(command);
        }
        EXPECT_NE(process, -1);
        ::close(orders[0]);
        ::close(answers[1]);
        input = orders[1];
        output = answers[0];
    }

    /// Kills a child that was not joined.
    ~Child() {
        if (process > 0) {
            ::kill(process, SIGKILL);
            ::waitpid(process, nullptr, 0);
        }
        closeInput();
        ::close(output);
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void tell(const std::string& order) const {
        const std::string line = order + "\n";
        EXPECT_EQ(::write(input, line.data(), line.size()), static_cast<ssize_t>(line.size())) << order;
    }

    /// The next answer. Fails the test, with an empty result, when none comes in time or the child ends.
    std::string hear() {
        const auto deadline = std::chrono::steady_clock::now() + childDeadline;
        while (received.find('\n') == std::string::npos) {
            if (!readBefore(deadline)) {
                ADD_FAILURE() << "no answer from the child";
                return {};
            }
        }
        const std::size_t end = received.find('\n');
        const std::string answer = received.substr(0, end);
        received.erase(0, end + 1);
        return answer;
    }

    std::string ask(const std::string& order) {
        tell(order);
        return hear();
    }

    /// Whether an answer, or the child's end, is there or comes within the time.
    bool hasAnswerWithin(std::chrono::milliseconds time) const {
        pollfd waiting{output, POLLIN, 0};
        return received.find('\n') != std::string::npos ||
               ::poll(&waiting, 1, static_cast<int>(time.count())) > 0;
    }

    /// Closes the orders and waits for the end. The exit status; 128 and the signal's number when one ended
    /// it; -1, with the test failed, when the child does not end in time.
    int join() {
        closeInput();
        const auto deadline = std::chrono::steady_clock::now() + childDeadline;
        while (readBefore(deadline)) {
        }
        if (!ended) {
            ADD_FAILURE() << "the child does not end";
            return -1;
        }
        int status = 0;
        EXPECT_EQ(::waitpid(process, &status, 0), process);
        process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    /// What a child that was joined said and nobody heard: lines.
    const std::string& unheard() const { return received; }

    pid_t id() const { return process; }

    /// Stops the child. Returns when it stands still.
    void stop() const {
        EXPECT_EQ(::kill(process, SIGSTOP), 0);
        EXPECT_EQ(::waitpid(process, nullptr, WUNTRACED), process);
    }

    /// Ends the child on the spot.
    void killAndJoin() {
        EXPECT_EQ(::kill(process, SIGKILL), 0);
        EXPECT_EQ(join(), 128 + SIGKILL);
    }

  private:
    [[noreturn]] static void execute(std::vector<std::string>& arguments) {
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        ::execvp(pointers[0], pointers.data());
        ::_exit(127);
    }

    /// Adds what the child says next to `received`. False at its end or at the deadline.
    bool readBefore(std::chrono::steady_clock::time_point deadline) {
        using std::chrono::milliseconds;
        const auto left =
            std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd waiting{output, POLLIN, 0};
        const int ready = ::poll(&waiting, 1, static_cast<int>(std::max(left, milliseconds(0)).count()));
        if (ready <= 0) {
            return ready == -1 && errno == EINTR;
        }
        char buffer[4096];
        const ssize_t count = ::read(output, buffer, sizeof buffer);
        ended = count <= 0;
        received.append(buffer, ended ? 0 : static_cast<std::size_t>(count));
        return !ended;
    }

    void closeInput() {
        if (input != -1) {
            ::close(input);
            input = -1;
        }
    }

    pid_t process = -1;
    int input = -1;
    int output = -1;
    bool ended = false;
    std::string received;
};

/// What a child does: gets its arguments, returns its exit status.
using Role = std::function<int(const std::vector<std::string>&)>;

inline std::map<std::string, Role>& roles() {
    static std::map<std::string, Role> all;
    return all;
}

/// Makes `role` known under `name`; to be defined as a global object.
struct KnownRole {
    KnownRole(const std::string& name, Role role) { roles()[name] = std::move(role); }
};

/// In a child: says `answer` to the test.
inline void answer(const std::string& text) { std::cout << text << std::endl; }

/// In a child: waits for `order`. False when the test says something else or is gone.
inline bool wasTold(const std::string& order) {
    std::string line;
    return static_cast<bool>(std::getline(std::cin, line)) && line == order;
}

} // namespace support

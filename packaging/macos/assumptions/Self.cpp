#include "Self.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

namespace assumptions {

namespace {

[[noreturn]] void become(std::vector<std::string> command, std::string variable, int output) {
    std::vector<char*> pointers;
    pointers.reserve(command.size() + 1);
    for (std::string& part : command) {
        pointers.push_back(part.data());
    }
    pointers.push_back(nullptr);
    if (!variable.empty()) {
        ::putenv(variable.data());
    }
    ::dup2(output, STDOUT_FILENO);
    ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
    ::execv(pointers.front(), pointers.data());
    ::_exit(127);
}

std::string readToEnd(int input) {
    std::string text;
    std::array<char, 4096> chunk = {};
    for (ssize_t count = 0; (count = ::read(input, chunk.data(), chunk.size())) > 0;) {
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return text;
}

} // namespace

std::string ownPath() {
#ifdef __APPLE__
    std::array<char, 4096> path = {};
    auto size = static_cast<std::uint32_t>(path.size());
    if (::_NSGetExecutablePath(path.data(), &size) != 0) {
        throw std::runtime_error("the program's path is too long");
    }
    return std::filesystem::canonical(path.data());
#else
    return std::filesystem::canonical("/proc/self/exe");
#endif
}

Outcome runSelf(const std::vector<std::string>& arguments, const std::string& variable) {
    std::vector<std::string> command = {ownPath()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::array<int, 2> ends = {};
    if (::pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        become(command, variable, ends[1]);
    }
    ::close(ends[1]);
    const std::string output = readToEnd(ends[0]);
    ::close(ends[0]);
    int status = 0;
    if (::waitpid(child, &status, 0) != child) {
        throw std::runtime_error("no child");
    }
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), output};
}

} // namespace assumptions

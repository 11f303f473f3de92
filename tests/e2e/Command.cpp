#include "e2e/Command.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace e2e {

namespace {

/// Standard input empty, standard output and standard error into two files, and the extra file.
class Redirection {
  public:
    Redirection(const std::string& output, const std::string& errors, const std::string& extra) {
        const int writing = O_WRONLY | O_CREAT | O_TRUNC;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), writing, 0600);
        ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), writing, 0600);
        ::posix_spawn_file_actions_addopen(&actions, ExtraDescriptor, extra.c_str(), O_RDONLY, 0);
    }
    ~Redirection() { ::posix_spawn_file_actions_destroy(&actions); }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

    const posix_spawn_file_actions_t* get() const { return &actions; }

  private:
    posix_spawn_file_actions_t actions = {};
};

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

int statusOf(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "waitpid");
        }
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

Outcome runCommand(std::vector<std::string> command, std::vector<std::string> environment,
                   const support::TempFolder& place, const std::string& extra) {
    const std::string output = place / "output";
    const std::string errors = place / "errors";
    const Redirection streams(output, errors, extra);
    pid_t child = -1;
    const int failure = ::posix_spawn(&child, command.front().c_str(), streams.get(), nullptr,
                                      pointersTo(command).data(), pointersTo(environment).data());
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category(), command.front());
    }
    const int status = statusOf(child);
    return {status, support::readFile(output), support::readFile(errors)};
}

std::string searchPath() {
    const char* path = std::getenv("PATH");
    return std::string("PATH=") + (path == nullptr ? "/usr/bin:/bin" : path);
}

} // namespace e2e

#include "e2e/Command.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace e2e {

namespace {

/// Standard input empty, standard output and standard error into two files.
class Redirection {
  public:
    Redirection(const std::string& output, const std::string& errors) {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::posix_spawn_file_actions_addopen(&actions, 2, errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
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
                   const support::TempFolder& place) {
    const std::string output = place / "output";
    const std::string errors = place / "errors";
    const Redirection streams(output, errors);
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

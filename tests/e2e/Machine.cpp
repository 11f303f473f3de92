#include "e2e/Machine.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace e2e {

namespace {

const int NoMachine = 69;

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

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

int statusOf(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("a child was lost");
        }
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string searchPath() {
    const char* path = std::getenv("PATH");
    return std::string("PATH=") + (path == nullptr ? "/usr/bin:/bin" : path);
}

} // namespace

Outcome runOutside(std::vector<std::string> command, const std::string& path,
                   const support::TempFolder& place) {
    Redirection streams(place / "output", place / "errors");
    std::vector<std::string> environment = {path};
    pid_t child = -1;
    const int failure = ::posix_spawn(&child, command.front().c_str(), streams.get(), nullptr,
                                      pointers(command).data(), pointers(environment).data());
    if (failure != 0) {
        throw std::runtime_error("cannot start " + command.front());
    }
    const int status = statusOf(child);
    return {status, support::readFile(place / "output"), support::readFile(place / "errors")};
}

} // namespace e2e

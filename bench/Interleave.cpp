// The time and the peak memory of whole programs, run in turn, round by round.
// usage: interleave RESULTS ROUNDS PREPARATION NAME COMMAND NAME COMMAND...
// A command is split at blanks. PREPARATION is a shell's, and runs before each command without being timed.
// The last column is the median of the ratios to the last command within a round.

#include <sstream>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>

#include "Bench.h"

using namespace bench;

namespace {

struct Program {
    std::string name;
    std::vector<std::string> words;
    std::vector<Nanoseconds> times;
    long peak = 0; ///< in KiB
};

std::vector<std::string> wordsOf(const std::string& command) {
    std::istringstream stream(command);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

/// Starts the program without its output.
pid_t start(const std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (const std::string& word : words) {
        pointers.push_back(const_cast<char*>(word.c_str()));
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    errno = ::posix_spawnp(&child, pointers.front(), &actions, nullptr, pointers.data(), environ);
    check(errno == 0, words.front());
    ::posix_spawn_file_actions_destroy(&actions);
    return child;
}

void run(Program& program) {
    int status = 0;
    rusage usage = {};
    const Nanoseconds before = now();
    const pid_t child = start(program.words);
    check(::wait4(child, &status, 0, &usage) == child, "wait4");
    program.times.push_back(now() - before);
    check(status == 0, program.name);
    program.peak = std::max(program.peak, usage.ru_maxrss);
}

std::string ratioTo(const Program& yardstick, const Program& program) {
    std::vector<double> ratios;
    for (std::size_t round = 0; round < program.times.size(); ++round) {
        ratios.push_back(static_cast<double>(program.times[round]) /
                         static_cast<double>(yardstick.times[round]));
    }
    return decimal(median(ratios), 2);
}

} // namespace

int main(int count, char** arguments) {
    if (count < 6 || count % 2 != 0) {
        std::fprintf(stderr, "usage: interleave RESULTS ROUNDS PREPARATION NAME COMMAND NAME COMMAND...\n");
        return 2;
    }
    std::vector<Program> programs;
    for (int index = 4; index < count; index += 2) {
        programs.push_back({arguments[index], wordsOf(arguments[index + 1]), {}, 0});
    }
    const std::string preparation = arguments[3];
    for (std::size_t round = 0; round < std::stoul(arguments[2]); ++round) {
        for (std::size_t turn = 0; turn < programs.size(); ++turn) {
            check(preparation.empty() || std::system(preparation.c_str()) == 0, preparation);
            run(programs[(round + turn) % programs.size()]);
        }
    }
    Table table(arguments[1],
                {"program", "median ms", "p99 ms", "peak memory MiB", "time / " + programs.back().name});
    for (const Program& program : programs) {
        table.add({program.name, milliseconds(median(program.times)),
                   milliseconds(quantile(program.times, 0.99)),
                   decimal(static_cast<double>(program.peak) / 1024, 1), ratioTo(programs.back(), program)});
    }
    return 0;
}

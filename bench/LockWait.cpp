// What waiting for the lock costs. First the time to take it while eight processes take it in turn, each for
// one write, through elmu's lock and through the plain semaphore. Then the processor time of one process that
// waits while the holder is stopped. usage: lock_wait RESULTS-FOLDER LOG-FOLDER ROUNDS RECORDS

#include <array>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <functional>
#include <memory>

#include <fcntl.h>

#include "Bench.h"
#include <elmu/logging/BinaryLock.h>

using namespace bench;

namespace {

namespace fs = std::filesystem;

constexpr int kProcesses = 8;
constexpr std::size_t kBytesWritten = 100;
constexpr Nanoseconds kStopped = 200'000'000;
constexpr int kLockProject = 11;

/// One process's way to a lock.
struct Lock {
    std::function<void()> take;
    std::function<void()> give;
};

struct Contender {
    const char* name;
    /// Makes what the processes share; each opens its own lock.
    std::function<std::function<Lock()>(const std::string& path)> prepare;
};

using Take = void (Semaphore::*)() const;

auto prepareSemaphore(Take take) {
    return [take](const std::string&) {
        return [semaphore = std::make_shared<Semaphore>(), take] {
            return Lock{[semaphore, take] { (*semaphore.*take)(); }, [semaphore] { semaphore->give(); }};
        };
    };
}

Lock openElmu(const std::string& path) {
    auto lock = std::make_shared<elmu::BinaryLock>();
    check(lock->create(path, kLockProject), "BinaryLock");
    return {[lock] { check(lock->wait(), "wait"); }, [lock] { check(lock->release(), "release"); }};
}

const std::array kContenders = {
    Contender{"semop", prepareSemaphore(&Semaphore::take)},
    Contender{"semop, first tried", prepareSemaphore(&Semaphore::tryThenTake)},
    Contender{"elmu", [](const std::string& path) { return [path] { return openElmu(path); }; }},
};

int openFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    check(file != -1, path);
    return file;
}

void takeInTurn(const Lock& lock, int file, Nanoseconds* first, const Nanoseconds* last) {
    const std::string bytes(kBytesWritten, 'x');
    for (; first != last; ++first) {
        const Nanoseconds start = now();
        lock.take();
        *first = now() - start;
        check(::write(file, bytes.data(), bytes.size()) != -1, "write");
        lock.give();
    }
}

std::vector<Nanoseconds> timesToTake(const Contender& contender, const std::string& path, int records) {
    const int each = records / kProcesses;
    const Shared<Nanoseconds> times(static_cast<std::size_t>(each * kProcesses));
    const auto open = contender.prepare(path);
    runTogether(kProcesses, [&](int process) {
        Nanoseconds* const first = times.begin() + std::ptrdiff_t{process} * each;
        std::fill(first, first + each, 1);
        return [lock = open(), file = openFile(path), first, each] {
            takeInTurn(lock, file, first, first + each);
        };
    });
    return {times.begin(), times.end()};
}

Nanoseconds processorTime() {
    timespec time = {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * Nanoseconds{1'000'000'000} + time.tv_nsec;
}

/// The processor time that a process spends while it waits for a holder that is stopped.
Nanoseconds costOfWaiting(const Contender& contender, const std::string& path) {
    const Shared<Nanoseconds> cost(1);
    const auto open = contender.prepare(path);
    const pid_t holder = startProcess([&open] {
        const Lock lock = open();
        lock.take();
        std::raise(SIGSTOP);
        lock.give();
    });
    int status = 0;
    check(::waitpid(holder, &status, WUNTRACED) == holder && WIFSTOPPED(status), "Stopping the holder");
    const pid_t waiter = startProcess([&open, &cost] {
        const Lock lock = open();
        const Nanoseconds before = processorTime();
        lock.take();
        cost[0] = processorTime() - before;
        lock.give();
    });
    const timespec pause = {0, kStopped};
    ::nanosleep(&pause, nullptr);
    check(::kill(holder, SIGCONT) == 0, "Continuing the holder");
    awaitSuccess(holder);
    awaitSuccess(waiter);
    return cost[0];
}

/// The values of each round, by contender.
using Rounds = std::array<std::vector<Nanoseconds>, kContenders.size()>;

std::string quantileOfRounds(const std::vector<std::vector<Nanoseconds>>& rounds, double part) {
    std::vector<Nanoseconds> values;
    values.reserve(rounds.size());
    for (const auto& round : rounds) {
        values.push_back(quantile(round, part));
    }
    return microseconds(part < 1 ? median(values) : quantile(values, 1));
}

void measureTurns(const std::string& results, const std::string& path, std::size_t rounds, int records) {
    std::array<std::vector<std::vector<Nanoseconds>>, kContenders.size()> times;
    for (std::size_t round = 0; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < kContenders.size(); ++turn) {
            const std::size_t index = (round + turn) % kContenders.size();
            times[index].push_back(timesToTake(kContenders[index], path, records));
        }
    }
    Table table(results, {"lock", "p50 µs", "p99 µs", "p99.9 µs", "max µs"});
    for (std::size_t index = 0; index < kContenders.size(); ++index) {
        table.add({kContenders[index].name, quantileOfRounds(times[index], 0.5),
                   quantileOfRounds(times[index], 0.99), quantileOfRounds(times[index], 0.999),
                   quantileOfRounds(times[index], 1)});
    }
}

void measureStops(const std::string& results, const std::string& path, std::size_t rounds) {
    Rounds costs;
    for (std::size_t round = 0; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < kContenders.size(); ++turn) {
            const std::size_t index = (round + turn) % kContenders.size();
            costs[index].push_back(costOfWaiting(kContenders[index], path));
        }
    }
    Table table(results, {"lock", "holder stopped ms", "waiter's processor time µs", "max µs"});
    for (std::size_t index = 0; index < kContenders.size(); ++index) {
        table.add({kContenders[index].name, decimal(static_cast<double>(kStopped) / 1e6, 0),
                   microseconds(median(costs[index])), microseconds(quantile(costs[index], 1))});
    }
}

} // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::fprintf(stderr, "usage: lock_wait RESULTS-FOLDER LOG-FOLDER ROUNDS RECORDS\n");
        return 2;
    }
    const std::string results = arguments[1];
    const fs::path folder = fs::absolute(arguments[2]);
    const std::size_t rounds = std::stoul(arguments[3]);
    fs::remove_all(folder);
    fs::create_directories(folder);
    const std::string path = folder / "HCD.log";
    ::close(openFile(path));
    std::fprintf(stderr, "Lock: %zu rounds\n", rounds);
    measureTurns(results + "/lock.tsv", path, rounds, std::stoi(arguments[4]));
    measureStops(results + "/stopped.tsv", path, rounds);
    fs::remove_all(folder);
    return 0;
}

#pragma once

// What the benchmarks share: the clock, statistics, memory and semaphores that processes share, processes
// that start together, and tables. A benchmark that cannot be run ends its program.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

[[noreturn]] inline void fail(const std::string& what) {
    std::fprintf(stderr, "%s failed: ", what.c_str());
    std::perror(nullptr);
    std::exit(1);
}

inline void check(bool succeeded, const std::string& what) {
    if (!succeeded) {
        fail(what);
    }
}

/// Nanoseconds on a clock that all processes share and that nobody sets.
using Nanoseconds = std::int64_t;

inline Nanoseconds now() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The value that the share `part` of `values` does not exceed; 0 of none.
template <class Value> Value quantile(std::vector<Value> values, double part) {
    if (values.empty()) {
        return Value();
    }
    const auto last = static_cast<double>(values.size() - 1);
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(part * last + 0.5);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

template <class Value> Value median(std::vector<Value> values) { return quantile(std::move(values), 0.5); }

/// Memory that forked children share. It begins with zeros.
template <class Value> class Shared {
  public:
    explicit Shared(std::size_t count)
        : size(count * sizeof(Value)),
          memory(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        check(memory != MAP_FAILED, "mmap");
    }
    ~Shared() { ::munmap(memory, size); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    Value* begin() const { return static_cast<Value*>(memory); }
    Value* end() const { return begin() + size / sizeof(Value); }
    Value& operator[](std::size_t index) const { return begin()[index]; }

  private:
    std::size_t size;
    void* memory;
};

inline void pauseProcessor() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

/// A System V semaphore that is free, in a set of its own.
class Semaphore {
  public:
    Semaphore() : set(::semget(IPC_PRIVATE, 1, 0600)) { check(set != -1 && up(0), "semget"); }
    ~Semaphore() { ::semctl(set, 0, IPC_RMID); }
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    void take() const { check(add(-1, SEM_UNDO), "semop"); }

    /// The same, but looks a while before it goes to sleep.
    void tryThenTake() const {
        for (int tries = 0; tries < kTriesWithPause + kTriesWithYield; ++tries) {
            if (add(-1, SEM_UNDO | IPC_NOWAIT)) {
                return;
            }
            if (tries < kTriesWithPause) {
                pauseProcessor();
            } else {
                ::sched_yield();
            }
        }
        take();
    }

    void give() const { check(up(SEM_UNDO), "semop"); }

  private:
    static constexpr int kTriesWithPause = 10;
    static constexpr int kTriesWithYield = 50;

    bool up(int flags) const { return add(1, flags); }
    bool add(int by, int flags) const {
        sembuf operation = {0, static_cast<short>(by), static_cast<short>(flags)};
        return ::semop(set, &operation, 1) == 0;
    }

    int set;
};

/// Holds processes back until all of them have arrived.
class Gate {
  public:
    Gate() { check(::pipe(arrived) == 0 && ::pipe(opened) == 0, "pipe"); }
    ~Gate() {
        ::close(arrived[0]);
        ::close(opened[0]);
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    /// In a child: returns when the parent has opened the gate.
    void pass() const {
        char none = 0;
        ::close(opened[1]);
        check(::write(arrived[1], &none, 1) == 1, "The start of a worker");
        ::close(arrived[1]);
        check(::read(opened[0], &none, 1) == 0, "The start of the workers");
    }

    /// In the parent: waits for `count` children, lets them pass and returns when that was.
    Nanoseconds open(int count) const {
        ::close(arrived[1]);
        for (char none = 0; count > 0; --count) {
            check(::read(arrived[0], &none, 1) == 1, "A worker");
        }
        const Nanoseconds start = now();
        ::close(opened[1]);
        return start;
    }

  private:
    int arrived[2] = {};
    int opened[2] = {};
};

inline void awaitSuccess(pid_t child) {
    int status = 0;
    check(::waitpid(child, &status, 0) == child && status == 0, "A process");
}

/// Runs `work` in a new process.
template <class Work> pid_t startProcess(Work work) {
    const pid_t child = ::fork();
    check(child != -1, "fork");
    if (child == 0) {
        work();
        std::_Exit(0);
    }
    return child;
}

/// Runs what `prepare(number)` returns in `count` processes at once, and returns when they started.
template <class Prepare> Nanoseconds runTogether(int count, Prepare prepare) {
    const Gate gate;
    std::vector<pid_t> children;
    for (int number = 0; number < count; ++number) {
        children.push_back(startProcess([&gate, &prepare, number] {
            auto work = prepare(number);
            gate.pass();
            work();
        }));
    }
    const Nanoseconds start = gate.open(count);
    std::for_each(children.begin(), children.end(), awaitSuccess);
    return start;
}

inline std::string decimal(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

inline std::string microseconds(Nanoseconds value) { return decimal(static_cast<double>(value) / 1e3, 1); }

inline std::string milliseconds(Nanoseconds value) { return decimal(static_cast<double>(value) / 1e6, 2); }

/// A table in a file: cells with tabulators between them, the first row names the columns.
class Table {
  public:
    Table(const std::string& path, const std::vector<std::string>& columns) : file(path) { add(columns); }

    void add(const std::vector<std::string>& cells) {
        for (std::size_t index = 0; index < cells.size(); ++index) {
            file << (index == 0 ? "" : "\t") << cells[index];
        }
        file << std::endl;
        check(file.good(), "Writing a table");
    }

  private:
    std::ofstream file;
};

} // namespace bench

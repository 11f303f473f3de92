// What one record costs from Logger to file, beside the floor of the same work: semaphore down, one write of
// the same bytes, semaphore up. Both are timed in turn, round by round, so that the ratio holds while the
// machine's speed drifts.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>

namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 41;
constexpr int kRecordsPerRound = 20000;

/// A folder for both files, which is the home folder meanwhile.
class BenchFolder {
  public:
    BenchFolder() : path((fs::temp_directory_path() / "hcd-bench-XXXXXX").string()) {
        if (::mkdtemp(path.data()) == nullptr || ::setenv("HOME", path.c_str(), 1) != 0) {
            std::perror("hcd-bench");
            std::exit(1);
        }
    }
    ~BenchFolder() { fs::remove_all(path); }
    BenchFolder(const BenchFolder&) = delete;
    BenchFolder& operator=(const BenchFolder&) = delete;

    std::string path;
};

/// The same work with nothing around it.
class Floor {
  public:
    Floor(const std::string& path, std::string bytes)
        : line(std::move(bytes)), file(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)),
          set(::semget(IPC_PRIVATE, 1, 0600)) {
        add(1, 0);
    }
    ~Floor() {
        ::semctl(set, 0, IPC_RMID);
        ::close(file);
    }
    Floor(const Floor&) = delete;
    Floor& operator=(const Floor&) = delete;

    bool write() const {
        const bool taken = add(-1, SEM_UNDO);
        const bool written = ::write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
        return add(1, SEM_UNDO) && taken && written;
    }

  private:
    bool add(short by, short flags) const {
        sembuf operation = {0, by, flags};
        return ::semop(set, &operation, 1) == 0;
    }

    std::string line;
    int file;
    int set;
};

template <class Work> double nanosecondsEach(Work work) {
    const auto start = std::chrono::steady_clock::now();
    for (int count = 0; count < kRecordsPerRound; ++count) {
        work(count);
    }
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / kRecordsPerRound;
}

void printRow(const char* name, std::vector<double> values, const char* unit) {
    std::sort(values.begin(), values.end());
    std::printf("%-28s min %8.3f  median %8.3f  max %8.3f %s\n", name, values.front(),
                values[values.size() / 2], values.back(), unit);
}

std::string firstLine(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line + "\n";
}

} // namespace

int main() {
    const BenchFolder folder;
    elmu::LogTargetDefault target("bench");
    target.setLogFile("record.log", folder.path.c_str());
    if (!elmu::LoggingCore::getInstance()->registerTarget(&target)) {
        std::fprintf(stderr, "The log file cannot be opened.\n");
        return 1;
    }
    elmu::Logger logger("bench", "", "HCD", "HCDCustomHook", "");
    const auto record = [&logger](int count) {
        logger.info("Successfully created HCD Ostrel Specifier file %d of %s", 100000 + count, "one round");
    };
    record(0);
    const std::string line = firstLine(folder.path + "/record.log");
    const Floor floor(folder.path + "/floor.log", line);

    std::vector<double> records;
    std::vector<double> floors;
    std::vector<double> ratios;
    for (int round = 0; round < kRounds; ++round) {
        records.push_back(nanosecondsEach(record));
        floors.push_back(nanosecondsEach([&floor](int) {
            if (!floor.write()) {
                std::abort();
            }
        }));
        ratios.push_back(records.back() / floors.back());
    }
    elmu::LoggingCore::getInstance()->unregisterTarget(&target);

    std::printf("%d rounds of %d records of %zu bytes\n", kRounds, kRecordsPerRound, line.size());
    printRow("record through Logger", records, "ns");
    printRow("down, write, up", floors, "ns");
    printRow("ratio", ratios, "");
    return 0;
}

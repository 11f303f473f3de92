// The time of a record in an empty log and in one of 45 MiB, which is below the size at which a log at level
// TRACE starts again. usage: log_size RESULTS-FOLDER LOG-FOLDER ROUNDS RECORDS

#include <array>
#include <filesystem>

#include "Bench.h"
#include "Contender.h"

using namespace bench;

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMebibyte = 1024UL * 1024;

struct Start {
    const char* name;
    std::size_t size; ///< in MiB
};

constexpr std::array kStarts = {Start{"empty", 0}, Start{"45 MiB", 45}};

void fillLog(const std::string& path, std::size_t mebibytes) {
    const std::string line = std::string(127, 'x') + "\n";
    std::ofstream file(path, std::ios::trunc);
    for (std::size_t written = 0; written < mebibytes * kMebibyte; written += line.size()) {
        file << line;
    }
}

std::vector<Nanoseconds> timesOfRecords(const std::string& path, int records) {
    const auto writer = openElmu(path, elmu::levels::trace);
    std::vector<Nanoseconds> times;
    times.reserve(static_cast<std::size_t>(records));
    for (int sequence = 0; sequence < records; ++sequence) {
        const Nanoseconds start = now();
        writer->write(Kind::brief, {0, sequence});
        times.push_back(now() - start);
    }
    return times;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::fprintf(stderr, "usage: log_size RESULTS-FOLDER LOG-FOLDER ROUNDS RECORDS\n");
        return 2;
    }
    const fs::path folder = fs::absolute(arguments[2]);
    fs::remove_all(folder);
    fs::create_directories(folder);
    std::array<std::vector<Nanoseconds>, kStarts.size()> p50;
    std::array<std::vector<Nanoseconds>, kStarts.size()> p99;
    for (std::size_t round = 0; round < std::stoul(arguments[3]); ++round) {
        for (std::size_t turn = 0; turn < kStarts.size(); ++turn) {
            const std::size_t index = (round + turn) % kStarts.size();
            fillLog(folder / "HCD.log", kStarts[index].size);
            const auto times = timesOfRecords(folder / "HCD.log", std::stoi(arguments[4]));
            p50[index].push_back(quantile(times, 0.5));
            p99[index].push_back(quantile(times, 0.99));
        }
    }
    Table table(std::string(arguments[1]) + "/size.tsv", {"log at the start", "p50 µs", "p99 µs"});
    for (std::size_t index = 0; index < kStarts.size(); ++index) {
        table.add({kStarts[index].name, microseconds(median(p50[index])), microseconds(median(p99[index]))});
    }
    fs::remove_all(folder);
    return 0;
}

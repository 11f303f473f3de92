// Records a second, and the time of one record, when 1, 2, 4 and 8 processes write one log at once: for the
// floor of the same work, this library, and others that can do the same. After each measurement the log is
// read back, and the measurement is void unless every record is there, whole, once and in its order. usage:
// throughput RESULTS-FOLDER LOG-FOLDER ROUNDS RECORDS

#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <tuple>

#include "Bench.h"
#include "Contender.h"
#include "ReadBack.h"

using namespace bench;

namespace {

namespace fs = std::filesystem;

constexpr std::array kProcesses = {1, 2, 4, 8};
constexpr const char* kVoid = "void";

/// The peers that are not installed are left out.
std::vector<Contender> allContenders() {
    std::vector<Contender> contenders = {
        {"floor", true, prepareFloor}, {"floor-try", true, prepareFloorTries}, {"elmu", true, prepareElmu}};
    for (const char* peer : {"spdlog", "log4cplus"}) {
        if (hasPeer(peer)) {
            contenders.push_back({peer, false, [peer] { return preparePeer(peer); }});
        }
    }
    return contenders;
}

const std::vector<Contender> kContenders = allContenders();

struct Plan {
    fs::path results;
    fs::path folder;
    std::size_t rounds;
    int records;
};

struct Case {
    Kind kind;
    int processes;
};

struct Result {
    double rate; ///< records a second
    Nanoseconds p50;
    Nanoseconds p99;
    Nanoseconds longest;
};

/// One for each round; nothing for a void one.
using Results = std::vector<std::optional<Result>>;
using Key = std::tuple<Kind, int, std::string>;

/// Writes `recordsEach` records and puts the time of each into `times`, whose pages it touches first.
auto prepareWork(const Opener& open, const std::string& path, Kind kind, int process, int recordsEach,
                 Nanoseconds* times) {
    std::fill(times, times + recordsEach, 1);
    return [writer = std::shared_ptr(open(path)), kind, process, recordsEach, times] {
        for (int sequence = 0; sequence < recordsEach; ++sequence) {
            const Nanoseconds start = now();
            writer->write(kind, {process, sequence});
            times[sequence] = now() - start;
        }
    };
}

Result resultFrom(const Shared<Nanoseconds>& times, Nanoseconds taken) {
    const std::vector<Nanoseconds> all(times.begin(), times.end());
    return {static_cast<double>(all.size()) * 1e9 / static_cast<double>(taken), quantile(all, 0.5),
            quantile(all, 0.99), quantile(all, 1)};
}

/// Fewer of long messages, so that the logs of all kinds are of one order of size.
int recordsOf(Kind kind, const Plan& plan) {
    return kind == Kind::longText ? plan.records / 4 : plan.records;
}

std::optional<Result> measure(const Contender& contender, const Case& which, const Plan& plan) {
    fs::remove_all(plan.folder);
    fs::create_directories(plan.folder);
    const std::string path = plan.folder / "HCD.log";
    const int recordsEach = recordsOf(which.kind, plan) / which.processes;
    const Shared<Nanoseconds> times(static_cast<std::size_t>(recordsEach * which.processes));
    const Shared<Nanoseconds> ends(static_cast<std::size_t>(which.processes));
    const Opener open = contender.prepare();
    const Nanoseconds start = runTogether(which.processes, [&](int process) {
        return [work = prepareWork(open, path, which.kind, process, recordsEach,
                                   times.begin() + std::ptrdiff_t{process} * recordsEach),
                end = ends.begin() + process] {
            work();
            *end = now();
        };
    });
    const std::string fault = faultOf(path, {which.kind, contender.masks, which.processes, recordsEach});
    if (!fault.empty()) {
        std::fprintf(stderr, "%s with %d processes (%s) is void: %s\n", contender.name, which.processes,
                     nameOf(which.kind), fault.c_str());
        return std::nullopt;
    }
    return resultFrom(times, *std::max_element(ends.begin(), ends.end()) - start);
}

/// Every contender in turn; each round begins with another one.
void runRound(std::size_t round, const Case& which, const Plan& plan, std::map<Key, Results>& results) {
    for (std::size_t turn = 0; turn < kContenders.size(); ++turn) {
        const Contender& contender = kContenders[(round + turn) % kContenders.size()];
        results[{which.kind, which.processes, contender.name}].push_back(measure(contender, which, plan));
    }
}

/// The value over the rounds that the share `part` of them does not exceed, as `text` has it.
template <class Value, class Text>
std::string cell(const Results& results, double part, Value value, Text text) {
    std::vector<decltype(value(*results.front()))> values;
    for (const auto& result : results) {
        if (!result) {
            return kVoid;
        }
        values.push_back(value(*result));
    }
    return text(quantile(values, part));
}

std::string timeCell(const Results& results, double part, Nanoseconds Result::* time) {
    return cell(results, part, [time](const Result& result) { return result.*time; }, microseconds);
}

std::string rateCell(const Results& results) {
    return cell(
        results, 0.5, [](const Result& result) { return result.rate; },
        [](double rate) { return decimal(rate, 0); });
}

void writeRow(Table& table, const Case& which, const char* contender, const Results& results) {
    table.add({nameOf(which.kind), std::to_string(which.processes), contender, rateCell(results),
               timeCell(results, 0.5, &Result::p50), timeCell(results, 0.5, &Result::p99),
               timeCell(results, 1, &Result::longest)});
}

/// The median of the ratios within a round.
std::string ratioCell(const Results& own, const Results& others) {
    std::vector<double> ratios;
    for (std::size_t round = 0; round < own.size(); ++round) {
        if (!own[round] || !others[round]) {
            return kVoid;
        }
        ratios.push_back(own[round]->rate / others[round]->rate);
    }
    return decimal(median(ratios), 2);
}

std::vector<std::string> ratioColumns() {
    std::vector<std::string> columns = {"message", "processes"};
    for (const Contender& contender : kContenders) {
        if (contender.name != std::string("elmu")) {
            columns.push_back(std::string("elmu / ") + contender.name);
        }
    }
    return columns;
}

void writeRatios(Table& table, const Case& which, const std::map<Key, Results>& results) {
    std::vector<std::string> cells = {nameOf(which.kind), std::to_string(which.processes)};
    const Results& own = results.at({which.kind, which.processes, "elmu"});
    for (const Contender& contender : kContenders) {
        if (contender.name != std::string("elmu")) {
            cells.push_back(ratioCell(own, results.at({which.kind, which.processes, contender.name})));
        }
    }
    table.add(cells);
}

std::vector<Case> allCases() {
    std::vector<Case> cases;
    for (const Kind kind : kKinds) {
        for (const int processes : kProcesses) {
            cases.push_back({kind, processes});
        }
    }
    return cases;
}

std::map<Key, Results> runAll(const Plan& plan) {
    std::map<Key, Results> results;
    for (std::size_t round = 0; round < plan.rounds; ++round) {
        for (const Case& which : allCases()) {
            std::fprintf(stderr, "Throughput: round %zu of %zu, %s, %d processes\n", round + 1, plan.rounds,
                         nameOf(which.kind), which.processes);
            runRound(round, which, plan, results);
        }
    }
    return results;
}

bool isVoid(const std::pair<const Key, Results>& entry) {
    return std::any_of(entry.second.begin(), entry.second.end(), [](const auto& result) { return !result; });
}

} // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::fprintf(stderr, "usage: throughput RESULTS-FOLDER LOG-FOLDER ROUNDS RECORDS\n");
        return 2;
    }
    const Plan plan = {arguments[1], fs::absolute(arguments[2]), std::stoul(arguments[3]),
                       std::stoi(arguments[4])};
    const auto results = runAll(plan);
    fs::remove_all(plan.folder);
    Table rates(plan.results / "throughput.tsv",
                {"message", "processes", "contender", "records/s", "p50 µs", "p99 µs", "max µs"});
    Table ratios(plan.results / "ratios.tsv", ratioColumns());
    for (const Case& which : allCases()) {
        for (const Contender& contender : kContenders) {
            writeRow(rates, which, contender.name, results.at({which.kind, which.processes, contender.name}));
        }
        writeRatios(ratios, which, results);
    }
    return std::any_of(results.begin(), results.end(), isVoid) ? 1 : 0;
}

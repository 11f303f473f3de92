#include "e2e/FullLog.h"

#include <cstdio>
#include <ctime>
#include <regex>

#include <sys/utsname.h>

#include "support/Clock.h"

namespace e2e {

namespace {

const std::string EarlierLine = "11/15/26 23:59:59:999 | [INFO] |  | HCD | HCDCustomHook |  |  |  | 4711 | "
                                "Successfully deleted HCD Ostrel Specifier file\n";

std::string systemVersion(const utsname& system) {
    int numbers[3] = {0, 0, 0};
    std::sscanf(system.release, "%d.%d.%d", &numbers[0], &numbers[1], &numbers[2]);
    return std::to_string(numbers[0]) + "." + std::to_string(numbers[1]) + "." + std::to_string(numbers[2]);
}

testing::AssertionResult equal(const std::string& text, const std::string& expected) {
    if (text == expected) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << text.size() << " bytes that differ from the expected " << expected.size();
}

} // namespace

std::vector<std::string> headerRecords(const std::optional<std::string>& product, const std::string& locale) {
    utsname system = {};
    ::uname(&system);
    const std::string rule = "INFO " + std::string(78, '*');
    std::vector<std::string> records = {rule};
    records.push_back(std::string("INFO Bit: ") + (std::string(system.machine) == "i386" ? "32" : "64"));
    if (product) {
        records.push_back("INFO HCD Version: " + *product);
    }
    records.push_back("INFO OS Locale: " + locale);
    records.push_back("INFO OS Name: Mac OS " + systemVersion(system));
    records.push_back("INFO OS Version: " + systemVersion(system));
    records.push_back(rule);
    return records;
}

std::vector<std::string> afterHeader(const std::vector<std::string>& records) {
    std::vector<std::string> all = headerRecords();
    all.insert(all.end(), records.begin(), records.end());
    return all;
}

std::string earlierLines(std::size_t size) {
    std::string lines;
    lines.reserve(size + EarlierLine.size());
    while (lines.size() < size) {
        lines += EarlierLine;
    }
    return lines.substr(lines.size() - size);
}

std::string besideTheLog(const std::string& name) { return LogFolder + "/" + name; }

int hoursToNoon() { return -static_cast<int>((support::now() / 3600 + 12) % 24); }

std::string zone(int hours) { return "NOON" + std::to_string(-hours); }

std::string dateAt(int hours, int days) {
    const std::time_t there = support::now() + hours * 3600 + days * 86400;
    std::tm date = {};
    ::gmtime_r(&there, &date);
    char text[sizeof "2026-11-16"];
    std::strftime(text, sizeof text, "%Y-%m-%d", &date);
    return text;
}

void FullLogTest::fillLog(std::size_t size) {
    earlier = earlierLines(size);
    machine.put(Log, earlier);
}

std::vector<std::string> FullLogTest::copies() const {
    const std::regex dated(R"(HCD \d{4}-\d\d-\d\d \d\d-\d\d-\d\d\.log)");
    std::vector<std::string> names;
    for (const std::string& name : machine.namesIn(LogFolder)) {
        if (std::regex_match(name, dated)) {
            names.push_back(name);
        }
    }
    return names;
}

testing::AssertionResult FullLogTest::earlierLinesAreInTheCopy() const {
    const std::vector<std::string> names = copies();
    if (names.size() != 1) {
        return testing::AssertionFailure() << names.size() << " copies";
    }
    return equal(machine.read(besideTheLog(names.front())), earlier);
}

testing::AssertionResult FullLogTest::earlierLinesAreInTheLog(const std::string& log) const {
    return equal(machine.read(log).substr(0, earlier.size()), earlier);
}

std::vector<std::string> FullLogTest::toldAfterTheEarlierLines(const std::string& log) const {
    const std::string text = machine.read(log);
    return toldBy(text.size() < earlier.size() ? "" : text.substr(earlier.size()));
}

} // namespace e2e

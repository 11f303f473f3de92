#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <regex>
#include <sstream>

#include <sys/utsname.h>

using namespace e2e;
using testing::ElementsAre;
using testing::SizeIs;

namespace {

class Records : public MachineTest {
  protected:
    std::vector<LogRecord> records() const { return recordsOf(machine.read(Log)); }
};

using Contexts = std::array<std::string, 6>;

const Contexts ParserContexts = {"", "HCD", "HCDCustomHook", "", "", "CommandLineParser"};
const Contexts HookContexts = {"", "HCD", "HCDCustomHook", "", "", ""};

long long nowInMilliseconds() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

/// The time of a record that was written `offset` seconds east of Greenwich.
long long millisecondsOf(const std::string& text, int offset) {
    std::tm date = {};
    char colon = '\0';
    int milliseconds = 0;
    std::istringstream fields(text);
    fields >> std::get_time(&date, "%m/%d/%y %H:%M:%S") >> colon >> milliseconds;
    EXPECT_TRUE(fields) << text;
    return (static_cast<long long>(::timegm(&date)) - offset) * 1000 + milliseconds;
}

/// Systems up to 10.5 have no thread ids: their numbers are compared one by one.
bool systemHasThreadIds() {
    utsname system = {};
    ::uname(&system);
    long majorNumber = 0;
    long minorNumber = 0;
    char dot = '\0';
    std::istringstream(system.release) >> majorNumber >> dot >> minorNumber;
    return !(majorNumber <= 10 && minorNumber <= 5);
}

bool isTime(const std::string& text) {
    return std::regex_match(text, std::regex(R"(\d\d/\d\d/\d\d \d\d:\d\d:\d\d:\d{3})"));
}

} // namespace

TEST_F(Records, OfAnInstallAreTheseLines) {
    install();
    const std::vector<LogRecord> written = records();
    ASSERT_THAT(written, SizeIs(2));
    EXPECT_EQ(machine.read(Log),
              written[0].time + " | [INFO] |  | HCD | HCDCustomHook |  |  | CommandLineParser | " +
                  written[0].thread +
                  " | Parsing the command line provided. Number of command line arguments is 2\n" +
                  written[1].time + " | [INFO] |  | HCD | HCDCustomHook |  |  |  | " + written[1].thread +
                  " | Successfully created HCD Ostrel Specifier file\n");
}

TEST_F(Records, OfAnUninstallAreTheseLines) {
    uninstall();
    const std::vector<LogRecord> written = records();
    ASSERT_THAT(written, SizeIs(2));
    EXPECT_EQ(machine.read(Log),
              written[0].time + " | [INFO] |  | HCD | HCDCustomHook |  |  | CommandLineParser | " +
                  written[0].thread +
                  " | Parsing the command line provided. Number of command line arguments is 1\n" +
                  written[1].time + " | [INFO] |  | HCD | HCDCustomHook |  |  |  | " + written[1].thread +
                  " | Successfully deleted HCD Ostrel Specifier file\n");
}

TEST_F(Records, OfTheParserCarryItsNameInTheSixthContext) {
    machine.put(LogsFolder + "/ELMU.debug", "");
    runTool({"--install", "--install=1"});
    const std::vector<LogRecord> written = records();
    ASSERT_THAT(written, SizeIs(6));
    for (std::size_t index = 0; index < 5; ++index) {
        EXPECT_EQ(written[index].contexts, ParserContexts) << written[index].message;
    }
}

TEST_F(Records, OfAMissingFolderCarryNothingInTheLastThreeContexts) {
    machine.put(LocalSupport + "/Korvane", "a file");
    install();
    const std::vector<LogRecord> written = records();
    ASSERT_THAT(written, SizeIs(2));
    EXPECT_EQ(written[1].level, "WARN");
    EXPECT_EQ(written[1].contexts, HookContexts);
}

TEST_F(Records, OfAFailedWriteCarryNothingInTheLastThreeContexts) {
    machine.makeFolder(Manifest);
    install();
    const std::vector<LogRecord> written = records();
    ASSERT_THAT(written, SizeIs(2));
    EXPECT_EQ(written[1].level, "WARN");
    EXPECT_EQ(written[1].contexts, HookContexts);
}

TEST_F(Records, OfAFailedRemovalCarryNothingInTheLastThreeContexts) {
    machine.put(Manifest + "/inside", "");
    uninstall();
    const std::vector<LogRecord> written = records();
    ASSERT_THAT(written, SizeIs(2));
    EXPECT_EQ(written[1].contexts, HookContexts);
}

TEST_F(Records, BeginWithDateAndTimeToTheMillisecond) {
    install();
    for (const LogRecord& record : records()) {
        EXPECT_TRUE(isTime(record.time)) << record.time;
    }
}

TEST_F(Records, AreTimedWithinTheRunAndInOrder) {
    const long long started = nowInMilliseconds();
    install();
    const long long ended = nowInMilliseconds();
    const std::vector<LogRecord> written = records();
    ASSERT_THAT(written, SizeIs(2));
    const long long first = millisecondsOf(written[0].time, 0);
    const long long second = millisecondsOf(written[1].time, 0);
    EXPECT_LE(started, first);
    EXPECT_LE(first, second);
    EXPECT_LE(second, ended);
}

TEST_F(Records, AreTimedInTheMachinesZone) {
    machine.setEnvironment("TZ", "EAST-5:30");
    const long long started = nowInMilliseconds();
    install();
    const long long ended = nowInMilliseconds();
    for (const LogRecord& record : records()) {
        const long long time = millisecondsOf(record.time, 5 * 3600 + 30 * 60);
        EXPECT_LE(started, time);
        EXPECT_LE(time, ended);
    }
}

TEST_F(Records, KeepTheirFormOfTimeInAnyLocale) {
    machine.setEnvironment("LC_ALL", "C.UTF-8");
    machine.setEnvironment("LANG", "de_DE.UTF-8");
    install();
    for (const LogRecord& record : records()) {
        EXPECT_TRUE(isTime(record.time)) << record.time;
    }
}

TEST_F(Records, CarryTheIdOfTheToolsOneThreadOrNothingOnAnOldSystem) {
    const Outcome outcome = machine.runShell("HCDCustomHook --install=1 & echo $!; wait $!");
    ASSERT_THAT(records(), SizeIs(2));
    for (const LogRecord& record : records()) {
        EXPECT_EQ(record.thread + "\n", systemHasThreadIds() ? outcome.output : "\n");
    }
}

TEST_F(Records, OfSeveralRunsFollowEachOther) {
    install();
    const std::string first = machine.read(Log);
    uninstall();
    EXPECT_EQ(machine.read(Log).substr(0, first.size()), first);
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created, parsing(1), Deleted));
}

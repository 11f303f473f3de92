#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

#include <random>
#include <sstream>

using namespace e2e;
using testing::ElementsAre;
using testing::Not;
using testing::SizeIs;

namespace {

const std::string NoSemaphores = "test \"$(tail -n +2 /proc/sysvipc/sem)\" = ''";

class Semaphores : public MachineTest {};

class SeveralRunsAtOnce : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine.makeFolder(SpecifierFolder);
        machine.makeFolder(LogFolder);
    }
};

/// Runs that are killed at moments spread over the time that a whole run takes.
class KilledRuns : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine.put(Manifest, "");
        machine.put("/Users/new.xml", manifestText());
        machine.put("/Users/old.xml", "<Older>" + std::string(6000, 'o') + "</Older>\n");
    }

    /// The seconds of one run, taken from ten.
    double secondsOfARun() const {
        const Outcome outcome = machine.runShell("started=$(date +%s%N)\n"
                                                 "for run in 1 2 3 4 5 6 7 8 9 10; do\n"
                                                 "  timeout 60 HCDCustomHook --install=1\n"
                                                 "done\n"
                                                 "echo $(($(date +%s%N) - started))");
        return std::stod(outcome.output) / 1e10;
    }

    static std::string moments(double longest, int count) {
        std::mt19937 generator(20261116);
        std::uniform_real_distribution<double> moment(longest / 20, longest);
        std::ostringstream text;
        text << std::fixed;
        for (int index = 0; index < count; ++index) {
            text << moment(generator) << ' ';
        }
        return text.str();
    }

    /// Installs over the old manifest again and again, each run killed at one of `moments`. Prints a word a
    /// run: which manifest was there afterwards.
    Outcome installAndKill(const std::string& moments) const {
        return machine.runShell("manifest='" + Manifest + "'\n" + "for moment in " + moments +
                                "; do\n"
                                "  cp /Users/old.xml \"$manifest\"\n"
                                "  timeout -s KILL $moment HCDCustomHook --install=1\n"
                                "  status=$?\n"
                                "  if cmp -s \"$manifest\" /Users/old.xml; then echo old $status\n"
                                "  elif cmp -s \"$manifest\" /Users/new.xml; then echo new $status\n"
                                "  else echo torn $status; fi\n"
                                "done 2>/dev/null\n" +
                                "HCDCustomHook --install=1");
    }
};

int countOf(const std::string& line, const std::string& text) {
    int count = 0;
    std::istringstream lines(text);
    for (std::string found; std::getline(lines, found);) {
        count += found == line ? 1 : 0;
    }
    return count;
}

} // namespace

TEST_F(Semaphores, AreGoneAfterAnInstall) { runShell("HCDCustomHook --install=1 && " + NoSemaphores); }

TEST_F(Semaphores, AreGoneAfterAnUninstall) { runShell("HCDCustomHook && " + NoSemaphores); }

TEST_F(Semaphores, AreGoneAfterAFailedInstall) {
    machine.put(LocalSupport + "/Korvane", "a file");
    runShell("HCDCustomHook --install=1 && " + NoSemaphores);
}

TEST_F(Semaphores, AreGoneAfterARunThatCouldNotLog) {
    machine.makeFolder(Log);
    runShell("HCDCustomHook --install=1 && " + NoSemaphores);
}

TEST_F(Semaphores, AreGoneAfterARunWithAFullLog) {
    machine.link(Log, "/dev/full");
    runShell("HCDCustomHook --install=1 && " + NoSemaphores);
}

TEST_F(Semaphores, OfAnotherProgramStay) {
    const Outcome outcome = machine.runShell("ipcmk -S 3 >/dev/null\n"
                                             "HCDCustomHook --install=1\n"
                                             "tail -n +2 /proc/sysvipc/sem | wc -l");
    EXPECT_EQ(outcome.output, "1\n");
}

TEST_F(SeveralRunsAtOnce, LeaveOneWholeManifestAndNoSemaphores) {
    runShell("for run in 1 2 3 4 5 6 7 8; do HCDCustomHook --install=1 & done; wait; " + NoSemaphores);
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("halcyra.xml"));
}

TEST_F(SeveralRunsAtOnce, LeaveOnlyWholeLinesInTheLog) {
    runShell("for run in 1 2 3 4 5 6 7 8; do HCDCustomHook --install=1 & done; wait");
    EXPECT_THAT(recordsOf(machine.read(Log)), Not(SizeIs(0)));
}

TEST_F(SeveralRunsAtOnce, ShowAReaderTheOldManifestOrTheNewOneAndNothingElse) {
    machine.put(Manifest, manifestText());
    machine.put("/Users/expected.xml", manifestText());
    runShell(
        "(for run in 1 2 3 4 5 6 7 8 9 10 11 12; do HCDCustomHook --install=1; done; touch /tmp/done) &\n"
        "until [ -e /tmp/done ]; do\n"
        "  cmp '" +
        Manifest +
        "' /Users/expected.xml || exit 1\n"
        "done\n"
        "wait");
}

TEST_F(KilledRuns, LeaveTheOldManifestOrTheNewOneAndNothingElse) {
    const int runs = 120;
    const Outcome outcome = installAndKill(moments(secondsOfARun() * 1.1, runs));
    EXPECT_EQ(outcome.status, 0);
    const int killed = countOf("old 137", outcome.output) + countOf("new 137", outcome.output);
    const int completed = countOf("new 0", outcome.output);
    EXPECT_EQ(killed + completed, runs) << outcome.output;
    EXPECT_GT(killed, 0);
    RecordProperty("killed", killed);
    RecordProperty("completed", completed);
}

TEST_F(KilledRuns, DoNotKeepALaterRunFromItsJobOrItsLog) {
    const Outcome outcome = installAndKill(moments(secondsOfARun(), 30));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(machine.read(Manifest), manifestText());
    const std::vector<std::string> told = toldBy(machine.read(Log));
    ASSERT_GE(told.size(), 2U);
    EXPECT_EQ(told[told.size() - 2], parsing(2));
    EXPECT_EQ(told.back(), Created);
}

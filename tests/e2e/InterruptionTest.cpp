#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

#include <optional>
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

/// Runs that are killed at moments spread over the time of a whole run.
class KilledRuns : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine.put(Manifest, "");
        machine.put("/Users/new.xml", manifestText());
        machine.put("/Users/old.xml", "<Older>" + std::string(6000, 'o') + "</Older>\n");
    }

    /// Runs an install that is killed when its new manifest is about to take the old one's place.
    void killAnInstall() {
        machine.filterCalls(killingFilter(callsThatRename()));
        EXPECT_NE(machine.runTool({"--install=1"}).status, 0);
        ASSERT_THAT(machine.namesIn(SpecifierFolder), SizeIs(2));
        machine.refuse({}, 0);
    }

    /// Parts of a thousand, in an order that a fixed seed chooses.
    static std::string parts(int count) {
        std::mt19937 generator(20261116);
        std::uniform_int_distribution<int> part(50, 1000);
        std::ostringstream text;
        for (int index = 0; index < count; ++index) {
            text << part(generator) << ' ';
        }
        return text.str();
    }

    /// Installs over the old manifest again and again until `kills` runs were killed, at moments spread over
    /// the time of a run. That time is found on the way: it gets shorter with each run that completes and
    /// longer with each that is killed. Prints a word a run: which manifest was there afterwards.
    Outcome installAndKill(int kills) const {
        return machine.runShell("manifest='" + Manifest + "' longest=20000 killed=0\n" + "for part in " +
                                parts(10 * kills) +
                                "; do\n"
                                "  [ $killed -lt " +
                                std::to_string(kills) +
                                " ] || break\n"
                                "  cp /Users/old.xml \"$manifest\"\n"
                                "  moment=$(printf 0.%06d $((longest * part / 1000)))\n"
                                "  timeout -s KILL $moment HCDCustomHook --install=1\n"
                                "  status=$?\n"
                                "  if [ $status -eq 137 ]; then\n"
                                "    killed=$((killed + 1)) longest=$((longest * 51 / 50))\n"
                                "  else longest=$((longest * 9 / 10)); fi\n"
                                "  [ $longest -lt 990000 ] || longest=990000\n"
                                "  if cmp -s \"$manifest\" /Users/old.xml; then echo old $status\n"
                                "  elif cmp -s \"$manifest\" /Users/new.xml; then echo new $status\n"
                                "  else echo torn $status; fi\n"
                                "done 2>/dev/null\n" +
                                "HCDCustomHook --install=1");
    }
};

/// How many lines of `text` are `line`, or how many there are.
int countOf(const std::optional<std::string>& line, const std::string& text) {
    int count = 0;
    std::istringstream lines(text);
    for (std::string found; std::getline(lines, found);) {
        count += !line || found == *line ? 1 : 0;
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
    const int kills = 100;
    const Outcome outcome = installAndKill(kills);
    EXPECT_EQ(outcome.status, 0);
    const int killed = countOf("old 137", outcome.output) + countOf("new 137", outcome.output);
    const int completed = countOf("new 0", outcome.output);
    EXPECT_EQ(killed, kills) << outcome.output;
    EXPECT_EQ(killed + completed, countOf(std::nullopt, outcome.output)) << outcome.output;
    RecordProperty("killed", killed);
    RecordProperty("completed", completed);
}

TEST_F(KilledRuns, LeaveATemporaryManifestThatTheNextInstallRemoves) {
    killAnInstall();
    install();
    EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("halcyra.xml"));
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(KilledRuns, LeaveATemporaryManifestThatTheNextUninstallRemoves) {
    killAnInstall();
    uninstall();
    EXPECT_THAT(machine.namesIn(SpecifierFolder), testing::IsEmpty());
}

TEST_F(KilledRuns, LeaveATemporaryManifestOfWhichNothingIsTold) {
    killAnInstall();
    const std::size_t told = toldBy(machine.read(Log)).size();
    install();
    const std::vector<std::string> all = toldBy(machine.read(Log));
    ASSERT_THAT(all, SizeIs(told + 2));
    EXPECT_EQ(all[told], parsing(2));
    EXPECT_EQ(all.back(), Created);
}

TEST_F(KilledRuns, DoNotKeepALaterRunFromItsJobOrItsLog) {
    const Outcome outcome = installAndKill(30);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(machine.read(Manifest), manifestText());
    const std::vector<std::string> told = toldBy(machine.read(Log));
    ASSERT_GE(told.size(), 2U);
    EXPECT_EQ(told[told.size() - 2], parsing(2));
    EXPECT_EQ(told.back(), Created);
}

#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LogPlace : public MachineTest {
  protected:
    void expectLogIn(const std::string& home) const {
        EXPECT_THAT(toldBy(machine.read(home + "/Library/Logs/Halcyra/HCD/HCD.log")),
                    ElementsAre(parsing(2), Created));
    }
};

/// A log that cannot be written. Nobody is told; the tool does its job.
class UnwritableLog : public MachineTest {
  protected:
    void expectTheJobDone() {
        fillCache();
        install();
        EXPECT_EQ(machine.read(Manifest), manifestText());
        EXPECT_FALSE(machine.has(Cache));
        uninstall();
        EXPECT_FALSE(machine.has(Manifest));
    }
};

} // namespace

TEST_F(LogPlace, IsInTheUsersLogsFolder) {
    install();
    expectLogIn(Home);
    EXPECT_THAT(machine.namesIn(LogFolder), ElementsAre("HCD.log"));
}

TEST_F(LogPlace, HasPrivateLibraryFoldersWhenTheyAreMade) {
    install();
    EXPECT_EQ(machine.modeOf(Home + "/Library"), 0700U);
    EXPECT_EQ(machine.modeOf(LogsFolder), 0700U);
}

TEST_F(LogPlace, KeepsTheModesOfExistingFolders) {
    machine.makeFolder(LogFolder);
    machine.setMode(Home + "/Library", 0755);
    machine.setMode(LogsFolder, 0711);
    machine.setMode(LogFolder, 0775);
    install();
    EXPECT_EQ(machine.modeOf(Home + "/Library"), 0755U);
    EXPECT_EQ(machine.modeOf(LogsFolder), 0711U);
    EXPECT_EQ(machine.modeOf(LogFolder), 0775U);
}

TEST_F(LogPlace, HasFoldersOfTheUsualModeWhenNobodyIsAtTheConsole) {
    install();
    EXPECT_EQ(machine.modeOf(LogsFolder + "/Halcyra"), 0755U);
    EXPECT_EQ(machine.modeOf(LogFolder), 0755U);
}

TEST_F(LogPlace, HasANewLogThatEveryUserCanWriteWhateverTheUmask) {
    runShell("umask 077; HCDCustomHook --install=1");
    EXPECT_EQ(machine.modeOf(Log), 0666U);
}

TEST_F(LogPlace, KeepsTheModeAndTheContentOfAnExistingLog) {
    machine.put(Log, "an earlier line\n");
    machine.setMode(Log, 0640);
    install();
    EXPECT_EQ(machine.modeOf(Log), 0640U);
    EXPECT_EQ(machine.read(Log).substr(0, 16), "an earlier line\n");
    EXPECT_THAT(toldBy(machine.read(Log).substr(16)), ElementsAre(parsing(2), Created));
}

TEST_F(LogPlace, HasALogThatStartsWithTheFirstRecord) {
    uninstall();
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(1), Deleted));
}

TEST_F(LogPlace, CanBeReachedThroughALink) {
    machine.makeFolder("/Users/elsewhere/Logs");
    machine.link(Home + "/Library", "/Users/elsewhere");
    install();
    EXPECT_THAT(toldBy(machine.read("/Users/elsewhere/Logs/Halcyra/HCD/HCD.log")),
                ElementsAre(parsing(2), Created));
}

TEST_F(LogPlace, FollowsALinkInTheLogsPlace) {
    machine.put("/Users/elsewhere.log", "");
    machine.link(Log, "/Users/elsewhere.log");
    install();
    EXPECT_THAT(toldBy(machine.read("/Users/elsewhere.log")), ElementsAre(parsing(2), Created));
}

TEST_F(LogPlace, IsInAHomeWhoseNameHasBlanksAndLetters) {
    machine.makeFolder("/Users/Zoë B. Quint");
    machine.setEnvironment("HOME", "/Users/Zoë B. Quint");
    install();
    expectLogIn("/Users/Zoë B. Quint");
}

TEST_F(LogPlace, IsInTheHomeOfThePasswordFileWithoutHome) {
    machine.unsetEnvironment("HOME");
    install();
    expectLogIn("/var/root");
    EXPECT_THAT(machine.namesIn(Home), IsEmpty());
}

TEST_F(LogPlace, IsInTheHomeOfThePasswordFileWhenHomeIsRelative) {
    machine.setEnvironment("HOME", "Users/tester");
    install();
    expectLogIn("/var/root");
    EXPECT_THAT(machine.namesIn(Home), IsEmpty());
}

TEST_F(LogPlace, IsInTheHomeOfThePasswordFileWhenHomeIsEmpty) {
    machine.setEnvironment("HOME", "");
    install();
    expectLogIn("/var/root");
}

TEST_F(LogPlace, IsBelowTheRootFolderWhenAFileIsInPlaceOfLibrary) {
    machine.put(Home + "/Library", "a file");
    install();
    EXPECT_THAT(toldBy(machine.read(HomelessLog)), ElementsAre(parsing(2), Created));
    EXPECT_EQ(machine.read(Home + "/Library"), "a file");
}

TEST_F(LogPlace, IsBelowTheRootFolderWhenTheHomeIsAFile) {
    machine.put("/Users/file", "a file");
    machine.setEnvironment("HOME", "/Users/file");
    install();
    EXPECT_THAT(toldBy(machine.read(HomelessLog)), ElementsAre(parsing(2), Created));
}

TEST_F(LogPlace, IsInAMissingHomeWhichIsMade) {
    machine.setEnvironment("HOME", "/Users/newcomer");
    install();
    expectLogIn("/Users/newcomer");
}

TEST_F(UnwritableLog, AFileIsInPlaceOfTheLogFolder) {
    machine.put(LogsFolder + "/Halcyra", "a file");
    expectTheJobDone();
    EXPECT_EQ(machine.read(LogsFolder + "/Halcyra"), "a file");
}

TEST_F(UnwritableLog, AFolderIsInPlaceOfTheLog) {
    machine.makeFolder(Log);
    expectTheJobDone();
    EXPECT_THAT(machine.namesIn(Log), IsEmpty());
}

TEST_F(UnwritableLog, TheLogsFolderIsReadOnly) {
    machine.makeReadOnly(LogsFolder);
    expectTheJobDone();
    EXPECT_THAT(machine.namesIn(LogsFolder), IsEmpty());
}

TEST_F(UnwritableLog, TheLogIsOnAReadOnlyDisk) {
    machine.put(Log, "an earlier line\n");
    machine.makeReadOnly(LogFolder);
    expectTheJobDone();
    EXPECT_EQ(machine.read(Log), "an earlier line\n");
}

TEST_F(UnwritableLog, TheLogIsALinkThatLeadsNowhere) {
    machine.link(Log, "/Users/missing/HCD.log");
    expectTheJobDone();
}

TEST_F(UnwritableLog, TheLogIsADeviceThatIsAlwaysFull) {
    machine.link(Log, "/dev/full");
    expectTheJobDone();
}

TEST_F(UnwritableLog, NobodyKnowsAHome) {
    machine.put("/etc/passwd", "nobody:x:65534:65534::/nonexistent:/bin/false\n");
    machine.unsetEnvironment("HOME");
    expectTheJobDone();
}

TEST_F(LogPlace, IsNotWaitedForWhenAPipeIsThere) {
    machine.makeFolder(LogFolder);
    runShell("mkfifo '" + Log + "' && HCDCustomHook --install=1");
    EXPECT_TRUE(machine.has(Manifest));
}

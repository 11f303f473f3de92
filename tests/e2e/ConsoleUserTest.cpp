#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const uid_t Mira = 1500;
const gid_t Staff = 1600;
const std::string MirasHome = "/Users/mira";
const std::string MirasLogsFolder = MirasHome + "/Library/Logs";
const std::string MirasLogFolder = MirasLogsFolder + "/Halcyra/HCD";
const std::string MirasLog = MirasLogFolder + "/HCD.log";
const std::string NotRoot = "WARN Unable to act as the installing user again: nothing is changed";

/// A machine whose login manager tells of a session on the first seat.
class Console : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine.put("/etc/passwd", "root:x:0:0:System Administrator:/var/root:/bin/sh\n"
                                   "mira:x:1500:1600:Mira Quint:" +
                                       MirasHome +
                                       ":/bin/sh\n"
                                       "login:x:1501:1601::/var/lib/login:/bin/false\n");
        machine.put("/etc/group", "wheel:x:0:\nstaff:x:1600:\nlogin:x:1601:\n");
    }

    void startSession(uid_t uid, const std::string& kind) const {
        const std::string id = std::to_string(uid);
        machine.put("/run/systemd/seats/seat0",
                    "IS_SEAT0=1\nCAN_MULTI_SESSION=1\nCAN_TTY=1\nCAN_GRAPHICAL=1\n"
                    "ACTIVE=c2\nACTIVE_UID=" +
                        id + "\nSESSIONS=c2\nUIDS=" + id + "\n");
        machine.put("/run/systemd/sessions/c2",
                    "UID=" + id +
                        "\nUSER=somebody\nACTIVE=1\nIS_DISPLAY=1\nSTATE=active\nREMOTE=0\nTYPE=x11\nCLASS=" +
                        kind + "\nSCOPE=session-c2.scope\nSEAT=seat0\nVTNR=1\nPOSITION=1\nLEADER=7\n");
    }

    void expectLogAt(const std::string& path) const {
        EXPECT_THAT(toldBy(machine.read(path)), ElementsAre(parsing(2), Created));
    }
};

/// A machine with a second user, who has a home. Only root can make one.
class SeveralUsers : public Console {
  protected:
    void SetUp() override {
        Console::SetUp();
        machine.makeFolder(MirasHome);
        if (!IsSkipped() && ::chown(machine.outside(MirasHome).c_str(), Mira, Staff) != 0) {
            GTEST_SKIP() << "needs root: its machine has several users";
        }
    }

    void give(const std::string& path) const {
        ASSERT_EQ(::lchown(machine.outside(path).c_str(), Mira, Staff), 0) << path;
    }

    /// Runs the tool as the second user.
    void runAsMira(const std::string& arguments) const {
        runShell("HOME=" + MirasHome + " exec setpriv --reuid 1500 --regid 1600 --clear-groups " + Tool +
                 " " + arguments);
    }
};

/// A caller without the rights of root.
class OrdinaryUser : public SeveralUsers {};

/// The second user is at the console and has a Library of the usual kind.
class ConsoleUser : public SeveralUsers {
  protected:
    void SetUp() override {
        SeveralUsers::SetUp();
        if (IsSkipped()) {
            return;
        }
        machine.makeFolder(MirasLogsFolder);
        for (const std::string& folder : {MirasHome, MirasHome + "/Library", MirasLogsFolder}) {
            give(folder);
            machine.setMode(folder, 0700);
        }
        startSession(Mira, "user");
    }

    void expectMirasFolder(const std::string& path) const {
        EXPECT_EQ(machine.infoOf(path).st_uid, Mira) << path;
        EXPECT_EQ(machine.infoOf(path).st_gid, Staff) << path;
        EXPECT_EQ(machine.modeOf(path), 0777U) << path;
    }

    void refuseRootsRights() {
        machine.filterCalls(filterAgainstRoot());
        machine.setEnvironment("ASAN_OPTIONS", "detect_leaks=0"); // which needs these rights
    }
};

} // namespace

TEST_F(ConsoleUser, HasTheLogInTheHome) {
    install();
    expectLogAt(MirasLog);
    EXPECT_THAT(machine.namesIn(Home), IsEmpty());
}

TEST_F(ConsoleUser, OwnsTheNewLogFoldersWhichEverybodyCanChange) {
    install();
    expectMirasFolder(MirasLogsFolder + "/Halcyra");
    expectMirasFolder(MirasLogFolder);
}

TEST_F(ConsoleUser, CanHaveThoseFoldersWhateverTheUmask) {
    runShell("umask 077; HCDCustomHook --install=1");
    expectMirasFolder(MirasLogsFolder + "/Halcyra");
    expectMirasFolder(MirasLogFolder);
}

TEST_F(ConsoleUser, CannotGetAnotherFolderThroughALinkInTheLogFoldersPlace) {
    machine.makeFolder("/precious");
    machine.setMode("/precious", 0755);
    machine.link(MirasLogsFolder + "/Halcyra", "/precious");
    give(MirasLogsFolder + "/Halcyra");
    install();
    EXPECT_EQ(machine.infoOf("/precious").st_uid, 0U);
    EXPECT_EQ(machine.modeOf("/precious"), 0755U);
}

TEST_F(ConsoleUser, CannotLeadTheLogElsewhereByALink) {
    machine.makeFolder(MirasLogFolder);
    machine.put("/etc/precious", "root's own\n");
    machine.link(MirasLog, "/etc/precious");
    give(MirasLog);
    install();
    EXPECT_EQ(machine.read("/etc/precious"), "root's own\n");
    EXPECT_TRUE(machine.has(Manifest));
}

TEST_F(ConsoleUser, KeepsExistingLogFoldersAsTheyAre) {
    machine.makeFolder(MirasLogFolder);
    machine.setMode(MirasLogFolder, 0750);
    install();
    expectLogAt(MirasLog);
    EXPECT_EQ(machine.infoOf(MirasLogFolder).st_uid, 0U);
    EXPECT_EQ(machine.modeOf(MirasLogFolder), 0750U);
    EXPECT_EQ(machine.modeOf(MirasLogsFolder + "/Halcyra"), 0755U);
}

TEST_F(ConsoleUser, GetsTheSecondFolderWhenOnlyTheFirstExists) {
    machine.makeFolder(MirasLogsFolder + "/Halcyra");
    install();
    expectMirasFolder(MirasLogsFolder + "/Halcyra");
    expectMirasFolder(MirasLogFolder);
}

TEST_F(ConsoleUser, GetsALogThatEverybodyCanWrite) {
    install();
    EXPECT_EQ(machine.modeOf(MirasLog), 0666U);
}

TEST_F(ConsoleUser, CanWriteOnInTheLogThatRootMade) {
    install();
    runAsMira("--install=1");
    const std::vector<std::string> told = toldBy(machine.read(MirasLog));
    ASSERT_THAT(told, testing::SizeIs(4));
    EXPECT_EQ(told[2], parsing(2));
}

TEST_F(ConsoleUser, HasTheLibraryFoldersMadeWhenTheyAreMissing) {
    EXPECT_TRUE(quiet(machine.runShell("rm -r " + MirasHome + "/Library")));
    install();
    expectLogAt(MirasLog);
    EXPECT_EQ(machine.modeOf(MirasHome + "/Library"), 0700U);
    EXPECT_EQ(machine.modeOf(MirasLogsFolder), 0700U);
}

TEST_F(ConsoleUser, HasTheMarkersThatCount) {
    machine.put(MirasLogsFolder + "/ELMU.debug", "");
    uninstall();
    EXPECT_THAT(toldBy(machine.read(MirasLog)),
                ElementsAre(parsing(1), StartsWith("DEBUG First command line argument is "), Deleted));
}

TEST_F(ConsoleUser, MakesTheMarkersOfTheCallerCountNoLonger) {
    machine.put(LogsFolder + "/ELMU.debug", "");
    install();
    expectLogAt(MirasLog);
}

TEST_F(ConsoleUser, DoesNotOwnTheManifest) {
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_EQ(machine.infoOf(Manifest).st_uid, 0U);
    EXPECT_EQ(machine.infoOf(SpecifierFolder).st_uid, 0U);
}

TEST_F(ConsoleUser, DoesNotKeepTheCacheOfAnotherOwner) {
    fillCache();
    give(Cache);
    give(Cache + "/Cookies");
    install();
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(ConsoleUser, IsAnybodyWhoseSessionIsOfAUsersKind) {
    startSession(Mira, "user-light");
    install();
    expectLogAt(MirasLog);
}

TEST_F(ConsoleUser, IsNobodyWhileALoginScreenIsShown) {
    startSession(1501, "greeter");
    install();
    expectLogAt(Log);
}

TEST_F(ConsoleUser, IsNobodyWhileTheScreenIsLockedByASessionOfItsOwn) {
    startSession(Mira, "lock-screen");
    install();
    expectLogAt(Log);
    EXPECT_THAT(machine.namesIn(MirasLogsFolder), IsEmpty());
}

TEST_F(ConsoleUser, MayBeRootWithAHomeOfHisOwn) {
    startSession(0, "user");
    install();
    expectLogAt(Log);
    EXPECT_EQ(machine.modeOf(LogFolder), 0777U);
}

TEST_F(ConsoleUser, WithoutAHomeFolderHasTheLogBelowTheRootFolder) {
    EXPECT_TRUE(quiet(machine.runShell("rm -r " + MirasHome)));
    install();
    expectLogAt(HomelessLog);
    expectMirasFolder("/Halcyra");
    expectMirasFolder("/Halcyra/HCD");
}

TEST_F(ConsoleUser, WhoseRightsTheToolCannotGiveBackHasNothingChanged) {
    fillCache();
    machine.makeFolder(SpecifierFolder);
    machine.setMode(SpecifierFolder, 0777);
    refuseRootsRights();
    install();
    EXPECT_THAT(machine.namesIn(SpecifierFolder), IsEmpty());
    EXPECT_TRUE(machine.has(Cache + "/Cookies"));
    EXPECT_THAT(toldBy(machine.read(MirasLog)), ElementsAre(parsing(2), NotRoot));
    EXPECT_EQ(machine.infoOf(MirasLog).st_uid, Mira);
}

TEST_F(ConsoleUser, WhoseRightsTheToolCannotGiveBackKeepsTheManifest) {
    machine.put(Manifest, "an older manifest");
    machine.setMode(SpecifierFolder, 0777);
    refuseRootsRights();
    uninstall();
    EXPECT_EQ(machine.read(Manifest), "an older manifest");
    EXPECT_THAT(toldBy(machine.read(MirasLog)), ElementsAre(parsing(1), NotRoot));
}

TEST_F(ConsoleUser, WhoseRightsTheToolCannotGiveBackMayHaveNoLogToBeToldIn) {
    machine.put(Log, "");
    machine.put(MirasLog, "root's own\n");
    machine.setMode(MirasLog, 0600);
    fillCache();
    refuseRootsRights();
    install();
    EXPECT_FALSE(machine.has(Manifest));
    EXPECT_TRUE(machine.has(Cache + "/Cookies"));
    EXPECT_EQ(machine.read(MirasLog), "root's own\n");
}

TEST_F(OrdinaryUser, IsToldInTheLogThatTheManifestCannotBeMade) {
    runAsMira("--install=1");
    EXPECT_THAT(toldBy(machine.read(MirasLog)), ElementsAre(parsing(2), NoFolder));
}

TEST_F(OrdinaryUser, IsToldInTheLogThatTheManifestCannotBeReplaced) {
    machine.put(Manifest, "an older manifest");
    runAsMira("--install=1");
    EXPECT_THAT(toldBy(machine.read(MirasLog)), ElementsAre(parsing(2), NotWritten));
    EXPECT_EQ(machine.read(Manifest), "an older manifest");
}

TEST_F(OrdinaryUser, IsToldInTheLogThatTheManifestCannotBeDeleted) {
    machine.put(Manifest, "an older manifest");
    runAsMira("");
    EXPECT_THAT(toldBy(machine.read(MirasLog)), ElementsAre(parsing(1), NotDeleted));
}

TEST_F(OrdinaryUser, IsNotToldThatTheCacheCannotBeRemoved) {
    fillCache();
    machine.makeFolder(SpecifierFolder);
    machine.setMode(SpecifierFolder, 0777);
    runAsMira("--install=1");
    EXPECT_THAT(toldBy(machine.read(MirasLog)), ElementsAre(parsing(2), Created));
    EXPECT_EQ(machine.read(Cache + "/Cookies"), "cookies");
}

TEST_F(Console, WhoseUserTheToolMayNotActAsHasTheLogBelowTheRootFolder) {
    startSession(Mira, "user");
    machine.makeFolder(MirasHome);
    runShell("exec setpriv --bounding-set=-setuid " + Tool + " --install=1");
    expectLogAt(HomelessLog);
    EXPECT_EQ(machine.modeOf("/Halcyra"), 0777U);
    EXPECT_EQ(machine.modeOf("/Halcyra/HCD"), 0777U);
}

TEST_F(Console, WithALoginScreenHasTheLogInTheCallersHome) {
    startSession(1501, "greeter");
    install();
    expectLogAt(Log);
    EXPECT_EQ(machine.modeOf(LogFolder), 0755U);
}

TEST_F(Console, WithoutAnActiveSessionHasTheLogInTheCallersHome) {
    machine.put("/run/systemd/seats/seat0", "IS_SEAT0=1\nCAN_MULTI_SESSION=1\nSESSIONS=\nUIDS=\n");
    install();
    expectLogAt(Log);
}

TEST_F(Console, WhoseSessionHasJustEndedHasTheLogInTheCallersHome) {
    startSession(Mira, "user");
    EXPECT_TRUE(quiet(machine.runShell("rm /run/systemd/sessions/c2")));
    install();
    expectLogAt(Log);
}

TEST_F(Console, WithAnUnreadableSeatHasTheLogInTheCallersHome) {
    machine.put("/run/systemd/seats/seat0", "ACTIVE=c2\nACTIVE_UID=not a number\n");
    install();
    expectLogAt(Log);
}

TEST_F(Console, OfAUserWithoutAPasswordEntryDoesNotKeepTheToolFromItsJob) {
    startSession(4711, "user");
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

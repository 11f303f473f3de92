#include "e2e/LogRecord.h"
#include "e2e/Machine.h"
#include "packaging/PackageBuilder.h"

#include <chrono>
#include <filesystem>

namespace fs = std::filesystem;
using namespace e2e;
using namespace packaging;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

namespace {

const std::string InstalledTool = Location + "/HCDCustomHook";
const std::string InstalledRemoval = Location + "/uninstall.sh";
const std::string Postinstall = "/opt/package/postinstall";
const std::string RemovalCopy = "/opt/package/uninstall.sh";
const std::string NameOfTheLog =
    "postinstall: The log of the hook is ~root/Library/Logs/Halcyra/HCD/HCD.log.\n";
const std::string Receipts = "/var/db/receipts";

/// A machine on which a package with the built tool is being installed: its payload is in place and its
/// receipt written, and its script has not run yet.
class PackageScript : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        const Outcome outcome = builder.build({"--tool", HCD_TOOL});
        ASSERT_EQ(outcome.status, 0) << outcome.errors;
        unpack(builder.open(builder.output() + "/HCDCustomHook-4.3.0.256.pkg"));
        machine.put(Receipts + "/" + Identifier, "");
        machine.put(Receipts + "/com.korvane.halcyra", "");
        machine.add({"--tmpfs", "/usr/sbin", "--ro-bind", HCD_SOURCES "/tests/packaging/pkgutil.sh",
                     "/usr/sbin/pkgutil"});
        fillCache();
    }

    Outcome postinstall(const std::string& volume = "/") const {
        return machine.run({Postinstall, "/Users/tester/HCDCustomHook-4.3.0.256.pkg", Location, volume, "/"});
    }
    void install() const {
        const Outcome outcome = postinstall();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, NameOfTheLog);
    }
    Outcome removal() const { return machine.run({InstalledRemoval}); }

    /// Puts a script into the tool's place.
    void replaceTool(const std::string& script) const {
        machine.put(InstalledTool, script);
        machine.setMode(InstalledTool, 0755);
    }
    void removeTool() const { fs::remove(machine.outside(InstalledTool)); }

    /// Nothing of what the package installed, or of what the hook wrote, is there.
    void expectNothingInstalled() const {
        EXPECT_FALSE(machine.has(Manifest));
        EXPECT_FALSE(machine.has(Location));
        EXPECT_THAT(machine.namesIn(Receipts), ElementsAre("com.korvane.halcyra"));
    }
    /// All of it is there.
    void expectEverythingInstalled() const {
        EXPECT_TRUE(machine.has(Manifest));
        EXPECT_THAT(machine.namesIn(Location), ElementsAre("HCDCustomHook", "uninstall.sh"));
        EXPECT_THAT(machine.namesIn(Receipts), ElementsAre("com.korvane.halcyra", Identifier));
    }

    PackageBuilder builder;

  private:
    void unpack(const Package& package) const {
        fs::create_directories(fs::path(machine.outside(Location)).parent_path());
        fs::copy(package.payload, machine.outside(Location), fs::copy_options::recursive);
        fs::create_directories(machine.outside("/opt/package"));
        fs::copy_file(package.scripts + "/postinstall", machine.outside(Postinstall));
        fs::copy_file(package.payload + "/uninstall.sh", machine.outside(RemovalCopy));
    }
};

class PostinstallScript : public PackageScript {
  protected:
    /// Runs it; it must end with `status` and `sentence`, after `before`, and the hook must have done
    /// nothing.
    void expectFailure(int status, const std::string& sentence, const std::string& before = "") const {
        const Outcome outcome = postinstall();
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, before + "postinstall: " + sentence + "\n");
        EXPECT_TRUE(machine.has(Cache));
    }
    void expectNoManifestWritten() const {
        expectFailure(1, "The hook did not write " + Manifest + "; its log says why.", NameOfTheLog);
    }

    /// Has the tool do `commands`, in which $1 is the manifest, and end with status 0.
    void replaceToolBy(const std::string& commands) const {
        replaceTool("#!/bin/sh\nset -- '" + Manifest + "'\n" + commands + "\nexit 0\n");
    }
    /// An older manifest, from a time when the clock ran an hour `ahead` or behind.
    void putOlderManifest(std::chrono::hours ahead = std::chrono::hours(0)) const {
        machine.put(Manifest, "older");
        fs::last_write_time(machine.outside(Manifest), fs::file_time_type::clock::now() + ahead);
    }
};

class RemovalScript : public PackageScript {
  protected:
    void SetUp() override {
        PackageScript::SetUp();
        if (!IsSkipped()) {
            install();
        }
    }

    /// A run that must have refused with `sentence` alone and left everything.
    void expectRefusal(const std::string& sentence, const Outcome& outcome) const {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, "uninstall.sh: " + sentence + "\n");
        expectEverythingInstalled();
    }
};

} // namespace

TEST_F(PostinstallScript, LetsTheHookInstallAndSaysNoMoreThanWhereItsLogIs) {
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_FALSE(machine.has(Cache));
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created));
}

TEST_F(PostinstallScript, LetsTheHookInstallAgainWithANewerPackage) {
    install();
    fillCache();
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(PostinstallScript, LeavesTheRunningSystemAloneWhenTheTargetIsAnotherVolume) {
    EXPECT_TRUE(quiet(postinstall("/Volumes/Other Disk")));
    EXPECT_FALSE(machine.has(Manifest));
    EXPECT_TRUE(machine.has(Cache));
    EXPECT_FALSE(machine.has(Log));
}

TEST_F(PostinstallScript, DoesNotMissTheToolWhenTheTargetIsAnotherVolume) {
    removeTool();
    EXPECT_TRUE(quiet(postinstall("/Volumes/Other Disk")));
}

TEST_F(PostinstallScript, FailsInOneSentenceWhenTheToolIsMissing) {
    removeTool();
    expectFailure(1, InstalledTool + " could not be started because it is missing or not executable.");
}

TEST_F(PostinstallScript, FailsInOneSentenceWhenTheToolIsNotExecutable) {
    machine.setMode(InstalledTool, 0644);
    expectFailure(1, InstalledTool + " could not be started because it is missing or not executable.");
}

TEST_F(PostinstallScript, FailsWithTheStatusOfAHookThatDoesNotComplete) {
    replaceTool("#!/bin/sh\nexit 3\n");
    expectFailure(3, InstalledTool + " did not complete; it ended with status 3.", NameOfTheLog);
    EXPECT_FALSE(machine.has(Manifest));
}

TEST_F(PostinstallScript, NamesTheLogOfTheUserAtTheScreen) {
    replaceToolBy(": >\"$1\"");
    machine.makeFolder(SpecifierFolder);
    builder.instruct("stat", "#!/bin/sh\n[ \"$*\" = '-f %Su /dev/console' ] && echo mira\n");
    fs::permissions(builder / "stat", fs::perms(0755));
    machine.add({"--ro-bind", builder / "stat", "/usr/bin/stat"});
    const Outcome outcome = postinstall();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors,
              "postinstall: The log of the hook is ~mira/Library/Logs/Halcyra/HCD/HCD.log.\n");
}

TEST_F(PostinstallScript, FailsWhenTheHookCannotMakeTheManifest) {
    machine.put(LocalSupport + "/Korvane/Ostrel", "a file in the folder's place");
    const Outcome outcome = postinstall();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors,
              NameOfTheLog + "postinstall: The hook did not write " + Manifest + "; its log says why.\n");
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), NoFolder));
}

TEST_F(PostinstallScript, FailsWhenTheHookWritesNoManifest) {
    replaceToolBy("");
    expectNoManifestWritten();
}

TEST_F(PostinstallScript, FailsWhenAnOlderManifestStaysWhateverItsTime) {
    replaceToolBy("");
    for (const int ahead : {-1, 0, 1}) {
        putOlderManifest(std::chrono::hours(ahead));
        expectNoManifestWritten();
        EXPECT_EQ(machine.read(Manifest), "older");
    }
}

TEST_F(PostinstallScript, FailsWhenTheManifestIsGoneAfterwards) {
    putOlderManifest();
    replaceToolBy("rm \"$1\"");
    expectNoManifestWritten();
}

TEST_F(PostinstallScript, FailsWhenAFolderIsInTheManifestsPlace) {
    replaceToolBy("mkdir -p \"$1\"");
    expectNoManifestWritten();
}

TEST_F(PostinstallScript, FailsWhenALinkIsInTheManifestsPlace) {
    machine.makeFolder(SpecifierFolder);
    replaceToolBy("ln -s /etc/passwd \"$1\"");
    expectNoManifestWritten();
}

TEST_F(PostinstallScript, ReplacesALinkThatLeadsNowhere) {
    machine.makeFolder(SpecifierFolder);
    fs::create_symlink("/nowhere", machine.outside(Manifest));
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(PostinstallScript, FailsWhenTheManifestIsOlderThanItsOwnStart) {
    for (const std::string command :
         {"touch -d 2001-01-01 \"$1.new\" && mv \"$1.new\" \"$1\"", "touch -d 2001-01-01 \"$1\""}) {
        putOlderManifest();
        replaceToolBy(command);
        expectNoManifestWritten();
    }
}

TEST_F(PostinstallScript, IsContentWithANewFileOrANewTime) {
    for (const std::string command :
         {": >\"$1.new\" && mv \"$1.new\" \"$1\"", "touch -d 2101-01-01 \"$1.new\" && mv \"$1.new\" \"$1\"",
          "touch -d 2101-01-01 \"$1\""}) {
        putOlderManifest();
        replaceToolBy(command);
        install();
    }
}

TEST_F(PostinstallScript, FailsInOneSentenceWithoutATemporaryFolder) {
    machine.setEnvironment("TMPDIR", "/nowhere");
    expectFailure(1, "A temporary folder could not be made in /nowhere.");
}

TEST_F(PostinstallScript, LeavesNoTemporaryFile) {
    machine.makeFolder("/Users/temporary");
    machine.setEnvironment("TMPDIR", "/Users/temporary");
    install();
    fillCache();
    replaceToolBy("");
    expectNoManifestWritten();
    EXPECT_THAT(machine.namesIn("/Users/temporary"), IsEmpty());
}

TEST_F(PostinstallScript, FailsWhenASignalEndsTheHook) {
    replaceTool("#!/bin/sh\nkill -KILL $$\n");
    const Outcome outcome = postinstall();
    EXPECT_EQ(outcome.status, 137);
    EXPECT_THAT(outcome.errors,
                EndsWith("postinstall: " + InstalledTool + " did not complete; it ended with status 137.\n"));
}

TEST_F(PostinstallScript, FailsWhenTheSystemCannotStartTheTool) {
    replaceTool("#!/nowhere/interpreter\n");
    const Outcome outcome = postinstall();
    EXPECT_NE(outcome.status, 0);
    EXPECT_THAT(outcome.errors, EndsWith("postinstall: " + InstalledTool + " did not complete; it ended " +
                                         "with status " + std::to_string(outcome.status) + ".\n"));
}

TEST_F(PostinstallScript, FailsInOneSentenceWithoutTheArgumentsOfInstaller) {
    const Outcome outcome = machine.run({Postinstall});
    EXPECT_EQ(outcome.status, 64);
    EXPECT_EQ(outcome.errors, "postinstall: The target volume, the third argument, is missing.\n");
    EXPECT_FALSE(machine.has(Manifest));
}

TEST_F(RemovalScript, StartsFromAWholeInstall) { expectEverythingInstalled(); }

TEST_F(RemovalScript, RemovesTheManifestTheFilesAndTheReceiptWithoutAWord) {
    EXPECT_TRUE(quiet(removal()));
    expectNothingInstalled();
}

TEST_F(RemovalScript, RunsTheHookWithoutArguments) {
    removal();
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created, parsing(1), Deleted));
}

TEST_F(RemovalScript, LeavesTheFoldersAboveAndWhatOthersPutThere) {
    machine.put(LocalSupport + "/Korvane/Other/file", "another product's");
    machine.put(SpecifierFolder + "/other.xml", "another application's");
    fillCache();
    removal();
    EXPECT_THAT(machine.namesIn(LocalSupport + "/Korvane"), ElementsAre("Ostrel", "Other"));
    EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("other.xml"));
    EXPECT_TRUE(machine.has(Cache));
}

TEST_F(RemovalScript, LeavesAFileThatThePackageDidNotInstallAndItsFolder) {
    machine.put(Location + "/notes.txt", "mine");
    EXPECT_TRUE(quiet(removal()));
    EXPECT_THAT(machine.namesIn(Location), ElementsAre("notes.txt"));
    EXPECT_FALSE(machine.has(Manifest));
}

TEST_F(RemovalScript, IsFineWhenItIsRunAgain) {
    removal();
    EXPECT_TRUE(quiet(machine.run({RemovalCopy})));
    expectNothingInstalled();
}

TEST_F(RemovalScript, IsFineOnAMachineThatNeverHadThePackage) {
    fs::remove_all(machine.outside(LocalSupport));
    fs::remove(machine.outside(Receipts + "/" + Identifier));
    EXPECT_TRUE(quiet(machine.run({RemovalCopy})));
    EXPECT_FALSE(machine.has(LocalSupport));
}

TEST_F(RemovalScript, FinishesARunThatWasInterruptedAfterTheHook) {
    machine.runShell("'" + InstalledTool + "' && rm '" + InstalledTool + "'");
    EXPECT_TRUE(quiet(removal()));
    expectNothingInstalled();
}

TEST_F(RemovalScript, UninstallsAfterThePackageWasInstalledAgain) {
    install();
    EXPECT_TRUE(quiet(removal()));
    expectNothingInstalled();
}

TEST_F(RemovalScript, FindsTheSystemsCommandsWhateverTheSearchPath) {
    machine.setEnvironment("PATH", "/nowhere");
    EXPECT_TRUE(quiet(removal()));
    expectNothingInstalled();
}

TEST_F(RemovalScript, RefusesAnybodyButRoot) {
    expectRefusal("Only root can remove HCDCustomHook; run this script with sudo.",
                  machine.run({"/usr/bin/unshare", "--user", InstalledRemoval}));
}

TEST_F(RemovalScript, RemovesNothingWhenTheToolIsNotExecutable) {
    machine.setMode(InstalledTool, 0644);
    expectRefusal(InstalledTool + " is not an executable program; nothing was removed.", removal());
}

TEST_F(RemovalScript, RemovesNothingWhenTheHookDoesNotComplete) {
    replaceTool("#!/bin/sh\nexit 3\n");
    expectRefusal(InstalledTool + " did not complete, it ended with status 3; nothing was removed.",
                  removal());
}

TEST_F(RemovalScript, StaysToBeRunAgainWhenTheReceiptCannotBeForgotten) {
    replaceTool("#!/bin/sh\nexit 0\n");
    const std::string receipt = Receipts + "/" + Identifier;
    fs::remove(machine.outside(receipt));
    machine.put(receipt + "/a folder in the receipt's place", "");
    const Outcome outcome = removal();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, EndsWith("uninstall.sh: The receipt " + Identifier +
                                         " could not be forgotten; run this script again.\n"));
    EXPECT_THAT(machine.namesIn(Location), ElementsAre("uninstall.sh"));

    fs::remove_all(machine.outside(receipt));
    machine.put(receipt, "");
    EXPECT_TRUE(quiet(removal()));
    EXPECT_FALSE(machine.has(Location));
    EXPECT_THAT(machine.namesIn(Receipts), ElementsAre("com.korvane.halcyra"));
}

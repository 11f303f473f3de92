#include "e2e/Machine.h"

#include <filesystem>

namespace fs = std::filesystem;
using namespace e2e;
using testing::StartsWith;

namespace {

class TheMachine : public MachineTest {
  protected:
    /// The machine script with `folder` as its whole search path.
    Outcome startWithPrograms(const std::string& folder) const {
        return runCommand({HCD_MACHINE, place / "disk", "--", "/bin/true"}, {"PATH=" + folder}, place);
    }

    support::TempFolder place;
};

std::string ownNamespace(const std::string& kind) {
    return fs::read_symlink("/proc/self/ns/" + kind).string();
}

} // namespace

TEST_F(TheMachine, KeepsWhatIsWrittenInLibraryOnItsOwnDisk) {
    const std::string folder = "/Library/" + fs::path(place.path()).filename().string();
    EXPECT_TRUE(quiet(machine.runShell("mkdir -p " + folder)));
    EXPECT_TRUE(machine.hasFolder(folder));
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(TheMachine, HasItsOwnSemaphoresProcessesNetworkAndName) {
    for (const std::string kind : {"ipc", "pid", "net", "uts", "mnt"}) {
        const Outcome outcome = machine.run({"/usr/bin/readlink", "/proc/self/ns/" + kind});
        EXPECT_THAT(outcome.output, StartsWith(kind));
        EXPECT_NE(outcome.output, ownNamespace(kind) + "\n");
    }
}

TEST_F(TheMachine, MakesTheCommandRoot) { EXPECT_EQ(machine.run({"/usr/bin/id", "-u"}).output, "0\n"); }

TEST_F(TheMachine, HasOnlyTheEnvironmentThatItWasGiven) {
    EXPECT_EQ(machine.runShell("env | grep -v ^PWD= | sort").output,
              "HOME=" + Home + "\nPATH=" + ToolFolder + ":/usr/bin:/bin\n");
}

TEST_F(TheMachine, KeepsItsDiskFromRunToRun) {
    machine.runShell("echo kept >/Users/note");
    EXPECT_EQ(machine.run({"/bin/cat", "/Users/note"}).output, "kept\n");
}

TEST_F(TheMachine, CannotChangeTheSystemsPrograms) {
    EXPECT_NE(machine.runShell("touch /usr/bin/hcd-was-here").status, 0);
    EXPECT_FALSE(fs::exists("/usr/bin/hcd-was-here"));
}

TEST_F(TheMachine, PassesTheCommandsStatusOn) { EXPECT_EQ(machine.runShell("exit 42").status, 42); }

TEST_F(TheMachine, SaysInOneSentenceThatBubblewrapIsNotInstalled) {
    const Outcome outcome = startWithPrograms(place.path());
    EXPECT_EQ(outcome.status, 69);
    EXPECT_EQ(outcome.errors, "No machine can be made here: bubblewrap (bwrap) is not installed.\n");
}

TEST_F(TheMachine, SaysInOneSentenceWhyBubblewrapCannotMakeIt) {
    support::writeFile(place / "bin/bwrap",
                       "#!/bin/sh\necho 'bwrap: No permissions to create a new namespace' >&2\nexit 1\n");
    fs::permissions(place / "bin/bwrap", fs::perms::owner_all);
    const Outcome outcome = startWithPrograms(place / "bin:/usr/bin:/bin");
    EXPECT_EQ(outcome.status, 69);
    EXPECT_EQ(outcome.errors, "No machine can be made here: bubblewrap says "
                              "\"bwrap: No permissions to create a new namespace\".\n");
}

#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

#include <filesystem>

#include <unistd.h>

namespace fs = std::filesystem;
using namespace e2e;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// A copy of the run command with the built tool, which keeps its machine in a temporary folder.
class RunCommand : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        const fs::path script = HCD_MACHINE;
        supply("tests/e2e/machine.sh", script);
        supply("tools/common.sh", script.parent_path() / "../../tools/common.sh");
        supply("tools/run.sh", script.parent_path() / "../../tools/run.sh");
        supply("build/release/bin/HCDCustomHook", HCD_TOOL);
    }

    Outcome start(const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment = {searchPath()}) const {
        std::vector<std::string> command = {project / "tools/run.sh"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return runCommand(command, environment, project);
    }
    Outcome startWithAFullLog() const { return start({"--install=1"}, {searchPath(), "HCD_FILL_LOG=1"}); }

    support::TempFolder project;

  private:
    void supply(const std::string& name, const fs::path& source) const {
        fs::create_directories(fs::path(project / name).parent_path());
        fs::copy_file(source, project / name);
    }
};

} // namespace

TEST_F(RunCommand, ShowsWhatAnInstallDoes) {
    const Outcome outcome = start({"--install=1"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("Before       manifest: none; cache folder CEF: there, 5 files\n"),
                      HasSubstr("After        manifest: there; cache folder CEF: gone\n"),
                      HasSubstr("Exit status  0\n"), HasSubstr("Printed      nothing\n")));
    EXPECT_EQ(outcome.errors, "");
}

TEST_F(RunCommand, ShowsTheTreeTheManifestAndTheLog) {
    const Outcome outcome = start({"--install=1"});
    EXPECT_THAT(outcome.output, AllOf(HasSubstr(" " + Manifest + "\n"),
                                      HasSubstr(ProductFolder + "/HCD/Halcyra.app/Contents/Info.plist\n"),
                                      HasSubstr(manifestText()),
                                      HasSubstr(" | Successfully created HCD Ostrel Specifier file\n")));
    EXPECT_THAT(outcome.output, Not(HasSubstr(Cache + "/")));
}

TEST_F(RunCommand, ShowsTheUninstallAfterwards) {
    start({"--install=1"});
    const Outcome outcome = start({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("Before       manifest: there; cache folder CEF: there, 5 files\n"),
                      HasSubstr("After        manifest: none; cache folder CEF: there, 5 files\n"),
                      HasSubstr(" | Successfully created HCD Ostrel Specifier file\n"),
                      HasSubstr(" | Successfully deleted HCD Ostrel Specifier file\n")));
}

TEST_F(RunCommand, ShowsTheFilesOfTheLogFolder) {
    EXPECT_THAT(start({"--install=1"}).output,
                ContainsRegex("== The log folder: /Users/operator/Library/Logs/Halcyra/HCD\n"
                              " +[0-9]+ bytes  HCD.log\n"));
}

TEST_F(RunCommand, ShowsTheDatedCopyAndTheHeaderOfTheFreshFileWhenAskedToFillTheLog) {
    const Outcome outcome = startWithAFullLog();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(outcome.output, ContainsRegex("  10485760 bytes  HCD [0-9-]+ [0-9-]+.log\n"
                                              " +[0-9]+ bytes  HCD.log\n"));
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr(" | " + std::string(78, '*') + "\n"), HasSubstr(" | HCD Version: 4.3.0\n"),
                      HasSubstr(" | Successfully created HCD Ostrel Specifier file\n")));
}

TEST_F(RunCommand, FillsALogThatHasRecordsWithWholeLines) {
    const std::string folder = project / "build/machine/Users/operator/Library/Logs/Halcyra/HCD/";
    start({});
    const std::string records = support::readFile(folder + "HCD.log");
    startWithAFullLog();
    std::string copy;
    for (const auto& entry : fs::directory_iterator(folder)) {
        copy = entry.path().filename() == "HCD.log" ? copy : support::readFile(entry.path());
    }
    EXPECT_EQ(copy.substr(0, records.size()), records);
    EXPECT_GT(recordsOf(copy).size(), 100000U);
}

TEST_F(RunCommand, PassesOnThatNoMachineCanBeMade) {
    support::writeFile(project / "bin/bwrap", "#!/bin/sh\necho 'bwrap: No permissions' >&2\nexit 1\n");
    fs::permissions(project / "bin/bwrap", fs::perms::owner_all);
    const Outcome outcome = start({"--install=1"}, {"PATH=" + (project / "bin:/usr/bin:/bin")});
    EXPECT_EQ(outcome.status, 69);
    EXPECT_EQ(outcome.output, "");
    const std::string advice = ::geteuid() == 0 ? "let users make namespaces" : "run it as root";
    EXPECT_THAT(
        outcome.errors,
        StartsWith("No machine can be made here: bubblewrap says \"bwrap: No permissions\"; " + advice));
}

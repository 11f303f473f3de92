#pragma once

#include <string>
#include <vector>

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "e2e/CallFilter.h"
#include "e2e/Command.h"
#include "support/TempFolder.h"

/// The built tool, unmodified, in a throw-away machine of its own.
namespace e2e {

/// Places in the machine.
inline const std::string ToolFolder = "/opt/hcd";
inline const std::string Tool = ToolFolder + "/HCDCustomHook";
inline const std::string Home = "/Users/tester";
inline const std::string LogsFolder = Home + "/Library/Logs";
inline const std::string LogFolder = LogsFolder + "/Halcyra/HCD";
inline const std::string Log = LogFolder + "/HCD.log";
/// The log when no home has a place for it.
inline const std::string HomelessLog = "/Halcyra/HCD/HCD.log";
inline const std::string LocalSupport = "/Library/Application Support";
inline const std::string SpecifierFolder = LocalSupport + "/Korvane/Ostrel/specifiers";
inline const std::string Manifest = SpecifierFolder + "/halcyra.xml";
inline const std::string ProductFolder = "/Applications/Utilities/Korvane Halcyra";
inline const std::string Cache = ProductFolder + "/CEF";

/// The whole text of a manifest that names `application`.
std::string manifestText(const std::string& application = ProductFolder + "/HCD/Halcyra.app");

/// A machine with the tool in its search path, HOME set to an empty `Home`, and no other folder that matters
/// to the tool. What is on its disk stays there from run to run; processes and semaphores end with each run.
/// Its user is root.
class Machine {
  public:
    Machine();

    /// Further bubblewrap options for all later runs.
    void add(const std::vector<std::string>& more);
    void setEnvironment(const std::string& name, const std::string& value);
    void unsetEnvironment(const std::string& name);
    /// Makes what is at `path` read-only for all later runs. A missing `path` becomes a folder.
    void makeReadOnly(const std::string& path);
    /// Puts an empty file system of `bytes` at the folder `path` in all later runs. It ends with the run.
    void makeTiny(const std::string& path, unsigned bytes);
    /// Puts every system call of all later runs through `program`, whoever makes it.
    void filterCalls(const std::string& program);
    /// Lets the system calls `calls` fail with `error` in all later runs.
    void refuse(const CallNumbers& calls, int error) { filterCalls(callFilter(calls, error)); }

    Outcome run(const std::vector<std::string>& command) const;
    Outcome runTool(const std::vector<std::string>& arguments) const;
    /// Runs a shell script, in which `HCDCustomHook` is the tool.
    Outcome runShell(const std::string& script) const;

    /// Where the machine's `path` is on this system's disk.
    std::string outside(const std::string& path) const { return disk + path; }
    void put(const std::string& path, const std::string& content) const;
    void makeFolder(const std::string& path) const;
    void link(const std::string& path, const std::string& target) const;
    void setMode(const std::string& path, mode_t mode) const;

    /// Whether the disk has an entry called `path`; links are not followed.
    bool has(const std::string& path) const;
    bool hasFolder(const std::string& path) const;
    std::string read(const std::string& path) const;
    mode_t modeOf(const std::string& path) const;
    struct stat infoOf(const std::string& path) const;
    /// The names in the folder `path`, sorted.
    std::vector<std::string> namesIn(const std::string& path) const;

  private:
    /// What makes HOME the home on record as well, for a host that looks for it there.
    std::vector<std::string> optionsForHome() const;

    support::TempFolder place;
    std::string disk;
    std::string home;
    std::vector<std::string> options;
    std::string filter = "/dev/null";
};

/// Status 0 and nothing printed.
testing::AssertionResult quiet(const Outcome& outcome);

/// A test with a machine of its own, skipped with the reason where none can be made.
class MachineTest : public testing::Test {
  protected:
    void SetUp() override;

    /// Runs the tool, which must be quiet.
    void runTool(const std::vector<std::string>& arguments) const;
    void install() const { runTool({"--install=1"}); }
    void uninstall() const { runTool({}); }
    /// Runs a script, which must be quiet.
    void runShell(const std::string& script) const;

    /// Gives the machine a cache of nested files and folders.
    void fillCache() const;

    support::ScopedUmask usualUmask{022};
    Machine machine;
};

} // namespace e2e

#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/TempFolder.h"

/// The built tool, unmodified, in a throw-away machine of its own.
namespace e2e {

/// Places in the machine.
inline const std::string Tool = "/opt/hcd/HCDCustomHook";
inline const std::string Home = "/Users/tester";
inline const std::string LogsFolder = Home + "/Library/Logs";
inline const std::string LogFolder = LogsFolder + "/Halcyra/HCD";
inline const std::string Log = LogFolder + "/HCD.log";
/// Where the log goes when there is no place for it in a home.
inline const std::string HomelessLog = "/Halcyra/HCD/HCD.log";
inline const std::string LocalSupport = "/Library/Application Support";
inline const std::string SpecifierFolder = LocalSupport + "/Korvane/Ostrel/specifiers";
inline const std::string Manifest = SpecifierFolder + "/halcyra.xml";
inline const std::string ProductFolder = "/Applications/Utilities/Korvane Halcyra";
inline const std::string Cache = ProductFolder + "/CEF";

/// The manifest's whole text when it names `applicationPath`.
std::string manifestText(const std::string& applicationPath = ProductFolder + "/HCD/Halcyra.app");

/// What a command run in the machine left: its exit status (128 and the signal's number when it was
/// killed) and everything it printed.
struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
};

/// A machine with an empty disk, a HOME of `Home` and the tool, alone, in the search path. What is put on
/// its disk stays there from run to run; processes and semaphores end with each run.
class Machine {
  public:
    Machine();

    /// Why no machine can be made here; nothing when one can.
    std::optional<std::string> refusal() const;

    /// Further bubblewrap options for every later run.
    void add(const std::vector<std::string>& options);
    void setEnvironment(const std::string& name, const std::string& value);
    void unsetEnvironment(const std::string& name);
    /// Makes `path`, which is created as a folder if it is missing, read-only for every later run.
    void makeReadOnly(const std::string& path);
    /// Puts an empty file system of `bytes` at the folder `path` for every later run.
    void makeTiny(const std::string& path, unsigned bytes);

    Outcome run(const std::vector<std::string>& command) const;
    Outcome runTool(const std::vector<std::string>& arguments) const;
    Outcome runShell(const std::string& script) const;

    /// The place on this system's disk of the machine's `path`.
    std::string outside(const std::string& path) const { return disk + path; }
    void put(const std::string& path, const std::string& content) const;
    void makeFolder(const std::string& path) const;
    void link(const std::string& path, const std::string& target) const;
    void setMode(const std::string& path, mode_t mode) const;

    /// Whether the machine's disk has an entry `path`, links not followed.
    bool has(const std::string& path) const;
    std::string read(const std::string& path) const;
    mode_t mode(const std::string& path) const;
    struct stat info(const std::string& path) const;
    /// The names in a folder, sorted.
    std::vector<std::string> names(const std::string& path) const;

  private:
    support::TempFolder place;
    std::string disk;
    std::vector<std::string> options;
};

/// Status 0 and nothing printed.
testing::AssertionResult quiet(const Outcome& outcome);

/// A test with a machine, skipped with the reason where none can be made.
class MachineTest : public testing::Test {
  protected:
    void SetUp() override;

    /// Runs the tool with `arguments`; it must be quiet.
    void runTool(const std::vector<std::string>& arguments) const;
    void install() const { runTool({"--install=1"}); }
    void uninstall() const { runTool({}); }

    /// A cache of a few files and folders.
    void fillCache() const;

    Machine machine;
};

} // namespace e2e

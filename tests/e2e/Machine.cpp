#include "e2e/Machine.h"

#include <algorithm>
#include <filesystem>
#include <regex>

#include "support/XmlText.h"

namespace fs = std::filesystem;

namespace e2e {

namespace {

const int NoMachine = 69;

} // namespace

std::string manifestText(const std::string& application) {
    return "<?xml version=\"1.0\" encoding=\"" + support::encodingName +
           "\" standalone=\"no\"?>\n"
           "<SpecifierManifest Version=\"1.0\">\n"
           "    <Name>halcyra</Name>\n"
           "    <Version>4.3.0</Version>\n"
           "    <Locale></Locale>\n"
           "    <Group></Group>\n"
           "    <Path>" +
           application +
           "</Path>\n"
           "</SpecifierManifest>";
}

Machine::Machine() : disk(place / "disk") {
    makeFolder(Home);
    add({"--ro-bind", HCD_TOOL, Tool});
    setEnvironment("HOME", Home);
    setEnvironment("PATH", ToolFolder + ":/usr/bin:/bin");
}

void Machine::add(const std::vector<std::string>& more) {
    options.insert(options.end(), more.begin(), more.end());
}

void Machine::setEnvironment(const std::string& name, const std::string& value) {
    add({"--setenv", name, value});
    home = name == "HOME" ? value : home;
}

void Machine::unsetEnvironment(const std::string& name) {
    add({"--unsetenv", name});
    home = name == "HOME" ? "" : home;
}

std::vector<std::string> Machine::optionsForHome() const {
    if (!HCD_HOME_IS_ON_RECORD || !home.starts_with('/')) {
        return {};
    }
    const std::string users =
        has("/etc/passwd") ? read("/etc/passwd") : "root:x:0:0:System Administrator:/var/root:/bin/sh\n";
    support::writeFile(
        place / "passwd",
        std::regex_replace(users, std::regex("(^|\n)(root:[^:]*:0:0:[^:]*:)[^:]*"), "$1$2" + home));
    return {"--ro-bind", place / "passwd", "/etc/passwd"};
}

void Machine::makeReadOnly(const std::string& path) {
    if (!has(path)) {
        makeFolder(path);
    }
    add({"--ro-bind", outside(path), path});
}

void Machine::makeTiny(const std::string& path, unsigned bytes) {
    makeFolder(path);
    add({"--size", std::to_string(bytes), "--tmpfs", path});
}

void Machine::filterCalls(const std::string& program) {
    const std::string file = place / "filter";
    support::writeFile(file, program);
    if (filter != file) {
        filter = file;
        add({"--seccomp", std::to_string(ExtraDescriptor)});
    }
}

Outcome Machine::run(const std::vector<std::string>& command) const {
    std::vector<std::string> all = {HCD_MACHINE, disk};
    const std::vector<std::string> homeOptions = optionsForHome();
    all.insert(all.end(), options.begin(), options.end());
    all.insert(all.end(), homeOptions.begin(), homeOptions.end());
    all.emplace_back("--");
    all.insert(all.end(), command.begin(), command.end());
    return runCommand(all, {searchPath()}, place, filter);
}

Outcome Machine::runTool(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {Tool};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run(command);
}

Outcome Machine::runShell(const std::string& script) const { return run({"/bin/sh", "-c", script}); }

void Machine::put(const std::string& path, const std::string& content) const {
    support::writeFile(outside(path), content);
}

void Machine::makeFolder(const std::string& path) const { fs::create_directories(outside(path)); }

void Machine::link(const std::string& path, const std::string& target) const {
    fs::create_directories(fs::path(outside(path)).parent_path());
    fs::create_symlink(target, outside(path));
}

void Machine::setMode(const std::string& path, mode_t mode) const {
    ASSERT_EQ(::chmod(outside(path).c_str(), mode), 0) << path;
}

bool Machine::has(const std::string& path) const {
    return fs::symlink_status(outside(path)).type() != fs::file_type::not_found;
}

bool Machine::hasFolder(const std::string& path) const {
    return fs::symlink_status(outside(path)).type() == fs::file_type::directory;
}

std::string Machine::read(const std::string& path) const { return support::readFile(outside(path)); }

mode_t Machine::modeOf(const std::string& path) const { return support::modeOf(outside(path)); }

struct stat Machine::infoOf(const std::string& path) const {
    struct stat info = {};
    EXPECT_EQ(::lstat(outside(path).c_str(), &info), 0) << path;
    return info;
}

std::vector<std::string> Machine::namesIn(const std::string& path) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(outside(path))) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

testing::AssertionResult quiet(const Outcome& outcome) {
    if (outcome.status == 0 && outcome.output.empty() && outcome.errors.empty()) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "status " << outcome.status << ", output \"" << outcome.output
                                       << "\", errors \"" << outcome.errors << "\"";
}

void MachineTest::SetUp() {
    const Outcome trial = machine.run({"/bin/true"});
    if (trial.status == NoMachine) {
        GTEST_SKIP() << "needs bubblewrap: " << trial.errors.substr(0, trial.errors.find('\n'));
    }
    ASSERT_TRUE(quiet(trial));
}

void MachineTest::runTool(const std::vector<std::string>& arguments) const {
    EXPECT_TRUE(quiet(machine.runTool(arguments)));
}

void MachineTest::runShell(const std::string& script) const { EXPECT_TRUE(quiet(machine.runShell(script))); }

void MachineTest::fillCache() const {
    machine.put(Cache + "/Cache/index", "index");
    machine.put(Cache + "/Cache/data/f_000001", "page");
    machine.put(Cache + "/Local Storage/leveldb/LOG", "");
    machine.put(Cache + "/Cookies", "cookies");
}

} // namespace e2e

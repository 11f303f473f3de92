#include "packaging/PackageBuilder.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace packaging {

namespace {

const fs::path Sources = HCD_SOURCES;

void makeExecutable(const std::string& path) {
    fs::permissions(path, fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);
}

/// Where this system has the command `name`.
fs::path commandAt(const std::string& name) {
    const fs::path bin = fs::path("/bin") / name;
    return fs::exists(bin) ? bin : fs::path("/usr/bin") / name;
}

} // namespace

PackageBuilder::PackageBuilder() {
    fs::create_directories(project + "/packaging");
    fs::copy(Sources / "packaging/macos", project + "/packaging/macos", fs::copy_options::recursive);
    fs::copy_file(Sources / "CMakeLists.txt", project + "/CMakeLists.txt");
    fs::create_directory(place / "bin");
    for (const std::string name : {"pkgbuild", "productbuild", "codesign", "lipo", "cmake"}) {
        fs::copy_file(Sources / "tests/packaging/stand-in.sh", place / "bin/" + name);
    }
    for (const std::string name : {"chmod", "cp", "dirname", "mkdir", "mktemp", "mv", "rm", "sed", "tr"}) {
        fs::create_symlink(commandAt(name), place / "bin/" + name);
    }
    putTool("the tool");
    instruct("architectures", "x86_64 arm64\n");
}

void PackageBuilder::putTool(const std::string& content) const {
    support::writeFile(tool(), content);
    makeExecutable(tool());
}

void PackageBuilder::remove(const std::string& name) const { ASSERT_TRUE(fs::remove(place / name)) << name; }

void PackageBuilder::instruct(const std::string& name, const std::string& content) const {
    support::writeFile(place / name, content);
}

e2e::Outcome PackageBuilder::build(const std::vector<std::string>& options) const {
    return run("build-package.sh", options);
}

e2e::Outcome PackageBuilder::run(const std::string& script, const std::vector<std::string>& options) const {
    std::vector<std::string> command = {project + "/packaging/macos/" + script};
    command.insert(command.end(), options.begin(), options.end());
    return e2e::runCommand(command, {"PATH=" + (place / "bin")}, place);
}

Package PackageBuilder::open(const std::string& path) const {
    const std::string product = place / "opened product";
    const std::string component = place / "opened component";
    unpack(path, product);
    unpack(product + "/components/HCDCustomHook.pkg", component);
    return {component + "/payload", component + "/scripts", product + "/distribution.xml"};
}

void PackageBuilder::unpack(const std::string& archive, const std::string& folder) const {
    fs::create_directory(folder);
    const e2e::Outcome outcome =
        e2e::runCommand({commandAt("tar"), "-xpf", archive, "-C", folder}, {e2e::searchPath()}, place);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
}

std::vector<std::string> PackageBuilder::calls() const {
    if (!fs::exists(place / "calls")) {
        return {};
    }
    std::vector<std::string> lines;
    std::istringstream text(support::readFile(place / "calls"));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string PackageBuilder::callOf(const std::string& name) const {
    std::string found;
    int count = 0;
    for (const std::string& call : calls()) {
        if (call.compare(0, name.size() + 1, name + " ") == 0) {
            found = call;
            ++count;
        }
    }
    EXPECT_EQ(count, 1) << name;
    return found;
}

std::vector<std::string> namesIn(const std::string& path) {
    std::vector<std::string> names;
    if (fs::exists(path)) {
        for (const auto& entry : fs::directory_iterator(path)) {
            names.push_back(entry.path().filename());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace packaging

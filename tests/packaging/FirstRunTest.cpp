#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "e2e/Command.h"
#include "support/TempFolder.h"

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string Manifest = "/Library/Application Support/Korvane/Ostrel/specifiers/halcyra.xml";

/// A copy of the script for the first run in a project of its own, on a Mac of stand-ins (see mac.sh).
class FirstRun : public testing::Test {
  protected:
    FirstRun() {
        fs::create_directories(project + "/packaging/macos");
        fs::copy_file(fs::path(HCD_SOURCES) / "packaging/macos/first-run.sh", script);
        fs::create_directory(place / "bin");
        for (const std::string name : {"uname", "xcrun", "cmake", "ninja", "ctest", "otool", "lipo",
                                       "codesign", "id", "stat", "dscl", "sudo"}) {
            fs::copy_file(fs::path(HCD_SOURCES) / "tests/packaging/mac.sh", place / "bin/" + name);
        }
        for (const std::string name :
             {"cat", "dirname", "grep", "mkdir", "rm", "sed", "tail", "test", "tr", "wc"}) {
            fs::create_symlink("/usr/bin/" + name, place / "bin/" + name);
        }
        instruct("print-uname", "Darwin\n");
        instruct("print-cmake-version", "cmake version 3.31.2\n\nmaintained by somebody\n");
        instruct("print-otool", libraries("/usr/lib/libc++.1.dylib"));
        instruct("print-lipo", "x86_64 arm64\n");
        instruct("print-ctest", "100% tests passed, 0 tests failed out of 7\n");
        instruct("print-id", "0\n");
        instruct("print-stat", "somebody\n");
        instruct("print-dscl", "NFSHomeDirectory: " + place / "home" + "\n");
        support::writeFile(log, "an earlier line\n");
        putProgram("assumptions", "echo '9 hold, 0 differ, 0 unknown'\n");
        putProgram("HCDCustomHook", hook);
    }

    void instruct(const std::string& name, const std::string& content = "") const {
        support::writeFile(place / name, content);
    }

    /// What otool says of a tool that also uses `library`.
    static std::string libraries(const std::string& library) {
        return "the tool:\n\t/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation "
               "(compatibility "
               "version 300.0.0, current version 1.0.0)\n\t" +
               library + " (compatibility version 1.0.0, current version 1.0.0)\n";
    }

    /// Has the build make a program of a script's lines.
    void putProgram(const std::string& name, const std::string& lines) const {
        const std::string path = place / "built/" + name;
        support::writeFile(path, "#!/bin/bash\n" + lines);
        fs::permissions(path, fs::perms::owner_all);
    }

    e2e::Outcome run(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> command = {script};
        command.insert(command.end(), options.begin(), options.end());
        return e2e::runCommand(command, {"PATH=" + (place / "bin"), "FIRST_RUN_ROOT=" + root}, place);
    }

    /// Runs, which must fail with `row` in the table.
    void expectFailure(const std::string& row, const std::vector<std::string>& options = {}) const {
        const e2e::Outcome outcome = run(options);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.output, ContainsRegex("\n" + row));
    }

    std::string calls() const { return support::readFile(place / "calls"); }

    support::TempFolder place;
    const std::string root = place / "root";
    const std::string project = place / "a project";
    const std::string script = project + "/packaging/macos/first-run.sh";
    const std::string log = place / "home/Library/Logs/Halcyra/HCD/HCD.log";
    const std::string hook =
        "if [[ ${1-} == --install=1 ]]; then echo 'a line' 2>/dev/null >>'" + log + "'; mkdir -p '" + root +
        "/Library/Application Support/Korvane/Ostrel/specifiers'; echo '<SpecifierManifest/>' "
        ">'" +
        root + Manifest + "'; else rm -f '" + root + Manifest + "'; fi\n";
};

class MissingTool : public FirstRun,
                    public testing::WithParamInterface<std::pair<std::string, std::string>> {};

} // namespace

TEST_F(FirstRun, PassesWithARowForEachStepWhenAllIsWell) {
    const e2e::Outcome outcome = run();
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.errors, "");
    for (const std::string step :
         {"tools", "configure", "build", "libraries", "architectures", "signature", "assumptions", "tests"}) {
        EXPECT_THAT(outcome.output, ContainsRegex("\n" + step + " +passed "));
    }
}

TEST_F(FirstRun, BuildsTheToolForBothArchitecturesAndTheTestsForThisMachine) {
    run();
    EXPECT_THAT(calls(), AllOf(HasSubstr("/tool> <-G> <Ninja> <-DCMAKE_BUILD_TYPE=Release> "
                                         "<-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64> <-DHCD_BUILD_TESTS=OFF>"),
                               HasSubstr("<-DCMAKE_OSX_ARCHITECTURES=Darwin> <-DHCD_BUILD_TESTS=ON>")));
}

TEST_F(FirstRun, BuildsTheToolForThisMachineWhenTheCompilerCannotDoBoth) {
    // The stand-in for uname says the same whatever it is asked.
    support::writeFile(place / "bin/xcrun", "#!/bin/bash\n[[ $1 == --find ]]\n");
    instruct("print-lipo", "Darwin\n");
    const e2e::Outcome outcome = run();
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_THAT(calls(), HasSubstr("<-DCMAKE_OSX_ARCHITECTURES=Darwin> <-DHCD_BUILD_TESTS=OFF>"));
}

TEST_F(FirstRun, BuildsWithMakeWhenThereIsNoNinja) {
    fs::rename(place / "bin/ninja", place / "bin/make");
    EXPECT_EQ(run().status, 0);
    EXPECT_THAT(calls(), HasSubstr("<-G> <Unix Makefiles>"));
}

TEST_P(MissingTool, IsSaidInOneSentenceAndNothingIsBuilt) {
    const auto& [name, sentence] = GetParam();
    fs::remove(place / "bin/" + name);
    const e2e::Outcome outcome = run();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, HasSubstr("tools          failed   " + sentence + "\n"));
    EXPECT_FALSE(fs::exists(project + "/build"));
}

INSTANTIATE_TEST_SUITE_P(
    Each, MissingTool,
    testing::Values(
        std::pair("xcrun", "There is no compiler; get the command line tools with: xcode-select --install"),
        std::pair("cmake", "There is no cmake; get it with: brew install cmake"),
        std::pair("ninja", "There is neither ninja nor make; get one with: brew install ninja")),
    [](const auto& each) { return each.param.first; });

TEST_F(FirstRun, RefusesACmakeThatIsTooOld) {
    instruct("print-cmake-version", "cmake version 3.24.9\n");
    expectFailure("tools +failed +cmake is older than 3.25");
}

TEST_F(FirstRun, TakesACmakeOfALaterMajorVersion) {
    instruct("print-cmake-version", "cmake version 4.0.1\n");
    EXPECT_EQ(run().status, 0);
}

TEST_F(FirstRun, RefusesAnotherSystem) {
    instruct("print-uname", "Linux\n");
    expectFailure("tools +failed +This is no Mac");
}

TEST_F(FirstRun, StopsWhenConfiguringFails) {
    instruct("fail-cmake-configure-tool", "no such thing\n");
    expectFailure("configure +failed .*configure-tool.log");
    EXPECT_THAT(calls(), Not(HasSubstr("--build")));
    EXPECT_EQ(support::readFile(project + "/build/first-run/configure-tool.log"), "no such thing\n");
}

TEST_F(FirstRun, StopsWhenTheBuildFails) {
    instruct("fail-cmake-build-tool", "error\n");
    expectFailure("build +failed .*build-tool.log");
    EXPECT_THAT(calls(), Not(HasSubstr("otool")));
}

TEST_F(FirstRun, FailsForALibraryFromElsewhere) {
    instruct("print-otool", libraries("/opt/homebrew/lib/libxml2.2.dylib"));
    expectFailure("libraries +failed +/opt/homebrew/lib/libxml2.2.dylib is not part of the system");
}

TEST_F(FirstRun, FailsWhenNoLibraryCanBeSeen) {
    instruct("print-otool", "the tool: is not an object file\n");
    expectFailure("libraries +failed ");
}

TEST_F(FirstRun, FailsForAnArchitectureThatWasAskedForAndIsMissing) {
    instruct("print-lipo", "arm64\n");
    expectFailure("architectures +failed +x86_64 is missing: arm64");
}

TEST_F(FirstRun, DoesNotCheckTheSignatureOfAToolThatIsNotSigned) {
    instruct("fail-codesign-d", "code object is not signed at all\n");
    const e2e::Outcome outcome = run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("\nsignature +not run +the tool is not signed"));
}

TEST_F(FirstRun, FailsForABrokenSignature) {
    instruct("fail-codesign-v", "a sealed resource is missing\n");
    expectFailure("signature +failed ");
}

TEST_F(FirstRun, FailsAndShowsTheLineWhenAnAssumptionDiffers) {
    putProgram("assumptions",
               "echo 'DIFFERS  a name | this | that'\necho '8 hold, 1 differ, 0 unknown'\nexit 1\n");
    expectFailure("assumptions +failed .*8 hold, 1 differ");
    EXPECT_THAT(run().output, HasSubstr("DIFFERS  a name | this | that\n"));
}

TEST_F(FirstRun, FailsWhenATestFails) {
    instruct("fail-ctest", "86% tests passed, 1 tests failed out of 7\n");
    expectFailure("tests +failed .*86% tests passed, 1 tests failed out of 7");
}

TEST_F(FirstRun, FailsWhenTheTestsCannotBeBuilt) {
    instruct("fail-cmake-build-tests", "error\n");
    expectFailure("tests +failed .*build-tests.log");
}

TEST_F(FirstRun, SaysHowToGetGoogletestWhenItIsMissingAndGoesOn) {
    instruct("fail-cmake-configure-tests", "Could NOT find GTest (missing: GTEST_LIBRARY)\n");
    const e2e::Outcome outcome = run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("\ntests +not run .*brew install googletest"));
}

TEST_F(FirstRun, NeverRunsTheToolUnlessItIsAskedTo) {
    putProgram("HCDCustomHook", "echo run >'" + (place / "was run") + "'\n");
    const e2e::Outcome outcome = run();
    EXPECT_FALSE(fs::exists(place / "was run"));
    EXPECT_THAT(outcome.output, ContainsRegex("\ninstall +not run .*--really-install"));
}

TEST_F(FirstRun, InstallsAndRemovesWhenItIsAskedTo) {
    const e2e::Outcome outcome = run({"--really-install"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    for (const std::string step : {"install", "log", "removal"}) {
        EXPECT_THAT(outcome.output, ContainsRegex("\n" + step + " +passed "));
    }
    EXPECT_FALSE(fs::exists(root + Manifest));
}

TEST_F(FirstRun, RunsTheToolThroughSudoForAnOrdinaryUser) {
    instruct("print-id", "501\n");
    run({"--really-install"});
    EXPECT_THAT(calls(),
                HasSubstr("sudo <" + project + "/build/first-run/tool/bin/HCDCustomHook> <--install=1>"));
}

TEST_F(FirstRun, RunsNothingWhereAManifestOrACacheWouldBeLost) {
    for (const std::string& path :
         {root + Manifest, root + "/Applications/Utilities/Korvane Halcyra/CEF/file"}) {
        support::writeFile(path, "theirs");
        expectFailure("install +failed +nothing was run", {"--really-install"});
        EXPECT_EQ(support::readFile(path), "theirs");
        fs::remove_all(root);
    }
}

TEST_F(FirstRun, FailsWhenTheInstallEndsWithAStatusOtherThanZero) {
    putProgram("HCDCustomHook", "exit 3\n");
    expectFailure("install +failed +it ended with status 3", {"--really-install"});
}

TEST_F(FirstRun, FailsWhenTheInstallLeavesNoManifest) {
    putProgram("HCDCustomHook", "exit 0\n");
    expectFailure("install +failed +there is no ", {"--really-install"});
}

TEST_F(FirstRun, FailsWhenTheRunAddsNothingToTheLog) {
    putProgram("HCDCustomHook", std::regex_replace(hook, std::regex("echo 'a line'"), "printf ''"));
    expectFailure("log +failed ", {"--really-install"});
}

TEST_F(FirstRun, FailsWhenTheRunLeavesNoLog) {
    fs::remove_all(place / "home");
    expectFailure("log +failed ", {"--really-install"});
}

TEST_F(FirstRun, FailsWhenTheRemovalLeavesTheManifest) {
    putProgram("HCDCustomHook", "[[ ${1-} == --install=1 ]] || exit 0\n" + hook);
    expectFailure("removal +failed +there still is ", {"--really-install"});
}

TEST_F(FirstRun, RefusesWhatItDoesNotKnow) {
    const e2e::Outcome outcome = run({"--install"});
    EXPECT_EQ(outcome.status, 64);
    EXPECT_EQ(outcome.errors, "usage: first-run.sh [--really-install]\n");
    EXPECT_EQ(outcome.output, "");
}

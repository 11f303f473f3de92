#include "e2e/Machine.h"

#include <filesystem>

#include <unistd.h>

namespace fs = std::filesystem;
using namespace e2e;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string EverythingIsInstalled = "echo installed";
const std::string NothingIsInstalled = "exit 1";

/// A copy of ./dev and its scripts, with the commands that it starts replaced: each notes how it was called.
class DevCommand : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directories(project + "/tests");
        fs::copy_file(sources / "dev", project + "/dev");
        fs::copy(sources / "tools", project + "/tools", fs::copy_options::recursive);
        fs::copy(sources / "cmake", project + "/cmake", fs::copy_options::recursive);
        replace("dpkg-query", EverythingIsInstalled);
        replace("apt-get", "");
        replace("sudo", R"([ "$1" = true ] || exec "$@")");
        replace("cmake", "");
        replace("ctest", "");
        fs::permissions(place.path(), fs::perms::owner_all | fs::perms::others_exec | fs::perms::group_exec);
    }

    /// Lets `name` note its arguments in the file of calls and go on with `script`.
    void replace(const std::string& name, const std::string& script) const {
        const std::string path = place / ("bin/" + name);
        support::writeFile(path, "#!/bin/bash\necho \"" + name + " $*\" >>'" + place / "calls" + "'\n" +
                                     script + "\n");
        fs::permissions(path, fs::perms::owner_all | fs::perms::group_exec | fs::perms::group_read |
                                  fs::perms::others_exec | fs::perms::others_read);
        support::writeFile(place / "calls", "");
        fs::permissions(place / "calls", fs::perms::all);
    }
    std::string calls() const { return support::readFile(place / "calls"); }
    std::string path() const { return place / "bin:/usr/bin:/bin"; }

    Outcome shell(const std::string& script) const {
        return runCommand({"/bin/bash", "-c", script}, {"PATH=" + path(), "P=" + project, "HOME=/"}, place);
    }
    Outcome dev(const std::string& arguments) const { return shell("\"$P\"/dev " + arguments); }

    void supplyTests() const {
        support::writeFile(project + "/tests/unit/utils/AppleTest.cpp", "TEST(Apple, IsRound) {}\n");
        support::writeFile(project + "/tests/unit/logging/PearTest.cpp",
                           "TEST_F(Pear,\n       IsSweet) {}\n");
        support::writeFile(project + "/tests/process/NutTest.cpp", "TEST_P(Nut, IsHard) {}\n");
        for (const std::string folder : {"unit/hook", "unit/platform", "e2e", "attacker", "headers",
                                         "packaging", "assumptions", "differential"}) {
            fs::create_directories(project + "/tests/" + folder);
        }
        support::writeFile(project + "/tests/headers/CMakeLists.txt", "hcd_allowed(hook a/B.h)\n");
    }

    const fs::path sources = fs::path(HCD_MACHINE).parent_path() / "../..";
    support::ScopedUmask usualUmask{022};
    support::TempFolder place;
    const std::string project = place / "a project";
};

/// The same as a user who is not root.
class DevCommandOfAUser : public DevCommand {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "needs root: it acts as another user";
        }
        DevCommand::SetUp();
        EXPECT_EQ(::chown(project.c_str(), user, user), 0);
    }
    Outcome devOfUser(const std::string& arguments) const {
        const std::string id = std::to_string(user);
        return shell("setpriv --reuid=" + id + " --regid=" + id + " --clear-groups \"$P\"/dev " + arguments);
    }

    static constexpr uid_t user = 65534;
};

/// The same on a file system of the test's own, skipped with the reason where none can be made.
class DevCommandOnADisk : public DevCommand {
  protected:
    void SetUp() override {
        DevCommand::SetUp();
        const Outcome trial = inMachine("--dev-bind / /", "true");
        if (trial.status != 0) {
            GTEST_SKIP() << "needs bubblewrap: " << trial.errors.substr(0, trial.errors.find('\n'));
        }
    }
    Outcome inMachine(const std::string& options, const std::string& command) const {
        return shell("exec bwrap " + options + " -- " + command);
    }
};

} // namespace

TEST_F(DevCommand, RefusesWhatItDoesNotKnowBeforeAnythingIsStarted) {
    for (const std::string arguments :
         {"biuld", "test relaese", "test release units", "test --repeat", "test -R", "machines vax",
          "bench slow", "instructions keep", "format --fix", "tidy all", "clean all"}) {
        const Outcome outcome = dev(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_THAT(outcome.errors, testing::MatchesRegex("[^\n]+\n")) << arguments;
        EXPECT_THAT(calls(), IsEmpty()) << arguments;
    }
}

TEST_F(DevCommand, BuildsAndRunsOnlyTheKindThatIsNamed) {
    dev("test release unit");
    EXPECT_THAT(calls(), AllOf(HasSubstr("cmake --build --preset release --target tests_unit\n"),
                               HasSubstr(" -L ^(unit)$\n"), Not(HasSubstr("foundation"))));
}

TEST_F(DevCommand, BuildsOnlyTheKindsWhoseTestsMatch) {
    supplyTests();
    dev("test release -R Pear.IsSweet");
    EXPECT_THAT(calls(), AllOf(HasSubstr("cmake --build --preset release --target tests_unit\n"),
                               HasSubstr(" -L ^(unit)$ -R Pear.IsSweet\n")));
}

TEST_F(DevCommand, SaysThatNoTestMatches) {
    supplyTests();
    const Outcome outcome = dev("test -R Plum");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, StartsWith("No test's name matches Plum: "));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(DevCommand, LeavesOutThePresetsThatDoNotHaveTheKind) {
    dev("test differential");
    EXPECT_THAT(calls(), AllOf(HasSubstr("--preset foundation --target tests_differential\n"),
                               Not(HasSubstr("release"))));
    EXPECT_THAT(dev("test release differential").errors, StartsWith("Only the preset foundation has "));
}

TEST_F(DevCommand, InstallsOnlyWhatTheCommandNeeds) {
    replace("dpkg-query", NothingIsInstalled);
    dev("test release unit");
    EXPECT_THAT(calls(), AllOf(HasSubstr(" libgtest-dev "), Not(HasSubstr("gnustep-base")),
                               Not(HasSubstr("bubblewrap"))));
}

TEST_F(DevCommand, NamesTheNextStepWhenPackagesCannotBeInstalled) {
    replace("dpkg-query", NothingIsInstalled);
    replace("apt-get", "echo 'E: Unable to locate package g++'; exit 100");
    const Outcome outcome = dev("run");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors,
                AllOf(HasSubstr("E: Unable to locate package g++\n"), HasSubstr("check the network")));
    EXPECT_THAT(calls(), Not(HasSubstr("cmake --")));
}

TEST_F(DevCommand, BuildsTheToolWithoutTests) {
    dev("run");
    EXPECT_THAT(calls(), HasSubstr("-DHCD_BUILD_TESTS=OFF"));
}

TEST_F(DevCommand, KeepsTheTestsOfAFolderThatHasThem) {
    support::writeFile(project + "/build/release/build.ninja", "");
    dev("run");
    EXPECT_THAT(calls(), AllOf(HasSubstr("cmake --preset release"), Not(HasSubstr("HCD_BUILD_TESTS"))));
}

TEST_F(DevCommand, WorksThroughALinkFromAnotherFolder) {
    fs::create_symlink(project + "/dev", place / "link");
    shell("cd / && '" + place / "link" + "' test release unit");
    EXPECT_THAT(calls(), HasSubstr("cmake --build --preset release"));
    EXPECT_TRUE(fs::exists(project + "/build/release"));
}

TEST_F(DevCommand, StartsOverWhatWasBuiltInAnotherPlace) {
    support::writeFile(project + "/build/release/CMakeCache.txt",
                       "CMAKE_HOME_DIRECTORY:INTERNAL=/elsewhere\n");
    const Outcome outcome = dev("test release unit");
    EXPECT_THAT(outcome.errors, HasSubstr("build/release was made in /elsewhere; it is built again.\n"));
    EXPECT_FALSE(fs::exists(project + "/build/release/CMakeCache.txt"));
    EXPECT_THAT(calls(), HasSubstr("cmake --build --preset release"));
}

TEST_F(DevCommand, BuildsTheToolOfAMovedCheckoutWithoutTests) {
    support::writeFile(project + "/build/release/CMakeCache.txt",
                       "CMAKE_HOME_DIRECTORY:INTERNAL=/elsewhere\n");
    support::writeFile(project + "/build/release/build.ninja", "");
    dev("run");
    EXPECT_THAT(calls(), HasSubstr("-DHCD_BUILD_TESTS=OFF"));
}

TEST_F(DevCommand, LetsOthersReadWhatItBuildsWhateverTheUmask) {
    replace("cmake", ": >build/product");
    shell("umask 077; \"$P\"/dev test release unit");
    EXPECT_EQ(support::modeOf(project + "/build/product"), 0644U);
}

TEST_F(DevCommand, WaitsForTheOneAtWork) {
    const Outcome outcome = shell(R"(
        exec 8<"$P"; flock 8
        "$P"/dev test release unit >"$P"/printed 2>"$P"/said 8<&- &
        until grep -q . "$P"/said; do :; done
        grep -c cmake "$P"/../calls
        exec 8<&-; wait
        grep -c 'cmake --build' "$P"/../calls)");
    EXPECT_EQ(outcome.output, "0\n1\n");
    EXPECT_THAT(support::readFile(project + "/said"), StartsWith("Another ./dev is at work in " + project));
}

TEST_F(DevCommand, ShowsWhatAFailedBuildSaysAndNotWhatWentWell) {
    replace("cmake", "[ $1 != --build ] || { echo '[1/2] Building good'; echo 'bad.cpp:1: error'; exit 1; }");
    const Outcome outcome = dev("test release unit");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(
        outcome.errors,
        "bad.cpp:1: error\nBuilding release failed; all of its output is in build/release/build.log.\n");
}

TEST_F(DevCommand, SucceedsWhenEveryTestPasses) {
    replace(
        "ctest",
        R"(echo '<testcase name="unit.Apple.IsRound" time="0.1" status="run">' >build/release/tests.xml)");
    const Outcome outcome = dev("test release");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, EndsWith("\n\n1 passed, 0 failed, 0 skipped\n"));
}

TEST_F(DevCommand, FailsWhenNoTestRan) {
    const Outcome outcome = dev("test release -R ''");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("No test's name matches in release.\n"));
}

TEST_F(DevCommand, AllowsSkippedTestsOnlyWhereNothingGuardsMain) {
    replace("ctest", R"(cat >build/release/tests.xml <<'TEXT'
<testcase name="unit.Apple.IsRound" time="0.1" status="run">
<testcase name="e2e.Nut.IsHard" time="0.1" status="notrun">
TEXT
)");
    EXPECT_EQ(dev("test release").status, 0);
    EXPECT_EQ(shell("CI=true \"$P\"/dev test release").status, 1);
}

TEST_F(DevCommand, ShowsFailuresTheReasonsOfSkippedTestsAndCounts) {
    replace("ctest", R"(cat <<'TEXT'
    Start 1: unit.Apple.IsRound
1/3 Test #1: unit.Apple.IsRound ...   Passed    0.01 sec
    Start 2: unit.Pear.IsSweet
2/3 Test #2: unit.Pear.IsSweet ...***Failed    0.01 sec
it is sour
    Start 3: e2e.Nut.IsHard
3/3 Test #3: e2e.Nut.IsHard ...***Skipped   0.01 sec

33% tests passed, 1 tests failed out of 3
TEXT
cat >build/release/tests.xml <<'TEXT'
<testcase name="unit.Apple.IsRound" classname="" time="0.1" status="run">
<testcase name="unit.Pear.IsSweet" classname="" time="0.1" status="fail">
<testcase name="e2e.Nut.IsHard" classname="" time="0.1" status="notrun">
<system-out>NutTest.cpp:7: Skipped
the nutcracker says &quot;no&quot;
TEXT
exit 8)");
    const Outcome outcome = dev("test release");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, AllOf(HasSubstr("Pear.IsSweet ...***Failed    0.01 sec\nit is sour\n"),
                                      Not(HasSubstr("Apple.IsRound")),
                                      HasSubstr("  unit         1 passed, 1 failed, 0 skipped\n"),
                                      HasSubstr(" 1 the nutcracker says \"no\"\n"),
                                      EndsWith("\n\n1 passed, 1 failed, 1 skipped\n")));
}

TEST_F(DevCommandOfAUser, NamesTheOwnerOfTheBuildFolder) {
    fs::create_directories(project + "/build");
    const Outcome outcome = devOfUser("run");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors,
              project + "/build belongs to root: remove it with sudo ./dev clean, then try again.\n");
}

TEST_F(DevCommandOfAUser, NamesTheCommandForRootWhenThereIsNoSudo) {
    replace("dpkg-query", NothingIsInstalled);
    fs::remove(place / "bin/sudo");
    for (const std::string name : {"bash", "env", "dirname", "readlink", "mkdir", "stat", "id", "flock"}) {
        fs::create_symlink("/usr/bin/" + name, place / ("bin/" + name));
    }
    const Outcome outcome = shell("PATH=" + place / "bin" +
                                  " exec /usr/bin/setpriv --reuid=65534 --regid=65534 "
                                  "--clear-groups \"$P\"/dev run");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors,
                AllOf(StartsWith("Packages are missing and there is no sudo: as root, run apt-get "),
                      EndsWith(", then try again.\n")));
}

TEST_F(DevCommandOnADisk, SaysThatTheFolderIsReadOnly) {
    const Outcome outcome = inMachine("--ro-bind / / --dev /dev", "\"$P\"/dev run");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "Nothing can be written in " + project +
                                  ": copy the project to a folder of yours and start ./dev there.\n");
}

TEST_F(DevCommandOnADisk, SaysThatTheDiskIsFull) {
    fs::create_directories(project + "/build");
    replace("cmake", "head -c 9999999 /dev/zero >build/filled");
    const Outcome outcome = inMachine("--dev-bind / / --size 2000000 --tmpfs \"$P\"/build", "\"$P\"/dev run");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, StartsWith("The disk is full: free some space "));
}

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <sys/personality.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Child.h"
#include "platform/Bundle.h"
#include "platform/System.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"

using namespace platform;
using support::ScopedVariable;
using support::TempFolder;
namespace fs = std::filesystem;

namespace {

SystemVersion scanned(const char* release) {
    SystemVersion version;
    EXPECT_GE(
        std::sscanf(release, "%ld.%ld.%ld", &version.majorNumber, &version.minorNumber, &version.patchNumber),
        1);
    return version;
}

utsname names() {
    utsname result = {};
    EXPECT_EQ(::uname(&result), 0);
    return result;
}

constexpr const char* reportVariable = "HCD_TEST_REPORTS_ITS_BUNDLE";

/// A copy of this test program that runs with the variable set writes down where it lies, in the file that
/// the variable names, and does nothing else.
class BundleReport : public testing::Environment {
    void SetUp() override {
        const char* const place = std::getenv(reportVariable);
        if (!place) {
            return;
        }
        if (std::string(place).ends_with("removed")) {
            std::remove(executablePath().c_str());
        }
        support::writeFile(place, executablePath() + "\n" + bundlePath());
        ::_exit(0);
    }
};

[[maybe_unused]] testing::Environment* const bundleReport =
    testing::AddGlobalTestEnvironment(new BundleReport);

/// What a copy of this program at `path` reports.
std::string reportOfCopyAt(const std::string& path, const std::string& mode) {
    const TempFolder reports;
    fs::create_directories(fs::path(path).parent_path());
    fs::copy_file(executablePath(), path);
    const ScopedVariable variable(reportVariable, (reports / mode).c_str());
    EXPECT_EQ(std::system(("'" + path + "' >/dev/null").c_str()), 0);
    return support::readFile(reports / mode);
}

} // namespace

TEST(Bundle, TheExecutableIsThisProgram) {
    EXPECT_EQ(executablePath(), fs::canonical("/proc/self/exe").string());
    EXPECT_EQ(bundlePath(), fs::canonical("/proc/self/exe").parent_path().string());
}

TEST(Bundle, AProgramInAnApplicationBelongsToIt) {
    const TempFolder folder;
    const std::string program = folder / "Some Tool.app/Contents/MacOS/tool";
    EXPECT_EQ(reportOfCopyAt(program, "kept"), program + "\n" + (folder / "Some Tool.app"));
}

TEST(Bundle, AProgramOfALongPathKnowsItWhole) {
    const TempFolder folder;
    const std::string parent = folder / (std::string(200, 'x') + "/" + std::string(200, 'y'));
    EXPECT_EQ(reportOfCopyAt(parent + "/tool", "kept"), parent + "/tool\n" + parent);
}

TEST(Bundle, AProgramWhoseFileWasRemovedStillKnowsItsPlace) {
    const TempFolder folder;
    EXPECT_EQ(reportOfCopyAt(folder / "tool", "removed"), folder / "tool" + "\n" + folder.path());
}

TEST(System, TheOlderQueryAnswersFromTheKernelsOwnFile) {
    std::ifstream file("/proc/sys/kernel/osrelease");
    std::string release;
    std::getline(file, release);
    const SystemVersion expected = scanned(release.c_str());

    EXPECT_EQ(olderVersionNumber(VersionPart::Major), expected.majorNumber);
    EXPECT_EQ(olderVersionNumber(VersionPart::Minor), expected.minorNumber);
    EXPECT_EQ(olderVersionNumber(VersionPart::Patch), expected.patchNumber);
}

TEST(System, TheOlderQueryFailsWithoutItsFile) {
    const child::Machine machine;
    const auto result = machine.resultOf([] {
        const bool answers = olderVersionNumber(VersionPart::Major) || olderVersionNumber(VersionPart::Patch);
        return answers ? "answers" : "nothing";
    });
    if (!result) {
        GTEST_SKIP() << "needs a user namespace: it changes its root folder";
    }
    EXPECT_EQ(*result, "nothing");
}

TEST(System, TheMachineNameIsThatOfUname) { EXPECT_EQ(machineName(), names().machine); }

TEST(System, TheMachineNameFollowsWhatTheKernelSays) {
    EXPECT_EQ(child::resultOf([] {
                  ::personality(PER_LINUX32);
                  return machineName() == std::string(names().machine) ? "same" : "other";
              }),
              "same");
}

TEST(System, TheFirstThreadHasTheNumberOfTheProcess) {
    EXPECT_EQ(child::resultOf([] { return std::to_string(threadId() - ::getpid()); }), "0");
}

TEST(System, AForkedChildHasTheNumberOfItsOwnThread) {
    const std::int32_t parents = threadId();
    const auto childsIn = [](long id) { return threadId() == id ? "own" : "another's"; };
    EXPECT_EQ(child::resultOf([&] { return childsIn(::syscall(SYS_gettid)); }), "own");
    EXPECT_EQ(child::resultOf([&] {
                  threadId();
                  return child::resultOf([&] { return childsIn(::syscall(SYS_gettid)); });
              }),
              "own");
    EXPECT_EQ(threadId(), parents);
}

TEST(System, EveryThreadHasTheKernelsNumber) {
    std::int32_t own = 0;
    long kernels = 0;
    std::thread([&] {
        own = threadId();
        kernels = ::syscall(SYS_gettid);
    }).join();
    EXPECT_EQ(own, kernels);
    EXPECT_NE(own, threadId());
}

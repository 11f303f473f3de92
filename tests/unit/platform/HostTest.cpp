#include <cerrno>
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
#include "platform/Locale.h"
#include "platform/System.h"
#include "support/TempFolder.h"

using namespace platform;
using support::TempFolder;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

/// An environment variable with a value, or without one, until the end.
class Variable {
  public:
    Variable(const char* variable, const char* value) : name(variable) {
        const char* const old = std::getenv(name);
        earlier = old ? std::optional<std::string>(old) : std::nullopt;
        set(value);
    }
    ~Variable() { set(earlier ? earlier->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    void set(const char* value) const { value ? ::setenv(name, value, 1) : ::unsetenv(name); }

    const char* name;
    std::optional<std::string> earlier;
};

std::string textOf(const SystemVersion& version) {
    return std::to_string(version.majorNumber) + "." + std::to_string(version.minorNumber) + "." +
           std::to_string(version.patchNumber);
}

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

std::string bundleReport() { return executablePath() + "\n" + bundlePath(); }

/// A copy of this test program that runs with the variable set reports where it lies, and nothing else.
const bool hasReported = [] {
    if (!std::getenv(reportVariable)) {
        return false;
    }
    if (std::string(std::getenv(reportVariable)) == "removed") {
        std::remove(executablePath().c_str());
    }
    std::puts(bundleReport().c_str());
    std::fflush(stdout);
    ::_exit(0);
}();

/// What a copy of this program at `path` reports.
std::string reportOfCopyAt(const std::string& path, const std::string& mode) {
    fs::create_directories(fs::path(path).parent_path());
    fs::copy_file("/proc/self/exe", path);
    const Variable variable(reportVariable, mode.c_str());
    const std::string command = "'" + path + "'";
    FILE* const output = ::popen(command.c_str(), "r");
    std::string report;
    for (int c = 0; (c = std::fgetc(output)) != EOF;) {
        report += static_cast<char>(c);
    }
    EXPECT_EQ(::pclose(output), 0);
    return report;
}

} // namespace

TEST(Bundle, TheExecutableIsThisProgram) {
    EXPECT_EQ(executablePath(), fs::canonical("/proc/self/exe").string());
    EXPECT_EQ(bundlePath(), fs::canonical("/proc/self/exe").parent_path().string());
}

TEST(Bundle, AProgramInAnApplicationBelongsToIt) {
    const TempFolder folder;
    const std::string program = folder / "Some Tool.app/Contents/MacOS/tool";
    EXPECT_EQ(reportOfCopyAt(program, "kept"), program + "\n" + (folder / "Some Tool.app") + "\n");
}

TEST(Bundle, AProgramOfALongPathKnowsItWhole) {
    const TempFolder folder;
    const std::string parent = folder / (std::string(200, 'x') + "/" + std::string(200, 'y'));
    EXPECT_EQ(reportOfCopyAt(parent + "/tool", "kept"), parent + "/tool\n" + parent + "\n");
}

TEST(Bundle, AProgramWhoseFileWasRemovedStillKnowsItsPlace) {
    const TempFolder folder;
    EXPECT_EQ(reportOfCopyAt(folder / "tool", "removed"), folder / "tool" + "\n" + folder.path() + "\n");
}

TEST(System, OffersTheSystemVersion) { EXPECT_TRUE(offersSystemVersion()); }

TEST(System, TheVersionIsThatOfTheKernelRelease) {
    const auto version = systemVersion();
    ASSERT_TRUE(version);
    EXPECT_EQ(textOf(*version), textOf(scanned(names().release)));
    EXPECT_GT(version->majorNumber, 0);
}

TEST(System, TheVersionFollowsWhatTheKernelSays) {
    constexpr unsigned long release26 = UNAME26;
    EXPECT_THAT(child::resultOf([] {
                    const int earlier = ::personality(0xffffffff);
                    ::personality(static_cast<unsigned long>(earlier) | release26);
                    const auto version = systemVersion();
                    return version ? textOf(*version) : "nothing";
                }),
                testing::StartsWith("2.6."));
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
        GTEST_SKIP() << "this process may not change its root folder";
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

TEST(System, GivesNothingWhenTheKernelDoesNotSay) {
    const std::string result = child::resultOf([] {
        if (!child::refuseSystemCall(SYS_uname, EPERM)) {
            return "not arranged";
        }
        return systemVersion() || machineName() ? "something" : "nothing";
    });
    if (result == "not arranged") {
        GTEST_SKIP() << "this process may not make the system refuse a call";
    }
    EXPECT_EQ(result, "nothing");
}

TEST(System, TheFirstThreadHasTheNumberOfTheProcess) {
    EXPECT_EQ(child::resultOf([] { return std::to_string(threadId() - ::getpid()); }), "0");
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

TEST(Locale, LanguagesComeFromTheEnvironment) {
    const Variable language("LANGUAGE", "de_AT:fr");
    const Variable all("LC_ALL", nullptr);
    const Variable messages("LC_MESSAGES", "en_GB.UTF-8");
    const Variable lang("LANG", "C");
    EXPECT_THAT(preferredLanguages(), ElementsAre("de-AT", "fr", "en-GB"));
}

TEST(Locale, TheIdentifierComesFromTheEnvironment) {
    const Variable all("LC_ALL", "");
    const Variable characters("LC_CTYPE", "ar_MA.UTF-8");
    const Variable lang("LANG", "en_US.UTF-8");
    EXPECT_EQ(currentLocaleIdentifier(), "ar_MA");
}

TEST(Locale, ABareEnvironmentHasNeither) {
    const Variable language("LANGUAGE", nullptr);
    const Variable all("LC_ALL", nullptr);
    const Variable messages("LC_MESSAGES", nullptr);
    const Variable characters("LC_CTYPE", nullptr);
    const Variable lang("LANG", nullptr);
    EXPECT_THAT(preferredLanguages(), IsEmpty());
    EXPECT_EQ(currentLocaleIdentifier(), "");
}

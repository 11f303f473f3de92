#include <elmu/utils/FileUtils.h>

#include <climits>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/InChild.h"
#include "support/ReportReceivers.h"
#include "support/ScriptedHost.h"
#include "support/TempFolder.h"

namespace fs = std::filesystem;

using ELMUUtils::FileUtils;
using ELMUUtils::PathType;
using platform::FolderDomain;
using platform::FolderKind;
using scripted::host;
using support::modeOf;
using support::ReportReceivers;
using support::ScopedUmask;
using support::TempFolder;
using support::writeFile;

namespace {

constexpr uid_t processUser = 0;
constexpr uid_t consoleUser = 501;

const std::string before = "/before";

struct Answer {
    bool result;
    std::string path;
    bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    return out << (answer.result ? "true" : "false") << " \"" << answer.path << "\"";
}

Answer directoryOf(int type, std::string path = before) {
    const bool result = FileUtils::GetDirectoryPath(static_cast<PathType>(type), path, nullptr);
    return {result, path};
}

void logInAtTheConsole() { host().consoleUser = platform::ConsoleUser{"kim", consoleUser, 20}; }

/// Every standard folder gets a name of its own.
void fillStandardFolders() {
    host().folders = {
        {{FolderDomain::Local, FolderKind::Applications}, "/local/applications"},
        {{FolderDomain::Local, FolderKind::ApplicationSupport}, "/local/support"},
        {{FolderDomain::Local, FolderKind::Documents}, "/local/documents"},
        {{FolderDomain::Local, FolderKind::Preferences}, "/local/preferences"},
        {{FolderDomain::Local, FolderKind::SharedUserData}, "/local/shared"},
        {{FolderDomain::Local, FolderKind::Utilities}, "/local/utilities"},
        {{FolderDomain::Local, FolderKind::DomainRoot}, "/local/root"},
        {{FolderDomain::User, FolderKind::Applications}, "/user/applications"},
        {{FolderDomain::User, FolderKind::ApplicationSupport}, "/user/support"},
        {{FolderDomain::User, FolderKind::Documents}, "/user/documents"},
        {{FolderDomain::User, FolderKind::Preferences}, "/user/preferences"},
        {{FolderDomain::User, FolderKind::SharedUserData}, "/user/shared"},
        {{FolderDomain::User, FolderKind::Utilities}, "/user/utilities"},
        {{FolderDomain::User, FolderKind::DomainRoot}, "/user/root"},
    };
}

void fillStandardFoldersWith(const std::string& path) {
    fillStandardFolders();
    for (auto& folder : host().folders) {
        folder.second = path;
    }
}

class DirectoryPath : public testing::Test {
  protected:
    DirectoryPath() {
        scripted::reset();
        host().effectiveUser = processUser;
        host().homeFolder = "/home/process";
    }
    ~DirectoryPath() override { scripted::reset(); }
};

/// One of the types that ask for a standard folder.
struct LookupRow {
    int type;
    bool actsAsConsoleUser;
    std::string folder; ///< of `fillStandardFolders`
    std::string suffix;
    bool resultAfterFailure;
};

const std::vector<LookupRow> lookupRows{
    {0, false, "/local/applications", "", false},
    {2, false, "/local/support", "", false},
    {3, false, "/local/support", "", false},
    {10, true, "/user/documents", "", true},
    {12, true, "/user/support", "", true},
    {13, false, "/local/shared", "", true},
    {18, false, "/local/support", "/Korvane", true},
    {19, true, "/user/support", "/Korvane", true},
    {20, false, "/local/shared", "/Korvane", true},
    {21, false, "/local/support", "/Korvane/ELMU", true},
    {22, true, "/user/support", "/Korvane/ELMU", true},
    {23, false, "/local/shared", "/Korvane/ELMU", true},
    {24, false, "/local/utilities", "/Ferrowind/", true},
    {25, false, "/local/support", "/Korvane/ELMU/Wexlo", true},
    {26, true, "/user/support", "/Korvane/ELMU/Wexlo", true},
    {27, false, "/local/support", "/Korvane/Ferrowind/FRWRefs", true},
    {28, false, "/local/support", "/Korvane/SRDRefs", true},
    {29, false, "/local/support", "/Korvane/Strandel", true},
    {30, false, "/local/utilities", "/Korvane Halcyra/", true},
    {31, false, "/local/preferences", "", false},
};

void PrintTo(const LookupRow& row, std::ostream* out) { *out << "type " << row.type; }

class DirectoryPathLookup : public DirectoryPath, public testing::WithParamInterface<LookupRow> {
  protected:
    std::vector<uid_t> usersOfTheLookup() const {
        return {GetParam().actsAsConsoleUser ? consoleUser : processUser};
    }
    std::vector<uid_t> expectedSwitches() const {
        return GetParam().actsAsConsoleUser ? std::vector<uid_t>{consoleUser, processUser}
                                            : std::vector<uid_t>{};
    }
};

} // namespace

TEST_P(DirectoryPathLookup, ReplacesTheOutputWithTheFolderAndItsSuffix) {
    fillStandardFolders();
    EXPECT_EQ(directoryOf(GetParam().type), (Answer{true, GetParam().folder + GetParam().suffix}));
}

TEST_P(DirectoryPathLookup, FillsAnEmptyOutput) {
    fillStandardFolders();
    EXPECT_EQ(directoryOf(GetParam().type, ""), (Answer{true, GetParam().folder + GetParam().suffix}));
}

TEST_P(DirectoryPathLookup, AppendsOnlyTheSuffixAfterAFailure) {
    EXPECT_EQ(directoryOf(GetParam().type),
              (Answer{GetParam().resultAfterFailure, before + GetParam().suffix}));
}

TEST_P(DirectoryPathLookup, LeavesTheSuffixInAnEmptyOutputAfterAFailure) {
    EXPECT_EQ(directoryOf(GetParam().type, ""), (Answer{GetParam().resultAfterFailure, GetParam().suffix}));
}

TEST_P(DirectoryPathLookup, LooksOnceAsTheRightUserAndComesBack) {
    fillStandardFolders();
    logInAtTheConsole();
    directoryOf(GetParam().type);
    EXPECT_EQ(host().lookupUsers, usersOfTheLookup());
    EXPECT_EQ(host().userSwitches, expectedSwitches());
    EXPECT_EQ(host().effectiveUser, processUser);
}

TEST_P(DirectoryPathLookup, ComesBackFromTheConsoleUserAfterAFailure) {
    logInAtTheConsole();
    directoryOf(GetParam().type);
    EXPECT_EQ(host().lookupUsers, usersOfTheLookup());
    EXPECT_EQ(host().userSwitches, expectedSwitches());
    EXPECT_EQ(host().effectiveUser, processUser);
}

TEST_P(DirectoryPathLookup, LooksAsTheCurrentUserWhenTheSwitchIsRefused) {
    fillStandardFolders();
    logInAtTheConsole();
    host().refusesUserSwitch = true;
    EXPECT_EQ(directoryOf(GetParam().type), (Answer{true, GetParam().folder + GetParam().suffix}));
    EXPECT_EQ(host().lookupUsers, std::vector<uid_t>{processUser});
    EXPECT_EQ(host().effectiveUser, processUser);
}

TEST_P(DirectoryPathLookup, StaysTheCurrentUserWithNobodyAtTheConsole) {
    fillStandardFolders();
    host().effectiveUser = 77;
    EXPECT_EQ(directoryOf(GetParam().type), (Answer{true, GetParam().folder + GetParam().suffix}));
    EXPECT_EQ(host().lookupUsers, std::vector<uid_t>{77});
    EXPECT_TRUE(host().userSwitches.empty());
}

TEST_P(DirectoryPathLookup, IsAsGoodForAConsoleUserWhoRunsTheProcess) {
    fillStandardFolders();
    logInAtTheConsole();
    host().effectiveUser = consoleUser;
    EXPECT_EQ(directoryOf(GetParam().type), (Answer{true, GetParam().folder + GetParam().suffix}));
    EXPECT_EQ(host().lookupUsers, std::vector<uid_t>{consoleUser});
    EXPECT_EQ(host().effectiveUser, consoleUser);
}

TEST_P(DirectoryPathLookup, TakesAFolderOf1023Bytes) {
    const std::string folder = "/" + std::string(1022, 'f');
    fillStandardFoldersWith(folder);
    EXPECT_EQ(directoryOf(GetParam().type), (Answer{true, folder + GetParam().suffix}));
}

TEST_P(DirectoryPathLookup, FailsForAFolderOf1024Bytes) {
    fillStandardFoldersWith("/" + std::string(1023, 'f'));
    EXPECT_EQ(directoryOf(GetParam().type),
              (Answer{GetParam().resultAfterFailure, before + GetParam().suffix}));
}

TEST_P(DirectoryPathLookup, GivesTheSameAnswerAgain) {
    fillStandardFolders();
    logInAtTheConsole();
    const Answer first = directoryOf(GetParam().type);
    EXPECT_EQ(directoryOf(GetParam().type, first.path), first);
}

INSTANTIATE_TEST_SUITE_P(Types, DirectoryPathLookup, testing::ValuesIn(lookupRows),
                         [](const auto& row) { return "Type" + std::to_string(row.param.type); });

class DirectoryPathUnknownType : public DirectoryPath, public testing::WithParamInterface<int> {};

TEST_P(DirectoryPathUnknownType, FailsAndLeavesTheOutputAlone) {
    fillStandardFolders();
    logInAtTheConsole();
    EXPECT_EQ(directoryOf(GetParam()), (Answer{false, before}));
    EXPECT_EQ(directoryOf(GetParam(), ""), (Answer{false, ""}));
    EXPECT_TRUE(host().lookupUsers.empty());
    EXPECT_TRUE(host().userSwitches.empty());
}

INSTANTIATE_TEST_SUITE_P(Types, DirectoryPathUnknownType,
                         testing::Values(1, 4, 5, 6, 7, 8, 11, 14, 33, 34, 64, 100, 256 + 18, INT_MAX, -1, -2,
                                         -18, INT_MIN),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST_F(DirectoryPath, NumbersTheTypesAsCallersKnowThem) {
    EXPECT_EQ(static_cast<int>(ELMUUtils::LocalApplicationsDir), 0);
    EXPECT_EQ(static_cast<int>(ELMUUtils::LocalAppSupportDir), 2);
    EXPECT_EQ(static_cast<int>(ELMUUtils::LocalAppSupportDirAlt), 3);
    EXPECT_EQ(static_cast<int>(ELMUUtils::HomeDir), 9);
    EXPECT_EQ(static_cast<int>(ELMUUtils::ConsoleUserDocumentsDir), 10);
    EXPECT_EQ(static_cast<int>(ELMUUtils::ConsoleUserAppSupportDir), 12);
    EXPECT_EQ(static_cast<int>(ELMUUtils::SharedUserDataDir), 13);
    EXPECT_EQ(static_cast<int>(ELMUUtils::TempDir), 15);
    EXPECT_EQ(static_cast<int>(ELMUUtils::RunningBundlePath), 16);
    EXPECT_EQ(static_cast<int>(ELMUUtils::RunningBundleParentDir), 17);
    EXPECT_EQ(static_cast<int>(ELMUUtils::LocalKorvaneDir), 18);
    EXPECT_EQ(static_cast<int>(ELMUUtils::ConsoleUserKorvaneDir), 19);
    EXPECT_EQ(static_cast<int>(ELMUUtils::SharedKorvaneDir), 20);
    EXPECT_EQ(static_cast<int>(ELMUUtils::LocalELMUDir), 21);
    EXPECT_EQ(static_cast<int>(ELMUUtils::ConsoleUserELMUDir), 22);
    EXPECT_EQ(static_cast<int>(ELMUUtils::SharedELMUDir), 23);
    EXPECT_EQ(static_cast<int>(ELMUUtils::FerrowindUtilitiesDir), 24);
    EXPECT_EQ(static_cast<int>(ELMUUtils::LocalWexloDir), 25);
    EXPECT_EQ(static_cast<int>(ELMUUtils::ConsoleUserWexloDir), 26);
    EXPECT_EQ(static_cast<int>(ELMUUtils::FRWRefsDir), 27);
    EXPECT_EQ(static_cast<int>(ELMUUtils::SRDRefsDir), 28);
    EXPECT_EQ(static_cast<int>(ELMUUtils::StrandelDir), 29);
    EXPECT_EQ(static_cast<int>(ELMUUtils::HalcyraUtilitiesDir), 30);
    EXPECT_EQ(static_cast<int>(ELMUUtils::LocalPreferencesDir), 31);
    EXPECT_EQ(static_cast<int>(ELMUUtils::ConsoleUserLogsDir), 32);
}

TEST_F(DirectoryPath, JoinsTheCacheFolderToTheInstallFolderWithOneSlash) {
    fillStandardFolders();
    std::string path;
    EXPECT_TRUE(FileUtils::GetDirectoryPath(ELMUUtils::HalcyraUtilitiesDir, path, nullptr));
    EXPECT_TRUE(FileUtils::AppendPath(path, "CEF", nullptr));
    EXPECT_EQ(path, "/local/utilities/Korvane Halcyra/CEF");
}

TEST_F(DirectoryPath, ReportsNothingForAnyType) {
    ReportReceivers receivers(support::Receiver::OwnLogger);
    TempFolder home;
    host().homeFolder = home.path();
    for (int type = -1; type <= 33; ++type) {
        std::string path;
        FileUtils::GetDirectoryPath(static_cast<PathType>(type), path, receivers.logger());
    }
    EXPECT_TRUE(receivers.records().empty());
}

TEST_F(DirectoryPath, FallsBackToNoProcessWideReceiverEither) {
    ReportReceivers receivers(support::Receiver::ProcessWideFunction);
    host().homeFolder = "/proc/self/nothing";
    for (int type = -1; type <= 33; ++type) {
        directoryOf(type);
    }
    EXPECT_TRUE(receivers.records().empty());
}

TEST_F(DirectoryPath, TakesTheHomeFolderOfTheProcessNotOfTheConsoleUser) {
    logInAtTheConsole();
    host().homes = {{consoleUser, "/home/kim"}};
    EXPECT_EQ(directoryOf(9), (Answer{true, "/home/process"}));
    EXPECT_TRUE(host().userSwitches.empty());
}

TEST_F(DirectoryPath, AnswersTmpWhateverTheEnvironmentSays) {
    support::inChild([] {
        ::setenv("TMPDIR", "/elsewhere", 1);
        ::setenv("TMP", "/elsewhere", 1);
        EXPECT_EQ(directoryOf(15), (Answer{true, "/tmp"}));
        EXPECT_EQ(directoryOf(15, ""), (Answer{true, "/tmp"}));
    });
}

// Where the running program lies.

namespace {

class RunningProgram : public DirectoryPath {
  protected:
    static void runFrom(const std::string& executable, const std::string& bundle) {
        host().executablePath = executable;
        host().bundlePath = bundle;
    }
    TempFolder temp;
};

} // namespace

TEST_F(RunningProgram, IsTheExecutableItselfOutsideABundle) {
    runFrom("/opt/tools/HCDCustomHook", "/opt/tools");
    EXPECT_EQ(directoryOf(16), (Answer{true, "/opt/tools/HCDCustomHook"}));
}

TEST_F(RunningProgram, HasItsFolderAsParentOutsideABundle) {
    runFrom("/opt/tools/HCDCustomHook", "/opt/tools");
    EXPECT_EQ(directoryOf(17), (Answer{true, "/opt/tools"}));
}

TEST_F(RunningProgram, IsTheBundleInsideABundle) {
    runFrom("/opt/Halcyra.app/Contents/MacOS/Halcyra", "/opt/Halcyra.app");
    EXPECT_EQ(directoryOf(16), (Answer{true, "/opt/Halcyra.app"}));
}

TEST_F(RunningProgram, HasTheBundlesFolderAsParentInsideABundle) {
    runFrom("/opt/Halcyra.app/Contents/MacOS/Halcyra", "/opt/Halcyra.app");
    EXPECT_EQ(directoryOf(17), (Answer{true, "/opt"}));
}

TEST_F(RunningProgram, FillsAnEmptyOutput) {
    runFrom("/opt/tools/HCDCustomHook", "/opt/tools");
    EXPECT_EQ(directoryOf(16, ""), (Answer{true, "/opt/tools/HCDCustomHook"}));
    EXPECT_EQ(directoryOf(17, ""), (Answer{true, "/opt/tools"}));
}

TEST_F(RunningProgram, IsOutsideABundleWhenTheFoldersDifferOnlyInDoubledSlashes) {
    runFrom("/opt/tools/HCDCustomHook", "/opt//tools/");
    EXPECT_EQ(directoryOf(16), (Answer{true, "/opt/tools/HCDCustomHook"}));
}

TEST_F(RunningProgram, IsOutsideABundleWhenTheFoldersDifferOnlyInDotComponents) {
    const std::string folder = temp / "tools";
    fs::create_directories(folder + "/bin");
    runFrom(folder + "/HCDCustomHook", folder + "/./bin/..");
    EXPECT_EQ(directoryOf(16), (Answer{true, folder + "/HCDCustomHook"}));
}

TEST_F(RunningProgram, FollowsALinkBeforeItGoesUpFromIt) {
    fs::create_directories(temp / "real/bin");
    fs::create_directory_symlink(temp / "real/bin", temp / "link");
    runFrom(temp / "real/HCDCustomHook", temp / "link/..");
    EXPECT_EQ(directoryOf(16), (Answer{true, temp / "real/HCDCustomHook"}));
}

TEST_F(RunningProgram, IsGivenAsTheSystemNamesItOutsideABundle) {
    const std::string folder = temp / "tools";
    fs::create_directories(folder + "/bin");
    runFrom(folder + "/bin/..//HCDCustomHook", folder);
    EXPECT_EQ(directoryOf(16), (Answer{true, folder + "/bin/..//HCDCustomHook"}));
}

TEST_F(RunningProgram, IsTheStandardizedBundleInsideABundle) {
    const std::string folder = temp / "apps";
    fs::create_directories(folder + "/old");
    runFrom(folder + "/Halcyra.app/Contents/MacOS/Halcyra", folder + "/old/..//Halcyra.app/");
    EXPECT_EQ(directoryOf(16), (Answer{true, folder + "/Halcyra.app"}));
    EXPECT_EQ(directoryOf(17), (Answer{true, folder}));
}

TEST_F(RunningProgram, InTheRootHasTheRootAsParent) {
    runFrom("/HCDCustomHook", "/");
    EXPECT_EQ(directoryOf(16), (Answer{true, "/HCDCustomHook"}));
    EXPECT_EQ(directoryOf(17), (Answer{true, "/"}));
}

TEST_F(RunningProgram, IsFoundWithoutAnotherUser) {
    logInAtTheConsole();
    runFrom("/opt/tools/HCDCustomHook", "/opt/tools");
    directoryOf(16);
    directoryOf(17);
    EXPECT_TRUE(host().userSwitches.empty());
}

// The log folder of the console user.

namespace {

class LogsFolder : public DirectoryPath {
  protected:
    LogsFolder() {
        fs::create_directory(home);
        logInAtTheConsole();
        host().homes = {{consoleUser, home}};
    }

    static std::set<std::string> entriesBelow(const std::string& path) {
        std::set<std::string> entries;
        for (const auto& entry : fs::recursive_directory_iterator(path)) {
            entries.insert(entry.path().string());
        }
        return entries;
    }

    /// A home of exactly `length` bytes.
    std::string homeOfLength(std::size_t length) {
        std::string path = temp.path();
        while (path.size() + 102 < length) {
            path += "/" + std::string(100, 'h');
        }
        path += "/" + std::string(length - path.size() - 1, 'h');
        fs::create_directories(path);
        host().homes = {{consoleUser, path}};
        return path;
    }

    TempFolder temp;
    std::string home = temp / "kim";
    std::string library = home + "/Library";
    std::string logs = home + "/Library/Logs";
};

} // namespace

TEST_F(LogsFolder, IsMadeInTheConsoleUsersHome) {
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
    EXPECT_TRUE(fs::is_directory(logs));
    EXPECT_FALSE(fs::exists("/home/process/Library"));
}

TEST_F(LogsFolder, IsAskedForAsTheConsoleUser) {
    directoryOf(32);
    EXPECT_EQ(host().userSwitches, (std::vector<uid_t>{consoleUser, processUser}));
    EXPECT_EQ(host().effectiveUser, processUser);
}

TEST_F(LogsFolder, IsPrivateToItsUserAtBothLevels) {
    ScopedUmask mask(0);
    directoryOf(32);
    EXPECT_EQ(modeOf(library), 0700U);
    EXPECT_EQ(modeOf(logs), 0700U);
}

TEST_F(LogsFolder, StaysAsItIsWhenItExists) {
    fs::create_directories(logs);
    fs::permissions(library, fs::perms(0755));
    fs::permissions(logs, fs::perms(0750));
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
    EXPECT_EQ(modeOf(library), 0755U);
    EXPECT_EQ(modeOf(logs), 0750U);
}

TEST_F(LogsFolder, IsMadeInAnExistingLibraryFolder) {
    fs::create_directory(library);
    fs::permissions(library, fs::perms(0755));
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
    EXPECT_EQ(modeOf(library), 0755U);
    EXPECT_EQ(modeOf(logs), 0700U);
}

TEST_F(LogsFolder, IsTheSameTheSecondTime) {
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
}

TEST_F(LogsFolder, FailsWithoutAHome) {
    fs::remove(home);
    EXPECT_EQ(directoryOf(32), (Answer{false, before}));
    EXPECT_FALSE(fs::exists(home));
}

TEST_F(LogsFolder, ComesBackFromTheConsoleUserAfterAFailure) {
    fs::remove(home);
    directoryOf(32);
    EXPECT_EQ(host().userSwitches, (std::vector<uid_t>{consoleUser, processUser}));
    EXPECT_EQ(host().effectiveUser, processUser);
}

TEST_F(LogsFolder, FailsWhenAFileStandsInThePlaceOfLibrary) {
    writeFile(library, "in the way");
    EXPECT_EQ(directoryOf(32), (Answer{false, before}));
    EXPECT_EQ(support::readFile(library), "in the way");
}

TEST_F(LogsFolder, CountsAFileInThePlaceOfLogsAsExisting) {
    writeFile(logs, "in the way");
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
    EXPECT_EQ(support::readFile(logs), "in the way");
}

TEST_F(LogsFolder, IsMadeBehindALinkToALibraryElsewhere) {
    fs::create_directory(temp / "elsewhere");
    fs::create_directory_symlink(temp / "elsewhere", library);
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
    EXPECT_TRUE(fs::is_directory(temp / "elsewhere/Logs"));
}

TEST_F(LogsFolder, FailsBehindADanglingLink) {
    fs::create_symlink(temp / "nowhere", library);
    EXPECT_EQ(directoryOf(32), (Answer{false, before}));
    EXPECT_FALSE(fs::exists(temp / "nowhere"));
}

TEST_F(LogsFolder, FailsWhereTheUserMayNotWrite) {
    fs::permissions(temp.path(), fs::perms(0755));
    fs::permissions(home, fs::perms(0555));
    support::asOrdinaryUser([] { EXPECT_EQ(directoryOf(32), (Answer{false, before})); });
    EXPECT_FALSE(fs::exists(library));
}

TEST_F(LogsFolder, BelongsToTheCurrentUserWithNobodyAtTheConsole) {
    host().consoleUser = std::nullopt;
    host().homes = {{processUser, home}, {consoleUser, temp / "another"}};
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
    EXPECT_TRUE(host().userSwitches.empty());
}

TEST_F(LogsFolder, BelongsToTheCurrentUserWhenTheSwitchIsRefused) {
    host().refusesUserSwitch = true;
    host().homes = {{processUser, home}, {consoleUser, temp / "another"}};
    EXPECT_EQ(directoryOf(32), (Answer{true, logs}));
    EXPECT_TRUE(fs::is_directory(logs));
}

TEST_F(LogsFolder, FitsAHomeOf498Bytes) {
    const std::string longHome = homeOfLength(498);
    EXPECT_EQ(directoryOf(32), (Answer{true, longHome + "/Library/Logs"}));
    EXPECT_TRUE(fs::is_directory(longHome + "/Library/Logs"));
}

TEST_F(LogsFolder, FailsForAHomeOf499Bytes) {
    const std::string longHome = homeOfLength(499);
    EXPECT_EQ(directoryOf(32), (Answer{false, before}));
    EXPECT_FALSE(fs::exists(longHome + "/Library/Log"));
    EXPECT_FALSE(fs::exists(longHome + "/Library/Logs"));
}

TEST_F(LogsFolder, MakesNothingForAHomeThatIsMuchTooLong) {
    homeOfLength(600);
    const auto entriesBefore = entriesBelow(temp.path());
    EXPECT_EQ(directoryOf(32), (Answer{false, before}));
    EXPECT_EQ(entriesBelow(temp.path()), entriesBefore);
}

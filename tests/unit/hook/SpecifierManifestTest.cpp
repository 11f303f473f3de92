#include "hook/SpecifierManifest.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "support/HookMachine.h"
#include "support/InChild.h"
#include "support/RecordingTarget.h"
#include "support/ReportReceivers.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"
#include "support/XmlText.h"
#include <elmu/logging/LoggingCore.h>
#include <elmu/utils/XMLParser.h>

namespace fs = std::filesystem;

using elmu::INFO;
using elmu::WARN;
using scripted::host;
using support::HookLogger;
using support::HookMachine;
using support::Line;
using support::Lines;
using support::modeOf;
using support::readFile;
using support::Receiver;
using support::RecordingTarget;
using support::ReportReceivers;
using support::ScopedUmask;
using support::withoutLayout;
using support::writeFile;

namespace {

const Line created{INFO, "Successfully created HCD Ostrel Specifier file"};
const Line noFolder{WARN, "CreateDirectoryAtPath: Unable to create HCD Ostrel Specifier file"};
const Line noFile{WARN, "CreateFileWithContentAtPath: Unable to create HCD Ostrel Specifier file"};
const Line deleted{INFO, "Successfully deleted HCD Ostrel Specifier file"};
const Line notDeleted{INFO, "Unable to delete HCD Ostrel Specifier file"};

std::string manifestWithPath(const std::string& path) {
    return "<SpecifierManifest Version=\"1.0\"><Name>halcyra</Name><Version>4.3.0</Version>"
           "<Locale></Locale><Group></Group><Path>" +
           path + "</Path></SpecifierManifest>";
}

class SpecifierManifest : public testing::Test {
  protected:
    std::string expectedContent() const {
        return manifestWithPath(machine.utilitiesFolder + "/Korvane Halcyra/HCD/Halcyra.app");
    }

    ScopedUmask mask{022};
    HookMachine machine;
    HookLogger logger;
};

} // namespace

TEST_F(SpecifierManifest, TellsNameVersionAndPathOfTheApplicationInThisOrder) {
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_EQ(withoutLayout(readFile(machine.manifest)), expectedContent());
}

TEST_F(SpecifierManifest, IsReportedWhenItIsWritten) {
    createSpecifierFile(&logger);
    EXPECT_EQ(logger.lines(), (Lines{created}));
}

TEST_F(SpecifierManifest, IsTheXmlTextWithNothingBeforeOrBehindIt) {
    createSpecifierFile(&logger);
    ELMUUtils::XMLParser parser;
    void* root = nullptr;
    std::string xml;
    ASSERT_TRUE(parser.initWithXMLString("<SpecifierManifest/>") && parser.getRootNode(root));
    parser.addAttributeToNode(root, "Version", "1.0");
    parser.addChildToNode("Name", "halcyra", root);
    parser.addChildToNode("Version", "4.3.0", root);
    parser.addChildToNode("Locale", "", root);
    parser.addChildToNode("Group", "", root);
    parser.addChildToNode("Path", machine.utilitiesFolder + "/Korvane Halcyra/HCD/Halcyra.app", root);
    ASSERT_TRUE(parser.getXMLString(xml));
    EXPECT_EQ(readFile(machine.manifest), xml);
}

TEST_F(SpecifierManifest, GetsTheWholeChainOfFoldersWhenItIsMissing) {
    EXPECT_FALSE(fs::exists(machine.supportFolder));
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_TRUE(fs::is_directory(machine.specifierFolder));
    EXPECT_TRUE(fs::is_regular_file(machine.manifest));
}

TEST_F(SpecifierManifest, GetsFoldersOfTheUsualMode) {
    createSpecifierFile(&logger);
    EXPECT_EQ(modeOf(machine.supportFolder + "/Korvane"), 0755U);
    EXPECT_EQ(modeOf(machine.supportFolder + "/Korvane/Ostrel"), 0755U);
    EXPECT_EQ(modeOf(machine.specifierFolder), 0755U);
}

TEST_F(SpecifierManifest, GetsFoldersOfTheProcessUserWhoeverOwnsTheirParent) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it gives a folder to another user";
    }
    fs::create_directories(machine.supportFolder);
    ASSERT_EQ(::chown(machine.supportFolder.c_str(), 501, 20), 0);
    createSpecifierFile(&logger);
    struct stat info = {};
    ASSERT_EQ(::stat((machine.supportFolder + "/Korvane").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 0U);
}

TEST_F(SpecifierManifest, LeavesAnExistingFolderAsItIs) {
    writeFile(machine.specifierFolder + "/other.xml", "other");
    fs::permissions(machine.specifierFolder, fs::perms(0711));
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_EQ(modeOf(machine.specifierFolder), 0711U);
    EXPECT_EQ(readFile(machine.specifierFolder + "/other.xml"), "other");
}

TEST_F(SpecifierManifest, LeavesNoOtherFileBehind) {
    createSpecifierFile(&logger);
    createSpecifierFile(&logger);
    const auto entries = fs::directory_iterator(machine.specifierFolder);
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(SpecifierManifest, ReplacesAnExistingOne) {
    writeFile(machine.manifest, "an old manifest that is longer than the new one" + std::string(4096, '.'));
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_EQ(withoutLayout(readFile(machine.manifest)), expectedContent());
    EXPECT_EQ(logger.lines(), (Lines{created}));
}

TEST_F(SpecifierManifest, IsTheSameTheSecondTime) {
    EXPECT_TRUE(createSpecifierFile(&logger));
    const std::string first = readFile(machine.manifest);
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_EQ(readFile(machine.manifest), first);
    EXPECT_EQ(logger.lines(), (Lines{created, created}));
}

TEST_F(SpecifierManifest, ReplacesALinkAndLeavesItsTargetAlone) {
    writeFile(machine / "target", "target");
    fs::create_directories(machine.specifierFolder);
    fs::create_symlink(machine / "target", machine.manifest);
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(machine.manifest)));
    EXPECT_EQ(readFile(machine / "target"), "target");
}

TEST_F(SpecifierManifest, IsWrittenThroughALinkToTheFolder) {
    fs::create_directories(machine / "elsewhere");
    fs::create_directories(machine.supportFolder + "/Korvane/Ostrel");
    fs::create_directory_symlink(machine / "elsewhere", machine.specifierFolder);
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_TRUE(fs::is_regular_file(machine / "elsewhere/halcyra.xml"));
}

TEST_F(SpecifierManifest, NamesAPathWithMarkupAndLettersOutsideAscii) {
    const std::string folder = machine / "\xc3\x84pps <&>";
    host().folders[{platform::FolderDomain::Local, platform::FolderKind::Utilities}] = folder;
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_EQ(withoutLayout(readFile(machine.manifest)),
              manifestWithPath(machine / "\xc3\x84pps &lt;&amp;&gt;/Korvane Halcyra/HCD/Halcyra.app"));
}

TEST_F(SpecifierManifest, IsWrittenEvenWhenItsPathIsNoXmlText) {
    host().folders[{platform::FolderDomain::Local, platform::FolderKind::Utilities}] = machine / "\x01";
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_TRUE(fs::is_regular_file(machine.manifest));
    EXPECT_EQ(logger.lines(), (Lines{created}));
}

TEST_F(SpecifierManifest, NamesARelativePathWhenTheUtilitiesFolderIsNotFound) {
    host().folders.erase({platform::FolderDomain::Local, platform::FolderKind::Utilities});
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_EQ(withoutLayout(readFile(machine.manifest)), manifestWithPath("HCD/Halcyra.app"));
    EXPECT_EQ(logger.lines(), (Lines{created}));
}

TEST_F(SpecifierManifest, GoesBelowTheRootWhenTheSupportFolderIsNotFound) {
    if (!support::canHaveARootOfItsOwn(machine.path())) {
        GTEST_SKIP() << "needs a user namespace: it changes its root folder";
    }
    HookMachine::loseStandardFolders();
    writeFile(machine / "etc/passwd", "root:x:0:0:System Administrator:/var/root:/bin/sh\n");
    support::inChild([this] {
        ASSERT_TRUE(support::enterRootOfItsOwn(machine.path()));
        EXPECT_TRUE(createSpecifierFile(&logger));
        EXPECT_TRUE(fs::is_regular_file("/Korvane/Ostrel/specifiers/halcyra.xml"));
        EXPECT_TRUE(deleteSpecifierFile(&logger));
        EXPECT_FALSE(fs::exists("/Korvane/Ostrel/specifiers/halcyra.xml"));
        EXPECT_EQ(logger.lines(), (Lines{created, deleted}));
    });
    EXPECT_TRUE(fs::is_directory(machine / "Korvane/Ostrel/specifiers"));
}

// Failures of the installation.

TEST_F(SpecifierManifest, IsNotWrittenWhenItsFolderCannotBeMade) {
    writeFile(machine.supportFolder + "/Korvane", "in the way");
    EXPECT_FALSE(createSpecifierFile(&logger));
    EXPECT_EQ(logger.lines(), (Lines{noFolder}));
    EXPECT_EQ(readFile(machine.supportFolder + "/Korvane"), "in the way");
}

TEST_F(SpecifierManifest, IsNotWrittenWhenItsFolderIsADanglingLink) {
    fs::create_directories(machine.supportFolder + "/Korvane/Ostrel");
    fs::create_symlink(machine / "nowhere", machine.specifierFolder);
    EXPECT_FALSE(createSpecifierFile(&logger));
    EXPECT_EQ(logger.lines(), (Lines{noFolder}));
}

TEST_F(SpecifierManifest, IsNotWrittenWhereTheUserMayMakeNoFolder) {
    fs::create_directories(machine.supportFolder);
    fs::permissions(machine.path(), fs::perms(0755));
    fs::permissions(machine.supportFolder, fs::perms(0555));
    support::asOrdinaryUser([this] {
        EXPECT_FALSE(createSpecifierFile(&logger));
        EXPECT_EQ(logger.lines(), (Lines{noFolder}));
    });
    EXPECT_TRUE(fs::is_empty(machine.supportFolder));
}

TEST_F(SpecifierManifest, IsNotWrittenWhenAFileStandsInThePlaceOfItsFolder) {
    writeFile(machine.specifierFolder, "in the way");
    EXPECT_FALSE(createSpecifierFile(&logger));
    EXPECT_EQ(logger.lines(), (Lines{noFile}));
    EXPECT_EQ(readFile(machine.specifierFolder), "in the way");
}

TEST_F(SpecifierManifest, IsNotWrittenWhenAFolderStandsInItsPlace) {
    fs::create_directories(machine.manifest);
    EXPECT_FALSE(createSpecifierFile(&logger));
    EXPECT_EQ(logger.lines(), (Lines{noFile}));
    EXPECT_TRUE(fs::is_directory(machine.manifest));
}

TEST_F(SpecifierManifest, IsNotWrittenWhereTheUserMayMakeNoFile) {
    writeFile(machine.manifest, "old");
    fs::permissions(machine.path(), fs::perms(0755));
    fs::permissions(machine.specifierFolder, fs::perms(0555));
    support::asOrdinaryUser([this] {
        EXPECT_FALSE(createSpecifierFile(&logger));
        EXPECT_EQ(logger.lines(), (Lines{noFile}));
    });
    EXPECT_EQ(readFile(machine.manifest), "old");
}

TEST_F(SpecifierManifest, LeavesTheOldOneWholeWhenThereIsNoRoom) {
    writeFile(machine.manifest, "old");
    {
        support::ScopedFileSizeLimit limit(16);
        EXPECT_FALSE(createSpecifierFile(&logger));
    }
    EXPECT_EQ(logger.lines(), (Lines{noFile}));
    EXPECT_EQ(readFile(machine.manifest), "old");
}

// Removal.

TEST_F(SpecifierManifest, IsDeletedAndReported) {
    writeFile(machine.manifest, "manifest");
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_FALSE(fs::exists(machine.manifest));
    EXPECT_EQ(logger.lines(), (Lines{deleted}));
}

TEST_F(SpecifierManifest, IsReportedAsDeletedWhenItWasAbsent) {
    fs::create_directories(machine.specifierFolder);
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_EQ(logger.lines(), (Lines{deleted}));
}

TEST_F(SpecifierManifest, IsReportedAsDeletedWhenItsFolderWasAbsentAndMakesNone) {
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_EQ(logger.lines(), (Lines{deleted}));
    EXPECT_FALSE(fs::exists(machine.specifierFolder));
}

TEST_F(SpecifierManifest, LeavesItsEmptyFolderBehind) {
    writeFile(machine.manifest, "manifest");
    deleteSpecifierFile(&logger);
    EXPECT_TRUE(fs::is_directory(machine.specifierFolder));
}

TEST_F(SpecifierManifest, LeavesTheFilesBesideItAlone) {
    writeFile(machine.manifest, "manifest");
    writeFile(machine.specifierFolder + "/other.xml", "other");
    deleteSpecifierFile(&logger);
    EXPECT_EQ(readFile(machine.specifierFolder + "/other.xml"), "other");
}

TEST_F(SpecifierManifest, IsDeletedAsALinkOnly) {
    writeFile(machine / "target", "target");
    fs::create_directories(machine.specifierFolder);
    fs::create_symlink(machine / "target", machine.manifest);
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_FALSE(fs::exists(machine.manifest));
    EXPECT_EQ(readFile(machine / "target"), "target");
}

TEST_F(SpecifierManifest, IsDeletedWhenAnEmptyFolderStandsInItsPlace) {
    fs::create_directories(machine.manifest);
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_FALSE(fs::exists(machine.manifest));
    EXPECT_EQ(logger.lines(), (Lines{deleted}));
}

TEST_F(SpecifierManifest, StaysWhenAFolderWithEntriesStandsInItsPlace) {
    writeFile(machine.manifest + "/file", "content");
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_EQ(readFile(machine.manifest + "/file"), "content");
    EXPECT_EQ(logger.lines(), (Lines{notDeleted}));
}

TEST_F(SpecifierManifest, StaysWhereTheUserMayNotDelete) {
    writeFile(machine.manifest, "manifest");
    fs::permissions(machine.path(), fs::perms(0755));
    fs::permissions(machine.specifierFolder, fs::perms(0555));
    support::asOrdinaryUser([this] {
        EXPECT_TRUE(deleteSpecifierFile(&logger));
        EXPECT_EQ(logger.lines(), (Lines{notDeleted}));
    });
    EXPECT_EQ(readFile(machine.manifest), "manifest");
}

TEST_F(SpecifierManifest, ComesAndGoesAndComesAgain) {
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_TRUE(fs::exists(machine.manifest));
    EXPECT_EQ(logger.lines(), (Lines{created, deleted, deleted, created}));
}

// Where the reports go.

TEST_F(SpecifierManifest, LeavesDetailedFailuresToTheProcessWideReceivers) {
    ReportReceivers receivers(Receiver::ProcessWideLogger);
    writeFile(machine.supportFolder + "/Korvane", "in the way");
    EXPECT_FALSE(createSpecifierFile(&logger));
    EXPECT_EQ(receivers.lines("FileUtils"), (Lines{{elmu::ERROR, "Failed to create directory at path ex " +
                                                                     machine.specifierFolder + " "}}));
    EXPECT_EQ(logger.lines(), (Lines{noFolder}));
}

TEST_F(SpecifierManifest, ReportsOnlyToItsLoggerOnSuccess) {
    ReportReceivers receivers(Receiver::ProcessWideFunction);
    EXPECT_TRUE(createSpecifierFile(&logger));
    EXPECT_TRUE(deleteSpecifierFile(&logger));
    EXPECT_TRUE(receivers.records().empty());
}

TEST_F(SpecifierManifest, ReportsThroughInfoAndWarnOfItsLogger) {
    class Logger : public HookLogger {
      public:
        void info(const char* format, ...) override { calls.push_back(std::string("info:") + format); }
        void warn(const char* detail1, const char* format, ...) override {
            calls.push_back("warn:" + std::string(detail1) + ":" + format);
        }
        std::vector<std::string> calls;
    } own;
    createSpecifierFile(&own);
    deleteSpecifierFile(&own);
    fs::create_directories(machine.manifest);
    createSpecifierFile(&own);
    EXPECT_EQ(own.calls, (std::vector<std::string>{"info:" + created.message, "info:" + deleted.message,
                                                   "warn::" + noFile.message}));
    EXPECT_TRUE(own.lines().empty());
}

TEST_F(SpecifierManifest, ReachesTheTargetsOfTheLoggersIdentifier) {
    RecordingTarget target("HCDCustomHook");
    ASSERT_TRUE(elmu::LoggingCore::getInstance()->registerTarget(&target));
    elmu::Logger real("HCDCustomHook", "", "HCD", "HCDCustomHook", "");
    createSpecifierFile(&real);
    fs::remove(machine.manifest);
    fs::create_directories(machine.manifest);
    createSpecifierFile(&real);
    ASSERT_TRUE(elmu::LoggingCore::getInstance()->unregisterTarget(&target));
    ASSERT_EQ(target.records.size(), 2U);
    using Fields = std::vector<std::string>;
    EXPECT_EQ(target.records[0].level, INFO);
    EXPECT_EQ(target.records[0].fields, (Fields{"", "HCD", "HCDCustomHook", "", "", "", created.message}));
    EXPECT_EQ(target.records[1].level, WARN);
    EXPECT_EQ(target.records[1].fields, (Fields{"", "HCD", "HCDCustomHook", "", "", "", noFile.message}));
}

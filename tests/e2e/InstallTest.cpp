#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

#include <filesystem>

namespace fs = std::filesystem;
using namespace e2e;
using testing::ElementsAre;

namespace {

class Install : public MachineTest {};

} // namespace

TEST_F(Install, MakesTheWholeChainOfFoldersAndTheManifest) {
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Install, DoesItsJobWithAnEnvironmentThatIsNoText) {
    machine.setEnvironment("ODD", "\xff\xfe");
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Install, LeavesNothingButTheManifestInItsFolder) {
    install();
    EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("halcyra.xml"));
}

TEST_F(Install, GivesNewSpecifierFoldersTheUsualMode) {
    install();
    for (const std::string folder : {"/Korvane", "/Korvane/Ostrel", "/Korvane/Ostrel/specifiers"}) {
        EXPECT_EQ(machine.modeOf(LocalSupport + folder), 0755U) << folder;
    }
}

TEST_F(Install, MakesTheStandardFoldersReadableForEverybody) {
    install();
    for (const std::string folder : {"/Library", "/Library/Application Support", "/Applications/Utilities"}) {
        EXPECT_EQ(machine.modeOf(folder), 0755U) << folder;
    }
}

TEST_F(Install, LeavesExistingFoldersAsTheyAre) {
    machine.makeFolder(SpecifierFolder);
    machine.setMode(SpecifierFolder, 0711);
    machine.setMode(LocalSupport, 0775);
    install();
    EXPECT_EQ(machine.modeOf(SpecifierFolder), 0711U);
    EXPECT_EQ(machine.modeOf(LocalSupport), 0775U);
}

TEST_F(Install, LeavesTheFoldersOtherManifestsAlone) {
    machine.put(SpecifierFolder + "/other.xml", "another application");
    install();
    EXPECT_EQ(machine.read(SpecifierFolder + "/other.xml"), "another application");
}

TEST_F(Install, ReplacesAnOlderManifest) {
    machine.put(Manifest, std::string(10000, 'x'));
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Install, GivesTheSameFileTwiceAndReportsBoth) {
    install();
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created, parsing(2), Created));
}

TEST_F(Install, AfterAnUninstallGivesTheManifestAgain) {
    install();
    uninstall();
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Install, NamesAFixedVersionWhateverIsInstalled) {
    machine.put(ProductFolder + "/HCD/Halcyra.app/Contents/Info.plist",
                "<plist version=\"1.0\"><dict><key>CFBundleShortVersionString</key><string>9.9.9</string>"
                "</dict></plist>");
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Install, LeavesTheApplicationAlone) {
    machine.put(ProductFolder + "/HCD/Halcyra.app/Contents/MacOS/Halcyra", "the application");
    fillCache();
    install();
    EXPECT_EQ(machine.read(ProductFolder + "/HCD/Halcyra.app/Contents/MacOS/Halcyra"), "the application");
}

TEST_F(Install, ReducesTheModeOfANewManifestByTheUmask) {
    runShell("umask 027; HCDCustomHook --install=1");
    EXPECT_EQ(machine.modeOf(Manifest), 0640U);
}

TEST_F(Install, GivesANewManifestMode0666WithoutAUmask) {
    runShell("umask 0; HCDCustomHook --install=1");
    EXPECT_EQ(machine.modeOf(Manifest), 0666U);
}

TEST_F(Install, PassesTheModeOfAReplacedManifestOn) {
    machine.put(Manifest, "an older manifest");
    machine.setMode(Manifest, 0604);
    install();
    EXPECT_EQ(machine.modeOf(Manifest), 0604U);
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Install, ReplacesALinkAndLeavesItsTargetUntouched) {
    machine.put("/Users/elsewhere.xml", "not ours");
    machine.link(Manifest, "/Users/elsewhere.xml");
    install();
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(machine.outside(Manifest))));
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_EQ(machine.read("/Users/elsewhere.xml"), "not ours");
}

TEST_F(Install, ReplacesALinkThatLeadsNowhere) {
    machine.link(Manifest, "/Users/nowhere.xml");
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_FALSE(machine.has("/Users/nowhere.xml"));
}

TEST_F(Install, WritesIntoTheFolderThatALinkLeadsTo) {
    machine.makeFolder("/Users/specifiers");
    machine.link(SpecifierFolder, "/Users/specifiers");
    install();
    EXPECT_EQ(machine.read("/Users/specifiers/halcyra.xml"), manifestText());
}

TEST_F(Install, LeavesTheOtherNameOfTheSameFileWithItsContent) {
    machine.put(Manifest, "an older manifest");
    fs::create_hard_link(machine.outside(Manifest), machine.outside("/Users/second-name.xml"));
    install();
    EXPECT_EQ(machine.read("/Users/second-name.xml"), "an older manifest");
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Install, IsTheSameInAnyLocale) {
    machine.setEnvironment("LC_ALL", "de_DE.UTF-8");
    machine.setEnvironment("LANGUAGE", "ja:fr");
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Install, WorksWithoutStandardStreams) {
    runShell("HCDCustomHook --install=1 <&- >&- 2>&-");
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created));
}

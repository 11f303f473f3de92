#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::ElementsAre;

namespace {

const std::string WorkingFolder = "/Users/tester/here";

/// A machine whose utilities folder cannot be found: a file is in its place.
class WithoutAUtilitiesFolder : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine.put("/Applications/Utilities", "a file");
        machine.makeFolder(WorkingFolder);
        machine.add({"--chdir", WorkingFolder});
    }
};

/// A machine whose application-support folder cannot be found: a file is in its place.
class WithoutAnApplicationSupportFolder : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        machine.put(LocalSupport, "a file");
    }
};

const std::string ManifestAtTheRoot = "/Korvane/Ostrel/specifiers/halcyra.xml";

} // namespace

TEST_F(WithoutAUtilitiesFolder, TheManifestNamesTheApplicationByARelativePath) {
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText("HCD/Halcyra.app"));
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created));
}

TEST_F(WithoutAUtilitiesFolder, TheCacheInTheWorkingFolderIsRemoved) {
    machine.put(WorkingFolder + "/CEF/Cache/data", "page");
    machine.put(WorkingFolder + "/neighbour", "kept");
    install();
    EXPECT_THAT(machine.namesIn(WorkingFolder), ElementsAre("neighbour"));
}

TEST_F(WithoutAUtilitiesFolder, AWorkingFolderWithoutACacheStaysAsItIs) {
    machine.put(WorkingFolder + "/neighbour", "kept");
    install();
    EXPECT_THAT(machine.namesIn(WorkingFolder), ElementsAre("neighbour"));
}

TEST_F(WithoutAUtilitiesFolder, UninstallRemovesTheManifestAndNoCache) {
    machine.put(Manifest, manifestText());
    machine.put(WorkingFolder + "/CEF/data", "page");
    uninstall();
    EXPECT_FALSE(machine.has(Manifest));
    EXPECT_TRUE(machine.has(WorkingFolder + "/CEF/data"));
}

TEST_F(WithoutAUtilitiesFolder, AFileInPlaceOfAllApplicationsIsTheSame) {
    EXPECT_TRUE(quiet(machine.runShell("rm -r /Applications; echo a file >/Applications")));
    machine.put(WorkingFolder + "/CEF/data", "page");
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText("HCD/Halcyra.app"));
    EXPECT_FALSE(machine.has(WorkingFolder + "/CEF"));
}

TEST_F(WithoutAnApplicationSupportFolder, TheManifestGoesBelowTheRootFolder) {
    install();
    EXPECT_EQ(machine.read(ManifestAtTheRoot), manifestText());
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created));
}

TEST_F(WithoutAnApplicationSupportFolder, UninstallRemovesTheManifestBelowTheRootFolder) {
    machine.put(ManifestAtTheRoot, manifestText());
    uninstall();
    EXPECT_FALSE(machine.has(ManifestAtTheRoot));
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(1), Deleted));
}

TEST_F(WithoutAnApplicationSupportFolder, TheCacheIsRemovedAllTheSame) {
    fillCache();
    install();
    EXPECT_FALSE(machine.has(Cache));
}

#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::ElementsAre;

namespace {

class Uninstall : public MachineTest {
  protected:
    /// Uninstalls; `record` must be all that is told of it.
    void uninstallAndExpect(const std::string& record) const {
        uninstall();
        EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(1), record));
    }
};

} // namespace

TEST_F(Uninstall, RemovesTheManifest) {
    machine.put(Manifest, manifestText());
    uninstallAndExpect(Deleted);
    EXPECT_FALSE(machine.has(Manifest));
}

TEST_F(Uninstall, KeepsTheEmptyFolder) {
    machine.put(Manifest, manifestText());
    uninstall();
    EXPECT_TRUE(machine.hasFolder(SpecifierFolder));
}

TEST_F(Uninstall, KeepsOtherManifests) {
    machine.put(Manifest, manifestText());
    machine.put(SpecifierFolder + "/other.xml", "another application");
    uninstall();
    EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("other.xml"));
}

TEST_F(Uninstall, ReportsSuccessWhenThereIsNoManifest) {
    machine.makeFolder(SpecifierFolder);
    uninstallAndExpect(Deleted);
}

TEST_F(Uninstall, ReportsSuccessOnAMachineThatNeverSawTheApplication) {
    uninstallAndExpect(Deleted);
    EXPECT_FALSE(machine.has(LocalSupport + "/Korvane"));
}

TEST_F(Uninstall, ReportsSuccessTwice) {
    install();
    uninstall();
    uninstall();
    EXPECT_THAT(toldBy(machine.read(Log)),
                ElementsAre(parsing(2), Created, parsing(1), Deleted, parsing(1), Deleted));
}

TEST_F(Uninstall, LeavesTheCacheAlone) {
    fillCache();
    uninstall();
    EXPECT_EQ(machine.read(Cache + "/Cache/data/f_000001"), "page");
}

TEST_F(Uninstall, RemovesALinkAndLeavesItsTarget) {
    machine.put("/Users/elsewhere.xml", "not ours");
    machine.link(Manifest, "/Users/elsewhere.xml");
    uninstallAndExpect(Deleted);
    EXPECT_FALSE(machine.has(Manifest));
    EXPECT_EQ(machine.read("/Users/elsewhere.xml"), "not ours");
}

TEST_F(Uninstall, ReportsSuccessForALinkThatLeadsNowhere) {
    machine.link(Manifest, "/Users/nowhere.xml");
    uninstallAndExpect(Deleted);
}

TEST_F(Uninstall, RemovesAnEmptyFolderInTheManifestsPlace) {
    machine.makeFolder(Manifest);
    uninstallAndExpect(Deleted);
    EXPECT_FALSE(machine.has(Manifest));
}

TEST_F(Uninstall, ReportsThatAFilledFolderInTheManifestsPlaceStays) {
    machine.put(Manifest + "/inside", "kept");
    uninstallAndExpect(NotDeleted);
    EXPECT_EQ(machine.read(Manifest + "/inside"), "kept");
}

TEST_F(Uninstall, ReportsThatAManifestOnAReadOnlyDiskStays) {
    machine.put(Manifest, manifestText());
    machine.makeReadOnly(SpecifierFolder);
    uninstallAndExpect(NotDeleted);
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Uninstall, ReportsThatAManifestThatIsAMountPointStays) {
    machine.put(Manifest, manifestText());
    machine.makeReadOnly(Manifest);
    uninstallAndExpect(NotDeleted);
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

TEST_F(Uninstall, ReportsSuccessOnAReadOnlyDiskWithoutAManifest) {
    machine.makeReadOnly(SpecifierFolder);
    uninstallAndExpect(Deleted);
}

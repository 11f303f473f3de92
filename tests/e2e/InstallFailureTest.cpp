#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::ElementsAre;

namespace {

/// An install whose manifest cannot be written. The cache is there to be removed all the same.
class FailingInstall : public MachineTest {
  protected:
    void SetUp() override {
        MachineTest::SetUp();
        fillCache();
    }

    /// Installs; `record` must be the only complaint, and the cache must be gone.
    void installAndExpect(const std::string& record) const {
        install();
        EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), record));
        EXPECT_FALSE(machine.has(Cache));
    }
};

} // namespace

TEST_F(FailingInstall, WarnsWhenAFileIsInTheWayOfTheFolders) {
    machine.put(LocalSupport + "/Korvane", "a file");
    installAndExpect(NoFolder);
    EXPECT_EQ(machine.read(LocalSupport + "/Korvane"), "a file");
}

TEST_F(FailingInstall, WarnsWhenAFileIsInTheWayOfTheLastFolderButOne) {
    machine.put(LocalSupport + "/Korvane/Ostrel", "a file");
    installAndExpect(NoFolder);
}

TEST_F(FailingInstall, WarnsWhenTheFoldersCannotBeMadeOnAReadOnlyDisk) {
    machine.makeReadOnly(LocalSupport);
    installAndExpect(NoFolder);
    EXPECT_THAT(machine.namesIn(LocalSupport), ElementsAre());
}

TEST_F(FailingInstall, WarnsWhenALinkThatLeadsNowhereIsInTheWayOfTheFolders) {
    machine.link(LocalSupport + "/Korvane", "/Users/nowhere");
    installAndExpect(NoFolder);
}

TEST_F(FailingInstall, WarnsWhenAFileIsInTheFoldersPlace) {
    machine.put(SpecifierFolder, "a file");
    installAndExpect(NotWritten);
    EXPECT_EQ(machine.read(SpecifierFolder), "a file");
}

TEST_F(FailingInstall, WarnsWhenTheFolderIsReadOnly) {
    machine.makeReadOnly(SpecifierFolder);
    installAndExpect(NotWritten);
}

TEST_F(FailingInstall, LeavesTheOldManifestInAReadOnlyFolder) {
    machine.put(Manifest, "an older manifest");
    machine.makeReadOnly(SpecifierFolder);
    installAndExpect(NotWritten);
    EXPECT_EQ(machine.read(Manifest), "an older manifest");
}

TEST_F(FailingInstall, WarnsWhenAFilledFolderIsInTheManifestsPlace) {
    machine.put(Manifest + "/inside", "kept");
    installAndExpect(NotWritten);
    EXPECT_EQ(machine.read(Manifest + "/inside"), "kept");
}

TEST_F(FailingInstall, WarnsWhenAnEmptyFolderIsInTheManifestsPlace) {
    machine.makeFolder(Manifest);
    installAndExpect(NotWritten);
}

TEST_F(FailingInstall, LeavesNoTemporaryFileBesideAFolderInTheManifestsPlace) {
    machine.makeFolder(Manifest);
    install();
    EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("halcyra.xml"));
}

TEST_F(FailingInstall, WarnsWhenTheManifestIsAMountPoint) {
    machine.put(Manifest, "an older manifest");
    machine.makeReadOnly(Manifest);
    installAndExpect(NotWritten);
    EXPECT_EQ(machine.read(Manifest), "an older manifest");
    EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("halcyra.xml"));
}

TEST_F(FailingInstall, SucceedsAtTheNextRunWhenTheObstacleIsGone) {
    machine.put(LocalSupport + "/Korvane", "a file");
    install();
    EXPECT_TRUE(quiet(machine.runShell("rm '" + LocalSupport + "/Korvane'")));
    install();
    EXPECT_EQ(machine.read(Manifest), manifestText());
}

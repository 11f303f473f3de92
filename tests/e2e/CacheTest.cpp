#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::ElementsAre;

namespace {

class CacheCleanUp : public MachineTest {
  protected:
    /// Installs; the log must tell of the manifest and of nothing else.
    void installAndExpectSilence() const {
        install();
        EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created));
    }
};

} // namespace

TEST_F(CacheCleanUp, IsSilentWithoutACache) {
    machine.makeFolder(ProductFolder);
    installAndExpectSilence();
    EXPECT_THAT(machine.namesIn(ProductFolder), ElementsAre());
}

TEST_F(CacheCleanUp, DoesNotMakeTheProductFolder) {
    installAndExpectSilence();
    EXPECT_FALSE(machine.has(ProductFolder));
}

TEST_F(CacheCleanUp, RemovesNestedContent) {
    fillCache();
    installAndExpectSilence();
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(CacheCleanUp, RemovesAnEmptyFolder) {
    machine.makeFolder(Cache);
    installAndExpectSilence();
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(CacheCleanUp, RemovesAPlainFile) {
    machine.put(Cache, "a file");
    installAndExpectSilence();
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(CacheCleanUp, RemovesReadOnlyFilesAndFolders) {
    fillCache();
    machine.setMode(Cache + "/Cache/data/f_000001", 0);
    machine.setMode(Cache + "/Cache/data", 0500);
    installAndExpectSilence();
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(CacheCleanUp, RemovesAVeryDeepFolder) {
    std::string deep = Cache;
    for (int depth = 0; depth < 200; ++depth) {
        deep += "/folder";
    }
    machine.put(deep + "/file", "content");
    installAndExpectSilence();
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(CacheCleanUp, LeavesWhatALinkInsideLeadsTo) {
    machine.put("/Users/elsewhere/file", "not ours");
    machine.put(Cache + "/Cookies", "cookies");
    machine.link(Cache + "/link", "/Users/elsewhere");
    installAndExpectSilence();
    EXPECT_FALSE(machine.has(Cache));
    EXPECT_EQ(machine.read("/Users/elsewhere/file"), "not ours");
}

TEST_F(CacheCleanUp, RemovesALinkInTheCachesPlaceAndLeavesItsTarget) {
    machine.put("/Users/elsewhere/file", "not ours");
    machine.link(Cache, "/Users/elsewhere");
    installAndExpectSilence();
    EXPECT_FALSE(machine.has(Cache));
    EXPECT_EQ(machine.read("/Users/elsewhere/file"), "not ours");
}

TEST_F(CacheCleanUp, LeavesALinkThatLeadsNowhere) {
    machine.link(Cache, "/Users/nowhere");
    installAndExpectSilence();
    EXPECT_TRUE(machine.has(Cache));
}

TEST_F(CacheCleanUp, LeavesTheCachesNeighboursAlone) {
    fillCache();
    machine.put(ProductFolder + "/CEF.old", "kept");
    machine.put(ProductFolder + "/cef/file", "kept");
    install();
    EXPECT_THAT(machine.namesIn(ProductFolder), ElementsAre("CEF.old", "cef"));
}

TEST_F(CacheCleanUp, IsSilentWhenTheCacheCannotBeRemoved) {
    fillCache();
    machine.makeReadOnly(Cache);
    installAndExpectSilence();
    EXPECT_EQ(machine.read(Cache + "/Cookies"), "cookies");
}

TEST_F(CacheCleanUp, IsSilentWhenAPartOfTheCacheCannotBeRemoved) {
    fillCache();
    machine.put(Cache + "/locked/file", "stays");
    machine.makeReadOnly(Cache + "/locked");
    installAndExpectSilence();
    EXPECT_EQ(machine.read(Cache + "/locked/file"), "stays");
}

TEST_F(CacheCleanUp, IsSilentWhenTheProductFolderIsReadOnly) {
    fillCache();
    machine.makeReadOnly(ProductFolder);
    installAndExpectSilence();
    EXPECT_EQ(machine.read(Cache + "/Cookies"), "cookies");
}

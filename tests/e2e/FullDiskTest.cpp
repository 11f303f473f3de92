#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

const unsigned Tiny = 64 * 1024;

/// A file system that is full to the last byte when the tool starts. What it held when the tool had ended is
/// in the folder `/after`.
class FullDisk : public MachineTest {
  protected:
    /// Runs the tool with the file system at `folder`, on which `prepare` was run before it was filled.
    void installOn(const std::string& folder, const std::string& prepare) {
        machine.makeTiny(folder, Tiny);
        const Outcome outcome = machine.runShell("cd '" + folder + "' || exit 90\n" + prepare +
                                                 "\ncat /dev/zero >filler 2>/dev/null\n"
                                                 "if (echo x >probe) 2>/dev/null; then exit 91; fi\n"
                                                 "rm probe\n"
                                                 "HCDCustomHook --install=1\n"
                                                 "status=$?\n"
                                                 "cp -Rp . /after || exit 92\n"
                                                 "exit $status");
        EXPECT_TRUE(quiet(outcome));
    }
};

} // namespace

TEST_F(FullDisk, LeavesAnOldManifestByteForByte) {
    const std::string old = "<Older>" + std::string(3000, 'o') + "</Older>\n";
    machine.put("/Users/old.xml", old);
    installOn(SpecifierFolder, "cat /Users/old.xml >halcyra.xml; chmod 640 halcyra.xml");
    EXPECT_EQ(machine.read("/after/halcyra.xml"), old);
    EXPECT_EQ(machine.modeOf("/after/halcyra.xml"), 0640U);
}

TEST_F(FullDisk, IsWarnedOfWhenTheManifestCannotBeWritten) {
    fillCache();
    installOn(SpecifierFolder, "echo old >halcyra.xml");
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), NotWritten));
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(FullDisk, LeavesNoPartOfANewManifest) {
    installOn(SpecifierFolder, "");
    EXPECT_THAT(machine.namesIn("/after"), ElementsAre("filler"));
}

TEST_F(FullDisk, LeavesNoTemporaryFileBesideAnOldManifest) {
    installOn(SpecifierFolder, "echo old >halcyra.xml");
    EXPECT_THAT(machine.namesIn("/after"), ElementsAre("filler", "halcyra.xml"));
}

TEST_F(FullDisk, UnderTheLogDoesNotKeepTheToolFromItsJob) {
    fillCache();
    installOn(LogFolder, "");
    EXPECT_EQ(machine.read(Manifest), manifestText());
    EXPECT_FALSE(machine.has(Cache));
}

TEST_F(FullDisk, UnderTheLogLeavesEarlierLines) {
    installOn(LogFolder, "echo an earlier line >HCD.log");
    EXPECT_THAT(machine.read("/after/HCD.log"), StartsWith("an earlier line\n"));
}

TEST_F(FullDisk, UnderTheCacheDoesNotKeepTheCache) {
    installOn(ProductFolder, "mkdir -p CEF/Cache; echo page >CEF/Cache/page");
    EXPECT_THAT(machine.namesIn("/after"), ElementsAre("filler"));
}

TEST_F(FullDisk, HasNothingOverAFileSizeLimit) {
    machine.put(Manifest, "old");
    runShell("exec prlimit --fsize=100 " + Tool + " --install=1");
    EXPECT_EQ(machine.read(Manifest), "old");
    EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("halcyra.xml"));
}

#include "e2e/CallFilter.h"
#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

#include <cerrno>

using namespace e2e;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RefusedCalls : public MachineTest {
  protected:
    void expectTheOldManifest() const {
        EXPECT_EQ(machine.read(Manifest), "an older manifest");
        EXPECT_THAT(machine.namesIn(SpecifierFolder), ElementsAre("halcyra.xml"));
        EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), NotWritten));
    }

    void expectTheJobDoneWithoutALine() {
        fillCache();
        install();
        EXPECT_EQ(machine.read(Manifest), manifestText());
        EXPECT_FALSE(machine.has(Cache));
        EXPECT_EQ(machine.read(Log), "");
    }
};

} // namespace

TEST_F(RefusedCalls, ThatSyncLeaveTheOldManifestAndNoTemporaryFile) {
    machine.put(Manifest, "an older manifest");
    machine.refuse(callsThatSync(), EIO);
    install();
    expectTheOldManifest();
}

TEST_F(RefusedCalls, ThatSyncLeaveNoPartOfANewManifest) {
    machine.refuse(callsThatSync(), EIO);
    install();
    EXPECT_THAT(machine.namesIn(SpecifierFolder), IsEmpty());
}

TEST_F(RefusedCalls, ThatRenameLeaveTheOldManifestAndNoTemporaryFile) {
    machine.put(Manifest, "an older manifest");
    machine.refuse(callsThatRename(), EIO);
    install();
    expectTheOldManifest();
}

TEST_F(RefusedCalls, ThatOpenSemaphoresLeaveTheLogEmptyAndTheJobDone) {
    machine.refuse(callsThatOpenSemaphores(), ENOSPC);
    expectTheJobDoneWithoutALine();
}

TEST_F(RefusedCalls, ThatUseSemaphoresLeaveTheLogEmptyAndTheJobDone) {
    machine.refuse(callsThatUseSemaphores(), EINVAL);
    expectTheJobDoneWithoutALine();
}

TEST_F(RefusedCalls, ThatChangeTheModeOfANewLogAreToldOnStandardErrorAlone) {
    machine.refuse(callsThatChangeModes(), EPERM);
    const Outcome outcome = machine.runTool({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "\n Error Set File permissions. errno = Operation not permitted");
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(1), Deleted));
}

TEST_F(RefusedCalls, ThatChangeModesAreNotMadeForAnExistingLog) {
    machine.put(Log, "");
    machine.refuse(callsThatChangeModes(), EPERM);
    uninstall();
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(1), Deleted));
}

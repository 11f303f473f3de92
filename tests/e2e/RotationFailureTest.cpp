#include "e2e/FullLog.h"

#include <algorithm>
#include <cerrno>

using namespace e2e;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const unsigned Mebibyte = 1024 * 1024;
const std::string Supply = "/Users/supply";
/// What the small disk under the log held when the tool had ended.
const std::string After = "/after";
const std::string LogAfter = After + "/HCD.log";

/// A log at its limit that cannot be copied. Nobody is told, the tool does its job, and no earlier line is
/// lost.
class FailedRotation : public FullLogTest {
  protected:
    /// Runs `script` in the log's folder, which is a file system of `bytes` that holds the log and nothing
    /// else.
    void runOnSmallDisk(unsigned bytes, std::size_t logSize, const std::string& script) {
        earlier = earlierLines(logSize);
        machine.put(Supply + "/HCD.log", earlier);
        machine.makeTiny(LogFolder, bytes);
        fillCache();
        runShell("cd '" + LogFolder + "' && cp " + Supply + "/HCD.log . || exit 90\n" + script +
                 "\ncp -Rp . " + After + " || exit 92");
    }

    void expectTheJobDone() const {
        EXPECT_EQ(machine.read(Manifest), manifestText());
        EXPECT_FALSE(machine.has(Cache));
    }

    void installAndExpectTheJobDone() const {
        fillCache();
        install();
        expectTheJobDone();
    }

    bool earlierLinesAreSomewhere() const {
        const std::vector<std::string> made = copies();
        return earlierLinesAreInTheLog() || std::any_of(made.begin(), made.end(), [this](const auto& copy) {
                   return earlierLinesAreInTheLog(besideTheLog(copy));
               });
    }
};

const std::string Fill = "cat /dev/zero >filler 2>/dev/null\n"
                         "if (echo x >probe) 2>/dev/null; then exit 91; fi\n"
                         "rm probe\n";
const std::string Install = "HCDCustomHook --install=1 || exit\n";

} // namespace

TEST_F(FailedRotation, ForWantOfRoomGoesOnInTheSameLogWithAHeader) {
    runOnSmallDisk(12 * Mebibyte, 11 * Mebibyte, Install);
    EXPECT_TRUE(earlierLinesAreInTheLog(LogAfter));
    EXPECT_THAT(toldAfterTheEarlierLines(LogAfter), ElementsAreArray(afterHeader({parsing(2), Created})));
    expectTheJobDone();
}

TEST_F(FailedRotation, ForWantOfRoomLeavesNoPartOfACopy) {
    runOnSmallDisk(12 * Mebibyte, 11 * Mebibyte, Install);
    EXPECT_THAT(machine.namesIn(After), ElementsAre("HCD.log"));
}

TEST_F(FailedRotation, OnAFullDiskLeavesTheLogByteForByte) {
    runOnSmallDisk(12 * Mebibyte, 11 * Mebibyte, Fill + Install);
    EXPECT_TRUE(machine.read(LogAfter) == earlier);
    EXPECT_THAT(machine.namesIn(After), ElementsAre("HCD.log", "filler"));
    expectTheJobDone();
}

TEST_F(FailedRotation, IsTriedAgainByTheNextRun) {
    runOnSmallDisk(24 * Mebibyte, LogLimit, Fill + Install + "rm filler\n" + Install);
    const std::vector<std::string> names = machine.namesIn(After);
    ASSERT_THAT(names, SizeIs(2));
    EXPECT_TRUE(machine.read(After + "/" + names.front()) == earlier);
    EXPECT_THAT(toldBy(machine.read(LogAfter)), ElementsAreArray(afterHeader({parsing(2), Created})));
}

TEST_F(FailedRotation, InAReadOnlyFolderGoesOnInTheSameLogWithAHeader) {
    fillLog();
    machine.makeReadOnly(LogFolder);
    machine.add({"--bind", machine.outside(Log), Log});
    installAndExpectTheJobDone();
    EXPECT_TRUE(earlierLinesAreInTheLog());
    EXPECT_THAT(toldAfterTheEarlierLines(), ElementsAreArray(afterHeader({parsing(2), Created})));
    EXPECT_THAT(machine.namesIn(LogFolder), ElementsAre("HCD.log"));
}

TEST_F(FailedRotation, OnAReadOnlyDiskLeavesTheLogByteForByte) {
    fillLog();
    machine.makeReadOnly(LogFolder);
    installAndExpectTheJobDone();
    EXPECT_TRUE(machine.read(Log) == earlier);
    EXPECT_THAT(machine.namesIn(LogFolder), ElementsAre("HCD.log"));
}

TEST_F(FailedRotation, OverAFileSizeLimitLeavesTheLogByteForByte) {
    fillLog();
    fillCache();
    runShell("exec prlimit --fsize=" + std::to_string(8 * Mebibyte) + " " + Tool + " --install=1");
    EXPECT_TRUE(machine.read(Log) == earlier);
    EXPECT_THAT(machine.namesIn(LogFolder), ElementsAre("HCD.log"));
    expectTheJobDone();
}

TEST_F(FailedRotation, ForWantOfALockLeavesTheLogByteForByte) {
    fillLog();
    machine.refuse(callsThatUseSemaphores(), EINVAL);
    installAndExpectTheJobDone();
    EXPECT_TRUE(machine.read(Log) == earlier);
    EXPECT_THAT(copies(), IsEmpty());
}

TEST_F(FailedRotation, WithoutRenamingLosesNoEarlierLine) {
    fillLog();
    machine.refuse(callsThatRename(), EIO);
    install();
    EXPECT_TRUE(earlierLinesAreSomewhere());
}

TEST_F(FailedRotation, WithoutSyncingLosesNoEarlierLine) {
    fillLog();
    machine.refuse(callsThatSync(), EIO);
    install();
    EXPECT_TRUE(earlierLinesAreSomewhere());
}

#include "e2e/LogRecord.h"
#include "e2e/Machine.h"

using namespace e2e;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

class LevelMarkers : public MachineTest {
  protected:
    /// Installs; the log must hold the records of INFO and above, and no other.
    void installAndExpectTheUsualRecords() const {
        install();
        EXPECT_THAT(toldBy(machine.read(Log)), ElementsAre(parsing(2), Created));
    }

    /// Installs; the log must hold every record that the tool has for it.
    void installAndExpectAllRecords() const {
        install();
        EXPECT_THAT(toldBy(machine.read(Log)),
                    ElementsAre(parsing(2), StartsWith("DEBUG First command line argument is "),
                                "DEBUG Argument specified is --install=1", Created));
    }
};

class ActiveMarker : public LevelMarkers, public testing::WithParamInterface<std::string> {};
class FileWithoutEffect : public LevelMarkers, public testing::WithParamInterface<std::string> {};

std::string nameWithoutSigns(const testing::TestParamInfo<std::string>& info) {
    std::string name;
    for (const char sign : info.param) {
        name += std::isalnum(static_cast<unsigned char>(sign)) != 0 ? sign : '_';
    }
    return name;
}

} // namespace

TEST_F(LevelMarkers, AreAbsentAndOnlyTheUsualRecordsAreWritten) { installAndExpectTheUsualRecords(); }

TEST_P(ActiveMarker, BringsTheDebugRecords) {
    machine.put(LogsFolder + "/" + GetParam(), "");
    installAndExpectAllRecords();
}

TEST_P(ActiveMarker, CountsWhateverItHolds) {
    machine.put(LogsFolder + "/" + GetParam(), "off\n");
    installAndExpectAllRecords();
}

TEST_P(ActiveMarker, CountsAsAbsentWhenItIsAFolder) {
    machine.makeFolder(LogsFolder + "/" + GetParam());
    installAndExpectTheUsualRecords();
}

TEST_P(ActiveMarker, CountsWhenItIsALinkToAFile) {
    machine.put("/Users/elsewhere", "");
    machine.link(LogsFolder + "/" + GetParam(), "/Users/elsewhere");
    installAndExpectAllRecords();
}

TEST_P(ActiveMarker, CountsAsAbsentWhenItIsALinkThatLeadsNowhere) {
    machine.link(LogsFolder + "/" + GetParam(), "/Users/nowhere");
    installAndExpectTheUsualRecords();
}

TEST_P(ActiveMarker, HasNoEffectBesideTheLog) {
    machine.put(LogFolder + "/" + GetParam(), "");
    installAndExpectTheUsualRecords();
}

TEST_P(ActiveMarker, HasNoEffectInTheMachinesOwnLogsFolder) {
    machine.put("/Library/Logs/" + GetParam(), "");
    installAndExpectTheUsualRecords();
}

TEST_P(ActiveMarker, StaysAsItIs) {
    machine.put(LogsFolder + "/" + GetParam(), "content");
    install();
    EXPECT_EQ(machine.read(LogsFolder + "/" + GetParam()), "content");
}

INSTANTIATE_TEST_SUITE_P(Markers, ActiveMarker,
                         testing::Values("ELMU.trace", "ELMU.debug", "ruk.trace", "ruk.debug"),
                         nameWithoutSigns);

TEST_P(FileWithoutEffect, LeavesTheUsualRecords) {
    machine.put(LogsFolder + "/" + GetParam(), "");
    installAndExpectTheUsualRecords();
}

INSTANTIATE_TEST_SUITE_P(Names, FileWithoutEffect,
                         testing::Values("HCD.trace", "HCD.debug", "HCDCustomHook.trace", "elmu.trace",
                                         "ELMU", "ELMU.log.trace", "ELMU.info", "ruk", "RUK.trace"),
                         nameWithoutSigns);

TEST_F(LevelMarkers, AFolderDoesNotHideTheNextMarker) {
    machine.makeFolder(LogsFolder + "/ELMU.trace");
    machine.makeFolder(LogsFolder + "/ELMU.debug");
    machine.makeFolder(LogsFolder + "/ruk.trace");
    machine.put(LogsFolder + "/ruk.debug", "");
    installAndExpectAllRecords();
}

TEST_F(LevelMarkers, TogetherGiveEachRecordOnce) {
    for (const char* const name : {"/ELMU.trace", "/ELMU.debug", "/ruk.trace", "/ruk.debug"}) {
        machine.put(LogsFolder + name, "");
    }
    installAndExpectAllRecords();
}

TEST_F(LevelMarkers, AreReadAnewByEachRun) {
    machine.put(LogsFolder + "/ruk.debug", "");
    uninstall();
    EXPECT_TRUE(quiet(machine.runShell("rm " + LogsFolder + "/ruk.debug")));
    uninstall();
    EXPECT_THAT(toldBy(machine.read(Log)),
                ElementsAre(parsing(1), StartsWith("DEBUG First command line argument is "), Deleted,
                            parsing(1), Deleted));
}

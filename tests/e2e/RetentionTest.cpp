#include "e2e/FullLog.h"

using namespace e2e;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::StartsWith;

namespace {

std::string contentOf(const std::string& name) { return "content of " + name; }

/// A machine in a place where it is noon, so that no run crosses a midnight, with a log at its limit. The
/// copy that a run makes is today's latest.
class Retention : public FullLogTest {
  protected:
    void SetUp() override {
        FullLogTest::SetUp();
        machine.setEnvironment("TZ", zone(hours));
        fillLog();
    }

    /// The name of a copy made `days` from today at `time`.
    std::string copyOf(int days, const std::string& time) const {
        return "HCD " + dateAt(hours, days) + " " + time + ".log";
    }

    void putBesideTheLog(const std::vector<std::string>& names) const {
        for (const std::string& name : names) {
            machine.put(besideTheLog(name), contentOf(name));
        }
    }

    /// The copy that the run makes.
    auto newCopy() const { return StartsWith("HCD " + dateAt(hours, 0) + " 1"); }

    std::vector<std::string> inTheFolder() const { return machine.namesIn(LogFolder); }

    const int hours = hoursToNoon();
};

/// What the marker file beside the log holds.
class KeepLogsMarker : public Retention, public testing::WithParamInterface<std::string> {
  protected:
    void SetUp() override {
        Retention::SetUp();
        putBesideTheLog(old);
        machine.put(besideTheLog("ruk.trace"), GetParam());
    }

    const std::vector<std::string> old = {copyOf(-400, "00-00-01"), copyOf(-2, "23-59-59"),
                                          copyOf(-1, "00-00-01"),   copyOf(-1, "00-00-02"),
                                          copyOf(0, "00-00-01"),    "HCDold.txt"};
};

class MarkerThatKeeps : public KeepLogsMarker {};
class MarkerThatKeepsNothing : public KeepLogsMarker {};

} // namespace

TEST_F(Retention, RemovesCopiesFromBeforeYesterday) {
    putBesideTheLog(
        {copyOf(-2, "23-59-59"), copyOf(-3, "12-00-00"), copyOf(-30, "12-00-00"), copyOf(-400, "12-00-00")});
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(newCopy(), "HCD.log"));
}

TEST_F(Retention, KeepsYesterdaysNewestBesideTheNewCopy) {
    putBesideTheLog({copyOf(-1, "00-00-00"), copyOf(-1, "23-59-59"), copyOf(-2, "23-59-59")});
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(copyOf(-1, "23-59-59"), newCopy(), "HCD.log"));
}

TEST_F(Retention, KeepsTheNewestTwoOfTodayAndYesterday) {
    putBesideTheLog({copyOf(0, "00-00-00"), copyOf(0, "09-59-59"), copyOf(-1, "10-00-00"),
                     copyOf(-1, "23-59-59"), copyOf(-2, "23-59-59")});
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(copyOf(0, "09-59-59"), newCopy(), "HCD.log"));
}

TEST_F(Retention, LeavesTheContentOfTheCopiesItKeeps) {
    const std::string kept = copyOf(-1, "23-59-59");
    putBesideTheLog({kept});
    install();
    EXPECT_EQ(machine.read(besideTheLog(kept)), contentOf(kept));
}

TEST_F(Retention, RemovesCopiesDatedTomorrow) {
    putBesideTheLog({copyOf(1, "00-00-00")});
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(newCopy(), "HCD.log"));
}

TEST_F(Retention, CountsDaysInTheMachinesZone) {
    const std::string yesterdayHere = copyOf(-1, "12-00-00");
    putBesideTheLog({yesterdayHere});
    machine.setEnvironment("TZ", zone(hours + 24));
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(StartsWith("HCD " + dateAt(hours, 1)), "HCD.log"));
}

TEST_F(Retention, RemovesOtherFilesThatBeginWithTheLogsName) {
    putBesideTheLog({"HCD", "HCDold.txt", "HCD.log.1", "HCD.trace", "HCDCustomHook.log"});
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(newCopy(), "HCD.log"));
}

TEST_F(Retention, LeavesFilesThatDoNotBeginWithTheLogsName) {
    const std::vector<std::string> others = {".HCD.log", "ELMU.log", "XHCD.log", "hcd.log", "ruk.trace"};
    putBesideTheLog(others);
    install();
    EXPECT_THAT(inTheFolder(), IsSupersetOf(others));
    for (const std::string& name : others) {
        EXPECT_EQ(machine.read(besideTheLog(name)), contentOf(name));
    }
}

TEST_F(Retention, RemovesWhatIsInAFolderThatBeginsWithTheLogsName) {
    putBesideTheLog({"HCD kept/inside.txt"});
    install();
    EXPECT_THAT(machine.namesIn(besideTheLog("HCD kept")), IsEmpty());
}

TEST_F(Retention, RemovesAnEmptyFolderThatBeginsWithTheLogsName) {
    machine.makeFolder(besideTheLog("HCD empty"));
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(newCopy(), "HCD.log"));
}

TEST_F(Retention, LeavesOldCopiesInAFolderOfAnotherName) {
    const std::string old = "archive/" + copyOf(-30, "12-00-00");
    putBesideTheLog({old});
    install();
    EXPECT_TRUE(machine.has(besideTheLog(old)));
}

TEST_F(Retention, RemovesALinkAndNotWhereItLeads) {
    machine.put("/Users/elsewhere/HCD.txt", "kept");
    machine.link(besideTheLog("HCD link"), "/Users/elsewhere");
    install();
    EXPECT_FALSE(machine.has(besideTheLog("HCD link")));
    EXPECT_EQ(machine.read("/Users/elsewhere/HCD.txt"), "kept");
}

TEST_F(Retention, RemovesNothingWithoutARotation) {
    fillLog(LogLimit - 1);
    const std::vector<std::string> old = {copyOf(-400, "00-00-01"), copyOf(-1, "00-00-01"),
                                          copyOf(-1, "00-00-02"),   copyOf(0, "00-00-01"),
                                          copyOf(0, "00-00-02"),    "HCDold.txt"};
    putBesideTheLog(old);
    install();
    EXPECT_THAT(inTheFolder(), IsSupersetOf(old));
}

TEST_F(Retention, IsNotChangedByAMarkerInTheLogsFolderAbove) {
    machine.put(LogsFolder + "/ruk.trace", "keeplogs");
    fillLog(TraceLogLimit);
    putBesideTheLog({copyOf(-2, "12-00-00")});
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(newCopy(), "HCD.log"));
}

TEST_F(Retention, IsNotChangedByAFolderInTheMarkersPlace) {
    machine.makeFolder(besideTheLog("ruk.trace"));
    putBesideTheLog({copyOf(-2, "12-00-00")});
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(newCopy(), "HCD.log", "ruk.trace"));
}

TEST_P(MarkerThatKeeps, KeepsEverything) {
    install();
    EXPECT_THAT(inTheFolder(), IsSupersetOf(old));
    EXPECT_THAT(inTheFolder(), Contains(newCopy()));
}

TEST_P(MarkerThatKeeps, DoesNotKeepTheLogFromStartingAnew) {
    install();
    EXPECT_THAT(toldBy(machine.read(Log)), ElementsAreArray(afterHeader({parsing(2), Created})));
}

INSTANTIATE_TEST_SUITE_P(Contents, MarkerThatKeeps,
                         testing::Values("keeplogs", std::string("keeplogs\0", 9),
                                         std::string("keeplogs\0and more", 17)));

TEST_P(MarkerThatKeepsNothing, LeavesTheNewestTwoAlone) {
    install();
    EXPECT_THAT(inTheFolder(), ElementsAre(copyOf(0, "00-00-01"), newCopy(), "HCD.log", "ruk.trace"));
}

TEST_P(MarkerThatKeepsNothing, StaysAsItIs) {
    install();
    EXPECT_EQ(machine.read(besideTheLog("ruk.trace")), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Contents, MarkerThatKeepsNothing,
                         testing::Values("keeplogs\n", "keeplogs\r\n", "keeplogs ", " keeplogs", "keeplog",
                                         "KEEPLOGS", "", "keeplogskeeplogs"));

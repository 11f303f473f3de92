#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "attacker/Attack.h"
#include "attacker/AttackTest.h"
#include "support/TempFolder.h"

// A run is killed before a step: every step in turn. Another run follows, which nobody disturbs.

using namespace attack;
using testing::IsEmpty;

namespace {

constexpr int Records = 40;
constexpr int StepsOfALoop = 2;

std::string records(int first, int end) {
    std::string lines;
    for (int record = first; record < end; ++record) {
        lines += "record " + std::to_string(record) + "\n";
    }
    return lines;
}

/// A log at the limit with known records, and one older copy.
void putRecords() {
    for (const std::string& folder : {Halcyra, LogFolder}) {
        putFolder(folder, User, 0777);
    }
    putFile(Log, records(0, Records / 2) + "padding", LogLimit, "\n" + records(Records / 2, Records));
    give(Log, 0, 0666);
    putFile(LogFolder + "/" + copyOfToday("00-00-01"), "an old record\n");
}

const Scene FullLog = {"FullLog", {}, putRecords};

/// How often each line that begins with "record" is in the log and its copies.
std::map<std::string, int> recordsFound() {
    std::map<std::string, int> found;
    for (const std::string& name : namesIn(LogFolder)) {
        std::istringstream content(name.starts_with("HCD") ? support::readFile(LogFolder + "/" + name) : "");
        for (std::string line; std::getline(content, line);) {
            if (line.starts_with("record ")) {
                ++found[line];
            }
        }
    }
    return found;
}

/// The records that are not there exactly once, with their numbers.
std::vector<std::string> recordsNotThereOnce() {
    std::map<std::string, int> found = recordsFound();
    std::vector<std::string> wrong;
    for (int record = 0; record < Records; ++record) {
        const std::string line = "record " + std::to_string(record);
        if (found[line] != 1) {
            wrong.push_back(line + " " + std::to_string(found[line]) + " times");
        }
    }
    return wrong;
}

class KilledRun : public AttackTest {
  protected:
    /// Runs the scene, and kills the run before its step `last`. False if it ended before.
    bool killBefore(const Scene& scene, int last) {
        makeGround(scene);
        Victim victim(scene.arguments);
        Steps steps(Sight::Everything, StepsOfALoop);
        for (int count = 0; count < last;) {
            const auto call = victim.next();
            if (!call) {
                return false;
            }
            count += steps.isStep(*call) ? 1 : 0;
            moment = "killed before step " + std::to_string(last) + ", " + described(*call);
        }
        victim.kill();
        return true;
    }

    /// Lets the next run go to its end, in which it writes a record.
    static void letTheNextRunWrite(const Scene& scene) {
        runUndisturbed(scene);
        EXPECT_TRUE(support::readFile(Log).find("Successfully") != std::string::npos) << "no record";
        EXPECT_THAT(hiddenNames(), IsEmpty());
    }

    /// Kills a run before its first step, another before its second, and so on. After each, another run
    /// writes, and `check` looks at what is there.
    template <class Check> void killBeforeEachStep(const Scene& scene, const Check& check) {
        makeOutside();
        int step = 1;
        int broken = 0;
        while (killBefore(scene, step)) {
            const testing::ScopedTrace trace(__FILE__, __LINE__, moment);
            const int failures = failedParts();
            letTheNextRunWrite(scene);
            check();
            broken += failedParts() > failures ? 1 : 0;
            ++step;
        }
        RecordProperty("kills", step - 1);
        std::cout << broken << " of " << step - 1 << " kills broke something" << std::endl;
        EXPECT_GT(step, 20) << "A run makes more calls than that.";
    }

  private:
    static int failedParts() {
        return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
    }

    std::string moment;
};

TEST_F(KilledRun, WithoutALogYetLetsTheNextOneWrite) {
    killBeforeEachStep(FirstRun, [] {});
}

TEST_F(KilledRun, ThatAppendsLetsTheNextOneWrite) {
    killBeforeEachStep(Append, [] {});
}

TEST_F(KilledRun, ThatRotatesLeavesEachRecordOnce) {
    killBeforeEachStep(FullLog, [] {
        EXPECT_THAT(recordsNotThereOnce(), IsEmpty());
        const std::vector<std::string> copies = copyNames();
        EXPECT_EQ(copies.size(), 2U) << testing::PrintToString(copies);
        EXPECT_EQ(copies.empty() ? "" : copies.front(), copyOfToday("00-00-01"));
    });
}

} // namespace

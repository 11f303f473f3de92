#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "attacker/Attack.h"
#include "attacker/AttackTest.h"
#include "support/TempFolder.h"

// Links that the tool follows, because nobody gains rights by them.

using namespace attack;

namespace {

class FollowedLink : public AttackTest {
  protected:
    void SetUp() override {
        AttackTest::SetUp();
        if (!IsSkipped()) {
            makeOutside();
        }
    }

    static void expectRecordIn(const std::string& log) {
        ASSERT_EQ(::access(log.c_str(), F_OK), 0) << log;
        EXPECT_TRUE(support::readFile(log).find("Successfully") != std::string::npos) << log;
    }

    /// Moves what is at `path` to the user's disk, and leaves a link of the user to it.
    static void move(const std::string& path, const std::string& name) {
        const AsUser user;
        ASSERT_EQ(::rename(path.c_str(), (OwnDisk + "/" + name).c_str()), 0) << path;
        ASSERT_EQ(::symlink((OwnDisk + "/" + name).c_str(), path.c_str()), 0) << path;
    }
};

TEST_F(FollowedLink, LeadsToTheLogsThatTheUserMovedToAnotherDisk) {
    makeGround(Append);
    move(Logs, "Logs");
    runUndisturbed(Append);
    expectRecordIn(OwnDisk + "/Logs/Halcyra/HCD/HCD.log");
}

TEST_F(FollowedLink, LeadsToAMovedPlaceOfTheFirstLog) {
    makeGround(FirstRun);
    move(Logs, "Logs");
    runUndisturbed(FirstRun);
    expectRecordIn(OwnDisk + "/Logs/Halcyra/HCD/HCD.log");
}

TEST_F(FollowedLink, LeadsToTheMovedLibrary) {
    makeGround(Append);
    move(Library, "Library");
    runUndisturbed(Append);
    expectRecordIn(OwnDisk + "/Library/Logs/Halcyra/HCD/HCD.log");
}

TEST_F(FollowedLink, LeadsToTheMovedLogFolder) {
    makeGround(Append);
    move(LogFolder, "HCD");
    runUndisturbed(Append);
    expectRecordIn(OwnDisk + "/HCD/HCD.log");
}

TEST_F(FollowedLink, LeadsToTheUsersOwnFile) {
    makeGround(Append);
    give(Log, User, 0666);
    move(Log, "HCD.log");
    runUndisturbed(Append);
    expectRecordIn(OwnDisk + "/HCD.log");
}

TEST_F(FollowedLink, LeadsToAFolderInWhichTheLogIsRotated) {
    makeGround(Rotation);
    move(LogFolder, "HCD");
    const std::vector<std::string> before = copyNames();
    runUndisturbed(Rotation);
    expectRecordIn(OwnDisk + "/HCD/HCD.log");
    EXPECT_NE(copyNames().back(), before.back());
}

TEST_F(FollowedLink, OfRootLeadsToTheHome) {
    makeGround(Append);
    const std::string place = "/Users/disk/home";
    ASSERT_EQ(::rename(Home.c_str(), place.c_str()), 0);
    ASSERT_EQ(::symlink(place.c_str(), Home.c_str()), 0);
    runUndisturbed(Append);
    expectRecordIn(place + "/Library/Logs/Halcyra/HCD/HCD.log");
}

} // namespace

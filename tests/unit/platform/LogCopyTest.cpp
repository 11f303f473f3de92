#include "platform/LogCopy.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/LogFile.h"
#include "platform/OpenFolder.h"
#include "support/InChild.h"
#include "support/OtherUsers.h"
#include "support/RefusedCalls.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"

using namespace platform;
using support::anna;
using support::readFile;
using support::ScopedAlarm;
using support::ScopedFileSizeLimit;
using support::TempFolder;
using support::writeFile;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

constexpr off_t kHuge = off_t{1} << 36;

class LogCopyInFolder : public testing::Test {
  protected:
    LogCopyInFolder() {
        EXPECT_FALSE(folder.open(top.path()));
        setLog("content");
    }

    void setLog(const std::string& content) {
        writeFile(top / "log", content);
        EXPECT_FALSE(log.openExisting(top / "log"));
    }

    std::vector<std::string> names() const { return top.names(); }

    /// A copy of the log, filled.
    LogCopy filled() {
        auto copy = LogCopy::make(folder, "copy");
        EXPECT_TRUE(copy);
        EXPECT_FALSE(copy->fill(log));
        return std::move(*copy);
    }

    /// Whether a file "copy" with `content` counts as contained in the log.
    bool isContained(const std::string& content) {
        writeFile(top / "copy", content);
        const auto copy = LogCopy::find(log, "copy");
        EXPECT_TRUE(copy);
        return copy->isContainedIn(log);
    }

    TempFolder top;
    OpenFolder folder;
    LogFile log;
};

} // namespace

TEST_F(LogCopyInFolder, IsEmptyAtFirst) {
    const auto copy = LogCopy::make(folder, "copy");
    ASSERT_TRUE(copy);
    EXPECT_EQ(readFile(top / "copy"), "");
    EXPECT_THAT(names(), UnorderedElementsAre("log", "copy"));
    EXPECT_TRUE(copy->isContainedIn(log));
}

TEST_F(LogCopyInFolder, HoldsAllOfTheLog) {
    const LogCopy copy = filled();
    EXPECT_EQ(readFile(top / "copy"), "content");
    EXPECT_EQ(readFile(top / "log"), "content");
    EXPECT_TRUE(copy.isContainedIn(log));
}

TEST_F(LogCopyInFolder, StaysPrivateWhereModesCannotBeChanged) {
    if (!support::canRefuseCalls()) {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    support::inChild([this] {
        ASSERT_TRUE(support::refuseCalls(support::modeChanges()));
        const auto copy = LogCopy::make(folder, "copy");
        ASSERT_TRUE(copy);
        EXPECT_FALSE(copy->fill(log));
    });
    EXPECT_EQ(readFile(top / "copy"), "content");
    EXPECT_EQ(fs::status(top / "copy").permissions(), fs::perms(0600));
}

TEST_F(LogCopyInFolder, IsReadByNobodyWhoCannotReadTheLog) {
    for (const mode_t mode : {0600U, 0640U, 0604U, 0666U}) {
        ASSERT_EQ(::chmod((top / "log").c_str(), mode), 0);
        const LogCopy copy = filled();
        struct stat status = {};
        ASSERT_EQ(::stat((top / "copy").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777 & ~mode, 0U) << std::oct << mode;
        EXPECT_NE(status.st_mode & 0400, 0U) << std::oct << mode;
        copy.discard();
    }
}

TEST_F(LogCopyInFolder, HoldsNothingOfAnEmptyLog) {
    setLog("");
    filled();
    EXPECT_EQ(readFile(top / "copy"), "");
}

TEST_F(LogCopyInFolder, IsNotMadeInPlaceOfOneThatMayHoldRecords) {
    writeFile(top / "copy", "records");
    EXPECT_FALSE(LogCopy::make(folder, "copy"));
    EXPECT_THAT(names(), UnorderedElementsAre("log", "copy"));
    EXPECT_EQ(readFile(top / "copy"), "records");
}

TEST_F(LogCopyInFolder, GetsAnotherName) {
    LogCopy copy = filled();
    EXPECT_FALSE(copy.rename("final"));
    EXPECT_THAT(names(), UnorderedElementsAre("log", "final"));
    EXPECT_EQ(readFile(top / "final"), "content");
}

TEST_F(LogCopyInFolder, ReplacesWhatHasItsNewName) {
    writeFile(top / "final", "earlier");
    EXPECT_FALSE(filled().rename("final"));
    EXPECT_THAT(names(), UnorderedElementsAre("log", "final"));
    EXPECT_EQ(readFile(top / "final"), "content");
    writeFile(top / "victim", "earlier");
    fs::create_symlink("victim", top / "link");
    EXPECT_FALSE(filled().rename("link"));
    EXPECT_EQ(readFile(top / "link"), "content");
    EXPECT_EQ(readFile(top / "victim"), "earlier");
}

TEST_F(LogCopyInFolder, KeepsItsNameIfTheNewOneIsRefused) {
    fs::create_directory(top / "final");
    LogCopy copy = filled();
    EXPECT_TRUE(copy.rename("final"));
    EXPECT_THAT(names(), UnorderedElementsAre("log", "copy", "final"));
    EXPECT_EQ(readFile(top / "copy"), "content");
    copy.discard();
    EXPECT_THAT(names(), UnorderedElementsAre("log", "final"));
}

TEST_F(LogCopyInFolder, HasItsNewNameFromThenOn) {
    LogCopy copy = filled();
    EXPECT_FALSE(copy.rename("second"));
    writeFile(top / "copy", "foreign");
    EXPECT_FALSE(copy.rename("third"));
    EXPECT_THAT(names(), UnorderedElementsAre("log", "copy", "third"));
    copy.discard();
    EXPECT_THAT(names(), UnorderedElementsAre("log", "copy"));
}

TEST_F(LogCopyInFolder, StaysLockedUnderItsNewName) {
    LogCopy copy = filled();
    ASSERT_FALSE(copy.rename("second"));
    EXPECT_FALSE(LogCopy::find(log, "second"));
}

TEST_F(LogCopyInFolder, IsGoneWhenItIsDiscarded) {
    filled().discard();
    EXPECT_THAT(names(), ElementsAre("log"));
}

TEST_F(LogCopyInFolder, StaysWhenTheObjectEnds) {
    filled();
    EXPECT_THAT(names(), UnorderedElementsAre("log", "copy"));
}

TEST_F(LogCopyInFolder, StaysInTheFolderThatWasOpened) {
    fs::create_directory(top / "folder");
    ASSERT_FALSE(folder.open(top / "folder"));
    auto copy = LogCopy::make(folder, "copy");
    ASSERT_TRUE(copy);
    fs::rename(top / "folder", top / "moved");
    fs::create_directory(top / "folder");
    EXPECT_FALSE(copy->fill(log));
    EXPECT_FALSE(copy->rename("final"));
    EXPECT_EQ(readFile(top / "moved/final"), "content");
    EXPECT_TRUE(fs::is_empty(top / "folder"));
}

TEST_F(LogCopyInFolder, IsFoundAgain) {
    writeFile(top / "copy", "con");
    auto copy = LogCopy::find(log, "copy");
    ASSERT_TRUE(copy);
    EXPECT_TRUE(copy->isContainedIn(log));
    EXPECT_EQ(readFile(top / "copy"), "con");
    EXPECT_FALSE(copy->rename("final"));
    EXPECT_EQ(readFile(top / "final"), "con");
}

TEST_F(LogCopyInFolder, IsNotFoundWhereThereIsNone) {
    const ScopedAlarm deadline(30);
    EXPECT_FALSE(LogCopy::find(log, "missing"));
    fs::create_directory(top / "folder");
    EXPECT_FALSE(LogCopy::find(log, "folder"));
    ASSERT_EQ(::mkfifo((top / "pipe").c_str(), 0666), 0);
    EXPECT_FALSE(LogCopy::find(log, "pipe"));
    fs::create_symlink("log", top / "link");
    EXPECT_FALSE(LogCopy::find(log, "link"));
    fs::create_symlink("nowhere", top / "dangling");
    EXPECT_FALSE(LogCopy::find(log, "dangling"));
    EXPECT_THAT(names(), UnorderedElementsAre("log", "folder", "pipe", "link", "dangling"));
}

TEST_F(LogCopyInFolder, IsContainedInALogThatBeginsWithIt) {
    EXPECT_TRUE(isContained(""));
    EXPECT_TRUE(isContained("c"));
    EXPECT_TRUE(isContained("content"));
    EXPECT_FALSE(isContained("contents"));
    EXPECT_FALSE(isContained("contenT"));
    EXPECT_FALSE(isContained("ontent"));
    setLog("");
    EXPECT_TRUE(isContained(""));
    EXPECT_FALSE(isContained("c"));
}

TEST_F(LogCopyInFolder, IsLockedWhileItsObjectLives) {
    const auto othersFind = [this] {
        support::inChild([this] {
            EXPECT_FALSE(LogCopy::find(log, "copy"));
            EXPECT_FALSE(LogCopy::make(folder, "copy"));
        });
    };
    {
        const LogCopy copy = filled();
        othersFind();
    }
    EXPECT_TRUE(LogCopy::find(log, "copy"));
}

TEST_F(LogCopyInFolder, IsLeftAloneWhileAnotherProcessHasItLocked) {
    writeFile(top / "copy", "theirs");
    const int theirs = ::open((top / "copy").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(theirs, LOCK_EX | LOCK_NB), 0);
    const ScopedAlarm deadline(30);
    EXPECT_FALSE(LogCopy::find(log, "copy"));
    EXPECT_FALSE(LogCopy::make(folder, "copy"));
    EXPECT_EQ(readFile(top / "copy"), "theirs");
    ::close(theirs);
    EXPECT_TRUE(LogCopy::find(log, "copy"));
}

TEST_F(LogCopyInFolder, KeepsHolesAndCostsLittle) {
    const ScopedAlarm deadline(120);
    ASSERT_EQ(::truncate((top / "log").c_str(), kHuge), 0);
    std::ofstream(top / "log", std::ios::app) << "end";
    const LogCopy copy = filled();
    struct stat status = {};
    ASSERT_EQ(::stat((top / "copy").c_str(), &status), 0);
    EXPECT_EQ(status.st_size, kHuge + 3);
    EXPECT_LT(status.st_blocks * 512, 1024 * 1024);
    EXPECT_TRUE(copy.isContainedIn(log));
    ASSERT_EQ(::truncate((top / "log").c_str(), kHuge + 2), 0);
    EXPECT_FALSE(copy.isContainedIn(log));
}

TEST_F(LogCopyInFolder, FailsOnAFullDisk) {
    setLog(std::string(100000, 'x'));
    const auto copy = LogCopy::make(folder, "copy");
    ASSERT_TRUE(copy);
    {
        const ScopedFileSizeLimit full(50000);
        EXPECT_EQ(copy->fill(log), std::errc::file_too_large);
    }
    EXPECT_EQ(fs::file_size(top / "log"), 100000U);
    copy->discard();
    EXPECT_THAT(names(), ElementsAre("log"));
}

TEST_F(LogCopyInFolder, FailsIfItHasLostItsName) {
    const auto lost = [this](const std::function<void()>& lose) {
        const auto copy = LogCopy::make(folder, "copy");
        ASSERT_TRUE(copy);
        lose();
        EXPECT_TRUE(copy->fill(log));
        fs::remove_all(top / "copy");
        fs::remove(top / "moved");
    };
    lost([this] { fs::remove(top / "copy"); });
    lost([this] { fs::rename(top / "copy", top / "moved"); });
    lost([this] {
        fs::remove(top / "copy");
        writeFile(top / "copy", "");
    });
    lost([this] {
        fs::rename(top / "copy", top / "moved");
        fs::create_symlink("moved", top / "copy");
    });
}

TEST_F(LogCopyInFolder, RenamesNothingElseThatHasItsName) {
    LogCopy copy = filled();
    fs::rename(top / "copy", top / "moved");
    writeFile(top / "copy", "foreign");
    EXPECT_TRUE(copy.rename("final"));
    EXPECT_FALSE(fs::exists(top / "final"));
}

TEST_F(LogCopyInFolder, DiscardsNothingElseThatHasItsName) {
    const LogCopy copy = filled();
    fs::rename(top / "copy", top / "moved");
    writeFile(top / "copy", "foreign");
    copy.discard();
    EXPECT_EQ(readFile(top / "copy"), "foreign");
}

TEST_F(LogCopyInFolder, HoldsABeginningOfALogThatGrowsMeanwhile) {
    const ScopedAlarm deadline(120);
    std::atomic<bool> isDone = false;
    setLog(std::string(1000000, 'x'));
    std::thread writer([&] {
        std::ofstream others(top / "log", std::ios::app);
        for (int i = 0; i < 200000 && !isDone; ++i) {
            others << i << std::endl;
        }
    });
    for (int i = 0; i < 20; ++i) {
        const auto copy = LogCopy::make(folder, "copy");
        if (!copy) {
            ADD_FAILURE() << "no copy can be made";
            break;
        }
        const auto atLeast = fs::file_size(top / "log");
        if (!copy->fill(log)) {
            EXPECT_TRUE(copy->isContainedIn(log));
            EXPECT_GE(fs::file_size(top / "copy"), atLeast);
        }
        copy->discard();
    }
    isDone = true;
    writer.join();
    filled();
    EXPECT_TRUE(readFile(top / "copy") == readFile(top / "log"));
}

TEST_F(LogCopyInFolder, EndsAlsoIfTheLogIsCutMeanwhile) {
    const ScopedAlarm deadline(120);
    std::atomic<bool> isDone = false;
    std::thread cutter([&] {
        while (!isDone) {
            fs::resize_file(top / "log", 0);
            fs::resize_file(top / "log", 100000);
        }
    });
    for (int i = 0; i < 200; ++i) {
        const auto copy = LogCopy::make(folder, "copy");
        if (!copy) {
            ADD_FAILURE() << "no copy can be made";
            break;
        }
        copy->fill(log);
        copy->discard();
    }
    isDone = true;
    cutter.join();
    setLog("content");
    filled();
    EXPECT_EQ(readFile(top / "copy"), "content");
}

TEST_F(LogCopyInFolder, IsMadeWhateverElseHasItsName) {
    const ScopedAlarm deadline(60);
    writeFile(top / "victim", "precious");
    const std::vector<std::function<void()>> obstacles = {
        [this] { fs::create_directory(top / "copy"); },
        [this] { writeFile(top / "copy/inside", "kept"); },
        [this] { fs::create_symlink("victim", top / "copy"); },
        [this] { fs::create_symlink("nowhere", top / "copy"); },
        [this] { ASSERT_EQ(::mkfifo((top / "copy").c_str(), 0666), 0); },
        [this] { fs::create_hard_link(top / "victim", top / "copy"); },
    };
    for (const auto& obstacle : obstacles) {
        obstacle();
        const LogCopy copy = filled();
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(top / "copy")));
        EXPECT_EQ(readFile(top / "copy"), "content");
        EXPECT_EQ(readFile(top / "victim"), "precious");
        copy.discard();
    }
    EXPECT_FALSE(fs::exists(top / "nowhere"));
    bool isKept = false;
    for (const auto& entry : fs::recursive_directory_iterator(top.path())) {
        isKept = isKept || entry.path().filename() == "inside";
    }
    EXPECT_TRUE(isKept) << "what was in the way gets another name";
}

TEST_F(LogCopyInFolder, GetsNoWayWhereAnotherMayBe) {
    EXPECT_TRUE(LogCopy::makeWay(folder, "copy"));
    EXPECT_THAT(names(), ElementsAre("log"));
    writeFile(top / "copy", "records");
    EXPECT_FALSE(LogCopy::makeWay(folder, "copy"));
    EXPECT_EQ(readFile(top / "copy"), "records");
}

TEST_F(LogCopyInFolder, GetsAWayThroughWhatIsNoCopy) {
    fs::create_symlink("log", top / "copy");
    EXPECT_TRUE(LogCopy::makeWay(folder, "copy"));
    EXPECT_FALSE(fs::is_symlink(top / "copy"));
    EXPECT_EQ(names().size(), 2U) << "it has another name";
    for (const std::string& name : names()) {
        EXPECT_TRUE(name == "log" || name.starts_with("copy")) << name;
    }
}

TEST_F(LogCopyInFolder, IsMadeOverAndOverWhateverHasItsName) {
    for (int i = 0; i < 20; ++i) {
        fs::create_directory(top / "copy");
        const auto copy = LogCopy::make(folder, "copy");
        ASSERT_TRUE(copy) << i;
        copy->discard();
    }
}

TEST_F(LogCopyInFolder, IsNotMadeInAFolderThatTheUserMayNotWriteTo) {
    ASSERT_EQ(::chmod(top.path().c_str(), 0555), 0);
    support::asOrdinaryUser([this] { EXPECT_FALSE(LogCopy::make(folder, "copy")); });
    EXPECT_THAT(names(), ElementsAre("log"));
}

TEST_F(LogCopyInFolder, TakesTheNameOfAnotherUsersFile) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes a file of another user";
    }
    ASSERT_EQ(::chmod(top.path().c_str(), 0777), 0);
    writeFile(top / "copy", "theirs");
    support::give(top / "copy", anna);
    LogCopy copy = filled();
    EXPECT_EQ(readFile(top / "copy"), "content");
    EXPECT_FALSE(copy.rename("final"));
    EXPECT_EQ(readFile(top / "final"), "content");
}

TEST_F(LogCopyInFolder, IsFoundOnlyIfItsOwnerMayKnowTheLog) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes files of other users";
    }
    struct Case {
        uid_t logOwner;
        mode_t logMode;
        uid_t copyOwner;
        bool isFound;
    };
    writeFile(top / "copy", "content");
    for (const Case& each : std::vector<Case>{{0, 0600, 0, true},
                                              {0, 0600, anna, false},
                                              {0, 0640, anna, false},
                                              {0, 0604, anna, true},
                                              {0, 0666, anna, true},
                                              {anna, 0600, anna, true},
                                              {anna, 0600, 0, true},
                                              {support::bert, 0660, anna, false},
                                              {support::bert, 0666, anna, true}}) {
        support::give(top / "log", each.logOwner);
        support::give(top / "copy", each.copyOwner);
        ASSERT_EQ(::chmod((top / "log").c_str(), each.logMode), 0);
        EXPECT_EQ(LogCopy::find(log, "copy").has_value(), each.isFound)
            << each.logOwner << " " << std::oct << each.logMode << " " << each.copyOwner;
    }
}

TEST_F(LogCopyInFolder, IsNotComparedIfItIsLargerThanAGibibyte) {
    writeFile(top / "copy", "content");
    const auto copy = LogCopy::find(log, "copy");
    ASSERT_TRUE(copy);
    constexpr off_t most = off_t{1} << 30;
    ASSERT_EQ(::truncate((top / "copy").c_str(), most), 0);
    EXPECT_FALSE(copy->isTooLargeToCompare());
    ASSERT_EQ(::truncate((top / "copy").c_str(), most + 1), 0);
    EXPECT_TRUE(copy->isTooLargeToCompare());
}

TEST_F(LogCopyInFolder, GetsAnotherHiddenName) {
    const LogCopy copy = filled();
    copy.putAside();
    ASSERT_EQ(names().size(), 2U);
    EXPECT_FALSE(fs::exists(top / "copy"));
    writeFile(top / "copy", "foreign");
    copy.putAside();
    EXPECT_EQ(readFile(top / "copy"), "foreign");
}

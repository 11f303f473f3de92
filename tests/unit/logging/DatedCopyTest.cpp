#include <elmu/logging/DatedCopy.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/LogFile.h"
#include "support/InChild.h"
#include "support/OtherUsers.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;

using support::readFile;
using support::writeFile;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

struct stat infoOf(const std::string& path) {
    struct stat info = {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info;
}

class DatedCopy : public testing::Test {
  protected:
    DatedCopy() { writeFile(path, "content"); }

    std::vector<std::string> names() const { return folder.names(); }

    /// Moves the log's content to its copy, as a process does that opens the log for it.
    std::optional<std::int64_t> move() {
        platform::LogFile log;
        log.openExisting(path);
        return elmu::moveToDatedCopy(log, path, now);
    }

    void finish() {
        platform::LogFile log;
        log.openExisting(path);
        elmu::finishInterruptedMove(log, path, now);
    }

    support::ScopedUmask umask{0022};
    support::ScopedTimeZone utc{"UTC0"};
    support::TempFolder folder;
    std::string path = folder / "HCD.log";
    const std::time_t now = 1794804547;
    const std::string name = "HCD 2026-11-16 04-49-07.log";
    const std::string nextName = "HCD 2026-11-16 04-49-08.log";
    const std::string unfinished = ".HCD.log.copy";
    const std::string finished = ".HCD.log.copied";
};

TEST_F(DatedCopy, TakesTheContentUnderItsTimeAndLeavesTheLogEmpty) {
    EXPECT_EQ(move(), now);
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", name));
    EXPECT_EQ(readFile(folder / name), "content");
    EXPECT_EQ(readFile(path), "");
}

TEST_F(DatedCopy, LeavesTheLogTheSameFile) {
    const auto before = infoOf(path);
    move();
    const auto after = infoOf(path);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
}

TEST_F(DatedCopy, TakesTheNextFreeSecondRatherThanTheNameOfAnother) {
    writeFile(folder / name, "earlier");
    EXPECT_EQ(move(), now + 1);
    EXPECT_EQ(readFile(folder / name), "earlier");
    EXPECT_EQ(readFile(folder / nextName), "content");
    writeFile(path, "later");
    EXPECT_EQ(move(), now + 2);
    EXPECT_EQ(readFile(folder / "HCD 2026-11-16 04-49-09.log"), "later");
}

TEST_F(DatedCopy, IsGreaterThanAllCopiesOfItsSecondAlsoWhenOneOfThemIsGone) {
    writeFile(folder / nextName, "the second of two");
    EXPECT_EQ(move(), now + 2);
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", nextName, "HCD 2026-11-16 04-49-09.log"));
}

TEST_F(DatedCopy, TakesNoPlaceOfAnotherAfterTheClockWasSetBack) {
    for (const char* later : {"04-50-46", "04-50-47", "04-50-48"}) { // 99 to 101 seconds
        writeFile(folder / (std::string("HCD 2026-11-16 ") + later + ".log"), later);
    }
    EXPECT_EQ(move(), now + 102);
    EXPECT_EQ(readFile(folder / "HCD 2026-11-16 04-50-47.log"), "04-50-47");
    EXPECT_EQ(readFile(folder / "HCD 2026-11-16 04-50-48.log"), "04-50-48");
    EXPECT_EQ(readFile(folder / "HCD 2026-11-16 04-50-49.log"), "content");
}

TEST_F(DatedCopy, TakesNoPlaceOfALinkOrFolderEither) {
    fs::create_symlink("HCD.log", folder / name);
    fs::create_directory(folder / nextName);
    EXPECT_TRUE(move());
    EXPECT_EQ(fs::read_symlink(folder / name), "HCD.log");
    EXPECT_TRUE(fs::is_directory(folder / nextName));
    EXPECT_EQ(readFile(folder / "HCD 2026-11-16 04-49-09.log"), "content");
}

TEST_F(DatedCopy, IsNotMadeOfAMissingLog) {
    fs::remove(path);
    EXPECT_FALSE(move());
    EXPECT_THAT(names(), ElementsAre());
}

TEST_F(DatedCopy, IsNotThereAtAllWhenTheDiskIsFull) {
    writeFile(path, std::string(100000, 'x'));
    {
        const support::ScopedFileSizeLimit full(50000);
        EXPECT_FALSE(move());
    }
    EXPECT_THAT(names(), ElementsAre("HCD.log"));
    EXPECT_EQ(fs::file_size(path), 100000U);
}

TEST_F(DatedCopy, IsNotMadeInAFolderThatTheUserMayNotWriteTo) {
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    support::asOrdinaryUser([this] { EXPECT_FALSE(move()); });
    EXPECT_THAT(names(), ElementsAre("HCD.log"));
    EXPECT_EQ(readFile(path), "content");
}

TEST_F(DatedCopy, KeepsHoles) {
    ASSERT_EQ(::truncate(path.c_str(), off_t{1} << 32), 0);
    EXPECT_TRUE(move());
    const auto copy = infoOf(folder / name);
    EXPECT_EQ(copy.st_size, off_t{1} << 32);
    EXPECT_LT(copy.st_blocks * 512, 1024 * 1024);
    char head[8] = {};
    std::ifstream(folder / name).read(head, sizeof head);
    EXPECT_EQ(std::string(head, sizeof head), std::string("content\0", 8));
}

/// Dies in the middle of copying.
[[noreturn]] void dieCopying(const std::string& path, std::time_t now) {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    const rlimit half = {50000, 50000};
    ::setrlimit(RLIMIT_FSIZE, &half);
    std::signal(SIGXFSZ, SIG_DFL);
    platform::LogFile log;
    log.openExisting(path);
    elmu::moveToDatedCopy(log, path, now);
    ::_exit(0);
}

TEST_F(DatedCopy, IsNoHalfOneWhenItsMakerDies) {
    writeFile(path, std::string(100000, 'x'));
    const pid_t child = ::fork();
    if (child == 0) {
        dieCopying(path, now);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the child has to die in its work";
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", unfinished));
    EXPECT_EQ(fs::file_size(path), 100000U);
    finish();
    EXPECT_THAT(names(), ElementsAre("HCD.log"));
    EXPECT_TRUE(move());
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", name));
    EXPECT_EQ(fs::file_size(folder / name), 100000U);
}

TEST_F(DatedCopy, IsRemovedIfItIsUnfinished) {
    writeFile(folder / unfinished, "conten");
    writeFile(path, "");
    finish();
    EXPECT_THAT(names(), ElementsAre("HCD.log"));
}

TEST_F(DatedCopy, IsRemovedIfTheLogStillHoldsItsRecords) {
    writeFile(folder / finished, "content");
    writeFile(path, "content and what followed");
    finish();
    EXPECT_THAT(names(), ElementsAre("HCD.log"));
    EXPECT_EQ(readFile(path), "content and what followed");
}

TEST_F(DatedCopy, GetsItsNameLaterIfTheLogWasEmptied) {
    writeFile(folder / finished, "content");
    writeFile(path, "");
    finish();
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", name));
    EXPECT_EQ(readFile(folder / name), "content");
}

TEST_F(DatedCopy, GetsItsNameLaterAlsoIfTheLogHasBegunAnew) {
    writeFile(folder / finished, "content");
    writeFile(path, "contenT and more than the copy holds");
    finish();
    EXPECT_EQ(readFile(folder / name), "content");
    EXPECT_EQ(readFile(path), "contenT and more than the copy holds");
}

TEST_F(DatedCopy, IsLeftAloneWhileItsMakerLives) {
    for (const std::string& hidden : {unfinished, finished}) {
        writeFile(path, "what followed");
        writeFile(folder / hidden, "content");
        const int maker = ::open((folder / hidden).c_str(), O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(::flock(maker, LOCK_EX | LOCK_NB), 0);
        finish();
        EXPECT_FALSE(move()) << "two would make it at once";
        EXPECT_EQ(readFile(folder / hidden), "content");
        EXPECT_EQ(readFile(path), "what followed");
        ::close(maker);
        finish();
        EXPECT_TRUE(move());
    }
}

TEST_F(DatedCopy, TellsNobodyElseWhatIsInAPrivateLog) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes a file of another user";
    }
    for (const char* guess : {"content", "wrong"}) {
        writeFile(path, "content");
        ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
        writeFile(folder / finished, guess);
        support::give(folder / finished, support::anna);
        finish();
        EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", finished)) << guess;
        EXPECT_EQ(move(), now) << "it does not stop rotation";
        EXPECT_EQ(readFile(folder / name), "content");
        fs::remove(folder / name);
        for (const std::string& other : names()) {
            if (other != "HCD.log") {
                EXPECT_EQ(readFile(folder / other), guess);
                fs::remove(folder / other);
            }
        }
    }
}

TEST_F(DatedCopy, IsPutAsideIfComparingItWouldTakeTooLong) {
    writeFile(folder / finished, "");
    fs::resize_file(folder / finished, (std::uintmax_t{1} << 30) + 1);
    finish();
    EXPECT_FALSE(fs::exists(folder / finished));
    EXPECT_FALSE(fs::exists(folder / name));
    EXPECT_EQ(names().size(), 2U) << "it has another hidden name";
    EXPECT_EQ(move(), now);
}

TEST_F(DatedCopy, IsMadeInAFolderThatMayNotBeListed) {
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0733), 0);
    support::asOrdinaryUser([this] { EXPECT_EQ(move(), now) << "its entry cannot be synced"; });
    EXPECT_EQ(readFile(folder / name), "content");
    EXPECT_EQ(readFile(path), "");
}

TEST_F(DatedCopy, IsCompletedForAnotherUser) {
    writeFile(folder / finished, "content");
    writeFile(path, "what followed");
    ASSERT_EQ(::chmod((folder / finished).c_str(), 0644), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    support::asOrdinaryUser([this] { finish(); });
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", name));
    EXPECT_EQ(readFile(folder / name), "content");
}

TEST_F(DatedCopy, IsPrivateUntilItIsWhole) {
    writeFile(path, std::string(100000, 'x'));
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        dieCopying(path, now);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(support::modeOf(folder / unfinished), 0600U);
    finish();
    EXPECT_TRUE(move());
    EXPECT_EQ(support::modeOf(folder / name), 0666U & ~0022U);
}

TEST_F(DatedCopy, IsMadeWhateverElseHasTheHiddenName) {
    const std::vector<std::function<void(const std::string&)>> obstacles = {
        [](const std::string& hidden) { writeFile(hidden + "/inside", "x"); },
        [](const std::string& hidden) { fs::create_directory(hidden); },
        [](const std::string& hidden) { fs::create_symlink("/etc/passwd", hidden); },
        [](const std::string& hidden) { ASSERT_EQ(::mkfifo(hidden.c_str(), 0666), 0); },
        [this](const std::string& hidden) {
            writeFile(folder / "another", "x");
            fs::create_hard_link(folder / "another", hidden);
        },
    };
    for (const auto& obstacle : obstacles) {
        for (const std::string& hidden : {folder / unfinished, folder / finished}) {
            obstacle(hidden);
            writeFile(path, "content");
            finish();
            ASSERT_TRUE(move());
            EXPECT_EQ(readFile(path), "");
            EXPECT_FALSE(fs::exists(fs::symlink_status(hidden)));
        }
    }
}

} // namespace

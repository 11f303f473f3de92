#include "platform/Files.h"

#include <csignal>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/TempFolder.h"

using namespace platform;
using support::TempFolder;
using support::writeFile;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
namespace fs = std::filesystem;

namespace {

/// A process that writes a file atomically and gets `signal` in the middle.
class InterruptedWriter {
  public:
    InterruptedWriter(const std::string& path, void (*reaction)(int)) : process(::fork()) {
        if (process == 0) {
            constexpr rlim_t few = 1000;
            const rlimit limit = {few, few};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            std::signal(SIGXFSZ, reaction);
            const bool isWritten = !writeFileAtomically(path.c_str(), std::string(5 * few, 'x'));
            ::_exit(isWritten ? 0 : 1);
        }
        ::waitpid(process, &status, WUNTRACED);
    }
    ~InterruptedWriter() { end(SIGKILL); }
    InterruptedWriter(const InterruptedWriter&) = delete;
    InterruptedWriter& operator=(const InterruptedWriter&) = delete;

    bool isStopped() const { return WIFSTOPPED(status); }
    bool isKilled() const { return WIFSIGNALED(status); }

    void end(int signal) {
        if (isStopped()) {
            ::kill(process, signal);
            ::waitpid(process, &status, 0);
        }
    }

  private:
    pid_t process;
    int status = 0;
};

void stop(int /*signal*/) { ::raise(SIGSTOP); }

constexpr const char* temporary = ".new-0123456789abcdef";

} // namespace

TEST(LeftTemporaries, OfAKilledRunAreRemoved) {
    const TempFolder folder;
    const InterruptedWriter writer(folder / "file", SIG_DFL);
    ASSERT_TRUE(writer.isKilled());
    ASSERT_THAT(folderEntries(folder.path().c_str()), Optional(SizeIs(1)));

    removeLeftTemporaries(folder.path().c_str());

    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(IsEmpty()));
}

TEST(LeftTemporaries, OfARunThatGoesOnStayUntilItIsKilled) {
    const TempFolder folder;
    InterruptedWriter writer(folder / "file", &stop);
    ASSERT_TRUE(writer.isStopped());

    removeLeftTemporaries(folder.path().c_str());
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(SizeIs(1)));

    writer.end(SIGKILL);
    removeLeftTemporaries(folder.path().c_str());
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(IsEmpty()));
}

TEST(LeftTemporaries, OfARunThatGoesOnCanBeLockedByNobodyElse) {
    const TempFolder folder;
    const support::ScopedUmask umask(0);
    const InterruptedWriter writer(folder / "file", &stop);
    ASSERT_TRUE(writer.isStopped());
    for (const auto& entry : fs::directory_iterator(folder.path())) {
        EXPECT_EQ(support::modeOf(entry.path().string()), 0600U);
    }
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(SizeIs(1)));
}

TEST(LeftTemporaries, AreNotTakenForThoseOfWritersAtWork) {
    const TempFolder folder;
    constexpr int rounds = 200;
    const auto writeAndLeave = [&](const std::string& name) {
        int failures = 0;
        for (int round = 0; round < rounds; ++round) {
            removeLeftTemporaries(folder.path().c_str());
            failures += writeFileAtomically((folder / name).c_str(), name) ? 1 : 0;
        }
        ::_exit(failures);
    };
    for (const char* const name : {"one", "two", "three"}) {
        if (::fork() == 0) {
            writeAndLeave(name);
        }
    }
    for (int i = 0; i < 3; ++i) {
        int status = 0;
        ASSERT_GT(::wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(SizeIs(3)));
}

TEST(LeftTemporaries, AreKnownByTheirWholeName) {
    const TempFolder folder;
    const std::vector<std::string> others = {
        "halcyra.xml",
        ".new-",
        ".new-0123456789abcde",
        ".new-0123456789abcdef0",
        ".new-0123456789abcdeF",
        "new-0123456789abcdef",
        "x.new-0123456789abcdef",
        ".new-0123456789abcdeg",
        ".new-0123456789abcdef.xml",
    };
    for (const std::string& name : others) {
        writeFile(folder / name, "");
    }
    writeFile(folder / temporary, "");

    removeLeftTemporaries(folder.path().c_str());

    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(testing::UnorderedElementsAreArray(others)));
}

TEST(LeftTemporaries, AreRegularFiles) {
    const TempFolder folder;
    writeFile(folder / "target", "");
    fs::create_symlink("target", folder / ".new-0000000000000001");
    fs::create_directory(folder / ".new-0000000000000002");
    ASSERT_EQ(::mkfifo((folder / ".new-0000000000000003").c_str(), 0600), 0);

    removeLeftTemporaries(folder.path().c_str());

    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(SizeIs(4)));
}

TEST(LeftTemporaries, OfAnotherUserStay) {
    const TempFolder folder;
    writeFile(folder / temporary, "");
    if (::lchown((folder / temporary).c_str(), 501, 20) != 0) {
        GTEST_SKIP() << "needs root: it gives a file to another user";
    }

    removeLeftTemporaries(folder.path().c_str());

    EXPECT_TRUE(fs::exists(folder / temporary));
}

TEST(LeftTemporaries, BehindALinkToTheFolderStay) {
    const TempFolder folder;
    writeFile(folder / ("real/" + std::string(temporary)), "");
    fs::create_symlink("real", folder / "link");

    removeLeftTemporaries((folder / "link").c_str());

    EXPECT_TRUE(fs::exists(folder / ("real/" + std::string(temporary))));
}

TEST(LeftTemporaries, AreNotLookedForInAMissingFolder) {
    const TempFolder folder;
    removeLeftTemporaries((folder / "missing").c_str());
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

#include "platform/Files.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <numeric>
#include <set>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include "Child.h"
#include "support/TempFolder.h"

using namespace platform;
using support::modeOf;
using support::ScopedUmask;
using support::TempFolder;
using support::writeFile;
using testing::Optional;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

/// No file of this process may grow longer than `bytes` from now on; what happens at that point is up to
/// the handler.
void limitFileSize(rlim_t bytes, void (*handler)(int)) {
    const rlimit limit = {bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
}

std::string outcome(const std::error_code& error) { return error ? "failed" : "written"; }

// What there is in the midst of a write: the handler of the full disk looks around.
std::string watchedFolder;
std::set<std::string> midstView;

void viewFolder(int) {
    midstView.clear();
    for (const auto& entry : fs::directory_iterator(watchedFolder)) {
        const std::string path = entry.path().string();
        const mode_t tooMuch = modeOf(path) & ~mode_t(0440);
        midstView.insert(entry.path().filename() == "file" ? "old " + support::readFile(path)
                                                           : "new, too much " + std::to_string(tooMuch));
    }
}

} // namespace

TEST(AtomicWrite, WritesEveryByte) {
    const TempFolder folder;
    const std::string content("a\0b\r\n\xFF", 6);

    EXPECT_FALSE(writeFileAtomically((folder / "file").c_str(), content));

    EXPECT_EQ(support::readFile(folder / "file"), content);
}

TEST(AtomicWrite, WritesAnEmptyFile) {
    const TempFolder folder;
    EXPECT_FALSE(writeFileAtomically((folder / "file").c_str(), ""));
    EXPECT_EQ(support::readFile(folder / "file"), "");
}

TEST(AtomicWrite, ReplacesTheWholeContent) {
    const TempFolder folder;
    writeFile(folder / "file", "a long old content");

    EXPECT_FALSE(writeFileAtomically((folder / "file").c_str(), "new"));

    EXPECT_EQ(support::readFile(folder / "file"), "new");
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("file")));
}

TEST(AtomicWrite, GivesANewFileReadAndWriteLessTheUmask) {
    for (const mode_t mask : {0u, 022u, 027u, 077u}) {
        const TempFolder folder;
        const ScopedUmask umask(mask);
        EXPECT_FALSE(writeFileAtomically((folder / "file").c_str(), "x"));
        EXPECT_EQ(modeOf(folder / "file"), 0666 & ~mask);
    }
}

TEST(AtomicWrite, KeepsAllModeBitsOfAReplacedFile) {
    for (const mode_t mode : {0400u, 0000u, 0604u, 0666u, 0777u, 01644u, 02755u, 04755u, 06777u}) {
        const TempFolder folder;
        const ScopedUmask umask(077);
        writeFile(folder / "file", "old");
        ASSERT_EQ(::chmod((folder / "file").c_str(), mode), 0);
        EXPECT_FALSE(writeFileAtomically((folder / "file").c_str(), "new"));
        EXPECT_EQ(modeOf(folder / "file"), mode);
    }
}

TEST(AtomicWrite, AnOrdinaryUserReplacesItsReadOnlyFile) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  writeFile(folder / "file", "old");
                  fs::permissions(folder / "file", fs::perms::owner_read);
                  return outcome(writeFileAtomically((folder / "file").c_str(), "new"));
              }),
              "written");
    EXPECT_EQ(support::readFile(folder / "file"), "new");
    EXPECT_EQ(modeOf(folder / "file"), 0400u);
}

TEST(AtomicWrite, ReplacesALinkByANewFile) {
    const TempFolder folder;
    const ScopedUmask umask(027);
    writeFile(folder / "target", "old");
    ASSERT_EQ(::chmod((folder / "target").c_str(), 0600), 0);
    fs::create_symlink("target", folder / "link");

    EXPECT_FALSE(writeFileAtomically((folder / "link").c_str(), "new"));

    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(folder / "link")));
    EXPECT_EQ(support::readFile(folder / "link"), "new");
    EXPECT_EQ(modeOf(folder / "link"), 0640u);
    EXPECT_EQ(support::readFile(folder / "target"), "old");
    EXPECT_EQ(modeOf(folder / "target"), 0600u);
}

TEST(AtomicWrite, ReplacesADanglingLinkAndDoesNotMakeItsTarget) {
    const TempFolder folder;
    fs::create_symlink("nowhere", folder / "link");

    EXPECT_FALSE(writeFileAtomically((folder / "link").c_str(), "new"));

    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("link")));
    EXPECT_EQ(support::readFile(folder / "link"), "new");
}

TEST(AtomicWrite, ReplacesALinkToAFolder) {
    const TempFolder folder;
    fs::create_directory(folder / "real");
    fs::create_symlink("real", folder / "link");

    EXPECT_FALSE(writeFileAtomically((folder / "link").c_str(), "new"));

    EXPECT_EQ(support::readFile(folder / "link"), "new");
    EXPECT_TRUE(fs::is_empty(folder / "real"));
}

TEST(AtomicWrite, TakesTheLongestName) {
    const TempFolder folder;
    const std::string path = folder / std::string(255, 'x');

    EXPECT_FALSE(writeFileAtomically(path.c_str(), "first"));
    EXPECT_FALSE(writeFileAtomically(path.c_str(), "second"));

    EXPECT_EQ(support::readFile(path), "second");
}

TEST(AtomicWrite, TakesARelativeName) {
    const TempFolder folder;
    EXPECT_EQ(child::resultOf([&] {
                  fs::current_path(folder.path());
                  return outcome(writeFileAtomically("file", "content"));
              }),
              "written");
    EXPECT_EQ(support::readFile(folder / "file"), "content");
}

TEST(AtomicWrite, FailsAtAFolderAndLeavesNothingBehind) {
    const TempFolder folder;
    fs::create_directory(folder / "inner");

    EXPECT_TRUE(writeFileAtomically((folder / "inner").c_str(), "x"));
    EXPECT_TRUE(writeFileAtomically((folder / "inner/").c_str(), "x"));
    EXPECT_TRUE(writeFileAtomically((folder / "inner/.").c_str(), "x"));

    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("inner")));
    EXPECT_TRUE(fs::is_empty(folder / "inner"));
}

TEST(AtomicWrite, MakesNoParents) {
    const TempFolder folder;
    writeFile(folder / "file", "content");

    EXPECT_EQ(writeFileAtomically((folder / "missing/new").c_str(), "x"),
              std::errc::no_such_file_or_directory);
    EXPECT_TRUE(writeFileAtomically((folder / "file/new").c_str(), "x"));
    EXPECT_TRUE(writeFileAtomically((folder / "new/").c_str(), "x"));

    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("file")));
}

TEST(AtomicWrite, FailsForNamesThatCannotBe) {
    const TempFolder folder;
    EXPECT_TRUE(writeFileAtomically("", "x"));
    EXPECT_EQ(writeFileAtomically((folder / std::string(256, 'x')).c_str(), "x"),
              std::errc::filename_too_long);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(AtomicWrite, FailsInAFolderThatMayNotBeChanged) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    writeFile(folder / "closed/file", "old");
    fs::permissions(folder / "closed", fs::perms::owner_read | fs::perms::owner_exec |
                                           fs::perms::others_read | fs::perms::others_exec);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  return outcome(writeFileAtomically((folder / "closed/file").c_str(), "new"));
              }),
              "failed");
    EXPECT_EQ(support::readFile(folder / "closed/file"), "old");
}

TEST(AtomicWrite, KeepsTheOldFileWhenTheDiskIsFull) {
    const TempFolder folder;
    writeFile(folder / "file", "old");
    EXPECT_EQ(child::resultOf([&] {
                  limitFileSize(1000, SIG_IGN);
                  return outcome(writeFileAtomically((folder / "file").c_str(), std::string(5000, 'x')));
              }),
              "failed");
    EXPECT_EQ(support::readFile(folder / "file"), "old");
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("file")));
}

TEST(AtomicWrite, KeepsTheOldFileWhenTheNewOneCannotBeMadeSure) {
    for (const long call : {SYS_fsync, SYS_fchmod, SYS_close}) {
        const TempFolder folder;
        writeFile(folder / "file", "old");
        const std::string result = child::resultOf([&] {
            return child::refuseSystemCall(call, EIO)
                       ? outcome(writeFileAtomically((folder / "file").c_str(), "new"))
                       : "not arranged";
        });
        if (result == "not arranged") {
            GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
        }
        EXPECT_EQ(result, "failed") << call;
        EXPECT_EQ(support::readFile(folder / "file"), "old") << call;
        EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("file"))) << call;
    }
}

TEST(AtomicWrite, ShowsNobodyMoreThanTheOldFileDid) {
    const TempFolder folder;
    writeFile(folder / "file", "text");
    ASSERT_EQ(::chmod((folder / "file").c_str(), 0440), 0);
    EXPECT_EQ(child::resultOf([&] {
                  ::umask(0);
                  watchedFolder = folder.path();
                  limitFileSize(1000, &viewFolder);
                  writeFileAtomically((folder / "file").c_str(), std::string(5000, 'x'));
                  return std::accumulate(midstView.begin(), midstView.end(), std::string(),
                                         [](auto all, auto& line) { return all + line + "; "; });
              }),
              "new, too much 0; old text; ");
}

TEST(AtomicWrite, KeepsTheFileOfAnotherUserInASharedFolder) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes a file and then becomes another user";
    }
    const TempFolder folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 01777), 0);
    writeFile(folder / "file", "old");
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  return outcome(writeFileAtomically((folder / "file").c_str(), "new"));
              }),
              "failed");
    EXPECT_EQ(support::readFile(folder / "file"), "old");
    EXPECT_THAT(folderEntries(folder.path().c_str()), Optional(UnorderedElementsAre("file")));
}

TEST(AtomicWrite, IsWholeForEveryReader) {
    const TempFolder folder;
    const std::string path = folder / "file";
    const std::vector<std::string> contents = {std::string(100'000, 'a'), std::string(50'000, 'b')};
    ASSERT_FALSE(writeFileAtomically(path.c_str(), contents[0]));
    std::atomic<bool> isDone = false;
    std::thread writer([&] {
        for (std::size_t i = 0; i < 100; ++i) {
            writeFileAtomically(path.c_str(), contents[i % 2]);
        }
        isDone = true;
    });
    while (!isDone) {
        const auto content = readFile(path.c_str());
        EXPECT_TRUE(content == contents[0] || content == contents[1]);
    }
    writer.join();
}

TEST(AtomicWrite, DoesNotMindSignals) {
    const TempFolder folder;
    const std::string content(20'000'000, 'x');
    EXPECT_EQ(child::resultOf([&] {
                  struct sigaction interrupting = {};
                  interrupting.sa_handler = [](int) {};
                  ::sigaction(SIGALRM, &interrupting, nullptr);
                  const itimerval often = {{0, 200}, {0, 200}};
                  ::setitimer(ITIMER_REAL, &often, nullptr);
                  const std::string written =
                      outcome(writeFileAtomically((folder / "file").c_str(), content));
                  return readFile((folder / "file").c_str()) == content ? written : "broken";
              }),
              "written");
}

#include <elmu/logging/DatedCopy.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/InChild.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;

using support::readFile;
using support::writeFile;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class DatedCopy : public testing::Test {
  protected:
    DatedCopy() { writeFile(path, "content"); }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder.path())) {
            found.push_back(entry.path().filename().string());
        }
        return found;
    }

    support::ScopedTimeZone utc{"UTC0"};
    support::TempFolder folder;
    std::string path = folder / "HCD.log";
    const std::time_t now = 1794804547;
    const std::string name = "HCD 2026-11-16 04-49-07.log";
    const std::string nextName = "HCD 2026-11-16 04-49-08.log";
};

TEST_F(DatedCopy, StandsBesideTheLogUnderItsTime) {
    EXPECT_TRUE(elmu::makeDatedCopy(path, now));
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", name));
    EXPECT_EQ(readFile(folder / name), "content");
    EXPECT_EQ(readFile(path), "content");
}

TEST_F(DatedCopy, TakesTheNextFreeSecondRatherThanTheNameOfAnother) {
    writeFile(folder / name, "earlier");
    EXPECT_TRUE(elmu::makeDatedCopy(path, now));
    EXPECT_EQ(readFile(folder / name), "earlier");
    EXPECT_EQ(readFile(folder / nextName), "content");
    EXPECT_TRUE(elmu::makeDatedCopy(path, now));
    EXPECT_EQ(readFile(folder / "HCD 2026-11-16 04-49-09.log"), "content");
}

TEST_F(DatedCopy, IsGreaterThanAllCopiesOfItsSecondAlsoWhenOneOfThemIsGone) {
    writeFile(folder / nextName, "the second of two");
    EXPECT_EQ(elmu::makeDatedCopy(path, now), now + 2);
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", nextName, "HCD 2026-11-16 04-49-09.log"));
}

TEST_F(DatedCopy, TellsTheSecondInItsName) {
    EXPECT_EQ(elmu::makeDatedCopy(path, now), now);
    EXPECT_EQ(elmu::makeDatedCopy(path, now), now + 1);
}

TEST_F(DatedCopy, TakesNoPlaceOfALinkOrFolderEither) {
    fs::create_symlink("HCD.log", folder / name);
    fs::create_directory(folder / nextName);
    EXPECT_TRUE(elmu::makeDatedCopy(path, now));
    EXPECT_EQ(fs::read_symlink(folder / name), "HCD.log");
    EXPECT_TRUE(fs::is_directory(folder / nextName));
    EXPECT_EQ(readFile(folder / "HCD 2026-11-16 04-49-09.log"), "content");
}

TEST_F(DatedCopy, IsNotMadeOfAMissingLog) {
    fs::remove(path);
    EXPECT_FALSE(elmu::makeDatedCopy(path, now));
    EXPECT_THAT(names(), ElementsAre());
}

TEST_F(DatedCopy, IsNotThereAtAllWhenTheDiskIsFull) {
    writeFile(path, std::string(100000, 'x'));
    {
        const support::ScopedFileSizeLimit full(50000);
        EXPECT_FALSE(elmu::makeDatedCopy(path, now));
    }
    EXPECT_THAT(names(), ElementsAre("HCD.log"));
    EXPECT_EQ(fs::file_size(path), 100000U);
}

TEST_F(DatedCopy, IsNotMadeInAFolderThatTheUserMayNotWriteTo) {
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    support::asOrdinaryUser([this] { EXPECT_FALSE(elmu::makeDatedCopy(path, now)); });
    EXPECT_THAT(names(), ElementsAre("HCD.log"));
}

/// Dies in the middle of copying.
[[noreturn]] void dieCopying(const std::string& path, std::time_t now) {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    const rlimit half = {50000, 50000};
    ::setrlimit(RLIMIT_FSIZE, &half);
    std::signal(SIGXFSZ, SIG_DFL);
    elmu::makeDatedCopy(path, now);
    ::_exit(0);
}

TEST_F(DatedCopy, IsNoHalfOneWhenItsMakerDiesAndTheNextCallTidiesUp) {
    writeFile(path, std::string(100000, 'x'));
    const pid_t child = ::fork();
    if (child == 0) {
        dieCopying(path, now);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the child has to die in its work";
    const auto left = names();
    EXPECT_TRUE(std::all_of(left.begin(), left.end(), [](const std::string& entry) {
        return entry == "HCD.log" || entry.front() == '.';
    })) << testing::PrintToString(left);
    EXPECT_TRUE(elmu::makeDatedCopy(path, now));
    EXPECT_THAT(names(), UnorderedElementsAre("HCD.log", name));
    EXPECT_EQ(fs::file_size(folder / name), 100000U);
}

} // namespace

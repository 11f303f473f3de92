#include "platform/AppendFile.h"

#include <filesystem>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/Scopes.h"
#include "support/TempFolder.h"

using namespace platform;
using support::readFile;
using support::ScopedFileSizeLimit;
using support::TempFolder;
using support::writeFile;
namespace fs = std::filesystem;

TEST(AppendFile, WritesAtTheEnd) {
    const TempFolder folder;
    writeFile(folder / "file", "one ");
    AppendFile file;
    ASSERT_FALSE(file.open((folder / "file").c_str()));
    EXPECT_FALSE(file.append("two "));
    EXPECT_EQ(file.seek(0, SEEK_SET), 0);
    EXPECT_FALSE(file.append("three"));
    EXPECT_EQ(readFile(folder / "file"), "one two three");
}

TEST(AppendFile, MakesNoFile) {
    const TempFolder folder;
    AppendFile file;
    EXPECT_EQ(file.open((folder / "missing").c_str()), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

TEST(AppendFile, RefusesEverythingWhileNoFileIsOpen) {
    AppendFile file;
    EXPECT_EQ(file.append("text"), std::errc::bad_file_descriptor);
    EXPECT_EQ(file.seek(0, SEEK_END), -1);
    file.close();
}

TEST(AppendFile, TellsWhyTheRestCouldNotBeWritten) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    AppendFile file;
    ASSERT_FALSE(file.open((folder / "file").c_str()));
    std::error_code error;
    {
        const ScopedFileSizeLimit full(3);
        error = file.append("text");
    }
    EXPECT_EQ(error, std::errc::file_too_large);
    EXPECT_EQ(readFile(folder / "file"), "tex");
}

TEST(AppendFile, ClosesItsFileAtTheEndAndPassesItToNoOtherProgram) {
    const TempFolder folder;
    writeFile(folder / "file", "");
    const int next = ::dup(STDIN_FILENO);
    ::close(next);
    {
        AppendFile file;
        ASSERT_FALSE(file.open((folder / "file").c_str()));
        EXPECT_EQ(::fcntl(next, F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(::fcntl(next, F_GETFD), -1);
}

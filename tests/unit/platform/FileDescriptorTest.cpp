#include "../../../platform/posix/FileDescriptor.h"

#include <utility>

#include <gtest/gtest.h>

#include "support/TempFolder.h"

using namespace platform;

namespace {

bool isOpen(int number) { return ::fcntl(number, F_GETFD) != -1; }

/// A system call that signals interrupt a number of times before it comes to its result.
struct InterruptedCall {
    int interruptions;
    int result;
    int error = 0;
    int calls = 0;

    int operator()() {
        const bool isInterrupted = ++calls <= interruptions;
        errno = isInterrupted ? EINTR : error;
        return isInterrupted ? -1 : result;
    }
};

} // namespace

TEST(FileDescriptor, ClosesAtTheEnd) {
    int number = -1;
    {
        const FileDescriptor file("/dev/null", O_RDONLY);
        number = file.get();
        ASSERT_TRUE(isOpen(number));
    }
    EXPECT_FALSE(isOpen(number));
}

TEST(FileDescriptor, IsNotOpenWhenTheSystemRefuses) {
    const support::TempFolder folder;
    const FileDescriptor file((folder / "missing").c_str(), O_RDONLY);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(file.isOpen());
}

TEST(FileDescriptor, IsNotPassedOnToOtherPrograms) {
    const FileDescriptor file("/dev/null", O_RDONLY);
    EXPECT_EQ(::fcntl(file.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(FileDescriptor, MovesItsFileOn) {
    FileDescriptor first("/dev/null", O_RDONLY);
    const int number = first.get();
    const FileDescriptor second(std::move(first));
    EXPECT_FALSE(first.isOpen());
    EXPECT_EQ(second.get(), number);
    EXPECT_TRUE(isOpen(number));
}

TEST(FileDescriptor, LeavesAReleasedFileOpen) {
    FileDescriptor file("/dev/null", O_RDONLY);
    const int number = file.release();
    EXPECT_FALSE(file.close());
    EXPECT_TRUE(isOpen(number));
    ::close(number);
}

TEST(FileDescriptor, TellsAnErrorOfClosing) {
    FileDescriptor file("/dev/null", O_RDONLY);
    ::close(file.get());
    EXPECT_EQ(file.close(), std::errc::bad_file_descriptor);
    EXPECT_FALSE(file.isOpen());
}

TEST(Uninterrupted, CallsAgainAfterEverySignal) {
    InterruptedCall call{.interruptions = 3, .result = 7};
    EXPECT_EQ(uninterrupted([&] { return call(); }), 7);
    EXPECT_EQ(call.calls, 4);
}

TEST(Uninterrupted, GivesOtherFailuresOn) {
    InterruptedCall call{.interruptions = 1, .result = -1, .error = ENOSPC};
    EXPECT_EQ(uninterrupted([&] { return call(); }), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(call.calls, 2);
}

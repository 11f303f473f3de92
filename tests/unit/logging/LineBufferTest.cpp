#include <elmu/logging/LineBuffer.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "support/Scopes.h"
#include "support/TempFolder.h"
#include "support/WriteCalls.h"

namespace {

namespace fs = std::filesystem;

using elmu::LineBuffer;
using support::readFile;
using support::ScopedFileSizeLimit;
using support::writeCalls;
using support::writeFile;

/// A stream on the file "log", which holds a line already.
class LineBufferOnAFile : public testing::Test {
  protected:
    LineBufferOnAFile() {
        writeFile(path, "earlier\n");
        EXPECT_TRUE(buffer.open(path));
    }

    support::TempFolder folder;
    const std::string path = folder / "log";
    LineBuffer buffer;
    std::ostream stream{&buffer};
};

TEST_F(LineBufferOnAFile, WritesAtTheEndWhoeverWroteMeanwhile) {
    stream << "one\n";
    std::ofstream(path, std::ios::app) << "of another\n";
    stream << "two\n";
    EXPECT_EQ(readFile(path), "earlier\none\nof another\ntwo\n");
}

TEST_F(LineBufferOnAFile, WritesAtTheEndOfAFileThatWasEmptied) {
    stream << "one\n";
    fs::resize_file(path, 0);
    stream << "two\n";
    EXPECT_EQ(readFile(path), "two\n");
}

TEST_F(LineBufferOnAFile, WritesATextOfAnyLengthAtOnce) {
    if (!writeCalls()) {
        GTEST_SKIP() << "needs /proc/self/io: it counts writes";
    }
    for (const std::size_t length : {1U, 100U, 4096U, 8192U, 1000000U}) {
        const std::string text(length, 'x');
        const long before = *writeCalls();
        stream.write(text.data(), static_cast<std::streamsize>(length));
        EXPECT_EQ(*writeCalls() - before, 1) << length;
    }
    EXPECT_EQ(fs::file_size(path), 8U + 1 + 100 + 4096 + 8192 + 1000000);
}

TEST_F(LineBufferOnAFile, WritesBytesOfEveryKindOneByOneToo) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
        stream.put(static_cast<char>(byte));
    }
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(readFile(path), "earlier\n" + bytes);
}

TEST_F(LineBufferOnAFile, NeverWritesLaterWhatItCouldNotWrite) {
    {
        const ScopedFileSizeLimit full(fs::file_size(path));
        stream << "lost\n" << std::flush;
    }
    EXPECT_TRUE(stream.bad());
    stream.clear();
    stream << std::flush << "found\n";
    buffer.close();
    EXPECT_EQ(readFile(path), "earlier\nfound\n");
}

TEST_F(LineBufferOnAFile, TellsThatOnlyAPartGotIntoTheFile) {
    {
        const ScopedFileSizeLimit nearlyFull(fs::file_size(path) + 2);
        stream << "lost\n";
    }
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(readFile(path), "earlier\nlo");
}

TEST_F(LineBufferOnAFile, TellsWhereItIs) {
    stream << "one\n";
    EXPECT_EQ(stream.tellp(), 12);
    EXPECT_EQ(stream.seekp(2).tellp(), 2);
    EXPECT_EQ(stream.seekp(0, std::ios::end).tellp(), 12);
}

TEST_F(LineBufferOnAFile, TellsPlacesBeyondFourGibibytes) {
    fs::resize_file(path, 5368709121);
    EXPECT_EQ(std::streamoff(stream.seekp(0, std::ios::end).tellp()), 5368709121);
    stream << "x";
    EXPECT_EQ(std::streamoff(stream.tellp()), 5368709122);
}

TEST_F(LineBufferOnAFile, WritesNothingAfterItWasClosed) {
    buffer.close();
    stream << "lost\n";
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(readFile(path), "earlier\n");
}

TEST_F(LineBufferOnAFile, MovesToAnotherFile) {
    writeFile(folder / "other", "");
    EXPECT_TRUE(buffer.open(folder / "other"));
    stream << "text\n";
    EXPECT_EQ(readFile(path), "earlier\n");
    EXPECT_EQ(readFile(folder / "other"), "text\n");
}

TEST_F(LineBufferOnAFile, IsOpenOnNothingWhenItCannotMove) {
    EXPECT_FALSE(buffer.open(folder / "missing"));
    stream << "lost\n";
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(readFile(path), "earlier\n");
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

} // namespace

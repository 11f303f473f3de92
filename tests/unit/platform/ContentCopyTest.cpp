#include "../../../platform/posix/ContentCopy.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "support/Scopes.h"
#include "support/TempFolder.h"

using namespace platform;
using support::ScopedFileSizeLimit;
using support::TempFolder;
using support::writeFile;

namespace {

constexpr off_t kHuge = off_t{1} << 36;
constexpr long long kLittle = 1024LL * 1024;

class ContentCopy : public testing::Test {
  protected:
    /// A file for reading and writing that holds `content`.
    FileDescriptor fileWith(const std::string& content) {
        const std::string path = top / std::to_string(++files);
        writeFile(path, content);
        return {path.c_str(), O_RDWR};
    }

    /// A file of `size` bytes that holds `content` at `place` and holes elsewhere.
    FileDescriptor sparse(off_t size, off_t place, const std::string& content) {
        FileDescriptor file = fileWith("");
        EXPECT_EQ(::ftruncate(file.get(), size), 0);
        put(file, place, content);
        return file;
    }

    static void put(const FileDescriptor& file, off_t place, const std::string& content) {
        EXPECT_EQ(::pwrite(file.get(), content.data(), content.size(), place),
                  static_cast<ssize_t>(content.size()));
    }

    static struct stat statusOf(const FileDescriptor& file) {
        struct stat status = {};
        EXPECT_EQ(::fstat(file.get(), &status), 0);
        return status;
    }

    static long long bytesOnDisk(const FileDescriptor& file) { return statusOf(file).st_blocks * 512LL; }

    static std::string textOf(const FileDescriptor& file, off_t place, std::size_t count) {
        std::string text(count, '?');
        const auto got = ::pread(file.get(), text.data(), count, place);
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        return text;
    }

    static std::string textOf(const FileDescriptor& file) {
        return textOf(file, 0, static_cast<std::size_t>(statusOf(file).st_size));
    }

    TempFolder top;

  private:
    int files = 0;
};

} // namespace

TEST_F(ContentCopy, CopiesThePartToTheSamePlace) {
    const FileDescriptor from = fileWith("0123456789");
    const FileDescriptor to = fileWith("abc");
    EXPECT_FALSE(copyContentBetween(from, to, 3, 7));
    EXPECT_EQ(textOf(to), "abc3456");
    EXPECT_EQ(textOf(from), "0123456789");
}

TEST_F(ContentCopy, CopiesTheRestInASecondStep) {
    const FileDescriptor from = fileWith("0123");
    const FileDescriptor to = fileWith("");
    EXPECT_FALSE(copyContentBetween(from, to, 0, 4));
    put(from, 4, "456789");
    EXPECT_FALSE(copyContentBetween(from, to, 4, 10));
    EXPECT_EQ(textOf(to), "0123456789");
}

TEST_F(ContentCopy, CopiesNothing) {
    const FileDescriptor from = fileWith("");
    const FileDescriptor to = fileWith("");
    EXPECT_FALSE(copyContentBetween(from, to, 0, 0));
    EXPECT_EQ(textOf(to), "");
}

TEST_F(ContentCopy, CopiesBytesOfEveryKindAndManyOfThem) {
    std::string content;
    for (int i = 0; i < 3000000; ++i) {
        content.push_back(static_cast<char>(i % 251));
    }
    const FileDescriptor from = fileWith(content);
    const FileDescriptor to = fileWith("");
    EXPECT_FALSE(copyContentBetween(from, to, 0, static_cast<off_t>(content.size())));
    EXPECT_TRUE(textOf(to) == content);
}

TEST_F(ContentCopy, KeepsHoles) {
    const support::ScopedAlarm deadline(120);
    for (const off_t place : {off_t{0}, kHuge / 2, kHuge - 4}) {
        const FileDescriptor from = sparse(kHuge, place, "text");
        const FileDescriptor to = fileWith("");
        EXPECT_FALSE(copyContentBetween(from, to, 0, kHuge));
        EXPECT_EQ(statusOf(to).st_size, kHuge);
        EXPECT_EQ(textOf(to, place, 4), "text");
        EXPECT_LT(bytesOnDisk(to), kLittle);
    }
}

TEST_F(ContentCopy, KeepsAFileThatIsNothingButAHole) {
    const support::ScopedAlarm deadline(120);
    const FileDescriptor from = sparse(kHuge, 0, "");
    const FileDescriptor to = fileWith("");
    EXPECT_FALSE(copyContentBetween(from, to, 0, kHuge));
    EXPECT_EQ(statusOf(to).st_size, kHuge);
    EXPECT_LT(bytesOnDisk(to), kLittle);
}

TEST_F(ContentCopy, KeepsSeveralPartsBetweenHoles) {
    const FileDescriptor from = sparse(kHuge, 0, "first");
    put(from, kHuge / 4, "second");
    put(from, kHuge / 2 + 1, std::string(100000, '3'));
    const FileDescriptor to = fileWith("");
    EXPECT_FALSE(copyContentBetween(from, to, 0, kHuge));
    EXPECT_TRUE(beginsWith(from, to));
    EXPECT_TRUE(beginsWith(to, from));
    EXPECT_LT(bytesOnDisk(to), kLittle);
    EXPECT_EQ(textOf(to, kHuge / 4, 6), "second");
    EXPECT_EQ(textOf(to, kHuge / 2 + 1, 100000), std::string(100000, '3'));
}

TEST_F(ContentCopy, CopiesAPartThatBeginsAndEndsInHoles) {
    const FileDescriptor from = sparse(kHuge, kHuge / 2, "text");
    const FileDescriptor to = fileWith("");
    EXPECT_FALSE(copyContentBetween(from, to, kHuge / 4, kHuge / 2 + 2));
    EXPECT_EQ(statusOf(to).st_size, kHuge / 2 + 2);
    EXPECT_EQ(textOf(to, kHuge / 2, 4), "te");
}

TEST_F(ContentCopy, EndsAlsoIfTheFileWasCutMeanwhile) {
    const support::ScopedAlarm deadline(120);
    const FileDescriptor from = fileWith("0123");
    const FileDescriptor to = fileWith("");
    const bool failed(copyContentBetween(from, to, 0, 1000000));
    EXPECT_TRUE(failed || statusOf(to).st_size == 1000000);
    EXPECT_EQ(textOf(to, 0, 4), "0123");
}

TEST_F(ContentCopy, FailsOnAFullDisk) {
    const FileDescriptor from = fileWith(std::string(100000, 'x'));
    const FileDescriptor to = fileWith("");
    const ScopedFileSizeLimit full(50000);
    EXPECT_EQ(copyContentBetween(from, to, 0, 100000), std::errc::file_too_large);
}

TEST_F(ContentCopy, FailsIfAFileIsNotOpenForIt) {
    const FileDescriptor from = fileWith("content");
    const FileDescriptor to = fileWith("");
    const FileDescriptor readOnly((top / "2").c_str(), O_RDONLY);
    const FileDescriptor writeOnly((top / "1").c_str(), O_WRONLY);
    EXPECT_TRUE(copyContentBetween(from, readOnly, 0, 7));
    EXPECT_TRUE(copyContentBetween(writeOnly, to, 0, 7));
    EXPECT_TRUE(copyContentBetween(from, FileDescriptor(), 0, 7));
    EXPECT_TRUE(copyContentBetween(FileDescriptor(), to, 0, 7));
}

TEST_F(ContentCopy, ComparesTheBeginning) {
    struct Case {
        std::string whole;
        std::string part;
        bool expected;
    };
    const std::string much(300000, 'x');
    for (const Case& each : std::vector<Case>{{"", "", true},
                                              {"content", "", true},
                                              {"content", "content", true},
                                              {"content", "cont", true},
                                              {"content", "contents", false},
                                              {"", "c", false},
                                              {"content", "contenT", false},
                                              {"content", "Content", false},
                                              {"content", "ontent", false},
                                              {"a\n", "a", true},
                                              {much, much, true},
                                              {much + "y", much, true},
                                              {much, much + "y", false},
                                              {much + "y", much + "z", false},
                                              {much + "y" + much, much + "z" + much, false},
                                              {much.substr(1) + "y", much, false}}) {
        const FileDescriptor whole = fileWith(each.whole);
        const FileDescriptor part = fileWith(each.part);
        EXPECT_EQ(beginsWith(whole, part), each.expected)
            << each.whole.substr(0, 20) << " and " << each.part.substr(0, 20);
    }
}

TEST_F(ContentCopy, ComparesHolesAsZeros) {
    const std::string zeros(200000, '\0');
    const FileDescriptor written = fileWith(zeros);
    const FileDescriptor hole = sparse(200000, 0, "");
    const FileDescriptor mixed = sparse(200000, 100000, std::string(1, '\0'));
    const FileDescriptor shorter = sparse(199999, 0, "");
    const FileDescriptor other = sparse(200000, 199999, "x");
    for (const auto* one : {&written, &hole, &mixed}) {
        for (const auto* another : {&written, &hole, &mixed}) {
            EXPECT_TRUE(beginsWith(*one, *another));
        }
        EXPECT_TRUE(beginsWith(*one, shorter));
        EXPECT_FALSE(beginsWith(shorter, *one)) << "the part is longer";
        EXPECT_FALSE(beginsWith(*one, other));
        EXPECT_FALSE(beginsWith(other, *one));
    }
}

TEST_F(ContentCopy, ComparesHugeFilesThatHoldLittle) {
    const support::ScopedAlarm deadline(120);
    const FileDescriptor one = sparse(kHuge, kHuge / 2, "text");
    const FileDescriptor same = sparse(kHuge, kHuge / 2, "text");
    const FileDescriptor other = sparse(kHuge, kHuge / 2, "teXt");
    const FileDescriptor last = sparse(kHuge, kHuge - 1, "x");
    EXPECT_TRUE(beginsWith(one, same));
    EXPECT_FALSE(beginsWith(one, other));
    EXPECT_FALSE(beginsWith(one, last));
    EXPECT_FALSE(beginsWith(last, one));
}

TEST_F(ContentCopy, ComparesNothingThatCannotBeRead) {
    const FileDescriptor readable = fileWith("content");
    const FileDescriptor writeOnly((top / "1").c_str(), O_WRONLY);
    EXPECT_FALSE(beginsWith(readable, writeOnly));
    EXPECT_FALSE(beginsWith(writeOnly, readable));
    EXPECT_FALSE(beginsWith(FileDescriptor(), readable));
    EXPECT_FALSE(beginsWith(readable, FileDescriptor()));
}

namespace {

using RangeCopy = ssize_t (*)(const FileDescriptor&, const FileDescriptor&, off_t, std::size_t);

/// Both ways of copying a range.
class CopyRange : public ContentCopy, public testing::WithParamInterface<RangeCopy> {};

} // namespace

TEST_P(CopyRange, CopiesAtMostSoMany) {
    const FileDescriptor from = fileWith("0123456789");
    const FileDescriptor to = fileWith("abcdefghijk");
    EXPECT_EQ(GetParam()(from, to, 3, 4), 4);
    EXPECT_EQ(textOf(to), "abc3456hijk");
}

TEST_P(CopyRange, CopiesLessAtTheEndAndNothingBehindIt) {
    const FileDescriptor from = fileWith("0123");
    const FileDescriptor to = fileWith("");
    EXPECT_EQ(GetParam()(from, to, 1, 100), 3);
    EXPECT_EQ(textOf(to), std::string("\0", 1) + "123");
    EXPECT_EQ(GetParam()(from, to, 4, 100), 0);
    EXPECT_EQ(GetParam()(from, to, 5, 100), 0);
}

TEST_P(CopyRange, CopiesAllStepByStep) {
    const std::string content(5000000, 'x');
    const FileDescriptor from = fileWith(content);
    const FileDescriptor to = fileWith("");
    off_t place = 0;
    for (ssize_t count = 0; (count = GetParam()(from, to, place, content.size())) > 0;) {
        place += count;
    }
    EXPECT_EQ(place, static_cast<off_t>(content.size()));
    EXPECT_TRUE(textOf(to) == content);
}

TEST_P(CopyRange, FailsWhereItMayNotReadOrWrite) {
    const FileDescriptor from = fileWith("0123");
    const FileDescriptor to = fileWith("");
    const FileDescriptor readOnly((top / "2").c_str(), O_RDONLY);
    const FileDescriptor writeOnly((top / "1").c_str(), O_WRONLY);
    EXPECT_EQ(GetParam()(from, readOnly, 0, 4), -1);
    EXPECT_EQ(GetParam()(writeOnly, to, 0, 4), -1);
    const ScopedFileSizeLimit full(0);
    EXPECT_EQ(GetParam()(from, to, 0, 4), -1);
    EXPECT_EQ(errno, EFBIG);
}

INSTANTIATE_TEST_SUITE_P(Both, CopyRange, testing::Values(&copyRange, &copyRangeByHand));

#include <elmu/logging/UnfinishedRecord.h>

#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "platform/LogFile.h"
#include "support/TempFolder.h"

using elmu::endsInUnfinishedRecord;

TEST(UnfinishedRecord, IsALastLineWithoutEndThatBeginsLikeARecord) {
    const std::string begun = "11/21/26 10:58:49:007 | [INFO] | c1";
    EXPECT_TRUE(endsInUnfinishedRecord("a whole line\n" + begun, true));
    EXPECT_TRUE(endsInUnfinishedRecord("end of a line\n" + begun, false));
    EXPECT_TRUE(endsInUnfinishedRecord(begun, true));
}

TEST(UnfinishedRecord, IsNothingAfterAWholeLine) {
    EXPECT_FALSE(endsInUnfinishedRecord("11/21/26 10:58:49:007 | [INFO] | c1\n", true));
    EXPECT_FALSE(endsInUnfinishedRecord("x\n11/21/26 10:58:49:007 | [INFO] | c1\n", false));
}

TEST(UnfinishedRecord, IsNothingInAnEmptyFile) { EXPECT_FALSE(endsInUnfinishedRecord("", true)); }

TEST(UnfinishedRecord, IsNothingThatOthersLeft) {
    EXPECT_FALSE(endsInUnfinishedRecord("a whole line\nsomebody's unfinished line", true));
    EXPECT_FALSE(endsInUnfinishedRecord("somebody's 11/21/26 10:58:49:007 | [INFO]", true));
    EXPECT_FALSE(endsInUnfinishedRecord("x\n2026-11-21 10:58:49 theirs", true));
}

TEST(UnfinishedRecord, IsNothingWhenTheLinesBeginningIsNotSeen) {
    EXPECT_FALSE(endsInUnfinishedRecord("11/21/26 10:58:49:007 | [INFO] | c1", false));
}

class UnfinishedRecordInAFile : public testing::Test {
  protected:
    /// Whether a log of that content ends in one, for somebody who saw it end at `end`.
    bool isSeen(const std::string& content, long long end) const {
        support::writeFile(folder / "log", content);
        platform::LogFile log;
        EXPECT_FALSE(log.openExisting(folder / "log"));
        return endsInUnfinishedRecord(log, end);
    }

    /// The same for `content` and a record that begins and is cut off where the file is `size` bytes long.
    bool isSeenIn(const std::string& content, std::size_t size) const {
        std::string whole = content + begun;
        whole.resize(size, 'x');
        return isSeen(whole, static_cast<long long>(size));
    }

    support::TempFolder folder;
    const std::string begun = "11/21/26 10:58:49:007 | [INFO] | c1";
};

TEST_F(UnfinishedRecordInAFile, IsSeenWhereABlockEnds) {
    EXPECT_TRUE(isSeenIn("a whole line\n", 4096));
    EXPECT_TRUE(isSeenIn("", 4096));
    EXPECT_TRUE(isSeenIn("a whole line\n", 8192));
}

TEST_F(UnfinishedRecordInAFile, IsSeenWhateverItsLengthUpToAMebibyte) {
    EXPECT_TRUE(isSeenIn("a whole line\n", 1024 * 1024));
    EXPECT_TRUE(isSeenIn(std::string(5000, 'y') + "\n", 1024 * 1024 + 4096));
}

TEST_F(UnfinishedRecordInAFile, IsNotLookedForElsewhere) {
    EXPECT_FALSE(isSeenIn("a whole line\n", 4095));
    EXPECT_FALSE(isSeenIn("a whole line\n", 4097));
}

TEST_F(UnfinishedRecordInAFile, IsNothingThatOthersLeft) {
    EXPECT_FALSE(isSeen("", 0));
    EXPECT_FALSE(isSeen(std::string(4095, 'x') + "\n", 4096));
    EXPECT_FALSE(isSeen(std::string(4096, 'x'), 4096));
    EXPECT_FALSE(isSeen(std::string(4096, '\0'), 4096));
}

TEST_F(UnfinishedRecordInAFile, IsNothingInAFileThatGrewMeanwhile) {
    std::string content = begun;
    content.resize(8192, 'x');
    EXPECT_FALSE(isSeen(content, 4096)) << "its writer lives";
}

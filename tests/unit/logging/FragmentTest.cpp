#include <elmu/logging/Fragment.h>

#include <cstddef>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/TempFolder.h"

using elmu::unfinishedRecordLength;

TEST(UnfinishedRecord, IsALastLineWithoutEndThatBeginsLikeARecord) {
    const std::string begun = "11/21/26 10:58:49:007 | [INFO] | c1";
    EXPECT_EQ(unfinishedRecordLength("a whole line\n" + begun, true), begun.size());
    EXPECT_EQ(unfinishedRecordLength("end of a line\n" + begun, false), begun.size());
    EXPECT_EQ(unfinishedRecordLength(begun, true), begun.size());
}

TEST(UnfinishedRecord, IsNothingAfterAWholeLine) {
    EXPECT_EQ(unfinishedRecordLength("11/21/26 10:58:49:007 | [INFO] | c1\n", true), 0U);
    EXPECT_EQ(unfinishedRecordLength("x\n11/21/26 10:58:49:007 | [INFO] | c1\n", false), 0U);
}

TEST(UnfinishedRecord, IsNothingInAnEmptyFile) { EXPECT_EQ(unfinishedRecordLength("", true), 0U); }

TEST(UnfinishedRecord, IsNothingThatOthersLeft) {
    EXPECT_EQ(unfinishedRecordLength("a whole line\nsomebody's unfinished line", true), 0U);
    EXPECT_EQ(unfinishedRecordLength("somebody's 11/21/26 10:58:49:007 | [INFO]", true), 0U);
    EXPECT_EQ(unfinishedRecordLength("x\n2026-11-21 10:58:49 theirs", true), 0U);
}

TEST(UnfinishedRecord, IsNothingWhenTheLinesBeginningIsNotSeen) {
    EXPECT_EQ(unfinishedRecordLength("11/21/26 10:58:49:007 | [INFO] | c1", false), 0U);
}

class UnfinishedRecordInAFile : public testing::Test {
  protected:
    /// What is left of a file with that content.
    std::string mended(const std::string& content) const {
        support::writeFile(folder / "log", content);
        elmu::cutUnfinishedRecord(folder / "log", static_cast<long long>(content.size()));
        return support::readFile(folder / "log");
    }

    support::TempFolder folder;
    const std::string begun = "11/21/26 10:58:49:007 | [INFO] | c1";
};

TEST_F(UnfinishedRecordInAFile, IsCutOff) {
    EXPECT_EQ(mended("a whole line\n" + begun), "a whole line\n");
    EXPECT_EQ(mended(begun), "");
}

TEST_F(UnfinishedRecordInAFile, IsCutOffWhateverItsLength) {
    for (const std::size_t length : {100U, 4000U, 4096U, 8191U, 70000U, 1000000U}) {
        EXPECT_EQ(mended("a whole line\n" + begun + std::string(length, 'x')), "a whole line\n") << length;
    }
}

TEST_F(UnfinishedRecordInAFile, IsAllThatIsCutOff) {
    for (const std::string& content :
         {std::string(), std::string("a whole line\n"), begun + "\n", std::string("somebody's unfinished"),
          std::string("a whole line\nsomebody's unfinished"), std::string(100000, 'x'),
          std::string(100000, '\0')}) {
        EXPECT_EQ(mended(content), content);
    }
}

TEST_F(UnfinishedRecordInAFile, IsLookedForInRegularFilesOnly) {
    elmu::cutUnfinishedRecord(folder.path(), 0);
    elmu::cutUnfinishedRecord(folder / "missing", 0);
    EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
}

TEST_F(UnfinishedRecordInAFile, IsLeftInAFileOfAnotherLength) {
    const std::string content = "whole\n11/21/26 10:00:00:000 | [IN";
    support::writeFile(folder / "log", content);
    elmu::cutUnfinishedRecord(folder / "log", 4096);
    EXPECT_EQ(support::readFile(folder / "log"), content);
}

namespace {

/// What a failed write of "a line\n" at 6 leaves of a file with that content.
std::string afterFailedLine(const std::string& content) {
    const support::TempFolder folder;
    support::writeFile(folder / "log", content);
    elmu::cutFailedLine(folder / "log", 6, "a line\n");
    return support::readFile(folder / "log");
}

} // namespace

TEST(FailedLine, IsCutOffFromItsStart) {
    EXPECT_EQ(afterFailedLine("whole\na li"), "whole\n");
    EXPECT_EQ(afterFailedLine("whole\na line"), "whole\n");
    EXPECT_EQ(afterFailedLine("whole\na"), "whole\n");
}

TEST(FailedLine, IsNothingThatOthersWrote) {
    for (const std::string content :
         {"", "who", "whole\n", "whole\nb li", "whole\na line\n", "whole\nanother line\n"}) {
        EXPECT_EQ(afterFailedLine(content), content);
    }
}

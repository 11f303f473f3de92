#include <elmu/utils/FileUtils.h>

#include <cstdarg>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "support/InChild.h"
#include "support/ReportReceivers.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"

namespace fs = std::filesystem;

using elmu::ERROR;
using elmu::INFO;
using ELMUUtils::FileUtils;
using support::Line;
using support::Lines;
using support::modeOf;
using support::Receiver;
using support::Record;
using support::ReportReceivers;
using support::ScopedUmask;
using support::TempFolder;
using support::WorkingFolder;
using support::writeFile;

namespace {

constexpr uid_t otherUser = 501;
constexpr gid_t otherGroup = 20;

using Owner = std::pair<uid_t, gid_t>;

Owner ownerOf(const std::string& path) {
    struct stat info = {};
    EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
    return {info.st_uid, info.st_gid};
}

/// Gives `path` to another user when this process may, and tells whose it is then.
Owner giveAway(const std::string& path) {
    if (::geteuid() == 0) {
        EXPECT_EQ(::lchown(path.c_str(), otherUser, otherGroup), 0) << path;
    }
    return ownerOf(path);
}

bool create(const std::string& path) { return FileUtils::CreateDirectoryAtPathEx(path, nullptr, false); }

bool createWithPermissions(const std::string& path) {
    return FileUtils::CreateDirectoryAtPathEx(path, nullptr, true);
}

Line failed(const std::string& path) {
    return {ERROR, "Failed to create directory at path ex " + path + " "};
}

const Line emptyInfo{INFO, ""};

class FolderCreation : public testing::Test {
  protected:
    ScopedUmask mask{022};
    TempFolder temp;
};

} // namespace

TEST_F(FolderCreation, MakesEveryMissingParent) {
    EXPECT_TRUE(create(temp / "x/y/z"));
    EXPECT_TRUE(fs::is_directory(temp / "x/y/z"));
}

TEST_F(FolderCreation, GivesEveryLevelTheUsualModeWithoutPermissions) {
    ScopedUmask narrow(027);
    EXPECT_TRUE(create(temp / "x/y"));
    EXPECT_EQ(modeOf(temp / "x"), 0750U);
    EXPECT_EQ(modeOf(temp / "x/y"), 0750U);
}

TEST_F(FolderCreation, KeepsItsOwnUserWithoutPermissions) {
    fs::create_directory(temp / "x");
    giveAway(temp / "x");
    EXPECT_TRUE(create(temp / "x/y"));
    EXPECT_EQ(ownerOf(temp / "x/y"), (Owner{::geteuid(), ::getegid()}));
}

TEST_F(FolderCreation, LeavesAnExistingFolderAsItIs) {
    fs::create_directory(temp / "x");
    writeFile(temp / "x/file", "content");
    fs::permissions(temp / "x", fs::perms(0751));
    const Owner owner = giveAway(temp / "x");
    EXPECT_TRUE(create(temp / "x"));
    EXPECT_TRUE(createWithPermissions(temp / "x"));
    EXPECT_EQ(modeOf(temp / "x"), 0751U);
    EXPECT_EQ(ownerOf(temp / "x"), owner);
    EXPECT_EQ(support::readFile(temp / "x/file"), "content");
}

TEST_F(FolderCreation, SucceedsAgainForAFolderOfItsOwn) {
    EXPECT_TRUE(createWithPermissions(temp / "x/y"));
    EXPECT_TRUE(createWithPermissions(temp / "x/y"));
    EXPECT_TRUE(create(temp / "x/y"));
}

TEST_F(FolderCreation, SucceedsForALinkToAFolder) {
    fs::create_directory(temp / "real");
    fs::create_directory_symlink(temp / "real", temp / "link");
    EXPECT_TRUE(create(temp / "link"));
    EXPECT_TRUE(fs::is_symlink(temp / "link"));
}

TEST_F(FolderCreation, AcceptsATrailingSlash) {
    EXPECT_TRUE(create(temp / "x/y/"));
    EXPECT_TRUE(fs::is_directory(temp / "x/y"));
}

TEST_F(FolderCreation, WorksFromTheWorkingFolder) {
    WorkingFolder inside(temp.path());
    EXPECT_TRUE(createWithPermissions("x/y"));
    EXPECT_EQ(modeOf(temp / "x/y"), 0775U);
}

TEST_F(FolderCreation, KeepsNamesThatAreNotUtf8) {
    EXPECT_TRUE(create(temp / "\xff/y"));
    EXPECT_TRUE(fs::is_directory(temp / "\xff/y"));
}

TEST_F(FolderCreation, EndsItsPathAtANulByte) {
    EXPECT_TRUE(create(temp / std::string("x\0y/z", 5)));
    EXPECT_TRUE(fs::is_directory(temp / "x"));
    EXPECT_TRUE(fs::is_empty(temp / "x"));
}

TEST_F(FolderCreation, FailsWhereAFileIsInTheWay) {
    writeFile(temp / "x", "in the way");
    EXPECT_FALSE(create(temp / "x"));
    EXPECT_FALSE(createWithPermissions(temp / "x"));
    EXPECT_EQ(support::readFile(temp / "x"), "in the way");
}

TEST_F(FolderCreation, FailsBelowAFile) {
    writeFile(temp / "x", "in the way");
    EXPECT_FALSE(create(temp / "x/y/z"));
    EXPECT_FALSE(createWithPermissions(temp / "x/y/z"));
    EXPECT_EQ(support::readFile(temp / "x"), "in the way");
}

TEST_F(FolderCreation, FailsForADanglingLink) {
    fs::create_symlink(temp / "nowhere", temp / "link");
    EXPECT_FALSE(create(temp / "link"));
    EXPECT_FALSE(fs::exists(temp / "nowhere"));
}

TEST_F(FolderCreation, FailsForANameThatIsTooLong) { EXPECT_FALSE(create(temp / std::string(256, 'n'))); }

TEST_F(FolderCreation, TakesANameOf255Bytes) { EXPECT_TRUE(create(temp / std::string(255, 'n'))); }

TEST_F(FolderCreation, FailsForAnEmptyPath) { EXPECT_FALSE(create("")); }

TEST_F(FolderCreation, FailsWhereItMayNotWrite) {
    fs::permissions(temp.path(), fs::perms(0555));
    support::asOrdinaryUser([this] {
        EXPECT_FALSE(create(temp / "x/y"));
        EXPECT_FALSE(createWithPermissions(temp / "x/y"));
    });
    EXPECT_TRUE(fs::is_empty(temp.path()));
}

TEST_F(FolderCreation, TakesItsArgumentsInAnotherOrderInTheShortForm) {
    ReportReceivers receivers(Receiver::OwnLogger);
    EXPECT_TRUE(FileUtils::CreateDirectoryAtPath(temp / "plain", false, receivers.logger()));
    EXPECT_EQ(modeOf(temp / "plain"), 0755U);
    EXPECT_TRUE(receivers.records().empty());
    EXPECT_TRUE(FileUtils::CreateDirectoryAtPath(temp / "open", true, receivers.logger()));
    EXPECT_EQ(modeOf(temp / "open"), 0775U);
    EXPECT_EQ(receivers.records().size(), 2U);
}

TEST_F(FolderCreation, FailsInTheShortFormAsInTheLongOne) {
    ReportReceivers receivers(Receiver::OwnLogger);
    writeFile(temp / "x", "in the way");
    EXPECT_FALSE(FileUtils::CreateDirectoryAtPath(temp / "x/y", false, receivers.logger()));
    EXPECT_EQ(receivers.lines("FileUtils"), (Lines{failed(temp / "x/y")}));
}

// With permissions.

TEST_F(FolderCreation, GivesEveryLevelItMakesMode0775WhateverTheUmask) {
    for (const mode_t narrow : {mode_t{0}, mode_t{022}, mode_t{077}}) {
        ScopedUmask inner(narrow);
        const std::string top = temp / std::to_string(narrow);
        EXPECT_TRUE(createWithPermissions(top + "/y/z"));
        EXPECT_EQ(modeOf(top), 0775U);
        EXPECT_EQ(modeOf(top + "/y"), 0775U);
        EXPECT_EQ(modeOf(top + "/y/z"), 0775U);
    }
}

TEST_F(FolderCreation, GivesEveryLevelItMakesTheOwnerOfTheNearestExistingAncestor) {
    fs::create_directory(temp / "x");
    const Owner owner = giveAway(temp / "x");
    EXPECT_TRUE(createWithPermissions(temp / "x/y/z"));
    EXPECT_EQ(ownerOf(temp / "x/y"), owner);
    EXPECT_EQ(ownerOf(temp / "x/y/z"), owner);
}

TEST_F(FolderCreation, LeavesTheAncestorsThatExistAsTheyAre) {
    fs::create_directory(temp / "x");
    fs::permissions(temp / "x", fs::perms(0700));
    EXPECT_TRUE(createWithPermissions(temp / "x/y"));
    EXPECT_EQ(modeOf(temp / "x"), 0700U);
    EXPECT_EQ(modeOf(temp.path()), 0700U);
}

TEST_F(FolderCreation, KeepsItsOwnUserBelowALink) {
    fs::create_directory(temp / "real");
    fs::create_directory_symlink(temp / "real", temp / "link");
    giveAway(temp / "real");
    giveAway(temp / "link");
    EXPECT_TRUE(createWithPermissions(temp / "link/y/z"));
    EXPECT_EQ(ownerOf(temp / "real/y"), (Owner{::geteuid(), ::getegid()}));
    EXPECT_EQ(ownerOf(temp / "real/y/z"), (Owner{::geteuid(), ::getegid()}));
}

TEST_F(FolderCreation, GivesMode0775BelowALinkToo) {
    ScopedUmask narrow(077);
    fs::create_directory(temp / "real");
    fs::create_directory_symlink(temp / "real", temp / "link");
    EXPECT_TRUE(createWithPermissions(temp / "link/y/z"));
    EXPECT_EQ(modeOf(temp / "real/y"), 0775U);
    EXPECT_EQ(modeOf(temp / "real/y/z"), 0775U);
}

TEST_F(FolderCreation, SucceedsWhenTheSystemRefusesTheOwner) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it makes a folder and then becomes another user";
    }
    fs::permissions(temp.path(), fs::perms(0777));
    support::asOrdinaryUser([this] {
        EXPECT_TRUE(createWithPermissions(temp / "x/y"));
        EXPECT_EQ(ownerOf(temp / "x/y").first, support::ordinaryUser);
        EXPECT_EQ(modeOf(temp / "x/y"), 0775U);
    });
}

// What is reported.

namespace {

/// The texts that came one position late, as formats and with their arguments.
struct LateTexts {
    std::vector<std::string> formats;
    std::vector<std::string> messages;
};
LateTexts lateTexts;

void catchLateText(elmu::Log_Level level, const char* library, const char* component, const char* detail1,
                   const char* detail2, const char* format, ...) {
    EXPECT_EQ(level, INFO);
    EXPECT_STREQ(library, "ELMUUtils");
    EXPECT_STREQ(component, "FileUtils");
    EXPECT_STREQ(detail1, "");
    EXPECT_STREQ(detail2, "");
    EXPECT_STREQ(format, "");
    std::va_list arguments;
    va_start(arguments, format);
    lateTexts.formats.emplace_back(va_arg(arguments, const char*));
    lateTexts.messages.push_back(support::formatted(lateTexts.formats.back().c_str(), arguments));
    va_end(arguments);
}

} // namespace

TEST_F(FolderCreation, NamesTheAncestorAndItsOwnerToTheFunctionOnePositionLate) {
    lateTexts = {};
    const Owner owner = giveAway(temp.path());
    ReportReceivers noOthers(Receiver::Nobody);
    ELMUUtils::elmuUtilsLogMessageFnPtr = &catchLateText;
    EXPECT_TRUE(createWithPermissions(temp / "x/y"));
    EXPECT_EQ(lateTexts.formats,
              (std::vector<std::string>{" shouldSetPermission is true, parent folder found  =  %s ",
                                        "shouldSetPermission is true,owner =%d,group =%d"}));
    EXPECT_EQ(lateTexts.messages,
              (std::vector<std::string>{
                  " shouldSetPermission is true, parent folder found  =  " + temp.path() + " ",
                  "shouldSetPermission is true,owner =" + std::to_string(owner.first) +
                      ",group =" + std::to_string(owner.second)}));
}

class FolderCreationReports : public testing::TestWithParam<Receiver> {
  protected:
    bool create(const std::string& path, bool shouldSetPermission) {
        return FileUtils::CreateDirectoryAtPathEx(path, receivers.logger(), shouldSetPermission);
    }
    Lines lines() const { return receivers.lines("FileUtils"); }

    ReportReceivers receivers{GetParam()};
    TempFolder temp;
};

TEST_P(FolderCreationReports, NothingOnSuccessWithoutPermissions) {
    EXPECT_TRUE(create(temp / "x/y", false));
    EXPECT_TRUE(receivers.records().empty());
}

TEST_P(FolderCreationReports, TwoEmptyMessagesOnSuccessWithPermissions) {
    EXPECT_TRUE(create(temp / "x/y", true));
    EXPECT_EQ(lines(), (Lines{emptyInfo, emptyInfo}));
    for (const Record& record : receivers.records()) {
        EXPECT_EQ(record.format, "");
    }
}

TEST_P(FolderCreationReports, TheTwoEmptyMessagesForAnExistingFolderToo) {
    EXPECT_TRUE(create(temp.path(), true));
    EXPECT_EQ(lines(), (Lines{emptyInfo, emptyInfo}));
}

TEST_P(FolderCreationReports, NoOwnerWhenTheAncestorIsALink) {
    fs::create_directory(temp / "real");
    fs::create_directory_symlink(temp / "real", temp / "link");
    EXPECT_TRUE(create(temp / "link/y", true));
    EXPECT_EQ(lines(), (Lines{emptyInfo}));
}

TEST_P(FolderCreationReports, AnErrorWithThePathOnFailure) {
    writeFile(temp / "x", "in the way");
    EXPECT_FALSE(create(temp / "x/y", false));
    EXPECT_EQ(lines(), (Lines{failed(temp / "x/y")}));
}

TEST_P(FolderCreationReports, TheErrorAfterTheTwoEmptyMessagesWithPermissions) {
    writeFile(temp / "x", "in the way");
    EXPECT_FALSE(create(temp / "x/y", true));
    EXPECT_EQ(lines(), (Lines{emptyInfo, emptyInfo, failed(temp / "x/y")}));
}

TEST_P(FolderCreationReports, AnErrorForAnEmptyPath) {
    EXPECT_FALSE(create("", false));
    EXPECT_EQ(lines(), (Lines{failed("")}));
}

TEST_P(FolderCreationReports, PercentSignsOfAPathAsText) {
    writeFile(temp / "x%s%d", "in the way");
    EXPECT_FALSE(create(temp / "x%s%d", false));
    EXPECT_EQ(lines(), (Lines{failed(temp / "x%s%d")}));
}

TEST_P(FolderCreationReports, AVeryLongPathWhole) {
    const std::string path = temp / std::string(10000, 'n');
    EXPECT_FALSE(create(path, false));
    EXPECT_EQ(lines(), (Lines{failed(path)}));
}

TEST_P(FolderCreationReports, ThePathApartFromTheFormat) {
    create("", false);
    ASSERT_EQ(receivers.records().size(), 1U);
    EXPECT_EQ(receivers.records().front().format, "Failed to create directory at path ex %s ");
}

INSTANTIATE_TEST_SUITE_P(Report, FolderCreationReports, testing::ValuesIn(support::allReceivers()),
                         support::receiverName);

TEST_F(FolderCreation, FailsInSilenceWhenNobodyListens) {
    ReportReceivers receivers(Receiver::Nobody);
    EXPECT_FALSE(create(""));
    EXPECT_TRUE(receivers.records().empty());
}

// The nearest existing ancestor.

namespace {

class ExistentParent : public testing::Test {
  protected:
    TempFolder temp;
};

} // namespace

TEST_F(ExistentParent, IsAnExistingPathItselfAsItIsWritten) {
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp.path()), temp.path());
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp.path() + "//"), temp.path() + "//");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory("/"), "/");
}

TEST_F(ExistentParent, IsTheNearestAncestorOfAMissingPath) {
    fs::create_directory(temp / "x");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp / "x/y/z"), temp / "x");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp / "x/y"), temp / "x");
}

TEST_F(ExistentParent, SkipsDoubledAndTrailingSlashes) {
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp.path() + "//x//y/"), temp.path());
}

TEST_F(ExistentParent, MayBeAFile) {
    writeFile(temp / "x", "a file");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp / "x"), temp / "x");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp / "x/y/z"), temp / "x");
}

TEST_F(ExistentParent, MayBeALinkToAFolder) {
    fs::create_directory(temp / "real");
    fs::create_directory_symlink(temp / "real", temp / "link");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp / "link/y/z"), temp / "link");
}

TEST_F(ExistentParent, IsNeverADanglingLink) {
    fs::create_symlink(temp / "nowhere", temp / "link");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp / "link"), temp.path());
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp / "link/y"), temp.path());
}

TEST_F(ExistentParent, IsTheRootAtTheLatest) {
    EXPECT_EQ(FileUtils::GetExistentParentDirectory("/hcd no such folder/x/y"), "/");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory("/hcd no such folder"), "/");
}

TEST_F(ExistentParent, IsTheWorkingFolderAtTheLatestForARelativePath) {
    WorkingFolder inside(temp.path());
    EXPECT_EQ(FileUtils::GetExistentParentDirectory("x/y/z"), ".");
    EXPECT_EQ(FileUtils::GetExistentParentDirectory("x"), ".");
}

TEST_F(ExistentParent, IsTheWorkingFolderEvenIfItMayNotBeSearched) {
    constexpr unsigned muchLongerThanItTakes = 20;
    support::inChild([this] {
        fs::current_path(temp.path());
        fs::permissions(".", fs::perms::none);
        support::becomeOrdinaryUser();
        const support::ScopedAlarm limit(muchLongerThanItTakes);
        ASSERT_FALSE(FileUtils::PathExists(".", nullptr));
        EXPECT_EQ(FileUtils::GetExistentParentDirectory("x/y/z"), ".");
        EXPECT_EQ(FileUtils::GetExistentParentDirectory("."), ".");
    });
}

TEST_F(ExistentParent, IsFoundAboveANameThatIsTooLong) {
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(temp / std::string(5000, 'n') + "/y"), temp.path());
}

TEST_F(ExistentParent, OfAnEmptyPathIsThatPathItself) {
    EXPECT_EQ(FileUtils::GetExistentParentDirectory(""), "");
}

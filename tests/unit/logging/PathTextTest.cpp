#include <regex>
#include <string>

#include <gtest/gtest.h>

#include <elmu/logging/PathText.h>

namespace {

/// What a function that edits its argument makes of `path`; "<failed>PATH" when it says so.
template <class Edit> std::string edited(std::string path, Edit edit) {
    const bool done = edit(path);
    return done ? path : "<failed>" + path;
}

std::string appended(const std::string& path, const std::string& component) {
    return edited(path, [&](std::string& text) { return elmu::appendPath(text, component); });
}

std::string withoutLast(const std::string& path) { return edited(path, elmu::removeLastPathComponent); }

std::string changed(const std::string& path, const std::string& extension) {
    return edited(path, [&](std::string& text) { return elmu::changeFileExtension(text, extension); });
}

std::string added(const std::string& path, const std::string& extension) {
    return edited(path, [&](std::string& text) { return elmu::addFileExtension(text, extension); });
}

std::string removed(const std::string& path) { return edited(path, elmu::removeFileExtension); }

std::string extensionOf(const std::string& path) {
    std::string extension = "earlier";
    return elmu::getFileExtension(path, extension) ? extension : "<failed>" + extension;
}

std::string baseName(const std::string& path) {
    std::string name = "earlier";
    EXPECT_TRUE(elmu::getFilePathBaseName(path, name));
    return name;
}

std::string stamped(const std::string& path) {
    return edited(path, [](std::string& text) { return elmu::appendTimeStampToFile(text); });
}

void expectStamped(const std::string& path, const std::string& before, const std::string& after) {
    const std::string result = stamped(path);
    ASSERT_GE(result.size(), before.size() + after.size());
    EXPECT_EQ(result.substr(0, before.size()), before);
    EXPECT_EQ(result.substr(result.size() - after.size()), after);
    const std::string stamp = result.substr(before.size(), result.size() - before.size() - after.size());
    EXPECT_TRUE(std::regex_match(stamp, std::regex(" \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d"))) << result;
}

TEST(AppendPath, PutsOneSlashBetweenTheTwo) {
    EXPECT_EQ(appended("/tmp", "HCD.log"), "/tmp/HCD.log");
    EXPECT_EQ(appended("/tmp/", "HCD.log"), "/tmp/HCD.log");
    EXPECT_EQ(appended("/", "HCD.log"), "/HCD.log");
}

TEST(AppendPath, GivesTheComponentForAnEmptyPath) { EXPECT_EQ(appended("", "HCD.log"), "HCD.log"); }

TEST(AppendPath, KeepsAComponentOfSeveralFoldersBelowThePath) {
    EXPECT_EQ(appended("/tmp", "/a/b"), "/tmp/a/b");
}

TEST(RemoveLastPathComponent, LeavesTheFolder) {
    EXPECT_EQ(withoutLast("/tmp/HCD.log"), "/tmp");
    EXPECT_EQ(withoutLast("/tmp/logs/"), "/tmp");
}

TEST(RemoveLastPathComponent, LeavesTheRootAsItIs) {
    EXPECT_EQ(withoutLast("/tmp"), "/");
    EXPECT_EQ(withoutLast("/"), "/");
}

TEST(RemoveLastPathComponent, LeavesNothingOfABareName) { EXPECT_EQ(withoutLast("HCD.log"), ""); }

TEST(ChangeFileExtension, ReplacesTheExtension) {
    EXPECT_EQ(changed("HCD.log", "trace"), "HCD.trace");
    EXPECT_EQ(changed("/a.b/HCD.old.log", "debug"), "/a.b/HCD.old.debug");
}

TEST(ChangeFileExtension, AppendsToANameWithoutExtension) {
    EXPECT_EQ(changed("HCD", "trace"), "HCD.trace");
    EXPECT_EQ(changed(".log", "trace"), ".log.trace");
}

TEST(ChangeFileExtension, LeavesAPathAloneThatCannotHaveAnExtension) {
    EXPECT_EQ(changed("", "trace"), "<failed>");
    EXPECT_EQ(changed("/", "trace"), "<failed>/");
}

TEST(ChangeFileExtension, LeavesThePathAloneWhenTheExtensionCannotBeOne) {
    EXPECT_EQ(changed("HCD.log", "a/b"), "<failed>HCD.log");
}

TEST(AddFileExtension, AppendsADotAndTheExtension) {
    EXPECT_EQ(added("HCD", "log"), "HCD.log");
    EXPECT_EQ(added("HCD.log", "gz"), "HCD.log.gz");
}

TEST(AddFileExtension, ChangesNothingForAnEmptyExtension) { EXPECT_EQ(added("HCD", ""), "HCD"); }

TEST(AddFileExtension, FailsForAPathThatCannotHaveAnExtension) {
    EXPECT_EQ(added("", "log"), "<failed>");
    EXPECT_EQ(added("/", "log"), "<failed>/");
}

TEST(RemoveFileExtension, TakesTheExtensionAndItsDot) {
    EXPECT_EQ(removed("HCD.log"), "HCD");
    EXPECT_EQ(removed("/tmp/HCD.old.log"), "/tmp/HCD.old");
}

TEST(RemoveFileExtension, TakesNothingFromANameWithoutExtension) {
    EXPECT_EQ(removed("HCD"), "HCD");
    EXPECT_EQ(removed(".log"), ".log");
    EXPECT_EQ(removed("HCD."), "HCD.");
    EXPECT_EQ(removed("a.b/c"), "a.b/c");
    EXPECT_EQ(removed(""), "");
}

TEST(GetFileExtension, IsWhatFollowsTheLastDot) {
    EXPECT_EQ(extensionOf("HCD.log"), "log");
    EXPECT_EQ(extensionOf("/tmp/HCD.old.log"), "log");
    EXPECT_EQ(extensionOf(".log"), "log");
}

TEST(GetFileExtension, FailsWithoutADotAndLeavesItsOutput) {
    EXPECT_EQ(extensionOf("HCD"), "<failed>earlier");
    EXPECT_EQ(extensionOf(""), "<failed>earlier");
}

TEST(GetFileExtension, IsEmptyAfterADotAtTheEnd) {
    EXPECT_EQ(extensionOf("HCD."), "");
    EXPECT_EQ(extensionOf(".."), "");
}

TEST(GetFileExtension, ReachesIntoFolderNames) { EXPECT_EQ(extensionOf("a.b/c"), "b/c"); }

TEST(GetFilePathBaseName, IsTheLastComponent) {
    EXPECT_EQ(baseName("/tmp/HCD.log"), "HCD.log");
    EXPECT_EQ(baseName("HCD.log"), "HCD.log");
}

TEST(GetFilePathBaseName, IgnoresSlashesAtTheEnd) {
    EXPECT_EQ(baseName("/tmp/logs/"), "logs");
    EXPECT_EQ(baseName("logs//"), "logs");
}

TEST(GetFilePathBaseName, IsTheRootForTheRoot) { EXPECT_EQ(baseName("/"), "/"); }

TEST(GetFilePathBaseName, IsADotForAnEmptyPath) { EXPECT_EQ(baseName(""), "."); }

TEST(GetFilePathBaseName, HoldsForVeryLongNames) {
    const std::string name(100000, 'n');
    EXPECT_EQ(baseName("/tmp/" + name), name);
}

TEST(GetFilePathBaseName, MayWriteIntoItsOwnInput) {
    std::string path = "/tmp/HCD.log";
    ASSERT_TRUE(elmu::getFilePathBaseName(std::string(path), path));
    EXPECT_EQ(path, "HCD.log");
}

TEST(IsFileName, AcceptsABareName) {
    EXPECT_TRUE(elmu::isFileName("HCD.log"));
    EXPECT_TRUE(elmu::isFileName(".log"));
    EXPECT_TRUE(elmu::isFileName("name with blanks"));
    EXPECT_TRUE(elmu::isFileName(".."));
}

TEST(IsFileName, RefusesANameBehindAFolder) {
    EXPECT_FALSE(elmu::isFileName("logs/HCD.log"));
    EXPECT_FALSE(elmu::isFileName("/HCD.log"));
    EXPECT_FALSE(elmu::isFileName("./HCD.log"));
}

TEST(IsFileName, RefusesASlashAtTheEnd) { EXPECT_FALSE(elmu::isFileName("HCD.log/")); }

TEST(IsFileName, AcceptsWhatEqualsItsOwnLastComponent) {
    EXPECT_TRUE(elmu::isFileName(""));
    EXPECT_TRUE(elmu::isFileName("/"));
}

TEST(AppendTimeStampToFile, PutsBlankDateAndTimeBeforeTheExtension) {
    expectStamped("HCD.log", "HCD", ".log");
    expectStamped("/tmp/HCD.old.log", "/tmp/HCD.old", ".log");
}

TEST(AppendTimeStampToFile, EndsWithTheStampWithoutAnExtension) { expectStamped("/tmp/HCD", "/tmp/HCD", ""); }

TEST(AppendTimeStampToFile, IgnoresAnExtensionThatReachesIntoAFolderName) {
    expectStamped("a.b/c", "a.b/c", "");
}

TEST(AppendTimeStampToFile, RepeatsTheExtensionOfANameThatBeginsWithADot) {
    expectStamped("/tmp/.log", "/tmp/.log", ".log");
}

} // namespace

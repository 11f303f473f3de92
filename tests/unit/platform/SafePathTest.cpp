#include "../../../platform/posix/SafePath.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#ifdef __linux__
#include <sched.h>
#include <sys/mount.h>
#endif

#include "support/Descriptors.h"
#include "support/InChild.h"
#include "support/OtherUsers.h"
#include "support/Scopes.h"
#include "support/TempFolder.h"
#include "support/WorkingFolder.h"

using namespace platform;
using support::anna;
using support::bert;
using support::give;
using support::makeFolder;
using support::makeLink;
using support::modeOf;
using support::readFile;
using support::ScopedEffectiveUser;
using support::ScopedUmask;
using support::TempFolder;
using support::WorkingFolder;
using support::writeFile;
using testing::AnyOf;
namespace fs = std::filesystem;

namespace {

/// Opens `path` and closes it again. Gives 0 or the error's number.
int resultOfOpening(const std::string& path, int flags = O_RDONLY, mode_t mode = 0) {
    const FileDescriptor opened = openSafely(path, flags, mode);
    return opened.isOpen() ? 0 : errno;
}

int resultOfMaking(const std::string& path, mode_t mode = 0777) {
    const FileDescriptor opened = makeFoldersSafely(path, mode);
    return opened.isOpen() ? 0 : errno;
}

bool isSame(const FileDescriptor& opened, const std::string& path) {
    return support::isOn(opened.get(), path);
}

/// Whether opening `path` safely leads to what is at `expected`.
bool leadsTo(const std::string& path, const std::string& expected, int flags = O_RDONLY) {
    return isSame(openSafely(path, flags), expected);
}

/// Leaves as many descriptors open as there were.
class SafePath : public testing::Test {
  protected:
    SafePath() { fs::permissions(top.path(), fs::perms(0755)); }
    void TearDown() override { EXPECT_EQ(support::openDescriptors(), before); }

    TempFolder top;

  private:
    std::ptrdiff_t before = support::openDescriptors();
};

} // namespace

TEST_F(SafePath, LeadsWhereTheSystemsPathsLead) {
    writeFile(top / "a/b/file", "content");
    const WorkingFolder working(top / "a");
    for (const std::string& path :
         {top / "a/b/file", top / "a/./b/../b/file", top / "a//b////file", std::string("b/file"),
          std::string("./b/file"), std::string("../a/b/file"), std::string("b/../b/./file"),
          "//" + (top / "a/b/file"), top / ("a" + std::string(2000, '/') + "b/file")}) {
        EXPECT_TRUE(leadsTo(path, top / "a/b/file")) << path;
    }
    for (const std::string& path :
         {top / "a/b", top / "a/b/", top / "a/b///", top / "a/b/.", top / "a/b/../b/", std::string("b"),
          std::string("b/"), std::string("./b/.")}) {
        EXPECT_TRUE(leadsTo(path, top / "a/b")) << path;
    }
    for (const char* path : {".", "./", "..//a", "b/.."}) {
        EXPECT_TRUE(leadsTo(path, top / "a")) << path;
    }
    EXPECT_TRUE(leadsTo("..", top.path()));
}

TEST_F(SafePath, KnowsTheRootFolder) {
    for (const char* path : {"/", "//", "///", "/.", "/..", "/../.."}) {
        EXPECT_TRUE(leadsTo(path, "/")) << path;
        EXPECT_TRUE(leadsTo(path, "/", kPassThrough)) << path;
    }
}

TEST_F(SafePath, TakesNamesOfAnyBytes) {
    for (const char* name : {"two words", "\xe2\x82\xac", "\xff\xfe", "a\nb", "...", ".x", "-", "\\", "*"}) {
        writeFile(top / (std::string(name) + "/file"), name);
        EXPECT_TRUE(leadsTo(top / (std::string(name) + "/file"), top / (std::string(name) + "/file")))
            << name;
    }
}

TEST_F(SafePath, FailsForMissingParts) {
    EXPECT_EQ(resultOfOpening(top / "missing"), ENOENT);
    EXPECT_EQ(resultOfOpening(top / "missing/"), ENOENT);
    EXPECT_EQ(resultOfOpening(top / "missing/file"), ENOENT);
    EXPECT_EQ(resultOfOpening(top / "missing/.."), ENOENT);
    EXPECT_EQ(resultOfOpening(top / "missing/file", O_WRONLY | O_CREAT, 0666), ENOENT);
    EXPECT_TRUE(fs::is_empty(top.path()));
}

TEST_F(SafePath, FailsWhereAFileIsUsedAsAFolder) {
    writeFile(top / "file", "");
    for (const char* path : {"file/", "file/.", "file/..", "file/more", "file/../file"}) {
        EXPECT_EQ(resultOfOpening(top / path), ENOTDIR) << path;
    }
    EXPECT_EQ(resultOfOpening(top / "file", kPassThrough), ENOTDIR);
}

TEST_F(SafePath, FailsForANameThatIsTooLong) {
    const std::string name(300, 'n');
    EXPECT_EQ(resultOfOpening(top / name), ENAMETOOLONG);
    EXPECT_EQ(resultOfOpening(top / (name + "/file")), ENAMETOOLONG);
    EXPECT_EQ(resultOfOpening(top / name, O_WRONLY | O_CREAT, 0666), ENAMETOOLONG);
}

TEST_F(SafePath, OpensTheLongestName) {
    const std::string name(255, 'n');
    writeFile(top / name, "");
    EXPECT_TRUE(leadsTo(top / name, top / name));
}

TEST_F(SafePath, MakesAFileWithItsModeLessTheUmask) {
    const ScopedUmask umask(027);
    EXPECT_EQ(resultOfOpening(top / "new", O_WRONLY | O_CREAT, 0666), 0);
    EXPECT_EQ(modeOf(top / "new"), 0640U);
}

TEST_F(SafePath, MakesNoFileWithATrailingSlash) {
    EXPECT_NE(resultOfOpening(top / "new/", O_WRONLY | O_CREAT, 0666), 0);
    EXPECT_TRUE(fs::is_empty(top.path()));
}

TEST_F(SafePath, PassesTheFlagsOn) {
    writeFile(top / "file", "content");
    EXPECT_EQ(resultOfOpening(top / "file", O_WRONLY | O_CREAT | O_EXCL, 0666), EEXIST);
    EXPECT_EQ(resultOfOpening(top / "file", O_WRONLY | O_TRUNC), 0);
    EXPECT_EQ(readFile(top / "file"), "");
    EXPECT_EQ(resultOfOpening(top.path(), O_WRONLY), EISDIR);
}

TEST_F(SafePath, IsNotPassedOnToOtherPrograms) {
    writeFile(top / "a/file", "");
    for (const auto& opened : {openSafely(top / "a/file", O_RDONLY), openSafely(top / "a", kPassThrough),
                               makeFoldersSafely(top / "a/b", 0777)}) {
        EXPECT_EQ(::fcntl(opened.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    }
}

TEST_F(SafePath, LeadsThroughFoldersThatMayNotBeListed) {
    writeFile(top / "closed/inner/file", "");
    ASSERT_EQ(::chmod((top / "closed").c_str(), 0711), 0);
    ASSERT_EQ(::chmod((top / "closed/inner").c_str(), 0711), 0);
    support::asOrdinaryUser([this] {
        EXPECT_TRUE(leadsTo(top / "closed/inner/file", top / "closed/inner/file"));
        EXPECT_TRUE(leadsTo(top / "closed/inner/../inner/./file", top / "closed/inner/file"));
    });
}

TEST_F(SafePath, LeadsNotThroughFoldersThatMayNotBeSearched) {
    writeFile(top / "closed/inner/file", "");
    ASSERT_EQ(::chmod((top / "closed").c_str(), 0600), 0);
    support::asOrdinaryUser([this] { EXPECT_EQ(resultOfOpening(top / "closed/inner/file"), EACCES); });
}

#if defined(O_PATH) || defined(O_SEARCH)
TEST_F(SafePath, PassesThroughAFolderThatMayNotBeListed) {
    fs::create_directory(top / "closed");
    ASSERT_EQ(::chmod((top / "closed").c_str(), 0111), 0);
    support::asOrdinaryUser([this] {
        EXPECT_EQ(resultOfOpening(top / "closed", kPassThrough), 0);
        EXPECT_EQ(resultOfOpening(top / "closed", O_RDONLY), EACCES);
    });
}
#endif

TEST_F(SafePath, StartsInTheOpenFolder) {
    writeFile(top / "a/b/file", "");
    const SafeFolder folder = openFolderSafely(top / "a");
    EXPECT_TRUE(isSame(openSafely(folder, "b/file", O_RDONLY), top / "a/b/file"));
    EXPECT_TRUE(isSame(openSafely(folder, ".", O_RDONLY), top / "a"));
    EXPECT_TRUE(isSame(openSafely(folder, "b/", O_RDONLY), top / "a/b"));
    EXPECT_FALSE(openSafely(folder, "file", O_RDONLY).isOpen());
    EXPECT_EQ(errno, ENOENT);
    fs::rename(top / "a", top / "moved");
    EXPECT_TRUE(isSame(openSafely(folder, "b/file", O_RDONLY), top / "moved/b/file"));
    EXPECT_TRUE(openSafely(folder, "new", O_WRONLY | O_CREAT, 0600).isOpen());
    EXPECT_EQ(modeOf(top / "moved/new"), 0600U);
}

TEST_F(SafePath, FollowsOwnLinksInAFolderOfOnesOwn) {
    writeFile(top / "a/file", "");
    fs::create_symlink("a/file", top / "relative");
    fs::create_symlink(top / "a/file", top / "absolute");
    fs::create_symlink("./a/../a/file", top / "winding");
    fs::create_symlink("relative", top / "chain");
    fs::create_directory_symlink("a", top / "folder");
    fs::create_directory_symlink("../a/", top / "a/slash");
    fs::create_directory_symlink(top.path(), top / "a/up");
    for (const char* path : {"relative", "absolute", "winding", "chain", "folder/file", "a/slash/file",
                             "a/slash/up/folder/slash/file", "a/up/chain"}) {
        EXPECT_TRUE(leadsTo(top / path, top / "a/file")) << path;
    }
    EXPECT_TRUE(leadsTo(top / "folder", top / "a"));
    EXPECT_TRUE(leadsTo(top / "folder/", top / "a"));
    EXPECT_TRUE(leadsTo(top / "folder", top / "a", kPassThrough));
    EXPECT_TRUE(leadsTo(top / "a/up/..", fs::path(top.path()).parent_path().string()));
    EXPECT_EQ(resultOfOpening(top / "relative/"), ENOTDIR);
    EXPECT_EQ(resultOfOpening(top / "relative/more"), ENOTDIR);
}

TEST_F(SafePath, FollowsALinkInTheOpenFolder) {
    writeFile(top / "a/file", "");
    fs::create_symlink("../other", top / "a/link");
    writeFile(top / "other", "");
    const SafeFolder folder = openFolderSafely(top / "a");
    EXPECT_TRUE(isSame(openSafely(folder, "link", O_RDONLY), top / "other"));
}

TEST_F(SafePath, EndsInALoop) {
    const support::ScopedAlarm deadline(30);
    fs::create_symlink("self", top / "self");
    fs::create_symlink("pong", top / "ping");
    fs::create_symlink(top / "ping", top / "pong");
    fs::create_symlink("deeper/deeper", top / "deeper");
    for (const char* path : {"self", "self/", "self/file", "ping", "ping/file", "deeper"}) {
        EXPECT_EQ(resultOfOpening(top / path), ELOOP) << path;
        EXPECT_EQ(resultOfOpening(top / path, O_WRONLY | O_CREAT, 0666), ELOOP) << path;
        EXPECT_EQ(resultOfMaking(top / path), ELOOP) << path;
    }
}

TEST_F(SafePath, MakesTheFileThatALinkOfATrustedPlaceLeadsTo) {
    fs::create_directory(top / "a");
    fs::create_symlink("a/new", top / "relative");
    fs::create_symlink(top / "a/newer", top / "absolute");
    fs::create_symlink("missing/new", top / "lost");
    EXPECT_EQ(resultOfOpening(top / "relative"), ENOENT);
    EXPECT_EQ(resultOfOpening(top / "relative", O_WRONLY | O_CREAT, 0600), 0);
    EXPECT_EQ(resultOfOpening(top / "absolute", O_WRONLY | O_CREAT, 0600), 0);
    EXPECT_EQ(modeOf(top / "a/new"), 0600U);
    EXPECT_EQ(modeOf(top / "a/newer"), 0600U);
    EXPECT_EQ(resultOfOpening(top / "lost", O_WRONLY | O_CREAT, 0600), ENOENT);
}

TEST_F(SafePath, MakesMissingFolders) {
    const ScopedUmask umask(022);
    EXPECT_EQ(resultOfMaking(top / "a/b/c", 0777), 0);
    EXPECT_EQ(resultOfMaking(top / "a/b/c", 0777), 0) << "they are there already";
    EXPECT_EQ(resultOfMaking(top / "a/d///e//", 0750), 0);
    EXPECT_EQ(resultOfMaking(top / "a/./f/../g", 0700), 0);
    EXPECT_EQ(modeOf(top / "a"), 0755U);
    EXPECT_EQ(modeOf(top / "a/b/c"), 0755U);
    EXPECT_EQ(modeOf(top / "a/d"), 0750U);
    EXPECT_EQ(modeOf(top / "a/d/e"), 0750U);
    EXPECT_EQ(modeOf(top / "a/g"), 0700U);
}

TEST_F(SafePath, MakesFoldersThatTheirMakerCanUseWhateverTheUmask) {
    ASSERT_EQ(::chmod(top.path().c_str(), 0777), 0);
    support::asOrdinaryUser([this] {
        const ScopedUmask umask(0777);
        EXPECT_EQ(resultOfMaking(top / "a/b", 0777), 0);
    });
    EXPECT_EQ(modeOf(top / "a"), 0700U);
    EXPECT_EQ(modeOf(top / "a/b"), 0700U);
}

TEST_F(SafePath, MakesFoldersInTheWorkingFolder) {
    const WorkingFolder working(top.path());
    EXPECT_TRUE(isSame(makeFoldersSafely("a/b", 0777), top / "a/b"));
    EXPECT_TRUE(isSame(makeFoldersSafely(".", 0777), top.path()));
    EXPECT_TRUE(isSame(makeFoldersSafely("a/..", 0777), top.path()));
}

TEST_F(SafePath, KeepsTheModeOfFoldersThatAreThere) {
    fs::create_directory(top / "a");
    ASSERT_EQ(::chmod((top / "a").c_str(), 0751), 0);
    EXPECT_EQ(resultOfMaking(top / "a/b", 0700), 0);
    EXPECT_EQ(modeOf(top / "a"), 0751U);
}

TEST_F(SafePath, MakesNoFoldersBehindAFile) {
    writeFile(top / "file", "content");
    EXPECT_EQ(resultOfMaking(top / "file"), ENOTDIR);
    EXPECT_EQ(resultOfMaking(top / "file/a"), ENOTDIR);
    EXPECT_EQ(readFile(top / "file"), "content");
}

TEST_F(SafePath, MakesNoFolderWhoseNameIsTooLong) {
    EXPECT_EQ(resultOfMaking(top / std::string(300, 'n')), ENAMETOOLONG);
}

TEST_F(SafePath, MakesFoldersBehindATrustedLink) {
    fs::create_directory(top / "a");
    fs::create_directory_symlink("a", top / "link");
    EXPECT_EQ(resultOfMaking(top / "link/b/c"), 0);
    EXPECT_TRUE(fs::is_directory(top / "a/b/c"));
}

TEST(SplitPath, SplitsTheLastComponentOff) {
    const std::vector<std::pair<std::string, std::pair<std::string, std::string>>> cases = {
        {"a/b/c", {"a/b/", "c"}}, {"c", {"", "c"}},       {"/c", {"/", "c"}},
        {"/a/c", {"/a/", "c"}},   {"a//c", {"a//", "c"}}, {"../c", {"../", "c"}},
    };
    for (const auto& [path, parts] : cases) {
        EXPECT_EQ(splitPath(path).folder, parts.first) << path;
        EXPECT_EQ(splitPath(path).name, parts.second) << path;
    }
}

namespace {

/// A folder of root that only root can write to, with
/// - "precious/file", root's;
/// - "shared", root's, where everybody can write;
/// - "annas/file" and "berts/file", each in a folder of that user;
/// - "annasShared" and "bertsShared", each that user's, where everybody can write.
class PathAmongUsers : public SafePath {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "needs root: it makes symlinks of other users";
        }
        makeFolder(0, top / "precious", 0755);
        makeFolder(0, top / "shared", 0777);
        makeFolder(anna, top / "annasShared", 0777);
        makeFolder(bert, top / "bertsShared", 0777);
        makeFolder(anna, top / "annas", 0755);
        makeFolder(bert, top / "berts", 0755);
        for (const auto& [name, owner] : {std::pair("precious", 0U), {"annas", anna}, {"berts", bert}}) {
            const std::string file = top / (std::string(name) + "/file");
            writeFile(file, name);
            give(file, owner);
        }
    }

    /// Has `user` put a link to `target` into his folder where everybody can write. Gives its path.
    std::string linkOf(uid_t user, const std::string& target) {
        const std::string folder = user == 0 ? "shared" : user == anna ? "annasShared" : "bertsShared";
        const std::string path = top / (folder + "/link" + std::to_string(++linkCount));
        makeLink(user, target, path);
        return path;
    }

    void expectRefused(const std::string& path) const {
        EXPECT_EQ(resultOfOpening(path), ELOOP) << path;
        EXPECT_EQ(resultOfOpening(path, O_WRONLY | O_TRUNC), ELOOP) << path;
        EXPECT_EQ(resultOfOpening(path, O_WRONLY | O_CREAT, 0666), ELOOP) << path;
        EXPECT_EQ(readFile(top / "precious/file"), "precious");
    }

    void expectRefused(const SafeFolder& folder, const std::string& name) const {
        EXPECT_FALSE(openSafely(folder, name, O_RDONLY).isOpen()) << name;
        EXPECT_EQ(errno, ELOOP) << name;
    }

    const std::string precious = top / "precious/file";
    const std::string annas = top / "annas/file";
    const std::string berts = top / "berts/file";

  private:
    int linkCount = 0;
};

} // namespace

TEST_F(PathAmongUsers, FollowsRootsLinkInAFolderOfRoot) {
    makeLink(0, "precious/file", top / "file");
    makeLink(0, top / "annas", top / "folder");
    for (const uid_t user : {uid_t{0}, anna}) {
        const ScopedEffectiveUser acting(user);
        EXPECT_TRUE(leadsTo(top / "file", precious)) << user;
        EXPECT_TRUE(leadsTo(top / "folder/file", annas)) << user;
    }
}

TEST_F(PathAmongUsers, RefusesRootsLinkWhereOthersCanWrite) {
    for (const mode_t mode : {0777U, 01777U, 0757U, 0775U, 0722U}) {
        ASSERT_EQ(::chmod((top / "shared").c_str(), mode), 0);
        for (const std::string& target : {precious, std::string("../precious/file"), annas}) {
            expectRefused(linkOf(0, target));
        }
        expectRefused(linkOf(0, top / "precious") + "/file");
    }
}

TEST_F(PathAmongUsers, RefusesRootsLinkInAUsersFolder) {
    makeLink(0, precious, top / "annas/last");
    makeLink(0, top / "precious", top / "annas/middle");
    for (const mode_t mode : {0755U, 0700U, 0555U}) {
        ASSERT_EQ(::chmod((top / "annas").c_str(), mode), 0);
        expectRefused(top / "annas/last");
        expectRefused(top / "annas/middle/file");
    }
}

TEST_F(PathAmongUsers, RefusesRootsLinkInRootsFolderBelowAUsers) {
    makeFolder(0, top / "annas/roots", 0755);
    makeLink(0, precious, top / "annas/roots/last");
    makeLink(0, top / "precious", top / "annas/roots/middle");
    expectRefused(top / "annas/roots/last");
    expectRefused(top / "annas/roots/middle/file");
    expectRefused(openFolderSafely(top / "annas/roots"), "last");
}

TEST_F(PathAmongUsers, RefusesRootsLinkBehindAUsersLink) {
    makeFolder(0, top / "roots", 0755);
    makeLink(0, top / "annas", top / "roots/link");
    EXPECT_TRUE(leadsTo(top / "roots/link/file", annas));
    expectRefused(linkOf(anna, top / "roots/link") + "/file");
}

TEST_F(PathAmongUsers, RefusesAUsersLinkThroughAFolderThatHeMayNotEnter) {
    makeFolder(0, top / "closed", 0700);
    makeFolder(0, top / "closed/inner", 0755);
    makeFolder(anna, top / "closed/annas", 0755);
    writeFile(top / "closed/annas/file", "");
    give(top / "closed/annas/file", anna);
    expectRefused(linkOf(anna, top / "closed/annas/file"));
    expectRefused(linkOf(anna, top / "closed/annas") + "/file");
    expectRefused(linkOf(anna, top / "closed/inner/../../annas/file"));
    EXPECT_EQ(resultOfOpening(linkOf(anna, top / "closed/missing/../../annas/file")), ELOOP)
        << "the answer would tell what is there";
}

TEST_F(PathAmongUsers, FollowsOnesOwnLinkWhateverItLeadsTo) {
    const std::string file = linkOf(anna, precious);
    const std::string folder = linkOf(anna, top / "precious");
    const std::string missing = linkOf(anna, top / "annas/new");
    const ScopedEffectiveUser acting(anna);
    EXPECT_TRUE(leadsTo(file, precious));
    EXPECT_TRUE(leadsTo(folder + "/file", precious));
    EXPECT_EQ(resultOfOpening(missing, O_WRONLY | O_CREAT, 0666), 0);
    EXPECT_TRUE(fs::exists(top / "annas/new"));
}

#ifdef RENAME_EXCHANGE
TEST_F(PathAmongUsers, TakesNoTextOfAnotherUsersLink) {
    const std::string secret = top / "annas/secret";
    writeFile(secret, "secret");
    give(secret, anna);
    const std::string hers = linkOf(anna, annas);
    const std::string his = hers + "-not";
    makeLink(bert, secret, his);
    std::atomic<bool> isDone = false;
    std::thread racer([&] {
        while (!isDone) {
            ::renameat2(AT_FDCWD, hers.c_str(), AT_FDCWD, his.c_str(), RENAME_EXCHANGE);
        }
    });
    for (int i = 0; i < 20000; ++i) {
        EXPECT_FALSE(leadsTo(hers, secret)) << i;
    }
    isDone = true;
    racer.join();
}
#endif

#ifdef __linux__
TEST_F(SafePath, FollowsTheKernelsLinkToWhatItLeadsTo) {
    writeFile(top / "file", "");
    const FileDescriptor file((top / "file").c_str(), O_RDONLY);
    fs::rename(top / "file", top / "moved");
    writeFile(top / "file", "another");
    EXPECT_TRUE(leadsTo("/dev/fd/" + std::to_string(file.get()), top / "moved"));
    fs::remove(top / "moved");
    const std::string gone = "/proc/self/fd/" + std::to_string(file.get());
    EXPECT_EQ(resultOfOpening(gone, O_RDONLY | O_CREAT, 0600), 0);
    EXPECT_FALSE(fs::exists(top / "moved (deleted)")) << "the link's text is only a description";
}
#endif

TEST_F(PathAmongUsers, FollowsAUsersLinkToHisOwn) {
    for (const std::string& link :
         {linkOf(anna, annas), linkOf(anna, "../annas/file"), linkOf(anna, top / "annas") + "/file",
          linkOf(anna, "../annas/") + "/file"}) {
        EXPECT_TRUE(leadsTo(link, annas)) << link;
        EXPECT_EQ(resultOfOpening(link, O_WRONLY | O_CREAT, 0666), 0) << "the file is there";
        const ScopedEffectiveUser acting(bert);
        EXPECT_TRUE(leadsTo(link, annas)) << link;
    }
}

TEST_F(PathAmongUsers, FollowsAUsersLinkInHisOwnFolderToHisOwn) {
    makeLink(anna, "file", top / "annas/link");
    makeLink(anna, ".", top / "annas/here");
    EXPECT_TRUE(leadsTo(top / "annas/link", annas));
    EXPECT_TRUE(leadsTo(top / "annas/here/here/link", annas));
    EXPECT_TRUE(leadsTo(top / "annas/here", top / "annas"));
    EXPECT_TRUE(leadsTo(top / "annas/here/", top / "annas"));
}

TEST_F(PathAmongUsers, FollowsAUsersLinkOnlyWhereNobodyElseCouldHavePutIt) {
    struct Case {
        uid_t owner;
        mode_t mode;
        bool isFollowed;
    };
    for (const Case& each : std::vector<Case>{{0, 0755, true},
                                              {0, 01777, false},
                                              {0, 01775, false},
                                              {0, 0777, false},
                                              {0, 0775, false},
                                              {0, 0757, false},
                                              {anna, 0700, true},
                                              {anna, 0777, true},
                                              {bert, 0755, false},
                                              {bert, 0777, false},
                                              {bert, 01777, false}}) {
        makeFolder(each.owner, top / "place", each.mode);
        makeLink(anna, "../annas/file", top / "place/file");
        makeLink(anna, "../annas", top / "place/folder");
        const int expected = each.isFollowed ? 0 : ELOOP;
        for (const char* path : {"place/file", "place/folder/file"}) {
            EXPECT_EQ(resultOfOpening(top / path), expected) << each.owner << " " << std::oct << each.mode;
            if ((each.mode & S_IXOTH) != 0) {
                const ScopedEffectiveUser acting(anna);
                EXPECT_EQ(resultOfOpening(top / path), expected)
                    << "herself, " << each.owner << " " << std::oct << each.mode;
            }
        }
        fs::remove_all(top / "place");
    }
}

TEST_F(PathAmongUsers, RefusesAUsersLinkToRootsFile) {
    expectRefused(linkOf(anna, precious));
    expectRefused(linkOf(anna, "../precious/file"));
    expectRefused(linkOf(anna, "../annas/../precious/file"));
    expectRefused(linkOf(anna, "../precious") + "/file");
    expectRefused(linkOf(anna, "..") + "/precious/file");
    expectRefused(linkOf(anna, "/"));
    makeLink(anna, precious, top / "annas/link");
    expectRefused(top / "annas/link");
    makeLink(anna, precious, top / "link");
    expectRefused(top / "link");
}

TEST_F(PathAmongUsers, RefusesAUsersLinkWithoutOpeningWhatItLeadsTo) {
    const support::ScopedAlarm deadline(30);
    ASSERT_EQ(::mkfifo((top / "precious/pipe").c_str(), 0600), 0);
    EXPECT_EQ(resultOfOpening(linkOf(anna, "../precious/pipe")), ELOOP) << "opening it waits for a writer";
}

TEST_F(PathAmongUsers, RefusesAUsersLinkToAnotherUsers) {
    const std::string file = linkOf(anna, berts);
    const std::string folder = linkOf(anna, top / "berts");
    expectRefused(file);
    expectRefused(folder + "/file");
    const ScopedEffectiveUser acting(bert);
    EXPECT_EQ(resultOfOpening(file), ELOOP);
    EXPECT_EQ(resultOfOpening(folder + "/file"), ELOOP);
}

TEST_F(PathAmongUsers, PassesThroughNothingThatARefusedLinkLeadsTo) {
    const std::string link = linkOf(anna, top / "precious");
    for (const std::string& path : {link, link + "/", link + "/.", link + "/..", link + "/../annas/file"}) {
        EXPECT_EQ(resultOfOpening(path, O_RDONLY), ELOOP) << path;
        EXPECT_EQ(resultOfMaking(path), ELOOP) << path;
    }
    EXPECT_EQ(resultOfOpening(link, kPassThrough), ELOOP);
}

TEST_F(PathAmongUsers, FollowsAChainOfOneUsersLinks) {
    std::string link = annas;
    for (int length = 1; length <= 5; ++length) {
        link = linkOf(anna, link);
        EXPECT_TRUE(leadsTo(link, annas)) << length;
    }
}

TEST_F(PathAmongUsers, RefusesAChainThroughAnotherUsersLink) {
    expectRefused(linkOf(anna, linkOf(bert, annas)));
    expectRefused(linkOf(anna, linkOf(bert, berts)));
    expectRefused(linkOf(anna, linkOf(bert, top / "annas") + "/file"));
    expectRefused(linkOf(anna, linkOf(anna, linkOf(bert, annas))));
}

TEST_F(PathAmongUsers, RefusesAChainThroughAFolderThatTheFirstUserMayNotEnter) {
    makeFolder(bert, top / "closed", 0700);
    makeFolder(bert, top / "closed/inner", 0755);
    makeFolder(bert, top / "berts/inner", 0755);
    writeFile(top / "berts/inner/annas", "");
    give(top / "berts/inner/annas", anna);
    const std::string open = linkOf(bert, top / "berts/inner");
    const std::string closed = linkOf(bert, top / "closed/../berts/inner");
    EXPECT_TRUE(leadsTo(linkOf(anna, open + "/annas"), top / "berts/inner/annas"));
    expectRefused(linkOf(anna, closed + "/annas"));
    expectRefused(linkOf(anna, linkOf(bert, top / "closed/missing/../../berts/inner") + "/annas"));
}

TEST_F(PathAmongUsers, RefusesAChainThatEndsAtRoots) {
    expectRefused(linkOf(anna, linkOf(anna, precious)));
    expectRefused(linkOf(anna, linkOf(0, precious)));
    makeLink(0, "precious/file", top / "roots");
    expectRefused(linkOf(anna, top / "roots"));
}

TEST_F(PathAmongUsers, RefusesALinkThatLeadsToTheUsersFileInARefusedFolder) {
    writeFile(top / "precious/annas", "");
    give(top / "precious/annas", anna);
    EXPECT_TRUE(leadsTo(linkOf(anna, top / "precious/annas"), top / "precious/annas"));
    expectRefused(linkOf(anna, linkOf(anna, top / "precious") + "/annas"));
}

TEST_F(PathAmongUsers, JudgesEachLinkOnTheWayOfATrustedOne) {
    makeLink(0, linkOf(anna, annas), top / "good");
    makeLink(0, linkOf(anna, precious), top / "bad");
    makeLink(0, linkOf(anna, top / "precious"), top / "middle");
    EXPECT_TRUE(leadsTo(top / "good", annas));
    expectRefused(top / "bad");
    expectRefused(top / "middle/file");
    makeLink(0, linkOf(anna, top / "precious") + "/file", top / "through");
    expectRefused(top / "through");
}

TEST_F(PathAmongUsers, EndsInALoopOfUsersLinks) {
    const support::ScopedAlarm deadline(30);
    makeLink(anna, "self", top / "annasShared/self");
    makeLink(anna, "../bertsShared/pong", top / "annasShared/ping");
    makeLink(bert, "../annasShared/ping", top / "bertsShared/pong");
    expectRefused(top / "annasShared/self");
    expectRefused(top / "annasShared/ping");
    expectRefused(top / "bertsShared/pong/file");
}

TEST_F(PathAmongUsers, MakesNoFileThroughAUsersLink) {
    const std::vector<std::string> targets = {top / "precious/new", top / "annas/new", top / "berts/new",
                                              "new", top / "shared/new"};
    for (const std::string& target : targets) {
        const std::string link = linkOf(anna, target);
        EXPECT_THAT(resultOfOpening(link, O_WRONLY | O_CREAT, 0666), AnyOf(ELOOP, ENOENT)) << target;
        EXPECT_NE(resultOfOpening(link, O_WRONLY | O_CREAT | O_EXCL, 0666), 0) << target;
        EXPECT_FALSE(fs::exists(link)) << target;
    }
    for (const char* folder : {"precious", "annas", "berts", "shared"}) {
        EXPECT_FALSE(fs::exists(top / (std::string(folder) + "/new"))) << folder;
    }
}

TEST_F(PathAmongUsers, MakesNoFileThroughRootsLinkWhereOthersCanWrite) {
    EXPECT_THAT(resultOfOpening(linkOf(0, top / "precious/new"), O_WRONLY | O_CREAT, 0666),
                AnyOf(ELOOP, ENOENT));
    EXPECT_FALSE(fs::exists(top / "precious/new"));
}

TEST_F(PathAmongUsers, MakesNoFileThroughATrustedLinkToAUsersOne) {
    makeLink(0, linkOf(anna, top / "precious/new"), top / "link");
    EXPECT_THAT(resultOfOpening(top / "link", O_WRONLY | O_CREAT, 0666), AnyOf(ELOOP, ENOENT));
    EXPECT_FALSE(fs::exists(top / "precious/new"));
}

TEST_F(PathAmongUsers, MakesNoFolderBehindAnUntrustedLink) {
    const std::string direct = linkOf(anna, top / "precious");
    const std::string roots = linkOf(0, top / "precious");
    makeLink(0, direct, top / "indirect");
    for (const std::string& link : {direct, roots, top / "indirect"}) {
        EXPECT_EQ(resultOfMaking(link), ELOOP) << link;
        EXPECT_EQ(resultOfMaking(link + "/a"), ELOOP) << link;
        EXPECT_EQ(resultOfMaking(link + "/a/b"), ELOOP) << link;
        EXPECT_EQ(resultOfMaking(link + "/../a"), ELOOP) << link;
    }
    EXPECT_FALSE(fs::exists(top / "precious/a"));
    EXPECT_FALSE(fs::exists(top / "a"));
}

TEST_F(PathAmongUsers, MakesNoFolderThatAUsersDanglingLinkNames) {
    const std::string link = linkOf(anna, top / "precious/new");
    EXPECT_NE(resultOfMaking(link), 0);
    EXPECT_NE(resultOfMaking(link + "/a"), 0);
    EXPECT_FALSE(fs::exists(top / "precious/new"));
}

TEST_F(PathAmongUsers, MakesFoldersBehindAUsersLinkToHisOwnFolder) {
    EXPECT_EQ(resultOfMaking(linkOf(anna, top / "annas") + "/a/b"), 0);
    EXPECT_TRUE(fs::is_directory(top / "annas/a/b"));
}

TEST_F(PathAmongUsers, IsTheUsersOwnAffairInHisOwnFolder) {
    makeLink(anna, precious, top / "annas/last");
    makeLink(anna, top / "precious", top / "annas/middle");
    makeLink(anna, "new", top / "annas/dangling");
    const ScopedEffectiveUser acting(anna);
    EXPECT_TRUE(leadsTo(top / "annas/last", precious));
    EXPECT_TRUE(leadsTo(top / "annas/middle/file", precious));
    EXPECT_EQ(resultOfOpening(top / "annas/dangling", O_WRONLY | O_CREAT, 0600), 0);
    EXPECT_TRUE(fs::exists(top / "annas/new"));
}

TEST_F(PathAmongUsers, IsRefusedToAnOrdinaryUserLikeToRootBehindLinksOfOthers) {
    const std::vector<std::string> links = {linkOf(bert, annas), linkOf(bert, precious), linkOf(0, annas),
                                            linkOf(0, precious)};
    const std::string own = linkOf(anna, annas);
    const ScopedEffectiveUser acting(anna);
    for (const std::string& link : links) {
        EXPECT_EQ(resultOfOpening(link), ELOOP) << link;
    }
    EXPECT_TRUE(leadsTo(own, annas));
}

TEST_F(PathAmongUsers, TrustsRootAndTheEffectiveUser) {
    EXPECT_TRUE(isTrusted(0));
    EXPECT_FALSE(isTrusted(anna));
    const ScopedEffectiveUser acting(anna);
    EXPECT_TRUE(isTrusted(0));
    EXPECT_TRUE(isTrusted(anna));
    EXPECT_FALSE(isTrusted(bert));
}

TEST_F(PathAmongUsers, TrustsOnlyFoldersWhereNobodyElseCanWrite) {
    struct Case {
        uid_t owner;
        mode_t mode;
        bool forRoot;
        bool forAnna;
    };
    for (const Case& each : std::vector<Case>{{0, 0755, true, true},
                                              {0, 0700, true, true},
                                              {0, 01755, true, true},
                                              {0, 0775, false, false},
                                              {0, 0757, false, false},
                                              {0, 0777, false, false},
                                              {0, 01777, false, false},
                                              {0, 0702, false, false},
                                              {anna, 0755, false, true},
                                              {anna, 0700, false, true},
                                              {anna, 0500, false, true},
                                              {anna, 0777, false, false},
                                              {anna, 0770, false, false},
                                              {bert, 0755, false, false},
                                              {bert, 0555, false, false}}) {
        makeFolder(each.owner, top / "folder", each.mode);
        const SafeFolder folder = {openSafely(top / "folder", kPassThrough), true};
        EXPECT_EQ(isSealed(folder), each.forRoot) << each.owner << " " << std::oct << each.mode;
        {
            const ScopedEffectiveUser acting(anna);
            EXPECT_EQ(isSealed(folder), each.forAnna) << each.owner << " " << std::oct << each.mode;
        }
        fs::remove(top / "folder");
    }
}

#ifdef __linux__
TEST_F(PathAmongUsers, TrustsNothingThatIsMountedInAStickyFolder) {
    makeFolder(0, top / "sticky", 01777);
    makeFolder(0, top / "sticky/roots", 0755);
    EXPECT_TRUE(openFolderSafely(top / "sticky/roots").isTrusted);
    const auto mount = [this] {
        return ::unshare(CLONE_NEWNS) == 0 &&
               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount("none", (top / "sticky/roots").c_str(), "tmpfs", 0, "mode=0755") == 0;
    };
    if (!support::succeedsInChild(mount)) {
        GTEST_SKIP() << "needs root that may mount: it mounts a file system";
    }
    support::inChild([this, &mount] {
        ASSERT_TRUE(mount());
        EXPECT_FALSE(openFolderSafely(top / "sticky/roots").isTrusted);
    });
}
#endif

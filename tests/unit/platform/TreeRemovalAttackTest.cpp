#include "platform/Files.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef __linux__
#include <sched.h>
#include <sys/mount.h>
#endif

#include "Child.h"
#include "support/TempFolder.h"

using namespace platform;
using support::TempFolder;
using support::writeFile;
namespace fs = std::filesystem;

namespace {

/// Makes `depth` folders called `name`, each in the one before, the first in `top`, with a file in the last.
void makeChain(const std::string& top, const std::string& name, int depth) {
    int folder = ::open(top.c_str(), O_RDONLY | O_DIRECTORY);
    for (int level = 0; level < depth; ++level) {
        ASSERT_EQ(::mkdirat(folder, name.c_str(), 0700), 0);
        const int below = ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY);
        ::close(folder);
        folder = below;
    }
    const int file = ::openat(folder, "file", O_CREAT | O_WRONLY, 0600);
    ASSERT_NE(file, -1);
    ::close(file);
    ::close(folder);
}

/// How removing `path` ends in a process that may have that many descriptors.
std::string removalWithDescriptors(const std::string& path, rlim_t most) {
    return child::resultOf([&] {
        const rlimit limit = {most, most};
        if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
            return std::string("no limit");
        }
        return removeTree(path.c_str()).message();
    });
}

const std::string success = std::error_code().message();

#ifdef __linux__
const std::string busy = std::make_error_code(std::errc::device_or_resource_busy).message();

/// Removes `path` in a child whose mounts are its own, after `mount` has mounted something there. Returns the
/// message of the result, "emptied" if `kept` is gone then, or "no mount" if nothing can be mounted.
std::string removalWithMount(const std::string& path, const std::function<bool()>& mount,
                             const std::string& kept) {
    return child::resultOf([&] {
        const bool isMounted = ::unshare(CLONE_NEWNS) == 0 &&
                               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 && mount();
        if (!isMounted) {
            return std::string("no mount");
        }
        const std::string message = removeTree(path.c_str()).message();
        return fs::exists(kept) ? message : "emptied";
    });
}

bool bindMount(const std::string& what, const std::string& where) {
    return ::mount(what.c_str(), where.c_str(), nullptr, MS_BIND, nullptr) == 0;
}
#endif

/// Gives two entries each other's names.
void exchange(const std::string& one, const std::string& other) {
#ifdef RENAME_EXCHANGE
    ::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE);
#else
    const std::string aside = one + " aside";
    ::rename(one.c_str(), aside.c_str());
    ::rename(other.c_str(), one.c_str());
    ::rename(aside.c_str(), other.c_str());
#endif
}

const std::array<std::string, 6> names = {"0", "1", "2", "3", "4", "5"};

void writeNames(const std::string& folder) {
    for (const std::string& name : names) {
        writeFile(folder + "/" + name, "");
    }
}

bool hasNames(const std::string& folder) {
    return std::all_of(names.begin(), names.end(),
                       [&](const std::string& name) { return fs::exists(folder + "/" + name); });
}

/// Makes `depth` folders called "a", each in the one before, the first in `top`, with files in all. The path
/// of the last.
std::string makeNamedChain(const std::string& top, int depth) {
    std::string path = top;
    for (int level = 0; level < depth; ++level) {
        writeNames(path);
        path += "/a";
    }
    fs::create_directories(path);
    return path;
}

/// Runs `work` over and over in another process while it lives.
class Meanwhile {
  public:
    explicit Meanwhile(const std::function<void()>& work) : process(::fork()) {
        while (process == 0) {
            work();
        }
    }
    ~Meanwhile() {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;

  private:
    pid_t process;
};

} // namespace

TEST(RemoveTree, GoesDeeperThanDescriptorsAndPathsReach) {
    const TempFolder folder;
    fs::create_directory(folder / "tree");
    makeChain(folder / "tree", "a", 5000);
    makeChain(folder / "tree", std::string(200, 'b'), 100);
    writeFile(folder / "tree/file", "");

    EXPECT_EQ(removalWithDescriptors(folder / "tree", 32), success);

    EXPECT_FALSE(fs::exists(folder / "tree"));
}

TEST(RemoveTree, ComesBackToWhatIsLeftInFoldersThatItClosed) {
    const TempFolder folder;
    std::string path = folder / "tree";
    for (int level = 0; level < 20; ++level) {
        for (const std::string side : {"/one", "/two", "/three"}) {
            writeFile(path + side + "/file", "");
        }
        path += "/down";
    }

    EXPECT_EQ(removalWithDescriptors(folder / "tree", 20), success);

    EXPECT_FALSE(fs::exists(folder / "tree"));
}

TEST(RemoveTree, RemovesAHundredThousandEntries) {
    const TempFolder folder;
    fs::create_directory(folder / "tree");
    const int tree = ::open((folder / "tree").c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < 100'000; ++i) {
        ASSERT_EQ(::symlinkat("nowhere", tree, std::to_string(i).c_str()), 0);
    }
    ::close(tree);

    EXPECT_FALSE(removeTree((folder / "tree").c_str()));

    EXPECT_FALSE(fs::exists(folder / "tree"));
}

TEST(RemoveTree, RemovesNamesThatAreNoText) {
    const TempFolder folder;
    writeFile(folder / "tr\xFF/a\xFE/\x80", "");
    writeFile(folder / "tr\xFF/new\nline", "");

    EXPECT_FALSE(removeTree((folder / "tr\xFF").c_str()));

    EXPECT_FALSE(fs::exists(folder / "tr\xFF"));
}

TEST(RemoveTree, RemovesAFifoWithoutOpeningIt) {
    const TempFolder folder;
    ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);

    EXPECT_FALSE(removeTree((folder / "fifo").c_str()));

    EXPECT_FALSE(fs::exists(folder / "fifo"));
}

TEST(RemoveTree, NeedsNoListingOfTheFolderAbove) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  writeFile(folder / "above/tree/file", "");
                  fs::permissions(folder / "above", fs::perms::owner_write | fs::perms::owner_exec);
                  return removeTree((folder / "above/tree").c_str()).message();
              }),
              success);
}

TEST(RemoveTree, RemovesAnEmptyFolderThatMayBeListedOnly) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  fs::create_directories(folder / "tree/listed");
                  fs::permissions(folder / "tree/listed", fs::perms::owner_read);
                  return removeTree((folder / "tree").c_str()).message();
              }),
              success);
}

TEST(RemoveTree, KeepsWhatIsMountedInTheTree) {
#ifdef __linux__
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it mounts a folder";
    }
    for (const std::string point : {"tree", "tree/inside", "tree/a/b/inside"}) {
        const TempFolder folder;
        writeFile(folder / "precious/file", "");
        fs::create_directories(folder / point);
        const auto mount = [&] { return bindMount(folder / "precious", folder / point); };

        EXPECT_EQ(removalWithMount(folder / "tree", mount, folder / "precious/file"), busy) << point;
    }
#else
    GTEST_SKIP() << "needs Linux: it mounts a folder";
#endif
}

TEST(RemoveTree, KeepsAnotherFileSystemInTheTree) {
#ifdef __linux__
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it mounts a file system";
    }
    const TempFolder folder;
    fs::create_directories(folder / "tree/inside");
    const std::string inside = folder / "tree/inside";
    const auto mount = [&] {
        const bool isMounted = ::mount("none", inside.c_str(), "tmpfs", 0, nullptr) == 0;
        writeFile(inside + "/file", "");
        return isMounted;
    };
    EXPECT_EQ(removalWithMount(folder / "tree", mount, inside + "/file"), busy);
#else
    GTEST_SKIP() << "needs Linux: it mounts a file system";
#endif
}

TEST(RemoveTree, EndsWhileOthersFillTheTree) {
    const TempFolder folder;
    for (int i = 0; i < 5000; ++i) {
        writeFile(folder / ("tree/filled/" + std::to_string(i)), "");
    }
    const int filled = ::open((folder / "tree/filled").c_str(), O_RDONLY | O_DIRECTORY);
    {
        int number = 0;
        const Meanwhile filling([&] {
            const std::string name = "new" + std::to_string(number++);
            ::close(::openat(filled, name.c_str(), O_CREAT | O_WRONLY, 0600));
        });
        while (!fs::exists(folder / "tree/filled/new9")) {
        }
        const std::error_code error = removeTree((folder / "tree").c_str());
        EXPECT_TRUE(!error || error == std::errc::directory_not_empty) << error.message();
    }
    ::close(filled);
    const std::error_code error = removeTree((folder / "tree").c_str());
    EXPECT_TRUE(!error || error == std::errc::no_such_file_or_directory) << error.message();
    EXPECT_FALSE(fs::exists(folder / "tree"));
}

TEST(RemoveTree, NeverFollowsALinkThatTakesAFoldersPlace) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EQ(child::resultOf([&] {
                  child::becomeOrdinaryUser();
                  const std::string inTree = folder / "tree/folder";
                  const std::string link = folder / "link";
                  writeFile(folder / "precious/file", "");
                  const Meanwhile swapping([&] { exchange(inTree, link); });
                  for (int round = 0; round < 2000; ++round) {
                      [[maybe_unused]] int made = ::mkdir((folder / "tree").c_str(), 0700);
                      made = ::mkdir(inTree.c_str(), 0700);
                      made = ::symlink((folder / "precious").c_str(), link.c_str());
                      removeTree((folder / "tree").c_str());
                      if (!fs::exists(folder / "precious/file")) {
                          return "followed in round " + std::to_string(round);
                      }
                  }
                  return std::string("kept");
              }),
              "kept");
}

// Done as an ordinary user whose root folder is a temporary one: a removal that lost its way must find
// nothing of value.
TEST(RemoveTree, StopsWhenTheFolderItIsInIsMovedAway) {
    const child::Machine machine;
    fs::permissions(machine.outside("/"), fs::perms::all);
    const auto result = machine.resultOf([] {
        child::becomeOrdinaryUser();
        for (int round = 0; round < 50; ++round) {
            fs::create_directories("/away");
            writeNames("/away");
            const std::string deepest = makeNamedChain("/tree", 30);
            const pid_t mover = ::fork();
            if (mover == 0) {
                while (fs::exists(deepest)) {
                }
                ::rename("/tree/a/a/a/a/a/a/a/a/a/a", "/away/a");
                ::_exit(0);
            }
            removeTree("/tree");
            ::waitpid(mover, nullptr, 0);
            if (!hasNames("/away")) {
                return "removed outside in round " + std::to_string(round);
            }
            fs::remove_all("/tree");
            fs::remove_all("/away");
        }
        return std::string("kept");
    });
    if (!result) {
        GTEST_SKIP() << "needs a user namespace: it changes its root folder";
    }
    EXPECT_EQ(*result, "kept");
}

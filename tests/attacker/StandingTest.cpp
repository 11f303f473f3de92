#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "attacker/Attack.h"
#include "attacker/AttackTest.h"
#include "attacker/Places.h"
#include "support/TempFolder.h"

// What the user has put there before the tool starts.

using namespace attack;
using testing::IsEmpty;

namespace {

std::vector<std::string> textsOf(const std::vector<Harm>& harms) {
    std::vector<std::string> texts;
    for (const Harm& harm : harms) {
        texts.push_back(harm.what + ": " + harm.where);
    }
    return texts;
}

void putLinkOf(uid_t owner, const std::string& target, const std::string& path) {
    ::unlink(path.c_str());
    ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0) << path;
    ASSERT_EQ(::lchown(path.c_str(), owner, owner == User ? Staff : 0), 0) << path;
}

struct stat infoOf(const std::string& path) {
    struct stat info = {};
    EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
    return info;
}

class Standing : public AttackTest, public testing::WithParamInterface<Place> {};

std::string nameOf(const testing::TestParamInfo<Place>& info) { return info.param.name; }

std::vector<std::string> harmsOfStanding(const Scene& scene, const Place& place, Thing thing) {
    Watch watch(scene);
    watch.prepare();
    const Swap swap(place.paths(watch.hidden()), thing);
    return textsOf(watch.harmsOfARun());
}

TEST_P(Standing, ThingsMakeRootDoNoHarm) {
    for (const Scene& scene : {Append, Rotation, KeepLogs, CleanUp}) {
        for (const Thing thing : GetParam().things) {
            EXPECT_THAT(harmsOfStanding(scene, GetParam(), thing), IsEmpty())
                << scene.name << ", " << described(thing);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, Standing,
                         testing::Values(LibraryPlace, LogsPlace, HalcyraPlace, LogFolderPlace, LogPlace,
                                         CopyPlace, HiddenPlace, MarkerPlace, SubfolderPlace, CachePlace),
                         nameOf);

class StandingThings : public AttackTest {
  protected:
    void SetUp() override {
        AttackTest::SetUp();
        if (!IsSkipped()) {
            makeOutside();
        }
    }

    /// Prepares the scene, lets the user play, and runs the tool, which must do no harm.
    static void play(const Scene& scene, const std::function<void()>& attack, int runs = 1) {
        Watch watch(scene);
        watch.prepare();
        attack();
        for (int run = 0; run < runs; ++run) {
            EXPECT_THAT(textsOf(watch.harmsOfARun()), IsEmpty());
        }
    }
};

TEST_F(StandingThings, LargeRootsFileIsNotRotatedThroughALink) {
    play(Append, [] { putLinkOf(User, LargeSecret, Log); });
    EXPECT_THAT(copyNames(), IsEmpty());
}

TEST_F(StandingThings, LargeRootsFileIsNotRotatedUnderASecondName) {
    play(Append, [] {
        ::unlink(Log.c_str());
        ASSERT_EQ(::link(LargeSecret.c_str(), Log.c_str()), 0);
    });
    EXPECT_THAT(copyNames(), IsEmpty());
}

TEST_F(StandingThings, LinkByWayOfTheUsersOwnLinkIsNoBetter) {
    play(Append, [] {
        putLinkOf(User, Private + "/Logs/Halcyra/HCD", Home + "/hop");
        const Swap swap({LogFolder}, Thing::Nothing);
        putLinkOf(User, Home + "/hop", LogFolder);
    });
}

TEST_F(StandingThings, LinkOfRootInAFolderOfTheUserIsNotFollowed) {
    play(Append, [] { putLinkOf(0, Secret, Log); });
    play(Append, [] {
        const Swap swap({LogFolder}, Thing::Nothing);
        putLinkOf(0, Private + "/Logs/Halcyra/HCD", LogFolder);
    });
}

TEST_F(StandingThings, LinkOfAnotherUserToTheUsersFileIsNotFollowed) {
    play(Append, [] { putLinkOf(Other, Home + "/letter", Log); });
    EXPECT_EQ(support::readFile(Home + "/letter"), "The user's own.\n");
}

TEST_F(StandingThings, LinkWithDotsInItIsNoBetter) {
    play(Append, [] { putLinkOf(User, "../../../../../private/Logs/Halcyra/HCD/HCD.log", Log); });
}

TEST_F(StandingThings, SocketInTheLogsPlaceDoesNotStopTheTool) {
    play(Append, [] {
        ::unlink(Log.c_str());
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        Log.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(socket);
    });
}

TEST_F(StandingThings, NamesOfTheNextCopiesAreNotOverwritten) {
    for (const Thing thing : {Thing::LinkToSecret, Thing::LinkToAbsent, Thing::HardLink, Thing::Fifo}) {
        play(Rotation, [thing] {
            for (int hour = 0; hour < 24; ++hour) { // it is about noon
                for (const char* minutes : {"00-00", "30-00"}) {
                    put(thing,
                        LogFolder + "/" +
                            copyOfToday((hour < 10 ? "0" : "") + std::to_string(hour) + "-" + minutes));
                }
            }
        });
    }
}

TEST_F(StandingThings, ForeignOnesUnderHiddenNamesDoNotStopRotationForGood) {
    const std::vector<std::string> hidden = Watch(Rotation).hidden();
    for (const Thing thing : {Thing::LinkToSecret, Thing::LinkToAbsent, Thing::HardLink, Thing::Fifo,
                              Thing::Folder, Thing::File}) {
        play(
            Rotation,
            [&hidden, thing] {
                for (const std::string& name : hidden) {
                    put(thing, LogFolder + "/" + name);
                    putFile(thing == Thing::Folder ? LogFolder + "/" + name + "/inside" : Home + "/any", "");
                }
            },
            2);
        EXPECT_LT(infoOf(Log).st_size, LogLimit) << described(thing);
    }
}

TEST_F(StandingThings, SparseLogOfFourGibibytesIsRotatedWithoutItsHoles) {
    constexpr off_t size = off_t(4) << 30;
    constexpr blkcnt_t most = 16 * 1024 * 1024 / 512;
    play(Rotation, [] { putFile(Log, "an earlier record\n", size, "\nthe last record\n"); });
    EXPECT_LT(infoOf(Log).st_size, LogLimit);
    const std::vector<std::string> copies = copyNames();
    ASSERT_FALSE(copies.empty());
    const struct stat copy = infoOf(LogFolder + "/" + copies.back());
    EXPECT_EQ(copy.st_size, size);
    EXPECT_LT(copy.st_blocks, most);
}

TEST_F(StandingThings, FileSystemMountedInsideTheCacheIsNotEmptied) {
    const std::string mounted = Cache + "/Cache/data";
    makeGround(CleanUp);
    ASSERT_EQ(::mount("tmpfs", mounted.c_str(), "tmpfs", 0, nullptr), 0);
    putFile(mounted + "/precious", "root's own");
    runUndisturbed(CleanUp);
    EXPECT_TRUE(isThere(mounted + "/precious"));
    EXPECT_FALSE(isThere(Cache + "/Cookies"));
    ASSERT_EQ(::umount(mounted.c_str()), 0);
}

/// Makes a folder in a folder in a folder, `depth` of them, in `place`.
void putDeepFolder(const std::string& place, int depth) {
    const int start = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(::chdir(place.c_str()), 0);
    for (int level = 0; level < depth; ++level) {
        ASSERT_EQ(::mkdir("d", 0755), 0);
        ASSERT_EQ(::chdir("d"), 0);
    }
    ASSERT_EQ(::fchdir(start), 0);
    ::close(start);
}

TEST_F(StandingThings, CacheDeeperThanDescriptorsGoIsRemoved) {
    rlimit usual = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit few = {256, usual.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    play(CleanUp, [] { putDeepFolder(Cache, 3000); });
    EXPECT_FALSE(isThere(Cache));
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_EQ(std::system(("rm -rf '" + Cache + "'").c_str()), 0);
}

} // namespace

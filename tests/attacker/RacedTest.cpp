#include <csignal>
#include <ostream>
#include <string>

#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "attacker/Attack.h"
#include "attacker/AttackTest.h"
#include "attacker/Places.h"

// The user's process swaps one name without a pause while the tool runs. It reaches what stepping cannot:
// moments in the middle of a call.

using namespace attack;

namespace {

constexpr int Runs = 60;

struct Race {
    Scene scene;
    Place place;
    Thing thing;
};

std::ostream& operator<<(std::ostream& stream, const Race& race) {
    return stream << race.scene.name << race.place.name << " " << described(race.thing);
}

std::string nameOf(const testing::TestParamInfo<Race>& info) {
    const bool isFifo = info.param.thing == Thing::Fifo;
    const bool isHardLink = info.param.thing == Thing::HardLink;
    return info.param.scene.name + info.param.place.name +
           (isFifo       ? "Fifo"
            : isHardLink ? "HardLink"
                         : "Link");
}

/// A process of the user that exchanges what is at a path with what is kept beside it, again and again.
class Racer {
  public:
    explicit Racer(const std::string& path) : process(::fork()) {
        if (process == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            const bool isUser = ::setgroups(0, nullptr) == 0 && ::setresgid(Staff, Staff, Staff) == 0 &&
                                ::setresuid(User, User, User) == 0;
            if (!isUser) {
                ::_exit(1);
            }
            const std::string kept = keptAt(path);
            for (;;) {
                ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, kept.c_str(), RENAME_EXCHANGE);
            }
        }
    }
    ~Racer() {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
    Racer(const Racer&) = delete;
    Racer& operator=(const Racer&) = delete;

  private:
    pid_t process;
};

void putBeside(const std::string& path, Thing thing) {
    if (thing == Thing::HardLink) {
        put(thing, keptAt(path), path);
        return;
    }
    const AsUser user;
    put(thing, keptAt(path), path);
}

class Raced : public AttackTest, public testing::WithParamInterface<Race> {};

TEST_P(Raced, AgainstTheUserRootDoesNoHarm) {
    const Race& race = GetParam();
    Watch watch(race.scene);
    Tally tally;
    for (int run = 1; run <= Runs; ++run) {
        watch.prepare();
        const std::string path = race.place.paths(watch.hidden()).front();
        putBeside(path, race.thing);
        Victim victim(race.scene.arguments, Victim::Pace::Free);
        Ending ending;
        {
            const Racer racer(path);
            ending = victim.finish();
        }
        tally.add("run " + std::to_string(run), watch.harmsOf(ending));
    }
    expectNoHarm(tally);
}

INSTANTIATE_TEST_SUITE_P(
    , Raced,
    testing::Values(
        Race{Append, LogPlace, Thing::LinkToSecret}, Race{Append, LogPlace, Thing::HardLink},
        Race{Append, LogPlace, Thing::Fifo}, Race{Append, LogFolderPlace, Thing::LinkToPrivate},
        Race{Rotation, LogPlace, Thing::LinkToSecret}, Race{Rotation, LogPlace, Thing::Fifo},
        Race{Rotation, LogFolderPlace, Thing::LinkToPrivate}, Race{Rotation, LogsPlace, Thing::LinkToPrivate},
        Race{Rotation, SubfolderPlace, Thing::LinkToPrivate},
        Race{Rotation, DeeperPlace, Thing::LinkToPrivate}, Race{FirstRun, HalcyraPlace, Thing::LinkToPublic},
        Race{FirstRun, LogsPlace, Thing::LinkToPublic}, Race{CleanUp, CachePlace, Thing::LinkToPrivate},
        Race{CleanUp, DataPlace, Thing::LinkToPrivate}),
    nameOf);

} // namespace

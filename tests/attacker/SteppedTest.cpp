#include <gtest/gtest.h>

#include "attacker/Attack.h"
#include "attacker/AttackTest.h"
#include "attacker/Places.h"

// The user makes one swap before a step of the run: every step in turn. What was there is not put back. Where
// a run takes several times as long, each thing is put there before every third step only, and the things
// take turns.

using namespace attack;

namespace {

class Swapped : public AttackTest, public testing::WithParamInterface<Attack> {};

TEST_P(Swapped, BeforeAnyStepMakesRootDoNoHarm) {
    Tally tally;
    Stride stride{1, HCD_ATTACK_STRIDE};
    for (const Thing thing : GetParam().place.things) {
        attackEachStep(GetParam().scene, GetParam().place, thing, 0, tally, stride);
        stride.first = stride.first % stride.length + 1;
    }
    expectNoHarm(tally);
}

INSTANTIATE_TEST_SUITE_P(
    , Swapped,
    testing::Values(Attack{FirstRun, LibraryPlace}, Attack{FirstRun, LogsPlace},
                    Attack{FirstRun, HalcyraPlace}, Attack{FirstRun, LogFolderPlace},
                    Attack{FirstRun, LogPlace}, Attack{Append, LibraryPlace}, Attack{Append, LogsPlace},
                    Attack{Append, HalcyraPlace}, Attack{Append, LogFolderPlace}, Attack{Append, LogPlace},
                    Attack{Rotation, LibraryPlace}, Attack{Rotation, LogsPlace},
                    Attack{Rotation, HalcyraPlace}, Attack{Rotation, LogFolderPlace},
                    Attack{Rotation, LogPlace}, Attack{Rotation, CopyPlace}, Attack{Rotation, HiddenPlace},
                    Attack{Rotation, SubfolderPlace}, Attack{Rotation, DeeperPlace},
                    Attack{KeepLogs, MarkerPlace}, Attack{KeepLogs, LogFolderPlace},
                    Attack{KeepLogs, LogPlace}, Attack{CleanUp, CachePlace}, Attack{CleanUp, DataPlace},
                    Attack{Homeless, HomelessFolderPlace}, Attack{Homeless, HomelessLogPlace}),
    nameOf);

} // namespace

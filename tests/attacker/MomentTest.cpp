#include <gtest/gtest.h>

#include "attacker/Attack.h"
#include "attacker/AttackTest.h"
#include "attacker/Places.h"

// The user makes a swap before a step of the run, and undoes it up to three steps later: every step in turn.

using namespace attack;

namespace {

class SwappedForAMoment : public AttackTest, public testing::WithParamInterface<Attack> {};

TEST_P(SwappedForAMoment, BeforeAnyStepMakesRootDoNoHarm) {
    Tally tally;
    for (const Thing thing : GetParam().place.things) {
        for (const int steps : {1, 2, 3}) {
            attackEachStep(GetParam().scene, GetParam().place, thing, steps, tally);
        }
    }
    expectNoHarm(tally);
}

Place linkedLogFolder() { return withThings(LogFolderPlace, {Thing::LinkToPrivate}); }
Place exchangedLog() { return withThings(LogPlace, {Thing::LinkToSecret, Thing::HardLink, Thing::Fifo}); }

INSTANTIATE_TEST_SUITE_P(, SwappedForAMoment,
                         testing::Values(Attack{FirstRun, linkedLogFolder()},
                                         Attack{Append, linkedLogFolder()}, Attack{Append, exchangedLog()},
                                         Attack{Rotation, linkedLogFolder()},
                                         Attack{Rotation, exchangedLog()},
                                         Attack{Rotation, withThings(HiddenPlace, {Thing::LinkToSecret})},
                                         Attack{Rotation, withThings(SubfolderPlace, {Thing::LinkToPrivate})},
                                         Attack{CleanUp, withThings(DataPlace, {Thing::LinkToPrivate})}),
                         nameOf);

} // namespace

#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "attacker/Ground.h"
#include "attacker/Snapshot.h"
#include "attacker/Swap.h"
#include "attacker/Victim.h"

namespace attack {

/// What many attacked runs came to.
class Tally {
  public:
    void add(const std::string& attack, const std::vector<Harm>& harms);

    int runs() const { return tried; }
    /// The failure's message: how many runs did what harm, and the first of them. Empty if there was none.
    std::string complaint() const;
    /// Prints the figures and adds them to the test's report.
    void tell() const;

  private:
    std::string figures() const;

    int tried = 0;
    int broken = 0;
    std::map<std::string, int> harmsByKind;
    std::vector<std::string> examples;
};

/// The harm of runs. What lies outside is repaired after each run that did any.
class Watch {
  public:
    /// What there was in the log folder under hidden names during a run of `scene` that nobody attacked.
    explicit Watch(const Scene& attacked);

    /// Makes the ground for the next run.
    void prepare() const { makeGround(scene); }
    /// What the run that ended so has done since the last call.
    std::vector<Harm> harmsOf(const Ending& ending);
    /// Lets the tool run once, without a stop, and says what harm that did.
    std::vector<Harm> harmsOfARun();

    const std::vector<std::string>& hidden() const { return hiddenSeen; }

  private:
    Scene scene;
    std::vector<std::string> hiddenSeen;
    Snapshot before;
};

/// Lets the tool run once in `scene`, which nobody attacks. The run must end in order.
void runUndisturbed(const Scene& scene);

struct Attack {
    Scene scene;
    Place place;
};

std::ostream& operator<<(std::ostream& stream, const Attack& attack);
std::string nameOf(const testing::TestParamInfo<Attack>& info);

/// Fails the test if a run did harm, or if there was no run. Tells the figures.
void expectNoHarm(const Tally& tally);

/// Which steps are attacked: every one, or one of several.
struct Stride {
    int first = 1;
    int length = 1;
};

/// Runs the scene once for each of its steps, as far as `stride` does not leave it out. Before step k of run
/// k the user puts `thing` at `place`. If `stepsUntilUndone` is not 0, he undoes the swap after that number
/// of further steps. A swap that lasts has the calls that look up names as its steps; a swap that is undone
/// has all calls.
void attackEachStep(const Scene& scene, const Place& place, Thing thing, int stepsUntilUndone, Tally& tally,
                    Stride stride = {});

} // namespace attack

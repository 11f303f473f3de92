#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace attack {

/// A system call that a victim is about to make.
struct Call {
    long number = -1;
    std::array<std::uint64_t, 6> arguments = {};
    std::string path; ///< the first one that the call names; empty for a call on a descriptor
};

/// How a run ended.
struct Ending {
    int status = -1;   ///< 128 and the signal's number when one ended it
    bool hung = false; ///< it waited for something that never came, and was killed
    std::string output;
};

/// One run of the tool by root.
class Victim {
  public:
    /// A stepped victim stops before each of its calls that have to do with files, users or semaphores.
    enum class Pace { Stepped, Free };

    explicit Victim(const std::vector<std::string>& arguments, Pace pace = Pace::Stepped);
    /// Kills a victim that has not ended.
    ~Victim();
    Victim(const Victim&) = delete;
    Victim& operator=(const Victim&) = delete;

    /// Runs the victim up to its next call. Returns nothing if it ended instead.
    std::optional<Call> next();
    /// Lets the victim run to its end.
    Ending finish();
    void kill();

  private:
    /// Waits until the victim stops, true, or ends, false.
    bool waitForStop();
    void lookWhetherItHangs();
    void resume();

    pid_t leader = -1;
    pid_t stopped = -1; ///< the thread that is stopped
    int signal = 0;     ///< that this thread gets when it goes on
    bool atCall = false;
    bool ended = false;
    int looksAsleep = 0;
    int looks = 0;
    Ending ending;
};

/// Which calls are steps.
enum class Sight {
    /// Those that look up, or list, names that the user can change. A swap that lasts does the
    /// same before any other call as before the next of these.
    Names,
    /// All those before which a victim stops, if what another user does before could matter.
    Everything,
};

/// Tells which calls of a run are steps. Not those before the first look at who is at the console, because
/// the tool knows of no user until then. Nor those on a place that only root can change.
class Steps {
  public:
    /// `ofLoop`: how many calls of a row of similar ones are steps.
    explicit Steps(Sight seen, int ofLoop = 1) : sight(seen), most(ofLoop) {}

    bool isStep(const Call& call);

  private:
    Sight sight;
    int most;
    bool begun = false;
    bool wasOfRootAlone = false;
    std::string last;
    int likeCalls = 0;
};

/// What a step is called in a failure's message.
std::string described(const Call& call);

} // namespace attack

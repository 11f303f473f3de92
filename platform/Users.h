#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

/// Who is logged in at the console, who this process acts as, and where that user's home is.
namespace platform {

/// The user logged in at the machine's own screen.
struct ConsoleUser {
    std::string name;
    uid_t uid = 0;
    gid_t gid = 0;
};

/// The user of the active session on the machine's first seat, or nothing when nobody is logged in
/// there: a login screen counts as nobody. May ask the system's user database.
std::optional<ConsoleUser> consoleUser();

/// The effective user id of this process.
uid_t effectiveUser();

/// Changes the effective user id of the whole process. False when the system refuses.
bool setEffectiveUser(uid_t uid);

/// The home folder of the effective user, without a trailing slash (but "/" stays "/"). Empty when
/// the machine knows none.
std::string homeFolder();

/// Makes `uid` the effective user again after a switch, in several tries: a refusal may be for the moment.
/// False when the process still acts as another user.
inline bool returnToUser(uid_t uid) {
    constexpr int mostTries = 3;
    for (int tries = 0; tries < mostTries; ++tries) {
        if (setEffectiveUser(uid)) {
            return true;
        }
    }
    return effectiveUser() == uid;
}

/// Acts as another user from construction to destruction. The identity changes for the whole process,
/// so no other thread may depend on it meanwhile. The earlier identity is asked for again at the end
/// whether or not the switch worked. The system may refuse to give it back: code that needs it afterwards has
/// to check with `returnToUser`.
class EffectiveUserSwitch {
  public:
    explicit EffectiveUserSwitch(uid_t uid) : saved(effectiveUser()), switched(setEffectiveUser(uid)) {}
    ~EffectiveUserSwitch() { returnToUser(saved); }
    EffectiveUserSwitch(const EffectiveUserSwitch&) = delete;
    EffectiveUserSwitch& operator=(const EffectiveUserSwitch&) = delete;

    bool succeeded() const { return switched; }

  private:
    uid_t saved;
    bool switched;
};

} // namespace platform

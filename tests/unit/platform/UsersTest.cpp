#include "platform/Users.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Child.h"
#include "support/RefusedCalls.h"

using namespace platform;

namespace {

/// Keeps the login manager's library in memory, because a child with a root folder of its own finds no file
/// of it there.
class LoginLibrary {
  public:
    LoginLibrary() = default;
    ~LoginLibrary() {
        if (library) {
            ::dlclose(library);
        }
    }
    LoginLibrary(const LoginLibrary&) = delete;
    LoginLibrary& operator=(const LoginLibrary&) = delete;

  private:
    void* library = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
};

/// A machine with a session of the given class at its first seat.
class MachineWithSession {
  public:
    explicit MachineWithSession(const std::string& sessionClass) {
        machine.put("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\nann:x:501:20:Ann:/home/ann:/bin/sh\n");
        putSeat("ACTIVE=c1\nACTIVE_UID=501\n");
        machine.put("/run/systemd/sessions/c1", "UID=501\nCLASS=" + sessionClass + "\n");
    }

    void putSeat(const std::string& content) const { machine.put("/run/systemd/seats/seat0", content); }
    void put(const std::string& path, const std::string& content) const { machine.put(path, content); }

    /// The console user there as "name uid gid", or "nobody".
    std::optional<std::string> consoleUserThere() const {
        return machine.resultOf([] {
            const auto user = consoleUser();
            return user ? user->name + " " + std::to_string(user->uid) + " " + std::to_string(user->gid)
                        : "nobody";
        });
    }

  private:
    LoginLibrary library;
    child::Machine machine;
};

class TheConsoleUser : public testing::Test {
  protected:
    void SetUp() override {
        if (!child::Machine().resultOf([] { return "works"; })) {
            GTEST_SKIP() << "needs a user namespace: it changes its root folder";
        }
    }
};

} // namespace

TEST_F(TheConsoleUser, IsTheUserOfTheActiveSession) {
    EXPECT_EQ(MachineWithSession("user").consoleUserThere(), "ann 501 20");
    EXPECT_EQ(MachineWithSession("user-early").consoleUserThere(), "ann 501 20");
}

TEST_F(TheConsoleUser, IsNobodyAtALoginScreen) {
    EXPECT_EQ(MachineWithSession("greeter").consoleUserThere(), "nobody");
    EXPECT_EQ(MachineWithSession("lock-screen").consoleUserThere(), "nobody");
    EXPECT_EQ(MachineWithSession("background").consoleUserThere(), "nobody");
}

TEST_F(TheConsoleUser, IsNobodyWithoutLogind) {
    const child::Machine machine;
    EXPECT_EQ(machine.resultOf([] { return consoleUser() ? "somebody" : "nobody"; }), "nobody");
}

TEST_F(TheConsoleUser, IsNobodyAtAnEmptySeat) {
    const MachineWithSession machine("user");
    machine.putSeat("IS_SEAT0=1\n");
    EXPECT_EQ(machine.consoleUserThere(), "nobody");
}

TEST_F(TheConsoleUser, IsNobodyWhenTheSessionIsGone) {
    const MachineWithSession machine("user");
    machine.putSeat("ACTIVE=c2\nACTIVE_UID=501\n");
    EXPECT_EQ(machine.consoleUserThere(), "nobody");
}

TEST_F(TheConsoleUser, IsNobodyWhenTheSessionHasNoClass) {
    const MachineWithSession machine("user");
    machine.put("/run/systemd/sessions/c1", "UID=501\n");
    EXPECT_EQ(machine.consoleUserThere(), "nobody");
}

TEST_F(TheConsoleUser, IsNobodyWhenTheUserIsNotOnRecord) {
    const MachineWithSession machine("user");
    machine.put("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\n");
    EXPECT_EQ(machine.consoleUserThere(), "nobody");
}

TEST_F(TheConsoleUser, IsFoundInALongRecord) {
    const MachineWithSession machine("user");
    machine.put("/etc/passwd", "ann:x:501:20:" + std::string(20000, 'A') + ":/home/ann:/bin/sh\n");
    EXPECT_EQ(machine.consoleUserThere(), "ann 501 20");
}

TEST(EffectiveUser, IsTheOneOfThisProcess) { EXPECT_EQ(effectiveUser(), ::geteuid()); }

TEST(EffectiveUser, ChangesThereAndBack) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it acts as another user";
    }
    EXPECT_EQ(child::resultOf([] {
                  std::string seen = setEffectiveUser(501) ? "changed to " : "refused, still ";
                  seen += std::to_string(::geteuid()) + " of " + std::to_string(::getuid());
                  seen += setEffectiveUser(0) ? ", back to " : ", still ";
                  return seen + std::to_string(effectiveUser());
              }),
              "changed to 501 of 0, back to 0");
}

TEST(EffectiveUser, StaysWhenTheSystemRefuses) {
    EXPECT_EQ(child::resultOf([] {
                  child::becomeOrdinaryUser();
                  const bool isChanged = setEffectiveUser(0) || setEffectiveUser(static_cast<uid_t>(-1));
                  return isChanged || effectiveUser() == 0 ? "changed" : "refused";
              }),
              "refused");
}

TEST(EffectiveUserSwitch, LastsUntilItsEnd) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it acts as another user";
    }
    EXPECT_EQ(child::resultOf([] {
                  std::string seen;
                  {
                      const EffectiveUserSwitch acting(501);
                      seen = acting.succeeded() ? "as " + std::to_string(::geteuid()) : "refused";
                  }
                  return seen + ", then as " + std::to_string(::geteuid());
              }),
              "as 501, then as 0");
}

TEST(EffectiveUserSwitch, TellsThatItWasRefused) {
    EXPECT_EQ(child::resultOf([] {
                  child::becomeOrdinaryUser();
                  return EffectiveUserSwitch(0).succeeded() ? "switched" : "refused";
              }),
              "refused");
}

TEST(EffectiveUserSwitch, IsNotTakenForEndedWhenTheSystemRefusesToGoBack) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root: it acts as another user";
    }
    const std::string result = child::resultOf([] {
#ifdef SYS_setresuid
        if (!support::refuseCalls({{SYS_setresuid, {{1, 0}}}})) {
            return std::string("not arranged");
        }
#else
        return std::string("not arranged");
#endif
        {
            const EffectiveUserSwitch acting(501);
        }
        return (returnToUser(0) ? "back as " : "still ") + std::to_string(effectiveUser());
    });
    if (result == "not arranged") {
        GTEST_SKIP() << "needs seccomp: it makes the system refuse a call";
    }
    EXPECT_EQ(result, "still 501");
}

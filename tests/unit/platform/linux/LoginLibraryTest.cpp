#include "platform/Users.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "unit/platform/Child.h"

using namespace platform;

namespace {

bool isLoaded(const char* library) { return ::dlopen(library, RTLD_NOW | RTLD_NOLOAD) != nullptr; }

} // namespace

TEST(LoginLibrary, IsNotNeededForTheProgramToRun) {
    const child::Machine machine;
    machine.put("/etc/passwd", "ann:x:501:20:Ann:/home/ann:/bin/sh\n");
    machine.put("/run/systemd/seats/seat0", "ACTIVE=c1\nACTIVE_UID=501\n");
    machine.put("/run/systemd/sessions/c1", "UID=501\nCLASS=user\n");
    const auto result = machine.resultOf([] { return consoleUser() ? "somebody" : "nobody"; });
    if (!result) {
        GTEST_SKIP() << "needs a user namespace: it changes its root folder";
    }
    EXPECT_EQ(result, "nobody");
}

TEST(LoginLibrary, IsNotLoadedWithoutALoginManager) {
    const child::Machine machine;
    const auto result = machine.resultOf([] {
        consoleUser();
        return isLoaded("libsystemd.so.0") ? "loaded" : "not loaded";
    });
    if (!result) {
        GTEST_SKIP() << "needs a user namespace: it changes its root folder";
    }
    EXPECT_EQ(result, "not loaded");
}

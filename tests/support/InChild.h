#pragma once

#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <grp.h>
#include <sched.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

/// Work that must not change this process: done in a forked child.
namespace support {

/// The id of a user without rights.
inline constexpr uid_t ordinaryUser = 65534;

/// Runs `body` in a child. The calling test fails when an expectation fails there or the child dies.
inline void inChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "an expectation failed in the child";
}

/// Whether `attempt` gives true in a child.
inline bool succeedsInChild(const std::function<bool()>& attempt) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(attempt() ? 0 : 1);
    }
    int status = 1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

/// Gives up root's rights for good, if this process has them.
inline void becomeOrdinaryUser() {
    if (::geteuid() != 0) {
        return;
    }
    ASSERT_EQ(::setgroups(0, nullptr), 0);
    ASSERT_EQ(::setgid(ordinaryUser), 0);
    ASSERT_EQ(::setuid(ordinaryUser), 0);
}

/// Runs `body` in a child that is bound by permissions.
inline void asOrdinaryUser(const std::function<void()>& body) {
    inChild([&body] {
        becomeOrdinaryUser();
        if (!testing::Test::HasFatalFailure()) {
            body();
        }
    });
}

/// Makes this process root among users of its own, for good: to be used in a child. It has no other user than
/// root there. Root stays as it is. False when the machine does not allow it.
inline bool becomeRootOfItsOwn() {
    const uid_t user = ::geteuid();
    if (user == 0) {
        return true;
    }
#ifdef CLONE_NEWUSER
    const gid_t group = ::getegid();
    if (::unshare(CLONE_NEWUSER) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    const bool hasUser(std::ofstream("/proc/self/uid_map") << "0 " << user << " 1" << std::flush);
    const bool hasGroup(std::ofstream("/proc/self/gid_map") << "0 " << group << " 1" << std::flush);
    return hasUser && hasGroup;
#else
    return false;
#endif
}

/// Makes `folder` the root folder of this process, for good: to be used in a child. False when the machine
/// does not allow it.
inline bool enterRootOfItsOwn(const std::string& folder) {
    return becomeRootOfItsOwn() && ::chroot(folder.c_str()) == 0 && ::chdir("/") == 0;
}

/// Whether `enterRootOfItsOwn` works here.
inline bool canHaveARootOfItsOwn(const std::string& folder) {
    return succeedsInChild([&folder] { return enterRootOfItsOwn(folder); });
}

} // namespace support

#pragma once

#include <string>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

/// What other users put into folders that are not theirs alone. All of this needs root.
namespace support {

inline constexpr uid_t anna = 501;
inline constexpr uid_t bert = 502;

/// Acts as another user from construction to destruction.
class ScopedEffectiveUser {
  public:
    explicit ScopedEffectiveUser(uid_t user) {
        EXPECT_EQ(::setegid(user), 0);
        EXPECT_EQ(::seteuid(user), 0);
    }
    ~ScopedEffectiveUser() {
        EXPECT_EQ(::seteuid(0), 0);
        EXPECT_EQ(::setegid(0), 0);
    }
    ScopedEffectiveUser(const ScopedEffectiveUser&) = delete;
    ScopedEffectiveUser& operator=(const ScopedEffectiveUser&) = delete;
};

/// Makes the entry `path` itself another user's.
inline void give(const std::string& path, uid_t user) {
    ASSERT_EQ(::lchown(path.c_str(), user, user), 0) << path;
}

/// Makes the symlink `path` of `user`.
inline void makeLink(uid_t user, const std::string& target, const std::string& path) {
    ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0) << path;
    give(path, user);
}

/// Makes the folder `path` of `user` with exactly `mode`.
inline void makeFolder(uid_t user, const std::string& path, mode_t mode) {
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0) << path;
    ASSERT_EQ(::chmod(path.c_str(), mode), 0) << path;
    give(path, user);
}

} // namespace support

#pragma once

#include <optional>
#include <string>
#include <vector>

#include <pwd.h>

/// A user's record in the user database.
namespace standin {

struct Account {
    std::string name;
    std::string home;
    gid_t group = 0;
};

inline std::optional<Account> accountOf(uid_t uid) {
    std::vector<char> texts(1 << 20);
    passwd record = {};
    passwd* found = nullptr;
    ::getpwuid_r(uid, &record, texts.data(), texts.size(), &found);
    return found ? std::optional(Account{found->pw_name, found->pw_dir, found->pw_gid}) : std::nullopt;
}

} // namespace standin

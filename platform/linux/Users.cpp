#include "platform/Users.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include <dlfcn.h>
#include <pwd.h>
#include <systemd/sd-login.h>
#include <unistd.h>

#include "../posix/PlaceRules.h"
#include "HostRules.h"

namespace platform {

namespace {

struct Account {
    std::string name;
    gid_t group = 0;
    std::string home;
};

std::optional<Account> accountOf(uid_t uid) {
    std::vector<char> texts(1024);
    passwd entry = {};
    passwd* found = nullptr;
    int error = 0;
    while ((error = ::getpwuid_r(uid, &entry, texts.data(), texts.size(), &found)) == ERANGE ||
           error == EINTR) {
        texts.resize(error == ERANGE ? 2 * texts.size() : texts.size());
    }
    return found ? std::optional(Account{found->pw_name, found->pw_gid, found->pw_dir}) : std::nullopt;
}

/// A text that a library handed over to be freed.
class OwnedText {
  public:
    OwnedText() = default;
    ~OwnedText() { std::free(text); }
    OwnedText(const OwnedText&) = delete;
    OwnedText& operator=(const OwnedText&) = delete;

    char** place() { return &text; }
    const char* get() const { return text; }

  private:
    char* text = nullptr;
};

struct LibraryCloser {
    void operator()(void* library) const { ::dlclose(library); }
};

using Library = std::unique_ptr<void, LibraryCloser>;

/// The login manager's library, where that manager runs: most programs never ask it, and it brings six
/// others. Null where it is missing. It stays in memory, so that the next question costs little.
Library loginLibrary() {
    const bool isManaged = ::access("/run/systemd/seats/", F_OK) == 0;
    return Library(isManaged ? ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE) : nullptr);
}

template <typename Function> Function* functionIn(const Library& library, const char* name) {
    return library ? reinterpret_cast<Function*>(::dlsym(library.get(), name)) : nullptr;
}

/// The user of the first seat's active session, if that session is a person's.
std::optional<uid_t> activeUser() {
    const Library library = loginLibrary();
    auto* const getActive = functionIn<decltype(::sd_seat_get_active)>(library, "sd_seat_get_active");
    auto* const getClass = functionIn<decltype(::sd_session_get_class)>(library, "sd_session_get_class");
    OwnedText session;
    OwnedText sessionClass;
    uid_t uid = 0;
    if (!getActive || !getClass || getActive("seat0", session.place(), &uid) < 0 ||
        getClass(session.get(), sessionClass.place()) < 0 || !isPersonsSession(sessionClass.get())) {
        return std::nullopt;
    }
    return uid;
}

/// HOME counts only for the user who started this process.
std::string homeFromEnvironment() {
    const char* const variable = std::getenv("HOME");
    return variable && ::geteuid() == ::getuid() ? homeNamed(variable) : "";
}

} // namespace

bool isPersonsSession(std::string_view sessionClass) { return sessionClass.starts_with("user"); }

std::optional<ConsoleUser> consoleUser() {
    const auto uid = activeUser();
    const auto account = uid ? accountOf(*uid) : std::nullopt;
    return account ? std::optional(ConsoleUser{account->name, *uid, account->group}) : std::nullopt;
}

std::string homeFolder() {
    std::string ownHome = homeFromEnvironment();
    if (!ownHome.empty()) {
        return ownHome;
    }
    const auto account = accountOf(::geteuid());
    return account ? homeNamed(account->home) : "";
}

} // namespace platform

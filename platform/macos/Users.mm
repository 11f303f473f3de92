#include "platform/Users.h"

#include <memory>

#include <SystemConfiguration/SystemConfiguration.h>
#include <pwd.h>
#include <unistd.h>

#include "../posix/PlaceRules.h"
#include "Foundation.h"

namespace platform {

namespace {

struct Releaser {
    void operator()(const void* object) const { ::CFRelease(object); }
};

using OwnedName = std::unique_ptr<const std::remove_pointer_t<CFStringRef>, Releaser>;

/// The name under which the login screen is at the console.
constexpr const char* loginScreen = "loginwindow";

/// Whether the framework can find the effective user's home. The one below makes one up for a user without a
/// record.
bool mayAskForHome() {
#ifdef GNUSTEP
    return ::getpwuid(::geteuid()) != nullptr;
#else
    return true;
#endif
}

} // namespace

std::optional<ConsoleUser> consoleUser() {
    const AutoreleasePool pool;
    ConsoleUser user;
    const OwnedName name(::SCDynamicStoreCopyConsoleUser(nullptr, &user.uid, &user.gid));
    if (!name) {
        return std::nullopt;
    }
    user.name = textOf((NSString*)name.get());
    return user.name == loginScreen ? std::nullopt : std::optional(user);
}

std::string homeFolder() {
    const AutoreleasePool pool;
    return valueOr(std::string(), [] { return mayAskForHome() ? homeNamed(textOf(NSHomeDirectory())) : ""; });
}

} // namespace platform

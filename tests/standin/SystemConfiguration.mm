#include "SystemConfiguration/SystemConfiguration.h"

#include <cstdlib>
#include <optional>
#include <string>

#import <Foundation/Foundation.h>
#include <systemd/sd-login.h>

#include "Account.h"

// The user of the first seat's active session, at whose login screen there is a user called "loginwindow". A
// string is an object of Foundation, as it is on the home platform.

namespace {

std::string takeText(char* text) {
    const std::string copy = text ? text : "";
    std::free(text);
    return copy;
}

std::optional<std::string> nameAtConsole(uid_t uid, const std::string& sessionClass) {
    if (sessionClass == "greeter") {
        return "loginwindow";
    }
    const auto account = sessionClass.starts_with("user") ? standin::accountOf(uid) : std::nullopt;
    return account ? std::optional(account->name) : std::nullopt;
}

} // namespace

CFStringRef SCDynamicStoreCopyConsoleUser(SCDynamicStoreRef /*store*/, uid_t* uid, gid_t* gid) {
    char* session = nullptr;
    char* sessionClass = nullptr;
    uid_t active = 0;
    if (::sd_seat_get_active("seat0", &session, &active) < 0) {
        return nullptr;
    }
    const std::string activeSession = takeText(session);
    if (::sd_session_get_class(activeSession.c_str(), &sessionClass) < 0) {
        return nullptr;
    }
    const auto name = nameAtConsole(active, takeText(sessionClass));
    if (!name) {
        return nullptr;
    }
    const auto account = standin::accountOf(active);
    *uid = active;
    *gid = account ? account->group : 0;
    return reinterpret_cast<CFStringRef>([[NSString alloc] initWithUTF8String:name->c_str()]);
}

void CFRelease(CFTypeRef object) { [(id)object release]; }

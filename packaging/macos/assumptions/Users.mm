#include <filesystem>
#include <regex>

#include <SystemConfiguration/SystemConfiguration.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Assumption.h"
#include "Cocoa.h"
#include "Home.h"
#include "Self.h"

namespace assumptions {

namespace {

/// The home on record; for root, that of the user who became root without changing the real user.
std::string homeOnRecord() {
    const passwd* const record = ::getpwuid(::geteuid() == 0 ? ::getuid() : ::geteuid());
    return record ? record->pw_dir : "(no record)";
}

Found homeWithAnotherVariable() { return runSelf({homeOption}, "HOME=/nowhere").output; }

std::string nameOf(uid_t user) {
    const passwd* const record = ::getpwuid(user);
    return record ? record->pw_name : "(no record)";
}

/// Who may be said to be at the console: its owner, and where that is root nobody or the login screen.
std::vector<std::string> ownerOfTheConsole() {
    struct stat console = {};
    if (::stat("/dev/console", &console) != 0 || console.st_uid == 0) {
        return {"(nobody)", "loginwindow", "root"};
    }
    return {nameOf(console.st_uid)};
}

Found userAtTheConsole() {
    const Pool pool;
    uid_t user = 0;
    gid_t group = 0;
    const CFStringRef name = ::SCDynamicStoreCopyConsoleUser(nullptr, &user, &group);
    if (!name) {
        return "(nobody)";
    }
    const std::string text = textOf((NSString*)name);
    ::CFRelease(name);
    return text;
}

Found languages() {
    const Pool pool;
    const std::regex form("[a-z]{2,3}(-[A-Z][a-z]{3})?(-([A-Z]{2}|[0-9]{3}))?(-[A-Za-z0-9]+)*");
    NSArray* const tags = [NSLocale preferredLanguages];
    for (NSUInteger i = 0; i < [tags count]; ++i) {
        const std::string tag = textOf([tags objectAtIndex:i]);
        if (!std::regex_match(tag, form)) {
            return tag;
        }
    }
    return eitherOf([tags count] > 0, "tags such as en-GB and zh-Hans-CN", "none");
}

Found localeIdentifier() {
    const Pool pool;
    const std::regex form("[a-z]{2,3}([_-][A-Z][a-z]{3})?(_([A-Z]{2}|[0-9]{3}))?(_[A-Z0-9]+)?(@.*)?");
    const std::string identifier = textOf([[NSLocale currentLocale] localeIdentifier]);
    return std::regex_match(identifier, form) ? "a form such as en_GB and zh-Hans_CN" : identifier;
}

Found executable() {
    const Pool pool;
    return textOf([[NSBundle mainBundle] executablePath]);
}

Found bundle() {
    const Pool pool;
    return textOf([[NSBundle mainBundle] bundlePath]);
}

} // namespace

std::string homeOfThePlatform() {
    const Pool pool;
    return textOf(NSHomeDirectory());
}

Assumptions aboutUsers() {
    return {
        {"home folder, whatever HOME says", {homeOnRecord()}, homeWithAnotherVariable},
        {"user at the console", ownerOfTheConsole(), userAtTheConsole},
        {"preferred languages", {"tags such as en-GB and zh-Hans-CN"}, languages},
        {"current locale", {"a form such as en_GB and zh-Hans_CN"}, localeIdentifier},
        {"executable of a tool without a bundle", {ownPath()}, executable},
        {"bundle of a tool without a bundle", {std::filesystem::path(ownPath()).parent_path()}, bundle},
    };
}

} // namespace assumptions

#include "support/ScriptedHost.h"

#include "platform/Bundle.h"
#include "platform/Locale.h"

namespace scripted {

Host& host() {
    static Host& instance = *new Host; // never deleted, as a machine outlives its processes
    return instance;
}

void reset() { host() = Host(); }

} // namespace scripted

namespace platform {

using scripted::host;

std::optional<ConsoleUser> consoleUser() { return host().consoleUser; }

uid_t effectiveUser() { return host().effectiveUser; }

bool setEffectiveUser(uid_t uid) {
    host().userSwitches.push_back(uid);
    if (host().refusesUserSwitch || (uid == 0 && host().refusalsOfRoot-- > 0)) {
        return false;
    }
    host().effectiveUser = uid;
    return true;
}

std::string homeFolder() {
    const auto entry = host().homes.find(host().effectiveUser);
    return entry == host().homes.end() ? host().homeFolder : entry->second;
}

std::optional<std::string> standardFolder(FolderDomain domain, FolderKind kind) {
    host().lookupUsers.push_back(host().effectiveUser);
    const auto entry = host().folders.find({domain, kind});
    if (entry != host().folders.end()) {
        return entry->second;
    }
    if (domain == FolderDomain::User && kind == FolderKind::DomainRoot) {
        return homeFolder();
    }
    return std::nullopt;
}

bool offersSystemVersion() { return host().offersSystemVersion; }

std::optional<SystemVersion> systemVersion() { return host().systemVersion; }

std::optional<std::int32_t> olderVersionNumber(VersionPart part) {
    host().olderVersionQueries.push_back(part);
    return host().olderVersionNumbers[static_cast<std::size_t>(part)];
}

std::optional<std::string> machineName() { return host().machineName; }

std::int32_t threadId() { return host().threadId; }

std::vector<std::string> preferredLanguages() { return host().preferredLanguages; }

std::string currentLocaleIdentifier() { return host().localeIdentifier; }

std::string executablePath() { return host().executablePath; }

std::string bundlePath() { return host().bundlePath; }

} // namespace platform

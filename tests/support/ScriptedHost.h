#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Folders.h"
#include "platform/System.h"
#include "platform/Users.h"

/// The machine as a test wants it: stands in for platform/Users, Folders, System, Locale and Bundle.
namespace scripted {

struct Host {
    std::optional<platform::ConsoleUser> consoleUser;
    uid_t effectiveUser = 0;
    bool refusesUserSwitch = false;
    int refusalsOfRoot = 0;          ///< how often acting as root is refused
    std::vector<uid_t> userSwitches; ///< every uid that was asked for, in order
    std::string homeFolder;          ///< for effective users without an entry in `homes`
    std::map<uid_t, std::string> homes;

    /// Answers of the folder lookup; a kind without an entry fails. The root of the user domain is the home
    /// folder unless it has an entry here.
    std::map<std::pair<platform::FolderDomain, platform::FolderKind>, std::optional<std::string>> folders;
    /// The effective user at every folder lookup, in order.
    std::vector<uid_t> lookupUsers;

    bool offersSystemVersion = true;
    std::optional<platform::SystemVersion> systemVersion = platform::SystemVersion{10, 15, 7};
    std::array<std::optional<std::int32_t>, 3> olderVersionNumbers;
    std::vector<platform::VersionPart> olderVersionQueries; ///< every part that was asked for, in order
    std::optional<std::string> machineName = "x86_64";
    std::int32_t threadId = 4711;

    std::vector<std::string> preferredLanguages;
    std::string localeIdentifier;

    std::string executablePath;
    std::string bundlePath;
};

/// The host that the code under test asks.
Host& host();

/// Puts `host()` back to a fresh `Host`.
void reset();

} // namespace scripted

#include "CoreServices/CoreServices.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "Account.h"

// The standard folders of the home platform, at the places that they have there and made as they are there,
// and the version of the kernel.

namespace {

struct Place {
    OSType type;
    const char* below; ///< below the domain's root folder
    mode_t mode;
};

constexpr Place localPlaces[] = {
    {0x61707073, "/Applications", 0755},           {0x61737570, "/Library/Application Support", 0755},
    {0x70726566, "/Library/Preferences", 0755},    {0x73646174, "/Users/Shared", 01777},
    {0x757469C4, "/Applications/Utilities", 0755},
};

constexpr Place userPlaces[] = {
    {0x61737570, "/Library/Application Support", 0700},
    {0x646F6373, "/Documents", 0700},
    {0x726F6F74, "", 0700},
};

bool isFolder(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Makes the folder and its parents, whatever the umask is.
bool ensureFolder(const std::string& path, mode_t mode, mode_t modeOfParents) {
    const std::string parent = path.substr(0, path.rfind('/'));
    if (isFolder(path)) {
        return true;
    }
    return (parent.empty() || ensureFolder(parent, modeOfParents, modeOfParents)) &&
           ::mkdir(path.c_str(), mode) == 0 && ::chmod(path.c_str(), mode) == 0;
}

/// The paths of the folders found so far. A reference holds a number in this list.
std::vector<std::string>& foundPaths() {
    static auto& paths = *new std::vector<std::string>; // never deleted: static objects may ask for folders
    return paths;
}

OSErr refer(const std::string& path, FSRef& reference) {
    const std::size_t number = foundPaths().size();
    foundPaths().push_back(path);
    std::memcpy(reference.hidden, &number, sizeof number);
    return noErr;
}

OSErr find(std::span<const Place> places, const std::string& root, mode_t modeOfParents, OSType type,
           FSRef& found) {
    const auto place = std::find_if(places.begin(), places.end(),
                                    [type](const Place& candidate) { return candidate.type == type; });
    if (place == places.end()) {
        return fnfErr;
    }
    const std::string path = root + place->below;
    const bool isThere = path.empty() || ensureFolder(path, place->mode, modeOfParents);
    return isThere ? refer(path.empty() ? "/" : path, found) : OSErr(fnfErr);
}

OSErr findOfUser(OSType type, FSRef& found) {
    const auto account = standin::accountOf(::geteuid());
    if (!account || !account->home.starts_with('/')) {
        return fnfErr;
    }
    const std::string home = account->home.substr(0, account->home.find_last_not_of('/') + 1);
    return find(userPlaces, home, 0700, type, found);
}

} // namespace

OSErr FSFindFolder(FSVolumeRefNum domain, OSType folderType, Boolean createFolder, FSRef* foundFolder) {
    if (!foundFolder || createFolder != kCreateFolder) {
        return paramErr;
    }
    switch (domain) {
    case kLocalDomain:
        return find(localPlaces, "", 0755, folderType, *foundFolder);
    case kUserDomain:
        return findOfUser(folderType, *foundFolder);
    default:
        return nsvErr;
    }
}

OSStatus FSRefMakePath(const FSRef* reference, UInt8* path, UInt32 pathBufferSize) {
    std::size_t number = 0;
    std::memcpy(&number, reference->hidden, sizeof number);
    if (number >= foundPaths().size() || foundPaths()[number].size() >= pathBufferSize) {
        return paramErr;
    }
    std::memcpy(path, foundPaths()[number].c_str(), foundPaths()[number].size() + 1);
    return noErr;
}

OSErr Gestalt(OSType selector, SInt32* response) {
    constexpr OSType major = 0x73797331; // sys1, and then sys2 and sys3
    std::array<SInt32, 3> numbers = {};
    FILE* const file = std::fopen("/proc/sys/kernel/osrelease", "r");
    const int count = file ? std::fscanf(file, "%d.%d.%d", &numbers[0], &numbers[1], &numbers[2]) : 0;
    if (file) {
        std::fclose(file);
    }
    if (count < 1 || selector < major || selector - major >= numbers.size()) {
        return gestaltUndefSelectorErr;
    }
    *response = numbers[selector - major];
    return noErr;
}

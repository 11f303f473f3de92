#include "attacker/Places.h"

namespace attack {

namespace {

using Paths = std::vector<std::string>;

auto at(const std::string& path) {
    return [path](const Paths& /*hidden*/) { return Paths{path}; };
}

Paths inLogFolder(Paths names) {
    for (std::string& name : names) {
        name.insert(0, LogFolder + "/");
    }
    return names;
}

Paths newestCopy(const Paths& /*hidden*/) {
    const Paths copies = copyNames();
    return copies.empty() ? copies : inLogFolder({copies.back()});
}

Paths hiddenFiles(const Paths& hidden) {
    const Paths now = hiddenNames();
    return inLogFolder(now.empty() ? hidden : now);
}

const std::vector<Thing> ForFolders = {Thing::LinkToPrivate, Thing::LinkToPublic, Thing::Fifo,
                                       Thing::Folder,        Thing::File,         Thing::Nothing};
const std::vector<Thing> ForFiles = {Thing::LinkToSecret, Thing::LinkToAbsent, Thing::LinkToOthers,
                                     Thing::HardLink,     Thing::Fifo,         Thing::Folder,
                                     Thing::File,         Thing::Nothing};

} // namespace

const Place LibraryPlace = {"Library", at(Library), ForFolders};
const Place LogsPlace = {"Logs", at(Logs), ForFolders};
const Place HalcyraPlace = {"Halcyra", at(Halcyra), ForFolders};
const Place LogFolderPlace = {"LogFolder", at(LogFolder), ForFolders};
const Place LogPlace = {"Log", at(Log), ForFiles};
const Place CopyPlace = {"Copy", newestCopy, ForFiles};
const Place HiddenPlace = {"Hidden", hiddenFiles, ForFiles};
const Place MarkerPlace = {"Marker", at(Marker), ForFiles};
const Place SubfolderPlace = {"Subfolder", at(OldFolder), ForFolders};
const Place DeeperPlace = {"Deeper", at(OldFolder + "/deeper"), ForFolders};
const Place CachePlace = {"Cache", at(Cache + "/Cache"), ForFolders};
const Place DataPlace = {"Data", at(Cache + "/Cache/data"), ForFolders};
const Place HomelessFolderPlace = {"HomelessFolder", at(HomelessFolder + "/HCD"), ForFolders};
const Place HomelessLogPlace = {"HomelessLog", at(HomelessFolder + "/HCD/HCD.log"), ForFiles};

Place withThings(Place place, const std::vector<Thing>& things) {
    place.things = things;
    return place;
}

} // namespace attack

#include "Assumption.h"
#include "Cocoa.h"
#include "Place.h"

namespace assumptions {

namespace {

bool create(const std::string& path, NSDictionary* attributes = nil) {
    const Pool pool;
    return [[NSFileManager defaultManager] createDirectoryAtPath:objectOf(path)
                                     withIntermediateDirectories:YES
                                                      attributes:attributes
                                                           error:nullptr];
}

NSDictionary* withMode(unsigned mode) {
    return [NSDictionary dictionaryWithObject:[NSNumber numberWithUnsignedInt:mode]
                                       forKey:NSFilePosixPermissions];
}

std::string madeOrRefused(bool isMade) { return eitherOf(isMade, "made", "refused"); }

std::string modesOfThree(const Place& place) {
    return modeOf(place / "a") + " " + modeOf(place / "a/b") + " " + modeOf(place / "a/b/c");
}

Found fileInTheWay() {
    const Place place;
    return madeOrRefused(create(place.put("file")));
}

Found fileInTheMiddle() {
    const Place place;
    place.put("file");
    return madeOrRefused(create(place / "file/folder"));
}

Found emptyPath() { return madeOrRefused(create("")); }

Found danglingLink() {
    const Place place;
    return madeOrRefused(create(place.link("link", "nowhere")));
}

Found linkToFolder() {
    const Place place;
    place.makeFolder("folder");
    const bool isMade = create(place.link("link", "folder"));
    return madeOrRefused(isMade) + eitherOf(isLink(place / "link"), ", kept", ", lost");
}

Found slashAtTheEnd() {
    const Place place;
    const bool isMade = create(place / "folder/");
    return madeOrRefused(isMade) + eitherOf(isMissing(place / "folder"), ", missing", ", there");
}

Found modeOnEachLevel() {
    const Pool pool;
    const Place place;
    ::umask(077);
    create(place / "a/b/c", withMode(0711));
    return modesOfThree(place);
}

Found specialBits() {
    const Pool pool;
    const Place place;
    ::umask(022);
    create(place / "folder", withMode(01777));
    return modeOf(place / "folder");
}

Found modeWithoutAttributes() {
    const Place place;
    ::umask(027);
    create(place / "a/b/c");
    return modesOfThree(place);
}

Found existingFolder() {
    const Pool pool;
    const Place place;
    const bool isThere = create(place.makeFolder("folder", 0700), withMode(0755));
    return eitherOf(isThere, "YES ", "NO ") + modeOf(place / "folder");
}

Found existingParent() {
    const Pool pool;
    const Place place;
    place.makeFolder("a", 0700);
    create(place / "a/b", withMode(0755));
    return modeOf(place / "a") + " " + modeOf(place / "a/b");
}

/// An owner whom only root may give a folder to.
NSDictionary* rootAsOwner() {
    return [NSDictionary
        dictionaryWithObjectsAndKeys:[NSNumber numberWithUnsignedInt:0], NSFileOwnerAccountID,
                                     [NSNumber numberWithUnsignedInt:0711], NSFilePosixPermissions, nil];
}

Found refusedOwner() {
    if (!isOrdinaryUser()) {
        return unknown("needs an ordinary user");
    }
    const Pool pool;
    const Place place;
    const bool isMade = create(place / "a/b/c", rootAsOwner());
    return madeOrRefused(isMade) + " " + modesOfThree(place);
}

Found givenOwner() {
    if (isOrdinaryUser()) {
        return unknown("needs root");
    }
    const Pool pool;
    const Place place;
    constexpr uid_t somebody = 12345;
    create(place / "a/b", [NSDictionary dictionaryWithObject:[NSNumber numberWithUnsignedInt:somebody]
                                                      forKey:NSFileOwnerAccountID]);
    struct stat upper = {};
    struct stat lower = {};
    ::lstat((place / "a").c_str(), &upper);
    ::lstat((place / "a/b").c_str(), &lower);
    return eitherOf(upper.st_uid == somebody && lower.st_uid == somebody, "on each level",
                    "not on each level");
}

} // namespace

Assumptions aboutNewFolders() {
    return {
        {"creating a folder where a file is", {"refused"}, fileInTheWay},
        {"creating a folder below a file", {"refused"}, fileInTheMiddle},
        {"creating a folder at an empty path", {"refused"}, emptyPath},
        {"creating a folder at a link to nowhere", {"refused"}, danglingLink},
        {"creating a folder at a link to a folder", {"made, kept"}, linkToFolder},
        {"creating a folder with a slash at the end", {"made, there"}, slashAtTheEnd},
        {"mode of each new folder, umask 077", {"0711 0711 0711"}, modeOnEachLevel},
        {"mode of a new folder with the sticky bit", {"1777"}, specialBits},
        {"mode of new folders without attributes, umask 027", {"0750 0750 0750"}, modeWithoutAttributes},
        {"attributes for a folder that is there", {"YES 0700"}, existingFolder},
        {"attributes for a parent that is there", {"0700 0755"}, existingParent},
        {"an owner that is refused", {"made 0711 0711 0711"}, refusedOwner},
        {"an owner given by root", {"on each level"}, givenOwner},
    };
}

} // namespace assumptions

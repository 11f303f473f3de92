#include <algorithm>
#include <vector>

#include "Assumption.h"
#include "Cocoa.h"
#include "Place.h"

namespace assumptions {

namespace {

NSFileManager* manager() { return [NSFileManager defaultManager]; }

/// The system's own number in an error or in what lies below it; "none" when there is no such number.
std::string systemNumberIn(NSError* error) {
    while (error && ![[error domain] isEqualToString:NSPOSIXErrorDomain]) {
        error = [[error userInfo] objectForKey:NSUnderlyingErrorKey];
    }
    return error ? std::to_string([error code]) : "none";
}

/// "removed", or "refused" with the system's error number.
std::string removal(const std::string& path) {
    const Pool pool;
    NSError* error = nil;
    const bool isRemoved = [manager() removeItemAtPath:objectOf(path) error:&error];
    return isRemoved ? "removed" : "refused " + systemNumberIn(error);
}

std::string withTarget(const std::string& result, const std::string& target) {
    return result + eitherOf(isMissing(target), ", target gone", ", target kept");
}

Found removingALink() {
    const Place place;
    place.makeFolder("folder");
    place.put("folder/file");
    const std::string link = place.link("link", "folder");
    const std::string result = withTarget(removal(link), place / "folder/file");
    return result + eitherOf(isMissing(link), "", ", link kept");
}

Found removingALinkToNowhere() {
    const Place place;
    const std::string link = place.link("link", "nowhere");
    const std::string result = removal(link);
    return result + eitherOf(isMissing(link), "", ", link kept");
}

Found removingATreeWithALink() {
    const Place place;
    const std::string target = place.put("file");
    place.makeFolder("tree");
    place.link("tree/link", target);
    return withTarget(removal(place / "tree"), target);
}

Found removingNothing() {
    const Place place;
    return removal(place / "nothing");
}

Found removingAnUnreadableFolder() {
    if (!isOrdinaryUser()) {
        return unknown("needs an ordinary user");
    }
    const Place place;
    place.makeFolder("tree");
    place.makeFolder("tree/unreadable", 0);
    return removal(place / "tree");
}

Found removingFromAFolderThatCannotBeWritten() {
    if (!isOrdinaryUser()) {
        return unknown("needs an ordinary user");
    }
    const Place place;
    place.makeFolder("tree");
    place.put("tree/file");
    ::chmod((place / "tree").c_str(), 0500);
    return removal(place / "tree");
}

std::string kindAt(const std::string& path) {
    const Pool pool;
    BOOL isFolder = NO;
    if (![manager() fileExistsAtPath:objectOf(path) isDirectory:&isFolder]) {
        return "missing";
    }
    return isFolder ? "folder" : "file";
}

Found kindsThroughLinks() {
    const Place place;
    place.makeFolder("folder");
    place.put("file");
    return kindAt(place.link("one", "folder")) + " " + kindAt(place.link("other", "file")) + " " +
           kindAt(place.link("dangling", "nowhere"));
}

Found kindsOfOddPaths() {
    const Place place;
    return kindAt(place.put("file") + "/") + " " + kindAt("") + " " + kindAt("~");
}

std::string joined(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : " ") + name;
    }
    return text.empty() ? "(nothing)" : text;
}

std::string treeBelow(const std::string& path) {
    const Pool pool;
    std::vector<std::string> names;
    NSDirectoryEnumerator* const entries = [manager() enumeratorAtPath:objectOf(path)];
    while (NSString* const name = [entries nextObject]) {
        names.push_back(textOf(name));
    }
    return joined(names);
}

std::string namesIn(const std::string& path) {
    const Pool pool;
    NSArray* const entries = [manager() contentsOfDirectoryAtPath:objectOf(path) error:nullptr];
    std::vector<std::string> names;
    for (NSUInteger i = 0; i < [entries count]; ++i) {
        names.push_back(textOf([entries objectAtIndex:i]));
    }
    return entries ? joined(names) : "(nil)";
}

void plant(const Place& place) {
    place.makeFolder("tree");
    place.makeFolder("tree/a");
    place.put("tree/a/b");
    place.put("tree/.hidden");
    place.makeFolder("outside");
    place.put("outside/file");
    place.link("tree/link", "../outside");
}

Found wholeTree() {
    const Place place;
    plant(place);
    return treeBelow(place / "tree");
}

Found treeOfNothing() {
    const Place place;
    return treeBelow(place / "nothing");
}

Found oneLevel() {
    const Place place;
    plant(place);
    return namesIn(place / "tree");
}

Found throughALink() {
    const Place place;
    plant(place);
    return namesIn(place / "tree/link");
}

Found namesOfNoFolder() {
    const Place place;
    return namesIn(place / "nothing") + " " + namesIn(place.put("file"));
}

Found resourceForks() {
    const Place place;
    place.put("file");
    place.put("._file");
    return namesIn(place / ".");
}

} // namespace

Assumptions aboutFiles() {
    return {
        {"removing a link", {"removed, target kept"}, removingALink},
        {"removing a link to nowhere", {"removed"}, removingALinkToNowhere},
        {"removing a tree with a link in it", {"removed, target kept"}, removingATreeWithALink},
        {"removing what is not there", {"refused 2"}, removingNothing},
        {"removing an empty folder that cannot be read", {"refused 13"}, removingAnUnreadableFolder},
        {"removing from a folder that cannot be written",
         {"refused 13"},
         removingFromAFolderThatCannotBeWritten},
        {"kinds of a link to a folder, to a file, to nowhere", {"folder file missing"}, kindsThroughLinks},
        {"kinds of a file with a slash, an empty path, a tilde",
         {"missing missing missing"},
         kindsOfOddPaths},
        {"entries of a whole tree", {".hidden a a/b link"}, wholeTree},
        {"entries of a tree that is not there", {"(nothing)"}, treeOfNothing},
        {"names in a folder", {".hidden a link"}, oneLevel},
        {"names in a link to a folder", {"file"}, throughALink},
        {"names in no folder, in a file", {"(nil) (nil)"}, namesOfNoFolder},
        {"names that begin with ._", {"file"}, resourceForks},
    };
}

} // namespace assumptions

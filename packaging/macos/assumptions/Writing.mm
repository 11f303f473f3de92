#include <filesystem>
#include <iterator>

#include <unistd.h>

#include "Assumption.h"
#include "Cocoa.h"
#include "Place.h"

namespace assumptions {

namespace {

bool writeAtomically(const std::string& path, const std::string& content) {
    const Pool pool;
    NSData* const data = [NSData dataWithBytes:content.data() length:content.size()];
    return [data writeToFile:objectOf(path) atomically:YES];
}

std::string modeUnder(mode_t mask) {
    const Place place;
    ::umask(mask);
    writeAtomically(place / "file", "x");
    return modeOf(place / "file");
}

Found modesOfNewFiles() { return modeUnder(022) + " " + modeUnder(002) + " " + modeUnder(077); }

std::string replaced(mode_t mode) {
    const Place place;
    const std::string path = place.put("file", "old", mode);
    ::umask(022);
    const bool isWritten = writeAtomically(path, "new");
    return eitherOf(isWritten, "", "refused ") + contentOf(path) + " " + modeOf(path);
}

Found replacedFile() { return replaced(0660); }

Found replacedProtectedFile() { return replaced(0400); }

Found replacedLink() {
    const Place place;
    const std::string target = place.put("target", "old");
    const std::string link = place.link("link", target);
    writeAtomically(link, "new");
    return contentOf(link) + ", target " + contentOf(target) + eitherOf(isLink(link), ", a link", ", a file");
}

Found otherNames() {
    const Place place;
    const std::string path = place.put("file", "old");
    const std::string other = place / "other";
    if (::link(path.c_str(), other.c_str()) != 0) {
        return unknown("no second name");
    }
    writeAtomically(path, "new");
    return contentOf(path) + ", second name " + contentOf(other);
}

std::string writtenOrRefused(bool isWritten) { return eitherOf(isWritten, "written", "refused"); }

Found missingParent() {
    const Place place;
    return writtenOrRefused(writeAtomically(place / "nothing/file", "x"));
}

Found folderInTheWay() {
    const Place place;
    return writtenOrRefused(writeAtomically(place.makeFolder("folder"), "x"));
}

Found noPath() { return writtenOrRefused(writeAtomically("", "x")); }

Found emptyContent() {
    const Place place;
    const std::string result = writtenOrRefused(writeAtomically(place / "file", ""));
    return result + " " + std::to_string(contentOf(place / "file").size());
}

Found leftovers() {
    const Place place;
    writeAtomically(place / "file", "x");
    writeAtomically(place.makeFolder("folder"), "x");
    const std::filesystem::directory_iterator entries(place / ".");
    return std::to_string(std::distance(begin(entries), end(entries)) - 2);
}

} // namespace

Assumptions aboutWriting() {
    return {
        {"modes of new files, umasks 022 002 077", {"0644 0664 0600"}, modesOfNewFiles},
        {"mode of a replaced file", {"new 0660"}, replacedFile},
        {"replacing a file that cannot be written", {"new 0400"}, replacedProtectedFile},
        {"replacing a link", {"new, target old, a file"}, replacedLink},
        {"replacing a file with two names", {"new, second name old"}, otherNames},
        {"writing where the folder is missing", {"refused"}, missingParent},
        {"writing where a folder is", {"refused"}, folderInTheWay},
        {"writing to an empty path", {"refused"}, noPath},
        {"writing nothing", {"written 0"}, emptyContent},
        {"temporary files that writing leaves", {"0"}, leftovers},
    };
}

} // namespace assumptions

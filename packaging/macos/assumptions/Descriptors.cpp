#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Assumption.h"
#include "Place.h"

namespace assumptions {

namespace {

/// An open file, closed at the end.
class Descriptor {
  public:
    explicit Descriptor(int opened) : number(opened), error(opened == -1 ? errno : 0) {}
    ~Descriptor() {
        if (number != -1) {
            ::close(number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return number; }
    std::string outcome() const { return number == -1 ? std::strerror(error) : "opened"; }

  private:
    int number;
    int error;
};

#ifdef O_PATH
constexpr int passThrough = O_PATH | O_DIRECTORY;
#elif defined O_SEARCH
constexpr int passThrough = O_SEARCH | O_DIRECTORY;
#else
constexpr int passThrough = O_RDONLY | O_DIRECTORY;
#endif

const std::string tooManyLinks = std::strerror(ELOOP);
const std::string noFolder = std::strerror(ENOTDIR);

Found folderThatMayBeSearchedOnly() {
    if (!isOrdinaryUser()) {
        return unknown("root may do everything");
    }
    const Place place;
    const std::string path = place.makeFolder("folder", 0311);
    const Descriptor folder(::open(path.c_str(), passThrough | O_CLOEXEC));
    return folder.outcome();
}

Found statusOfASearchedFolder() {
    const Place place;
    const std::string path = place.makeFolder("folder");
    const Descriptor folder(::open(path.c_str(), passThrough | O_CLOEXEC));
    struct stat status = {};
    return eitherOf(::fstat(folder.get(), &status) == 0 && S_ISDIR(status.st_mode), "told", "not told");
}

Found symlinkToAFile() {
    const Place place;
    place.put("file");
    const std::string link = place.link("link", "file");
    return Descriptor(::open(link.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC)).outcome();
}

Found symlinkToAFolder() {
    const Place place;
    place.makeFolder("folder");
    const std::string link = place.link("link", "folder");
    return Descriptor(::open(link.c_str(), passThrough | O_NOFOLLOW | O_CLOEXEC)).outcome();
}

Found newFileInASymlinksPlace() {
    const Place place;
    const std::string link = place.link("link", "file");
    const Descriptor file(::open(link.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file.outcome() + eitherOf(isMissing(place / "file"), "", ", made");
}

Found pipeThatNobodyReads() {
    const Place place;
    const std::string path = place / "pipe";
    ::mkfifo(path.c_str(), 0600);
    const Descriptor pipe(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    return pipe.outcome();
}

/// A stream that is opened through the descriptor of a file whose name leads elsewhere by then.
Found streamThroughADescriptor() {
    const Place place;
    const std::string path = place.put("file", "");
    const Descriptor file(::open(path.c_str(), O_RDWR | O_APPEND | O_CLOEXEC));
    ::rename(path.c_str(), (place / "moved").c_str());
    place.put("file", "other");
    std::fstream stream("/dev/fd/" + std::to_string(file.get()), std::ios::out | std::ios::app);
    stream << "x" << std::flush;
    return contentOf(place / "moved") + ", " + contentOf(path);
}

Found lockOfAnotherDescriptor() {
    const Place place;
    const std::string path = place.put("file");
    const Descriptor one(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    const Descriptor other(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    const bool isTaken = ::flock(one.get(), LOCK_EX | LOCK_NB) == 0;
    const bool isTakenTwice = ::flock(other.get(), LOCK_EX | LOCK_NB) == 0;
    return eitherOf(isTaken, "taken, ", "refused, ") + eitherOf(isTakenTwice, "taken twice", "refused");
}

Found dataAfterAHole() {
    const Place place;
    constexpr off_t start = off_t{1} << 30;
    const Descriptor file(::open(place.put("file", "").c_str(), O_RDWR | O_CLOEXEC));
    ::pwrite(file.get(), "x", 1, start);
    const off_t found = ::lseek(file.get(), 0, SEEK_DATA);
    return eitherOf(found > 0 && found <= start, "found", "not found");
}

} // namespace

Assumptions aboutDescriptors() {
    return {
        {"folder that may be searched only, opened to pass through", {"opened"}, folderThatMayBeSearchedOnly},
        {"status of a folder that is opened to pass through", {"told"}, statusOfASearchedFolder},
        {"O_NOFOLLOW and a symlink to a file", {tooManyLinks}, symlinkToAFile},
        {"O_NOFOLLOW and a symlink to a folder", {noFolder, tooManyLinks}, symlinkToAFolder},
        {"new file in a symlink's place", {std::strerror(EEXIST)}, newFileInASymlinksPlace},
        {"pipe that nobody reads, opened without waiting", {std::strerror(ENXIO)}, pipeThatNobodyReads},
        {"stream through the descriptor of a renamed file", {"x, other"}, streamThroughADescriptor},
        {"flock of a second descriptor", {"taken, refused"}, lockOfAnotherDescriptor},
        {"data after a hole", {"found"}, dataAfterAHole},
    };
}

} // namespace assumptions

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#ifdef __APPLE__
#include <libproc.h>
#endif

#include "Assumption.h"
#include "Place.h"

namespace fs = std::filesystem;

namespace assumptions {

namespace {

Found appendingTwice() {
    const Place place;
    const std::string path = place.put("file", "");
    const int one = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const int other = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const bool isWritten =
        ::write(one, "ab", 2) == 2 && ::write(other, "cd", 2) == 2 && ::write(one, "e", 1) == 1;
    ::close(one);
    ::close(other);
    return isWritten ? contentOf(path) : "refused";
}

Found syncing() {
    const Place place;
    const int file = ::open(place.put("file").c_str(), O_WRONLY | O_CLOEXEC);
    const int result = ::fsync(file);
    ::close(file);
    return std::to_string(result);
}

Found renaming() {
    const Place place;
    const std::string from = place.put("from", "new");
    const std::string to = place.put("to", "old");
    std::rename(from.c_str(), to.c_str());
    return contentOf(to) + eitherOf(isMissing(from), "", ", twice");
}

Found renamingAnOpenFile() {
    const Place place;
    const std::string path = place.put("file", "");
    std::ofstream stream(path, std::ios::app);
    std::rename(path.c_str(), (place / "moved").c_str());
    stream << "x" << std::flush;
    return contentOf(place / "moved") + ", old name " + contentOf(path);
}

/// How many calls of the system this process has made that count here: on a Mac all, elsewhere those that
/// write.
std::optional<long> callsSoFar() {
#ifdef __APPLE__
    proc_taskinfo information = {};
    const int size = ::proc_pidinfo(::getpid(), PROC_PIDTASKINFO, 0, &information, sizeof information);
    return size == static_cast<int>(sizeof information) ? std::optional<long>(information.pti_syscalls_unix)
                                                        : std::nullopt;
#else
    std::ifstream file("/proc/self/io");
    std::string name;
    long number = 0;
    while (file >> name >> number) {
        if (name == "syscw:") {
            return number;
        }
    }
    return std::nullopt;
#endif
}

/// Opens `path` as the log's stream is opened.
void openUnbuffered(std::fstream& stream, const std::string& path) {
    stream.rdbuf()->pubsetbuf(nullptr, 0);
    stream.open(path, std::ios::out | std::ios::app);
}

const std::string line = std::string(199, 'x') + "\n";

/// What one look at the number adds to it is taken off.
Found callsForALine() {
    const Place place;
    std::fstream stream;
    openUnbuffered(stream, place / "file");
    const auto first = callsSoFar();
    const auto before = callsSoFar();
    stream.write(line.data(), static_cast<std::streamsize>(line.size())) << std::flush;
    const auto after = callsSoFar();
    if (!first || !before || !after) {
        return unknown("not told");
    }
    return std::to_string((*after - *before) - (*before - *first));
}

void limitFilesTo(rlim_t bytes) {
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

/// Writes a line that has no room at all, makes room, and closes the stream.
Found refusedLine() {
    const Place place;
    std::signal(SIGXFSZ, SIG_IGN);
    std::fstream stream;
    openUnbuffered(stream, place / "file");
    limitFilesTo(0);
    const bool isRefused =
        !(stream.write(line.data(), static_cast<std::streamsize>(line.size())) << std::flush);
    limitFilesTo(RLIM_INFINITY);
    stream.close();
    return eitherOf(isRefused, "refused, ", "taken, ") + std::to_string(contentOf(place / "file").size()) +
           " bytes later";
}

Found letterCase() {
    const Place place;
    place.put("name");
    return eitherOf(isMissing(place / "NAME"), "they differ", "they are the same");
}

const std::string composed = "\xc3\xa4";
const std::string decomposed = "a\xcc\x88";

Found listedForm(const std::string& name) {
    const Place place;
    place.put(name);
    return eitherOf(fs::directory_iterator(place / ".")->path().filename() == name, "as made", "changed");
}

Found composedName() { return listedForm(composed); }

Found decomposedName() { return listedForm(decomposed); }

Found bothForms() {
    const Place place;
    place.put(composed);
    return eitherOf(isMissing(place / decomposed), "they differ", "they are the same");
}

} // namespace

Assumptions aboutFileSystems() {
    return {
        {"two descriptors that append", {"abcde"}, appendingTwice},
        {"fsync of a file", {"0"}, syncing},
        {"renaming over a file", {"new"}, renaming},
        {"renaming a file that is open", {"x, old name missing"}, renamingAnOpenFile},
        {"calls that write a line of 200 bytes", {"1"}, callsForALine},
        {"line that the disk refuses", {"refused, 0 bytes later"}, refusedLine},
        {"names in capitals and in small letters", {"they differ", "they are the same"}, letterCase},
        {"name with a composed letter, listed", {"as made"}, composedName},
        {"name with a decomposed letter, listed", {"as made"}, decomposedName},
        {"names with composed and decomposed letters", {"they differ", "they are the same"}, bothForms},
    };
}

} // namespace assumptions

#include "attacker/Snapshot.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "attacker/Ground.h"

namespace fs = std::filesystem;

namespace attack {

namespace {

constexpr off_t PartSize = 4096;

std::string partAt(int file, off_t place) {
    std::array<char, PartSize> part;
    const ssize_t count = ::pread(file, part.data(), part.size(), std::max(place, off_t(0)));
    return {part.data(), static_cast<std::size_t>(std::max(count, ssize_t(0)))};
}

/// The head and the tail of a regular file. Nothing if this process cannot read it.
std::string endsOf(const std::string& path, off_t size) {
    const int file = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file == -1) {
        return "";
    }
    const std::string ends = partAt(file, 0) + partAt(file, size - PartSize);
    ::close(file);
    return ends;
}

std::string rightsOf(const struct stat& info) {
    return std::to_string(info.st_mode) + " " + std::to_string(info.st_uid) + " " +
           std::to_string(info.st_gid);
}

void addSecretsBelow(const std::string& place, std::vector<Harm>& found) {
    std::error_code refused;
    for (fs::recursive_directory_iterator entry(place, fs::directory_options::skip_permission_denied,
                                                refused);
         !refused && entry != fs::recursive_directory_iterator(); entry.increment(refused)) {
        struct stat info = {};
        if (::lstat(entry->path().c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            endsOf(entry->path(), info.st_size).find(SecretText) != std::string::npos) {
            found.push_back({"revealed", entry->path()});
        }
    }
}

} // namespace

Snapshot::Snapshot() {
    addTree("/Users", {Home, OwnDisk});
    addTree("/Applications", {Cache});
    addTree("/Library", {Manifest});
    addTree("/etc", {});
    addTree("/var", {"/var/root"});
    for (const std::string& name : namesIn("/")) {
        if ("/" + name != HomelessFolder) {
            add("/" + name);
        }
    }
}

void Snapshot::addTree(const std::string& path, const std::set<std::string>& without) {
    add(path);
    for (auto entry = fs::recursive_directory_iterator(path); entry != fs::recursive_directory_iterator();
         ++entry) {
        if (without.contains(entry->path())) {
            entry.disable_recursion_pending();
        } else {
            add(entry->path());
        }
    }
}

void Snapshot::add(const std::string& path) {
    struct stat info = {};
    if (::lstat(path.c_str(), &info) == 0) {
        const bool isFile = S_ISREG(info.st_mode);
        const std::string content = isFile                  ? endsOf(path, info.st_size)
                                    : S_ISLNK(info.st_mode) ? fs::read_symlink(path).string()
                                                            : "";
        entries[path] = {rightsOf(info), isFile ? info.st_size : 0, content};
    }
}

std::vector<Harm> Snapshot::harmsIn(const Snapshot& later) const {
    std::vector<Harm> harms;
    for (const auto& [path, before] : entries) {
        const auto found = later.entries.find(path);
        if (found == later.entries.end()) {
            harms.push_back({"removed", path});
            continue;
        }
        const Entry& after = found->second;
        if (after.rights != before.rights) {
            harms.push_back({"given away", path + " (" + before.rights + " became " + after.rights + ")"});
        }
        if (after.size == 0 && before.size > 0) {
            harms.push_back({"emptied", path});
        } else if (after.size != before.size || after.content != before.content) {
            harms.push_back({"changed", path});
        }
    }
    for (const auto& [path, after] : later.entries) {
        if (!entries.contains(path)) {
            harms.push_back({"created", path + " (" + after.rights + ")"});
        }
    }
    return harms;
}

std::vector<Harm> revealedSecrets() {
    const AsUser user;
    std::vector<Harm> found;
    for (const std::string& place : {Home, HomelessFolder, OwnDisk, Cache}) {
        addSecretsBelow(place, found);
    }
    return found;
}

} // namespace attack

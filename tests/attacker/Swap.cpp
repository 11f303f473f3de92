#include "attacker/Swap.h"

#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace attack {

namespace {

/// What has the same name as `path` in root's private folder.
std::string privateOne(const std::string& path) {
    return Private + (path.starts_with(Library) ? path.substr(Library.size()) : "");
}

bool putLink(const std::string& target, const std::string& path) {
    return ::symlink(target.c_str(), path.c_str()) == 0;
}

bool putUsersFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const bool put = file != -1 && ::write(file, "mine\n", 5) == 5;
    ::close(file);
    return put;
}

} // namespace

std::string described(Thing thing) {
    switch (thing) {
    case Thing::LinkToPrivate:
        return "link to root's private one";
    case Thing::LinkToPublic:
        return "link to root's public folder";
    case Thing::LinkToSecret:
        return "link to root's file";
    case Thing::LinkToAbsent:
        return "link to no file yet";
    case Thing::LinkToOthers:
        return "link to another user's file";
    case Thing::HardLink:
        return "hard link to root's file";
    case Thing::Fifo:
        return "FIFO";
    case Thing::Folder:
        return "empty folder";
    case Thing::File:
        return "user's file";
    case Thing::Nothing:
        return "nothing";
    }
    return "?";
}

std::string keptAt(const std::string& path) {
    const fs::path whole = path;
    return (whole.parent_path() / ("kept-" + whole.filename().string())).string();
}

bool put(Thing thing, const std::string& path, const std::string& replaced) {
    switch (thing) {
    case Thing::LinkToPrivate:
        return putLink(privateOne(replaced), path);
    case Thing::LinkToPublic:
        return putLink(Public, path);
    case Thing::LinkToSecret:
        return putLink(Secret, path);
    case Thing::LinkToAbsent:
        return putLink(Absent, path);
    case Thing::LinkToOthers:
        return putLink(OthersHome + "/letter", path);
    case Thing::Fifo:
        return ::mkfifo(path.c_str(), 0666) == 0;
    case Thing::Folder:
        return ::mkdir(path.c_str(), 0777) == 0;
    case Thing::File:
        return putUsersFile(path);
    case Thing::HardLink:
        return ::link(Secret.c_str(), path.c_str()) == 0;
    case Thing::Nothing:
        break;
    }
    return true;
}

Swap::Swap(const std::vector<std::string>& paths, Thing thing) {
    std::optional<AsUser> user(std::in_place);
    std::vector<std::string> emptied;
    for (const std::string& path : paths) {
        const bool wasThere = ::rename(path.c_str(), keptAt(path).c_str()) == 0;
        if (wasThere || (thing != Thing::Nothing && !isThere(path))) {
            emptied.push_back(path);
        }
    }
    if (thing == Thing::HardLink) {
        user.reset();
    }
    for (const std::string& path : emptied) {
        if (put(thing, path)) {
            done.push_back(path);
        }
    }
}

void Swap::undo() {
    const AsUser user;
    for (const std::string& path : done) {
        std::error_code ignored;
        fs::remove_all(path, ignored);
        ::rename(keptAt(path).c_str(), path.c_str());
    }
    done.clear();
}

} // namespace attack

#include "attacker/Ground.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <grp.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include "e2e/FullLog.h"

namespace fs = std::filesystem;

namespace attack {

namespace {

void check(int result, const std::string& what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void removeSemaphores() {
    std::ifstream list("/proc/sysvipc/sem");
    std::string line;
    std::getline(list, line);
    int key = 0;
    int set = 0;
    while (list >> key >> set && std::getline(list, line)) {
        ::semctl(set, 0, IPC_RMID);
    }
}

void putSecret(const std::string& path, off_t size = 0) {
    putFile(path, SecretText + "\n", size);
    give(path, 0, 0600);
}

/// What a log folder holds that a run with it would change, or copy to where others can read it.
void putTraps(const std::string& folder, const std::vector<std::string>& hidden) {
    putSecret(folder + "/HCD.log", LogLimit);
    putSecret(folder + "/HCD 2001-01-01 00-00-00.log");
    putSecret(folder + "/HCDold.txt");
    putFolder(folder + "/HCDold", 0, 0755);
    putSecret(folder + "/HCDold/one");
    putFolder(folder + "/HCDold/deeper", 0, 0755);
    putSecret(folder + "/HCDold/deeper/two");
    for (const std::string& name : hidden) {
        putSecret(folder + "/" + name);
    }
}

void putUsersFolder(const std::string& path, mode_t mode) { putFolder(path, User, mode); }

void makeHome() {
    putUsersFolder(Home, 0700);
    putUsersFolder(Library, 0700);
    putUsersFolder(Logs, 0700);
    putFile(Home + "/letter", "The user's own.\n");
    give(Home + "/letter", User, 0600);
}

void makeLog(off_t size) {
    putUsersFolder(Halcyra, 0777);
    putUsersFolder(LogFolder, 0777);
    putFile(Log, "an earlier record\n", size, "\nthe last record\n");
    give(Log, 0, 0666);
}

void makeFullLog() {
    makeLog(LogLimit);
    for (const std::string& name : {copyOfToday("00-00-01"), copyOfToday("00-00-02"), copyOfToday("00-00-03"),
                                    std::string("HCD 2001-01-01 00-00-00.log")}) {
        putFile(LogFolder + "/" + name, "an old record\n");
        give(LogFolder + "/" + name, 0, 0666);
    }
    putUsersFolder(OldFolder, 0777);
    putUsersFolder(OldFolder + "/deeper", 0777);
    putFile(OldFolder + "/one", "1");
    putFile(OldFolder + "/deeper/two", "2");
}

void makeKeptLog() {
    makeFullLog();
    putFile(Marker, "keeplogs");
    give(Marker, User, 0644);
}

/// The home is gone; an earlier run has made the folders that the log is in then.
void makeHomelessLog() {
    fs::remove_all(Home);
    putUsersFolder(HomelessFolder, 0777);
    putUsersFolder(HomelessFolder + "/HCD", 0777);
    putFile(HomelessFolder + "/HCD/HCD.log", "an earlier record\n");
    give(HomelessFolder + "/HCD/HCD.log", 0, 0666);
}

void makeCache() {
    makeLog(0);
    putFolder(Cache, User, 0777);
    putUsersFolder(Cache + "/Cache", 0777);
    putUsersFolder(Cache + "/Cache/data", 0777);
    putFile(Cache + "/Cache/data/f_000001", "page");
    putFile(Cache + "/Cache/data/f_000002", "page");
    putFile(Cache + "/Cache/index", "index");
    putFile(Cache + "/Cookies", "cookies");
}

} // namespace

const Scene FirstRun = {"FirstRun", {"--install=1"}, [] {}};
const Scene Append = {"Append", {}, [] { makeLog(0); }};
const Scene Rotation = {"Rotation", {}, makeFullLog};
const Scene KeepLogs = {"KeepLogs", {}, makeKeptLog};
const Scene CleanUp = {"CleanUp", {"--install=1"}, makeCache};
const Scene Homeless = {"Homeless", {"--install=1"}, makeHomelessLog};

AsUser::AsUser() {
    check(::setgroups(0, nullptr), "setgroups");
    check(::setegid(Staff), "setegid");
    check(::seteuid(User), "seteuid");
}

AsUser::~AsUser() {
    if (::seteuid(0) != 0 || ::setegid(0) != 0) {
        std::terminate();
    }
}

void putFile(const std::string& path, const std::string& head, off_t size, const std::string& tail) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644);
    check(file, path);
    check(static_cast<int>(::pwrite(file, head.data(), head.size(), 0)), path);
    if (size > 0) {
        const off_t place = size - static_cast<off_t>(tail.size());
        check(::ftruncate(file, size), path);
        check(static_cast<int>(::pwrite(file, tail.data(), tail.size(), place)), path);
    }
    ::close(file);
}

void give(const std::string& path, uid_t owner, mode_t mode) {
    check(::lchown(path.c_str(), owner, owner == User ? Staff : 0), path);
    check(::chmod(path.c_str(), mode), path);
}

void putFolder(const std::string& path, uid_t owner, mode_t mode) {
    check(::mkdir(path.c_str(), 0700), path);
    give(path, owner, mode);
}

void makeOutside(const std::vector<std::string>& hidden) {
    for (const std::string& folder : {Private, Public, OthersHome, OwnDisk}) {
        fs::remove_all(folder);
    }
    putFolder(Private, 0, 0700);
    putSecret(Private + "/f_000001"); // as in the cache
    putSecret(Private + "/index");
    putFolder(Private + "/data", 0, 0755);
    putSecret(Private + "/data/f_000001");
    std::string folder = Private;
    for (const char* name : {"/Logs", "/Halcyra", "/HCD"}) {
        folder += name;
        putFolder(folder, 0, 0755);
    }
    putTraps(folder, hidden);
    putFolder(Public, 0, 0755);
    putSecret(Secret);
    putSecret(LargeSecret, LogLimit);
    putFolder(OthersHome, Other, 0755);
    putSecret(OthersHome + "/letter");
    give(OthersHome + "/letter", Other, 0600);
    putFolder(OwnDisk, User, 0755);
}

void makeGround(const Scene& scene) {
    removeSemaphores();
    for (const std::string& place : {Home, HomelessFolder, Cache, Manifest}) {
        fs::remove_all(place);
    }
    for (const std::string& name : namesIn(OwnDisk)) {
        fs::remove_all(OwnDisk + "/" + name);
    }
    fs::create_directories(SpecifierFolder);
    fs::create_directories(fs::path(Cache).parent_path());
    makeHome();
    scene.prepare();
}

bool isThere(const std::string& path) {
    struct stat info = {};
    return ::lstat(path.c_str(), &info) == 0;
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code missing;
    for (fs::directory_iterator entry(folder, missing); !missing && entry != fs::directory_iterator();
         entry.increment(missing)) {
        names.push_back(entry->path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> hiddenNames() {
    std::vector<std::string> names = namesIn(LogFolder);
    std::erase_if(names, [](const std::string& name) { return !name.starts_with('.'); });
    return names;
}

std::vector<std::string> copyNames() {
    std::vector<std::string> names = namesIn(LogFolder);
    std::erase_if(names, [](const std::string& name) { return !name.starts_with("HCD 2"); });
    return names;
}

std::string copyOfToday(const std::string& time) {
    return "HCD " + e2e::dateAt(e2e::hoursToNoon(), 0) + " " + time + ".log";
}

} // namespace attack

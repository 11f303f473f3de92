#include "Place.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <unistd.h>

namespace fs = std::filesystem;

namespace assumptions {

namespace {

struct stat statusOf(const std::string& path) {
    struct stat status = {};
    ::lstat(path.c_str(), &status);
    return status;
}

void require(bool isDone, const std::string& what) {
    if (!isDone) {
        throw std::runtime_error("cannot make " + what);
    }
}

} // namespace

Place::Place() {
    std::string name = fs::canonical(fs::temp_directory_path()).string() + "/assumptions.XXXXXX";
    require(::mkdtemp(name.data()) != nullptr, name);
    folder = name;
}

Place::~Place() {
    std::error_code ignored;
    for (fs::recursive_directory_iterator
             entry(folder, fs::directory_options::skip_permission_denied, ignored),
         end;
         !ignored && entry != end; entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, ignored);
        }
    }
    fs::remove_all(folder, ignored);
}

std::string Place::put(const std::string& name, const std::string& content, mode_t mode) const {
    std::string path = *this / name;
    std::ofstream(path, std::ios::binary) << content;
    require(::chmod(path.c_str(), mode) == 0, path);
    return path;
}

std::string Place::makeFolder(const std::string& name, mode_t mode) const {
    std::string path = *this / name;
    require(::mkdir(path.c_str(), 0700) == 0 && ::chmod(path.c_str(), mode) == 0, path);
    return path;
}

std::string Place::link(const std::string& name, const std::string& target) const {
    std::string path = *this / name;
    require(::symlink(target.c_str(), path.c_str()) == 0, path);
    return path;
}

std::string modeOf(const std::string& path) {
    if (isMissing(path)) {
        return "missing";
    }
    std::array<char, 16> text = {};
    std::snprintf(text.data(), text.size(), "%04o", static_cast<unsigned>(statusOf(path).st_mode & 07777));
    return text.data();
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "missing";
}

bool isLink(const std::string& path) { return S_ISLNK(statusOf(path).st_mode); }

bool isMissing(const std::string& path) { return statusOf(path).st_mode == 0; }

bool isOrdinaryUser() { return ::geteuid() != 0; }

} // namespace assumptions

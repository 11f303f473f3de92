#include <algorithm>
#include <exception>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <sys/stat.h>

#include "FileDescriptor.h"
#include "FileRules.h"
#include "FolderNames.h"
#include "MountPoint.h"
#include "SafePath.h"
#include "platform/Files.h"

// The macOS framework's own removal goes by path, so a folder on the way that is swapped for a link would
// lead it elsewhere. This one holds every folder that it works in by a descriptor.

namespace platform {

namespace {

constexpr int realFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;

struct Identity {
    dev_t device = 0;
    ino_t number = 0;

    bool operator==(const Identity&) const = default;
};

Identity identityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

std::error_code unlessMissing(std::error_code error) {
    return error == std::errc::no_such_file_or_directory ? std::error_code() : error;
}

std::error_code removeFrom(const FileDescriptor& folder, const std::string& name, int flags) {
    return unlessMissing(errorOf(::unlinkat(folder.get(), name.c_str(), flags)));
}

/// A folder that is being emptied.
struct Level {
    std::string name; ///< in the folder above
    Identity identity;
    FileDescriptor folder;  ///< not open when too many deeper ones are
    FolderNames names = {}; ///< read before any is removed: some systems skip names when a folder changes
    int listings = 0;

    std::error_code list() {
        ++listings;
        return names.read(folder);
    }
};

/// Removes one entry of a folder with everything below it. However deep that is, few descriptors are open:
/// the way back to a folder that was closed leads through "..", and ends if that is another folder by now.
class TreeRemoval {
  public:
    explicit TreeRemoval(const FileDescriptor& above) : top(above) {}

    std::error_code remove(const std::string& name) {
        struct stat status = {};
        if (::fstat(top.get(), &status) == -1) {
            return lastError();
        }
        device = status.st_dev;
        std::error_code error = removeOrEnter(name);
        while (!error && !levels.empty()) {
            const std::string below = levels.back().names.take();
            error = below.empty() ? leave() : removeOrEnter(below);
        }
        return error;
    }

  private:
    static constexpr std::size_t mostOpen = 8;
    static constexpr int mostListings = 3; ///< of a folder that others fill meanwhile

    const FileDescriptor& current() const { return levels.empty() ? top : levels.back().folder; }

    std::error_code removeOrEnter(const std::string& name) {
        struct stat status = {};
        if (::fstatat(current().get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == -1) {
            return unlessMissing(lastError());
        }
        return S_ISDIR(status.st_mode) ? enter(name) : removeFrom(current(), name, 0);
    }

    std::error_code enter(const std::string& name) {
        FileDescriptor folder(current(), name.c_str(), realFolder);
        if (!folder.isOpen()) {
            return unlessMissing(lastError());
        }
        struct stat status = {};
        if (::fstat(folder.get(), &status) == -1) {
            return lastError();
        }
        const bool isNew =
            entered.insert(status.st_ino).second; // else somebody moved it below itself, again and again
        if (status.st_dev != device || isMountedWithinItsDevice(folder) || !isNew) {
            return std::make_error_code(std::errc::device_or_resource_busy);
        }
        levels.push_back({name, identityOf(status), std::move(folder)});
        if (levels.size() > mostOpen) {
            levels[levels.size() - mostOpen - 1].folder.close();
        }
        return levels.back().list();
    }

    /// Removes the current folder, which has been emptied, and goes back to the one above.
    std::error_code leave() {
        if (const std::error_code error = reopenAbove()) {
            return error;
        }
        const FileDescriptor& above = levels.size() == 1 ? top : levels[levels.size() - 2].folder;
        const std::error_code error = removeFrom(above, levels.back().name, AT_REMOVEDIR);
        const bool isFilled = error == std::errc::directory_not_empty || error == std::errc::file_exists;
        if (isFilled && levels.back().listings < mostListings) {
            return levels.back().list();
        }
        entered.erase(levels.back().identity.number);
        levels.pop_back();
        return error;
    }

    std::error_code reopenAbove() {
        if (levels.size() == 1 || levels[levels.size() - 2].folder.isOpen()) {
            return {};
        }
        Level& above = levels[levels.size() - 2];
        FileDescriptor folder(current(), "..", realFolder);
        struct stat status = {};
        if (!folder.isOpen() || ::fstat(folder.get(), &status) == -1) {
            return lastError();
        }
        if (identityOf(status) != above.identity) {
            return std::make_error_code(std::errc::no_such_file_or_directory);
        }
        above.folder = std::move(folder);
        return {};
    }

    const FileDescriptor& top;
    dev_t device = 0;
    std::vector<Level> levels;         ///< from the outermost to the current one
    std::unordered_set<ino_t> entered; ///< the numbers of these
};

/// The folder that holds `path`, which ends in no slash.
std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
}

} // namespace

std::error_code removeTree(const char* path) try {
    if (const std::error_code refusal = removalRefusal(path)) {
        return refusal;
    }
    const std::string whole = withoutTrailingSlashes(path);
    const FileDescriptor above(folderOf(whole).c_str(), kPassThrough);
    if (!above.isOpen()) {
        return lastError();
    }
    return TreeRemoval(above).remove(whole.substr(whole.rfind('/') + 1));
} catch (const std::exception&) {
    return std::make_error_code(std::errc::not_enough_memory);
}

} // namespace platform

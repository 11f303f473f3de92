#include "platform/Files.h"

#include <utility>

#include "../posix/FileRules.h"
#include "../posix/FileStatus.h"
#include "../posix/FolderNames.h"

namespace platform {

namespace {

/// Lets the owner of a folder that was just made work in it, whatever the umask is.
void openToOwner(const char* path) {
    constexpr mode_t needed = S_IWUSR | S_IXUSR;
    const auto status = statusOfEntry(path);
    if (status && (status->st_mode & needed) != needed) {
        [[maybe_unused]] const int refused =
            ::fchmodat(AT_FDCWD, path, permissionsIn(*status) | needed, AT_SYMLINK_NOFOLLOW);
    }
}

void applyAttributes(const char* path, const FolderAttributes& attributes) {
    constexpr auto unchanged = static_cast<uid_t>(-1);
    const FileDescriptor folder(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    const uid_t owner = attributes.owner.value_or(unchanged);
    const gid_t group = attributes.group.value_or(unchanged);
    [[maybe_unused]] int refused = 0;
    if (folder.isOpen()) {
        ::fchmod(folder.get(), attributes.mode);
        refused = ::fchown(folder.get(), owner, group);
    } else { // the umask may keep its owner from opening it
        refused = ::fchmodat(AT_FDCWD, path, attributes.mode, AT_SYMLINK_NOFOLLOW);
        refused = ::lchown(path, owner, group);
    }
}

/// Makes sure of one folder whose parent exists.
std::error_code ensureFolder(const char* path, const FolderAttributes* attributes, bool isParent) {
    if (itemAtPath(path) == ItemKind::Folder) {
        return {};
    }
    if (::mkdir(path, attributes ? attributes->mode : 0777) == -1) {
        const std::error_code error = lastError();
        return itemAtPath(path) == ItemKind::Folder ? std::error_code() : error;
    }
    if (attributes) {
        applyAttributes(path, *attributes);
    } else if (isParent) {
        openToOwner(path);
    }
    return {};
}

} // namespace

ItemKind itemAtPath(const char* path) {
    struct stat status = {};
    if (::stat(path, &status) == -1) {
        return ItemKind::Missing;
    }
    return S_ISDIR(status.st_mode) ? ItemKind::Folder : ItemKind::File;
}

std::error_code createFolders(const char* path, const FolderAttributes* attributes) {
    const std::string whole = withoutTrailingSlashes(path);
    for (std::size_t end = whole.find('/', 1); end != std::string::npos; end = whole.find('/', end + 1)) {
        const std::error_code error = ensureFolder(whole.substr(0, end).c_str(), attributes, true);
        if (error) {
            return error;
        }
    }
    return ensureFolder(whole.empty() ? path : whole.c_str(), attributes, false);
}

std::optional<std::vector<std::string>> folderEntries(const char* path) {
    const FileDescriptor folder(path, O_RDONLY | O_DIRECTORY);
    FolderNames all;
    if (!folder.isOpen() || all.read(folder)) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (std::string name = all.take(); !name.empty(); name = all.take()) {
        names.push_back(std::move(name));
    }
    return names;
}

} // namespace platform

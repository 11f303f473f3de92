#include <elmu/utils/FileUtils.h>

#include <algorithm>

#include <libgen.h>

#include "platform/Files.h"
#include "platform/PropertyList.h"
#include <elmu/utils/Reporting.h>

namespace ELMUUtils {

namespace {

constexpr const char* kComponent = "FileUtils";

/// The mode 0775 and, unless the nearest existing ancestor is a link or cannot be looked at, its owner and
/// group.
platform::FolderAttributes attributesFromAncestor(const std::string& path, void* logger) {
    const std::string ancestor = FileUtils::GetExistentParentDirectory(path);
    // The empty text stands where the format belongs: receivers of these two records rely on it.
    report(logger, kComponent, elmu::levels::info, "",
           " shouldSetPermission is true, parent folder found  =  %s ", ancestor.c_str());
    platform::FolderAttributes attributes{.owner = {}, .group = {}, .mode = 0775};
    const auto info = platform::entryInfo(ancestor.c_str());
    if (info && !info->isLink) {
        report(logger, kComponent, elmu::levels::info, "", "shouldSetPermission is true,owner =%d,group =%d",
               info->owner, info->group);
        attributes.group = info->group;
        attributes.owner = info->owner;
    }
    return attributes;
}

bool hasEntries(const std::string& path) {
    const auto entries = platform::folderEntries(path.c_str());
    return entries && !entries->empty();
}

} // namespace

bool FileUtils::AppendPath(std::string& path, const std::string& component, void* /*logger*/) {
    if (path.empty() || component.empty()) {
        return false;
    }
    const auto start = std::min(component.find_first_not_of('/'), component.size());
    const std::string appended = component.substr(start);
    if (!path.ends_with('/')) {
        path += '/';
    }
    path += appended;
    return true;
}

bool FileUtils::PathExists(const std::string& path, void* /*logger*/) {
    return platform::itemAtPath(path.c_str()) != platform::ItemKind::Missing;
}

bool FileUtils::CreateDirectoryAtPath(const std::string& path, bool shouldSetPermission, void* logger) {
    return CreateDirectoryAtPathEx(path, logger, shouldSetPermission);
}

bool FileUtils::CreateDirectoryAtPathEx(const std::string& path, void* logger, bool shouldSetPermission) {
    std::error_code error;
    if (shouldSetPermission) {
        const auto attributes = attributesFromAncestor(path, logger);
        error = platform::createFolders(path.c_str(), &attributes);
    } else {
        error = platform::createFolders(path.c_str(), nullptr);
    }
    if (!error) {
        return true;
    }
    report(logger, kComponent, elmu::levels::error, "Failed to create directory at path ex %s ", path.c_str(),
           error.message().c_str());
    return false;
}

std::string FileUtils::GetExistentParentDirectory(std::string path) {
    path = path.c_str();
    while (!path.empty() && !PathExists(path, nullptr)) {
        std::string copy = path;
        const char* const parent = ::dirname(copy.data());
        const std::string next = parent ? parent : ""; // some systems refuse a long path
        if (next == path) {
            break; // "." in a working directory that may not be searched
        }
        path = next;
    }
    return path;
}

bool FileUtils::DeleteDirectoryAtPath(const std::string& path, std::vector<std::string>& /*skippedItems*/,
                                      bool recursive, bool /*flag*/, void* logger, bool logSuccess) {
    if (path.empty()) {
        return false;
    }
    if (!recursive && hasEntries(path)) {
        return false;
    }
    if (const std::error_code error = platform::removeTree(path.c_str())) {
        report(logger, kComponent, elmu::levels::warn, "Failed to remove file. Error: %s",
               error.message().c_str());
        return false;
    }
    if (logSuccess) {
        report(logger, kComponent, elmu::levels::info,
               "Successfully deleted directory from path: %s. Recursive: %d", path.c_str(),
               recursive ? 1 : 0);
    }
    return true;
}

bool FileUtils::DeleteDirectoryAtPath(const std::string& path, bool recursive, bool flag, void* logger,
                                      bool logSuccess) {
    std::vector<std::string> skippedItems;
    return DeleteDirectoryAtPath(path, skippedItems, recursive, flag, logger, logSuccess);
}

bool FileUtils::CreateFileWithContentAtPath(const std::string& path, const std::string& content,
                                            void* /*logger*/) {
    if (path.empty()) {
        return false;
    }
    return !platform::writeFileAtomically(path.c_str(), content);
}

bool FileUtils::DeleteFileAtPath(const std::string& path, bool /*flag*/, void* logger) {
    return !PathExists(path, logger) || !platform::removeEntry(path.c_str());
}

bool FileUtils::getApplicationVersion(std::string bundlePath, std::string& version) {
    AppendPath(bundlePath, "/Contents/Info.plist", nullptr);
    if (!PathExists(bundlePath, nullptr)) {
        return false;
    }
    const auto text = platform::propertyListText(bundlePath.c_str(), "CFBundleShortVersionString");
    if (!text) {
        return false;
    }
    version = *text;
    return true;
}

} // namespace ELMUUtils

#include "platform/Files.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include <sys/stat.h>

#include "../posix/FileDescriptor.h"
#include "../posix/FileRules.h"
#include "Foundation.h"
#include "platform/Paths.h"

namespace platform {

namespace {

NSFileManager* manager() { return [NSFileManager defaultManager]; }

/// Why something failed of which the framework says nothing exact.
std::error_code failureAt(const char* path, NSError* error) {
    struct stat status = {};
    if (::lstat(path, &status) == -1 && errno != ENOENT) {
        return lastError();
    }
    return systemErrorOf(error);
}

bool canBeListed(const char* path) { return FileDescriptor(path, O_RDONLY | O_DIRECTORY).isOpen(); }

bool isRealFolder(const char* path) {
    struct stat status = {};
    return ::lstat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

std::error_code failureToWrite(const char* path) {
    const std::string folder = deletingLastPathComponent(path);
    const bool hasFolder = itemAtPath(folder.empty() ? "." : folder.c_str()) == ItemKind::Folder;
    return hasFolder ? failureAt(path, nil) : std::make_error_code(std::errc::no_such_file_or_directory);
}

NSNumber* numberOf(std::uint32_t value) { return [NSNumber numberWithUnsignedInt:value]; }

NSDictionary* attributesFrom(const FolderAttributes& attributes) {
    NSMutableDictionary* const result = [NSMutableDictionary dictionary];
    if (attributes.group) {
        [result setObject:numberOf(*attributes.group) forKey:NSFileGroupOwnerAccountID];
    }
    if (attributes.owner) {
        [result setObject:numberOf(*attributes.owner) forKey:NSFileOwnerAccountID];
    }
    [result setObject:numberOf(attributes.mode) forKey:NSFilePosixPermissions];
    return result;
}

/// How much of `path`, in characters, is there as folders.
std::size_t lengthThatExists(std::string path) {
    while (!path.empty() && itemAtPath(path.c_str()) != ItemKind::Folder) {
        path = path == "/" ? "" : deletingLastPathComponent(path);
    }
    return path.size();
}

/// Goes on after an error for as long as there is more of the path each time: somebody else made a part of
/// it, or the new part was refused an attribute.
std::error_code createAll(const std::string& path, NSString* name, NSDictionary* attributes) {
    NSError* error = nil;
    std::size_t before = 0;
    std::size_t now = lengthThatExists(path);
    do {
        before = now;
        error = nil;
        exceptionIn([&] {
            [manager() createDirectoryAtPath:name
                 withIntermediateDirectories:YES
                                  attributes:attributes
                                       error:&error];
        });
        if (itemAtPath(path.c_str()) == ItemKind::Folder) {
            return {};
        }
        now = lengthThatExists(path);
    } while (now > before);
    return failureAt(path.c_str(), error);
}

} // namespace

ItemKind itemAtPath(const char* path) {
    const AutoreleasePool pool;
    NSString* const name = pathOf(path);
    BOOL isFolder = NO;
    const bool exists = name && valueOr(false, [&]() -> bool {
                            return [manager() fileExistsAtPath:name isDirectory:&isFolder];
                        });
    if (!exists) {
        return ItemKind::Missing;
    }
    return isFolder ? ItemKind::Folder : ItemKind::File;
}

std::error_code createFolders(const char* path, const FolderAttributes* attributes) {
    const AutoreleasePool pool;
    NSString* const name = pathOf(path);
    if (!name || *path == '\0') {
        return std::make_error_code(name ? std::errc::no_such_file_or_directory
                                         : std::errc::illegal_byte_sequence);
    }
    return createAll(path, name, attributes ? attributesFrom(*attributes) : nil);
}

std::optional<std::vector<std::string>> folderEntries(const char* path) {
    const AutoreleasePool pool;
    NSString* const name = pathOf(path);
    NSArray* const entries = valueOr(static_cast<NSArray*>(nil), [&] {
        return name && canBeListed(path) ? [manager() contentsOfDirectoryAtPath:name error:nullptr] : nil;
    });
    if (!entries) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (NSUInteger i = 0; i < [entries count]; ++i) {
        names.push_back(textOf([entries objectAtIndex:i]));
    }
    return names;
}

std::error_code writeFileAtomically(const char* path, std::string_view content) {
    const AutoreleasePool pool;
    NSString* const name = pathOf(path);
    if (!name || *path == '\0') {
        return std::make_error_code(name ? std::errc::no_such_file_or_directory
                                         : std::errc::illegal_byte_sequence);
    }
    if (isRealFolder(path)) {
        return std::make_error_code(std::errc::is_a_directory);
    }
    NSData* const data = [NSData dataWithBytes:content.data() length:content.size()];
    const bool isWritten = valueOr(false, [&]() -> bool { return [data writeToFile:name atomically:YES]; });
    return isWritten ? std::error_code() : failureToWrite(path);
}

void removeLeftTemporaries(const char* /*path*/) {}

} // namespace platform

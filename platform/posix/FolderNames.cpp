#include "FolderNames.h"

#include <memory>
#include <string_view>

#include <dirent.h>

namespace platform {

namespace {

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

using Listing = std::unique_ptr<DIR, FolderCloser>;

Listing listingOf(const FileDescriptor& folder) {
    FileDescriptor copy(::fcntl(folder.get(), F_DUPFD_CLOEXEC, 0));
    Listing listing(copy.isOpen() ? ::fdopendir(copy.get()) : nullptr);
    if (listing) {
        copy.release();
        ::rewinddir(listing.get());
    }
    return listing;
}

/// The next entry of `folder`. Null at the end, with `errno` 0, and on failure.
const dirent* nextEntry(DIR* folder) {
    errno = 0;
    return ::readdir(folder);
}

} // namespace

std::error_code FolderNames::read(const FileDescriptor& folder, std::size_t most) {
    names.clear();
    next = 0;
    const Listing listing = listingOf(folder);
    if (!listing) {
        return lastError();
    }
    while (const dirent* entry = names.size() <= most ? nextEntry(listing.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.append(name).push_back('\0');
        }
    }
    if (names.size() > most) {
        errno = EFBIG;
    }
    const std::error_code error = errno == 0 ? std::error_code() : lastError();
    names.resize(error ? 0 : names.size());
    return error;
}

std::string FolderNames::take() {
    std::string name = names.c_str() + next;
    next += name.empty() ? 0 : name.size() + 1;
    return name;
}

} // namespace platform

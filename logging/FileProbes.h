#pragma once

#include <string>

/// Questions about files, and copying one. Links are followed, except by `getFileSize`.
namespace elmu {

/// Whether something that is not a folder is at `path`.
bool fileExistsAtPath(std::string& path);

/// Whether a folder is at `path`.
bool folderExitsAtPath(const std::string& path);

/// Makes the folder `path` with every missing parent. True also when it was there.
bool createDirectoryPath(const std::string& path);

/// Puts the size in bytes of the entry `path` (of a link: of the link itself) into `size`. False, with `size`
/// untouched, when there is none.
bool getFileSize(const std::string& path, long long& size);

/// Copies the bytes of the file `source` to `target`, which is emptied first or made. Owner and mode are not
/// copied. False when either cannot be opened (a missing `source` leaves `target` alone) or the copying fails
/// half-way; `target` is then incomplete.
bool copyContentOfFileToFile(const std::string& source, std::string& target);

} // namespace elmu

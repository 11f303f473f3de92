#pragma once

#include <cstdint>
#include <string>

/// Path texts, edited in place by the rules of NSString's path methods. Each returns false and leaves its
/// output as it was when there is no result. Texts end at their first NUL byte. Only `appendTimeStampToFile`
/// asks for the time; none looks at the file system.
namespace elmu {

/// Appends `component` to `path` as a component.
bool appendPath(std::string& path, const std::string& component);

/// Removes the last component of `path`.
bool removeLastPathComponent(std::string& path);

/// Replaces the extension of `path`, if any, with `extension`.
bool changeFileExtension(std::string& path, const std::string& extension);

/// Appends a dot and `extension` to `path`; an empty extension changes nothing.
bool addFileExtension(std::string& path, const std::string& extension);

/// Removes the extension of `path` and its dot.
bool removeFileExtension(std::string& path);

/// Puts what follows the last dot anywhere in `path` into `extension`, also when that dot stands in a
/// folder's name. False without a dot.
bool getFileExtension(const std::string& path, std::string& extension);

/// Puts the last component of `path`, as `basename` gives it, into `name`, which is emptied first.
bool getFilePathBaseName(const std::string& path, std::string& name);

/// Whether `name` has no folder part: it equals its own last component.
bool isFileName(const std::string& name);

/// Inserts a blank and the local date and time before the extension of `path`: "HCD.log" becomes
/// "HCD 2026-11-16 04-49-07.log". Always true.
bool appendTimeStampToFile(std::string& path);

/// The same with `now` in seconds since the epoch.
bool appendTimeStampToFile(std::string& path, std::int64_t now);

} // namespace elmu

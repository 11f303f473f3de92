#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>

/// Folders, files and their content for tests.
namespace support {

/// A new empty folder, removed with its content at the end whatever modes its content has.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& path() const { return folder; }
    /// `name` below the folder.
    std::string operator/(const std::string& name) const { return folder + "/" + name; }
    /// The names in the folder, in no order.
    std::vector<std::string> names() const;

  private:
    std::string folder;
};

/// The whole content of `path`. Fails the test when it cannot be read.
std::string readFile(const std::string& path);

/// Puts a file with `content` at `path`, its parents made. Fails the test when that fails.
void writeFile(const std::string& path, const std::string& content);

/// The permission bits of the entry `path` itself (12 bits). Fails the test when there is none.
mode_t modeOf(const std::string& path);

/// Sets the umask from construction to destruction.
class ScopedUmask {
  public:
    explicit ScopedUmask(mode_t mask) : saved(::umask(mask)) {}
    ~ScopedUmask() { ::umask(saved); }
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;

  private:
    mode_t saved;
};

} // namespace support

#pragma once

#include <string>

#include <sys/stat.h>

namespace assumptions {

/// A new empty folder, removed with its content at the end.
class Place {
  public:
    Place();
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    std::string operator/(const std::string& name) const { return folder + "/" + name; }
    /// Makes a file with `content` below the folder. Its path.
    std::string put(const std::string& name, const std::string& content = "x", mode_t mode = 0644) const;
    /// Makes a folder below the folder. Its path.
    std::string makeFolder(const std::string& name, mode_t mode = 0755) const;
    /// Makes a link below the folder. Its path.
    std::string link(const std::string& name, const std::string& target) const;

  private:
    std::string folder;
};

/// The permission bits of the entry itself, as "0644"; "missing" when there is none.
std::string modeOf(const std::string& path);

/// The content of a file; "missing" when it cannot be read.
std::string contentOf(const std::string& path);

bool isLink(const std::string& path);
bool isMissing(const std::string& path);

/// Whether the process is bound by permissions.
bool isOrdinaryUser();

} // namespace assumptions

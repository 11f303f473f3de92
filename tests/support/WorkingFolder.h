#pragma once

#include <filesystem>
#include <string>

namespace support {

/// Works in another folder from construction to destruction.
class WorkingFolder {
  public:
    explicit WorkingFolder(const std::string& path) : saved(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~WorkingFolder() {
        std::error_code ignored;
        std::filesystem::current_path(saved, ignored);
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

  private:
    std::filesystem::path saved;
};

} // namespace support

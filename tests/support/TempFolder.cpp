#include "support/TempFolder.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace support {

TempFolder::TempFolder() {
    std::string pattern = (fs::temp_directory_path() / "hcd-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder at " + pattern);
    }
    folder = fs::canonical(pattern).string();
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::permissions(folder, fs::perms::owner_all, ignored);
    for (auto entry = fs::recursive_directory_iterator(folder, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, ignored);
        }
    }
    fs::remove_all(folder, ignored);
}

std::vector<std::string> TempFolder::names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder)) {
        found.push_back(entry.path().filename().string());
    }
    return found;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void writeFile(const std::string& path, const std::string& content) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    file.close();
    ASSERT_TRUE(file.good()) << path;
}

mode_t modeOf(const std::string& path) {
    struct stat info = {};
    EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

} // namespace support

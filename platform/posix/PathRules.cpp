#include "PathRules.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include <sys/stat.h>

namespace platform::rules {

namespace {

/// Where the last component of a tidied path other than the root begins.
std::size_t lastComponentStart(std::string_view tidiedPath) {
    const std::size_t slash = tidiedPath.rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

std::string withoutLastComponent(const std::string& tidiedPath) {
    const std::size_t start = lastComponentStart(tidiedPath);
    return tidiedPath.substr(0, start > 1 ? start - 1 : start);
}

/// Whether `text` holds a blank or one of the marks U+061C, U+200E, U+200F, U+202A to U+202E and
/// U+2066 to U+2069.
bool hasBlankOrDirectionMark(std::string_view text) {
    constexpr std::array<std::string_view, 13> refused = {" ",      "\u061C", "\u200E", "\u200F", "\u202A",
                                                          "\u202B", "\u202C", "\u202D", "\u202E", "\u2066",
                                                          "\u2067", "\u2068", "\u2069"};
    return std::any_of(refused.begin(), refused.end(),
                       [text](std::string_view mark) { return text.find(mark) != std::string_view::npos; });
}

/// The length of a component without its extension and the dot before it.
std::size_t lengthWithoutExtension(std::string_view component) {
    const std::size_t dot = component.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == component.size()) {
        return component.size();
    }
    const std::string_view left = component.substr(0, dot);
    const bool isExtension =
        left != "." && left != ".." && !hasBlankOrDirectionMark(component.substr(dot + 1));
    return isExtension ? dot : component.size();
}

bool isLink(const std::string& path) {
    struct stat info = {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

std::string linkResolved(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : path;
}

/// The folder that ".." means in the folder `path`, an absolute path without dots.
std::string parentOf(const std::string& path) {
    return withoutLastComponent(isLink(path) ? linkResolved(path) : path);
}

void standardizeComponent(std::string& result, std::string_view component, bool absolute) {
    if (component.empty() || component == ".") {
        return;
    }
    if (absolute && component == "..") {
        result = parentOf(result);
        return;
    }
    if (!result.empty() && result.back() != '/') {
        result += '/';
    }
    result += component;
}

} // namespace

std::string tidied(std::string_view path) {
    std::string result;
    result.reserve(path.size());
    for (const char c : path) {
        if (c != '/' || result.empty() || result.back() != '/') {
            result += c;
        }
    }
    if (result.size() > 1 && result.back() == '/') {
        result.pop_back();
    }
    return result;
}

bool canBeExtension(std::string_view extension) {
    if (extension.find('/') != std::string_view::npos || extension.ends_with('.')) {
        return false;
    }
    const std::size_t dot = extension.rfind('.');
    return !hasBlankOrDirectionMark(dot == std::string_view::npos ? extension : extension.substr(dot + 1));
}

std::string appendingPathComponent(std::string_view path, std::string_view component) {
    if (path.empty()) {
        return tidied(component);
    }
    return tidied(std::string(path).append("/").append(component));
}

std::string deletingLastPathComponent(std::string_view path) { return withoutLastComponent(tidied(path)); }

std::string lastPathComponent(std::string_view path) {
    const std::string whole = tidied(path);
    return whole == "/" ? whole : whole.substr(lastComponentStart(whole));
}

std::string deletingPathExtension(std::string_view path) {
    std::string result = tidied(path);
    const std::size_t start = lastComponentStart(result);
    result.resize(start + lengthWithoutExtension(std::string_view(result).substr(start)));
    return result;
}

std::optional<std::string> appendingPathExtension(std::string_view path, std::string_view extension) {
    const std::string whole = tidied(path);
    if (whole.empty() || whole == "/" || !canBeExtension(extension)) {
        return std::nullopt;
    }
    return extension.empty() ? std::string(path) : whole + "." + std::string(extension);
}

std::string standardizedPath(std::string_view path) {
    const bool absolute = path.starts_with('/');
    std::string result = absolute ? "/" : "";
    while (!path.empty()) {
        const std::size_t length = std::min(path.find('/'), path.size());
        standardizeComponent(result, path.substr(0, length), absolute);
        path.remove_prefix(std::min(length + 1, path.size()));
    }
    return result;
}

} // namespace platform::rules

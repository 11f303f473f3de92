#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The home platform's rules for path text. None of these looks at the file system except
/// `standardizedPath`. Runs of slashes in a result are collapsed and trailing slashes dropped, except
/// that the root stays "/". Bytes that are not UTF-8 are ordinary characters.
namespace platform {

/// `path` and `component` joined by one slash. An empty `path` gives `component`; a component may hold
/// slashes, leading ones included, and stays below `path`.
std::string appendingPathComponent(std::string_view path, std::string_view component);

/// `path` without its last component: "/a/b/" gives "/a", "a" gives "", "/" gives "/".
std::string deletingLastPathComponent(std::string_view path);

/// The last component: "/a/b/" gives "b", "" gives "", only slashes give "/".
std::string lastPathComponent(std::string_view path);

/// `path` without the extension of its last component and without the dot before it. There is an
/// extension when the last dot is neither the first nor the last character of the component, no blank
/// and no direction mark stands after it, and neither "." nor ".." would be left without it.
std::string deletingPathExtension(std::string_view path);

/// `path` and `extension` joined by a dot. An empty extension gives `path` unchanged. Nothing when
/// `path` is empty or the root, or when `extension` cannot be one (it holds a slash, ends in a dot, or
/// has a blank or a direction mark after its last dot).
std::optional<std::string> appendingPathExtension(std::string_view path, std::string_view extension);

/// `path` with "." components removed and, in an absolute path, ".." resolved: through the real parent
/// where a link is involved. A ".." of a relative path stays. The home platform also drops a leading
/// "/private" where the rest names the same file.
std::string standardizedPath(std::string_view path);

} // namespace platform

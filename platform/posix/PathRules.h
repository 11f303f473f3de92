#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The rules of "platform/Paths.h" as they are for text of any bytes. A host that has its own string type
/// asks that for text which the type can hold, and these for the rest.
namespace platform::rules {

std::string appendingPathComponent(std::string_view path, std::string_view component);
std::string deletingLastPathComponent(std::string_view path);
std::string lastPathComponent(std::string_view path);
std::string deletingPathExtension(std::string_view path);
std::optional<std::string> appendingPathExtension(std::string_view path, std::string_view extension);
std::string standardizedPath(std::string_view path);

/// `path` with runs of slashes collapsed and without a trailing one.
std::string tidied(std::string_view path);

/// Whether a component may get `extension`, or has one that reads so: it holds no slash, does not end in a
/// dot and has neither a blank nor a direction mark after its last dot.
bool canBeExtension(std::string_view extension);

} // namespace platform::rules

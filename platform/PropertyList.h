#pragma once

#include <optional>
#include <string>

/// Property lists, XML and binary.
namespace platform {

/// The text stored under `key` in the dictionary that the property-list file `path` holds. Nothing when
/// the file cannot be read or is no property list, its root is no dictionary, the key is absent, or its
/// value is no text.
std::optional<std::string> propertyListText(const char* path, const char* key);

} // namespace platform

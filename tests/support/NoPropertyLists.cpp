#include "platform/PropertyList.h"

/// A machine on which no property list can be read: for builds without the library that reads them.
namespace platform {

std::optional<std::string> propertyListText(const char* /*path*/, const char* /*key*/) {
    return std::nullopt;
}

} // namespace platform

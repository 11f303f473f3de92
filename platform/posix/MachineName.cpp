#include "SystemNames.h"
#include "platform/System.h"

namespace platform {

std::optional<std::string> machineName() {
    const auto names = systemNames();
    return names ? std::optional<std::string>(names->machine) : std::nullopt;
}

} // namespace platform

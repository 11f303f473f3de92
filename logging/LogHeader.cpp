#include "logging/LogHeader.h"

#include "utils/OSUtils.h"

namespace elmu {

bool utilGetCurrentOSVersion(long& major, long& minor, long& patch) {
    ELMUUtils::OSUtils::OSVersion version = {major, minor, patch};
    ELMUUtils::OSUtils::GetCurrentOSVersion(version);
    major = version.major;
    minor = version.minor;
    patch = version.patch;
    return true;
}

} // namespace elmu

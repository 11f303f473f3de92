#include <elmu/utils/OSUtils.h>

#include <cstdio>

#include "platform/System.h"
#include <elmu/logging/StringUtils.h>

namespace ELMUUtils {

namespace {

bool olderOSVersion(OSUtils::OSVersion& version) {
    const auto major = platform::olderVersionNumber(platform::VersionPart::Major);
    if (!major) {
        return false;
    }
    const auto minor = platform::olderVersionNumber(platform::VersionPart::Minor);
    if (!minor) {
        return false;
    }
    const auto patch = platform::olderVersionNumber(platform::VersionPart::Patch);
    if (!patch) {
        return false;
    }
    version = {*major, *minor, *patch};
    return true;
}

std::string decimalText(long number) {
    std::string text;
    elmu::StringUtils::LongToNativeString(number, text);
    return text;
}

} // namespace

bool OSUtils::GetCurrentOSVersion(OSVersion& version) {
    if (!platform::offersSystemVersion()) {
        return olderOSVersion(version);
    }
    const auto numbers = platform::systemVersion().value_or(platform::SystemVersion());
    version = {numbers.majorNumber, numbers.minorNumber, numbers.patchNumber};
    return true;
}

bool OSUtils::GetCurrentOSName(const OSVersion& version, std::string& name) {
    char numbers[20];
    std::snprintf(numbers, sizeof numbers, "%ld.%ld.%ld", version.major, version.minor, version.patch);
    name = "Mac OS";
    name += " ";
    name += numbers;
    return true;
}

bool OSUtils::GetOSVersionStringFromOSVersion(const OSVersion& version, std::string& text) {
    text = decimalText(version.major) + "." + decimalText(version.minor) + "." + decimalText(version.patch);
    return true;
}

bool OSUtils::GetCurrentOSBitness(OSBitness& bitness) {
    const auto machine = platform::machineName();
    if (!machine) {
        return false;
    }
    bitness = *machine == "i386" ? Bits32 : Bits64;
    return true;
}

} // namespace ELMUUtils

#include <elmu/logging/LogHeader.h>

#include <elmu/logging/StringUtils.h>
#include <elmu/utils/FileUtils.h>
#include <elmu/utils/LocalizationUtils.h>
#include <elmu/utils/OSUtils.h>

namespace elmu {

namespace {

using ELMUUtils::FileUtils;
using ELMUUtils::OSUtils;

constexpr std::size_t kRuleLength = 78;

std::optional<std::string> installedProductVersion() {
    std::string application;
    FileUtils::GetDirectoryPath(ELMUUtils::HalcyraUtilitiesDir, application, nullptr);
    FileUtils::AppendPath(application, "HCD/Halcyra.app", nullptr);
    std::string version;
    if (!FileUtils::PathExists(application, nullptr) ||
        !FileUtils::getApplicationVersion(application, version)) {
        return std::nullopt;
    }
    return version;
}

} // namespace

HeaderFacts currentHeaderFacts() {
    HeaderFacts facts;
    ELMUUtils::LocalizationUtils::GetOSLocale(facts.osLocale);
    OSUtils::OSVersion version = {0, 0, 0};
    OSUtils::GetCurrentOSVersion(version);
    OSUtils::GetCurrentOSName(version, facts.osName);
    OSUtils::GetOSVersionStringFromOSVersion(version, facts.osVersion);
    OSUtils::OSBitness bitness = OSUtils::Bits64;
    OSUtils::GetCurrentOSBitness(bitness);
    facts.bits = StringUtils::IntToNativeString(bitness);
    facts.productVersion = installedProductVersion();
    return facts;
}

stLogHeader headerFromFacts(const HeaderFacts& facts) {
    const std::string rule(kRuleLength, '*');
    stLogHeader header;
    header.startLine = rule;
    header.fields = {{"OS Name: ", facts.osName},
                     {"OS Version: ", facts.osVersion},
                     {"OS Locale: ", facts.osLocale},
                     {"Bit: ", facts.bits}};
    if (facts.productVersion) {
        header.fields["HCD Version: "] = *facts.productVersion;
    }
    header.endLine = rule;
    return header;
}

void mergeHeader(stLogHeader& stored, const stLogHeader& added) {
    if (!added.startLine.empty()) {
        stored.startLine = added.startLine;
    }
    for (const auto& [label, value] : added.fields) {
        stored.fields[label] = value;
    }
    if (!added.endLine.empty()) {
        stored.endLine = added.endLine;
    }
}

std::vector<std::string> headerLines(const stLogHeader& header) {
    std::vector<std::string> lines;
    if (!header.startLine.empty()) {
        lines.push_back(header.startLine);
    }
    for (const auto& [label, value] : header.fields) {
        lines.push_back(label + value);
    }
    if (!header.endLine.empty()) {
        lines.push_back(header.endLine);
    }
    return lines;
}

bool utilGetCurrentOSVersion(long& major, long& minor, long& patch) {
    OSUtils::OSVersion version = {0, 0, 0};
    if (OSUtils::GetCurrentOSVersion(version)) {
        major = version.major;
        minor = version.minor;
        patch = version.patch;
    }
    return true;
}

} // namespace elmu

#include <cstdio>
#include <cstring>

#include <elmu/logging/BinaryLock.h>
#include <elmu/logging/LogHeader.h>
#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/Logger.h>
#include <elmu/logging/LoggingCore.h>
#include <elmu/logging/TimeText.h>
#include <elmu/utils/CommandLineParser.h>
#include <elmu/utils/OSUtils.h>
#include <elmu/utils/XMLParser.h>

namespace {

/// A time between two guards, to see whether the library writes beyond it.
struct GuardedTime {
    unsigned char before[16];
    timeval time;
    unsigned char after[16];
};

bool guardsAreWhole(const GuardedTime& guarded) {
    GuardedTime untouched = {};
    std::memset(&untouched, 0x5A, sizeof untouched);
    return std::memcmp(guarded.before, untouched.before, sizeof guarded.before) == 0 &&
           std::memcmp(guarded.after, untouched.after, sizeof guarded.after) == 0;
}

} // namespace

/// Prints what a program and the library must agree on: the same lines whatever macros this file is compiled
/// with.
int main() {
    std::printf("LogTargetBase %zu\n", sizeof(elmu::LogTargetBase));
    std::printf("LogTargetDefault %zu\n", sizeof(elmu::LogTargetDefault));
    std::printf("Logger %zu\n", sizeof(elmu::Logger));
    std::printf("LoggingCore %zu\n", sizeof(elmu::LoggingCore));
    std::printf("stLogHeader %zu\n", sizeof(elmu::stLogHeader));
    std::printf("HeaderFacts %zu\n", sizeof(elmu::HeaderFacts));
    std::printf("BinaryLock %zu\n", sizeof(elmu::BinaryLock));
    std::printf("CurrentSecondText %zu\n", sizeof(elmu::CurrentSecondText));
    std::printf("CommandLineParser %zu\n", sizeof(ELMUUtils::CommandLineParser));
    std::printf("OSVersion %zu\n", sizeof(ELMUUtils::OSUtils::OSVersion));
    std::printf("XMLParser %zu\n", sizeof(ELMUUtils::XMLParser));

    GuardedTime guarded = {};
    std::memset(&guarded, 0x5A, sizeof guarded);
    elmu::getCurrentTime(guarded.time);
    const bool isPlausible = guarded.time.tv_sec > 1600000000 && guarded.time.tv_usec < 1000000;
    std::printf("getCurrentTime %s, guards %s\n", isPlausible ? "plausible" : "WRONG",
                guardsAreWhole(guarded) ? "whole" : "BROKEN");

    std::string date;
    elmu::getOffSetDate(date, 1, 1763268547);
    std::printf("getOffSetDate %s\n", date.c_str());
}

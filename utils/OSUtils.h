#pragma once

#include <string>

namespace ELMUUtils {

/// What the running operating system is. All operations are static and keep no state.
class OSUtils {
  public:
    struct OSVersion {
        long major;
        long minor;
        long patch;
    };

    /// The width of a machine word in bits.
    enum OSBitness { Bits32 = 32, Bits64 = 64 };

    /// Puts the running system's version into `version`. False, with `version` untouched, when the system
    /// lacks the modern query and the older one fails.
    static bool GetCurrentOSVersion(OSVersion& version);

    /// Puts "Mac OS", a blank and the three numbers into `name`; the numbers' text is cut to 19
    /// characters. Always true.
    static bool GetCurrentOSName(const OSVersion& version, std::string& name);

    /// Puts the three numbers, joined by full stops, into `text`. Always true.
    static bool GetOSVersionStringFromOSVersion(const OSVersion& version, std::string& text);

    /// Puts 32 into `bitness` for the machine name "i386" and 64 for every other. False, with `bitness`
    /// untouched, when the name cannot be had.
    static bool GetCurrentOSBitness(OSBitness& bitness);
};

} // namespace ELMUUtils

#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// What the operating system is: its version, its machine name, the calling thread.
namespace platform {

struct SystemVersion {
    long majorNumber = 0;
    long minorNumber = 0;
    long patchNumber = 0;
};

/// Whether this system offers `systemVersion`. Where it does not, only `olderVersionNumber` answers.
bool offersSystemVersion();

/// The version of the running system, missing numbers being 0. Nothing when the system does not say.
std::optional<SystemVersion> systemVersion();

enum class VersionPart { Major, Minor, Patch };

/// One number of the version from the older source. Nothing when that source fails.
std::optional<std::int32_t> olderVersionNumber(VersionPart part);

/// The hardware name as `uname` gives it, such as "x86_64". Nothing when the query fails.
std::optional<std::string> machineName();

/// The kernel's id of the calling thread, as its low 32 bits, signed. The kernel is asked once for each
/// thread. A child must be made by `fork`: the system's own calls below it do not tell that there is a new
/// thread.
std::int32_t threadId();

} // namespace platform

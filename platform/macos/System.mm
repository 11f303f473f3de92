#include "platform/System.h"

#include <array>

#include <CoreServices/CoreServices.h>
#include <pthread.h>
#include <unistd.h>

#include "../posix/ThreadId.h"
#include "Foundation.h"

#ifdef GNUSTEP
typedef struct {
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
} NSOperatingSystemVersion;

/// Not declared by this Foundation, which has it in later versions.
@interface NSProcessInfo (LaterVersions)
- (NSOperatingSystemVersion)operatingSystemVersion;
@end
#endif

namespace platform {

namespace {

constexpr OSType versionCode(VersionPart part) {
    constexpr std::array<OSType, 3> codes = {0x73797331, 0x73797332, 0x73797333}; // sys1, sys2, sys3
    return codes[static_cast<std::size_t>(part)];
}

} // namespace

bool offersSystemVersion() {
    const AutoreleasePool pool;
    return [[NSProcessInfo processInfo] respondsToSelector:@selector(operatingSystemVersion)];
}

std::optional<SystemVersion> systemVersion() {
    const AutoreleasePool pool;
    NSProcessInfo* const process = offersSystemVersion() ? [NSProcessInfo processInfo] : nil;
    if (!process) {
        return std::nullopt;
    }
    const NSOperatingSystemVersion version = [process operatingSystemVersion];
    return SystemVersion{version.majorVersion, version.minorVersion, version.patchVersion};
}

std::optional<std::int32_t> olderVersionNumber(VersionPart part) {
    SInt32 number = 0;
// Only asked where the newer query is missing, which is where this one is not deprecated yet.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    const OSErr error = ::Gestalt(versionCode(part), &number);
#pragma GCC diagnostic pop
    return error == noErr ? std::optional<std::int32_t>(number) : std::nullopt;
}

std::int32_t kernelsThreadId() {
#ifdef __APPLE__
    std::uint64_t id = 0;
    ::pthread_threadid_np(nullptr, &id);
    return static_cast<std::int32_t>(id);
#else
    return static_cast<std::int32_t>(::gettid());
#endif
}

} // namespace platform

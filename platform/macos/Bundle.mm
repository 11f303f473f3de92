#include "platform/Bundle.h"

#include "../posix/PlaceRules.h"
#include "Foundation.h"

namespace platform {

std::string executablePath() {
    const AutoreleasePool pool;
    return valueOr(std::string(), [] { return textOf([[NSBundle mainBundle] executablePath]); });
}

std::string bundlePath() {
#ifdef GNUSTEP // knows another layout of bundles
    return bundleOfExecutable(executablePath());
#else
    const AutoreleasePool pool;
    return valueOr(std::string(), [] { return textOf([[NSBundle mainBundle] bundlePath]); });
#endif
}

} // namespace platform

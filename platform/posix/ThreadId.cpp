#include "ThreadId.h"

#include <pthread.h>

#include "platform/System.h"

namespace platform {

namespace {

constexpr std::int32_t kUnknown = 0;

thread_local std::int32_t ownId = kUnknown;

/// A forked child has one thread, with an id of its own.
void forgetOwnId() { ownId = kUnknown; }

} // namespace

std::int32_t threadId() {
    static const bool forgetsInChildren = ::pthread_atfork(nullptr, nullptr, forgetOwnId) == 0;
    if (ownId == kUnknown || !forgetsInChildren) {
        ownId = kernelsThreadId();
    }
    return ownId;
}

} // namespace platform

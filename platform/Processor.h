#pragma once

/// What the processor is told, rather than the system.
namespace platform {

/// Lets the processor rest for well below a microsecond, as a loop should that waits for another processor.
inline void pauseBriefly() {
    constexpr int rounds = 16;
    for (int round = 0; round < rounds; ++round) {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#elif defined(__aarch64__)
        __asm__ volatile("isb");
#else
        __asm__ volatile("");
#endif
    }
}

} // namespace platform

#pragma once

#include <cstdint>

/// The few declarations of the home platform's frameworks that its sources use, for systems without them.

using UInt8 = std::uint8_t;
using SInt16 = std::int16_t;
using UInt32 = std::uint32_t;
using SInt32 = std::int32_t;
using Boolean = unsigned char;
using OSErr = SInt16;
using OSStatus = SInt32;
using OSType = UInt32;

using CFTypeRef = const void*;
using CFStringRef = const struct __CFString*;

extern "C" {

/// Gives up an object that a function with "Create" or "Copy" in its name returned.
void CFRelease(CFTypeRef object);
}

#pragma once

#include <sys/types.h>

#include "CoreFoundation/CoreFoundation.h"

using SCDynamicStoreRef = const struct __SCDynamicStore*;

extern "C" {

CFStringRef SCDynamicStoreCopyConsoleUser(SCDynamicStoreRef store, uid_t* uid, gid_t* gid);
}

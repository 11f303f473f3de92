#pragma once

#include "CoreFoundation/CoreFoundation.h"

using FSVolumeRefNum = SInt16;

struct FSRef {
    UInt8 hidden[80];
};

enum : OSErr { noErr = 0, nsvErr = -35, fnfErr = -43, paramErr = -50, gestaltUndefSelectorErr = -5551 };
enum : FSVolumeRefNum { kLocalDomain = -32765, kUserDomain = -32763 };
enum : Boolean { kDontCreateFolder = 0, kCreateFolder = 1 };

extern "C" {

OSErr FSFindFolder(FSVolumeRefNum domain, OSType folderType, Boolean createFolder, FSRef* foundFolder);
OSStatus FSRefMakePath(const FSRef* reference, UInt8* path, UInt32 pathBufferSize);
OSErr Gestalt(OSType selector, SInt32* response);
}

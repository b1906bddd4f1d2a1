#pragma once
// Free functions on paths and DLL versions.
//
// The three path functions split as PathParts.h does and return a static buffer,
// one for each function, overwritten by the next call to the same function: copy
// the text before calling again. One thread at a time.

#include <cstdint>

const char* GetFileNameAndExt(const char* path);  // "a.mp3" of "C:\x\a.mp3"
const char* GetFileBaseName(const char* path);    // "a"
const char* GetFileExt(const char* path);         // ".mp3", empty if there is none

// Version of a DLL by its DllGetVersion: major in the high 16 bits, minor in
// the low 16 bits; 0 when the library, the entry or the call fails.
std::uint32_t GetDllVersion(const char* fileName);

// True if the common controls are version 6 or later and the display has at
// least 16 bits a pixel. The first answer is kept; `force` asks again.
bool HasCommonControls6(bool force = false);

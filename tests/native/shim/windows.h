#pragma once
// Stands in for the Windows headers where portable code is built for this
// machine: the very few calls that such code makes, and no more.

#include <cstdio>

using BOOL = int;
using DWORD = unsigned long;

constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;

inline BOOL DeleteFileA(const char* path) { return std::remove(path) == 0; }

// Takes the place of what is there, as rename does on this machine anyway.
inline BOOL MoveFileExA(const char* from, const char* to, DWORD) {
  return std::rename(from, to) == 0;
}

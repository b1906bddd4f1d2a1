#pragma once
// Stands in for the Windows headers where portable code is built for this
// machine: the very few calls that such code makes, and no more.

#include <cstdio>

using BOOL = int;

inline BOOL DeleteFileA(const char* path) { return std::remove(path) == 0; }

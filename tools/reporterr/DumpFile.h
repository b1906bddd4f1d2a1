#pragma once
// A crash dump on the disk: whether it is whole, when it was written.

#include "base/win.h"

#include <cstdint>
#include <string>

// A point of time in units of 100 ns, as file times count them.
using FileTime = std::uint64_t;

FileTime FileTimeOf(const FILETIME& time);

// When the file was written last; 0 if it can't be read, as while somebody else
// still writes it.
FileTime WrittenAt(const std::string& path);

// True if the file can be read, has the head of a dump, and is as long as its
// directory and its lists of threads and of memory say. A dump that ran into a full
// disk isn't.
bool IsWholeDump(const std::string& path);

#pragma once
// Counts of what programs hold, for tests that watch them over time. The calls
// that a system has for it, GetGuiResources and GetProcessHandleCount, always
// say 0 under Wine, so the counts are taken where the system keeps them.

#include <map>
#include <optional>

#include "base/win.h"

// The kernel's handles (files, events, threads, keys ...) of every process that has
// any, by its number; empty if the system doesn't tell.
std::map<DWORD, DWORD> CountHandles();

// The GDI objects of a process, those that the system made for it included;
// nothing if its memory can't be read.
std::optional<DWORD> CountGdiObjects(DWORD process);

// The USER objects (windows, menus, cursors, icons ...) of all programs on this
// desktop together; nothing if menus can't be made to count them with.
std::optional<DWORD> CountUserObjects();

#pragma once
// The opening of an animated show: a copy of the desktop sinks into black over
// 2.5 seconds, before the first slide fades up. Main thread.

#include "base/win.h"

#include <cstdint>

extern HDC DesktopCopyDC;  // memory context with the desktop; the fade deletes it at its end

// Readies the fade for its first frame; DesktopCopyDC is the caller's to make.
void PrepareDesktopFade();
// Deletes the copy, if there still is one.
void DeleteDesktopCopy();

// Draws and shows one frame of the fade, `dt` ms after the last one. True, with
// nothing drawn, once the desktop is black.
bool DesktopFade(std::int32_t dt);

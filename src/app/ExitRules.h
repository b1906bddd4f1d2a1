#pragma once
// The decisions behind the saver's window procedures, as plain functions:
// message in, verdict out.

#include "base/win.h"

#include <cstdint>

// True if the cursor left the square of `threshold` px around `reference`.
// Each axis counts by itself; exactly the threshold doesn't count.
bool MouseLeftThreshold(POINT cursor, POINT reference, std::int32_t threshold);

enum class KeyAction { NextTrack, PreviousTrack, RestartTrack, TogglePause, EndSaver };

// What a key does; mouse buttons pass their button mask as `key`. The arrow
// keys control the music and never end the saver.
KeyAction ActionOfKey(WPARAM key);

// True if a close now has to ask for the password: more than `delaySeconds`
// have passed since `startTick`. Both ticks are milliseconds and may wrap.
bool PasswordIsDue(std::uint32_t nowTick, std::uint32_t startTick, std::uint32_t delaySeconds);

// System commands that a running saver swallows.
bool IsSwallowedSystemCommand(WPARAM command);

// Asks for the user's password on Windows 95 to Me; true if it is right, or if
// there is nothing to ask. `window` is the dialog's parent.
bool VerifyPassword(HWND window);

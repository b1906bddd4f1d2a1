#pragma once
// Brings the keys of the dialogs' thread to one window of theirs, so that a
// dialog whose focus lies in a child control still sees F1 and Delete.

#include "base/win.h"

// The hook in force, and the window that it feeds. Written by the dialogs, as
// they open and close.
extern HHOOK gKeyboardHook;
extern HWND gKeyTargetWindow;

// Sends the target WM_KEYDOWN or WM_KEYUP for each key, and passes it on.
LRESULT CALLBACK KeyboardForwardHook(int code, WPARAM wParam, LPARAM lParam);

// Puts the hook on this thread, for `target`.
void InstallKeyboardHook(HWND target);
void RemoveKeyboardHook();

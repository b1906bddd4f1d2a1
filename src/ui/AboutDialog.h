#pragma once
// What this program is. Shows a piece of the configuration window's picture.

#include "base/win.h"

// The procedure of the dialog resource IDD_ABOUT.
INT_PTR CALLBACK AboutDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

#pragma once
// What this program is, who made it, and whose libraries it uses, as a roll of
// credits. Shows a piece of the configuration window's picture as a button. The
// dialog's thread only.

#include "base/win.h"

// The procedure of the dialog resource IDD_ABOUT. Ends with IDOK or IDCANCEL.
INT_PTR CALLBACK AboutDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

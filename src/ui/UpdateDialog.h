#pragma once
// Looks for a newer version.

#include "base/win.h"

// The procedure of the dialog resource IDD_UPDATE.
INT_PTR CALLBACK UpdateDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

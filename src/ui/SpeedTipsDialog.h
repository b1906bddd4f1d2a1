#pragma once
// Tips for those whose saver ran slowly the last time.

#include "base/win.h"

// The procedure of the dialog resource IDD_SPEED_TIPS.
INT_PTR CALLBACK SpeedTipsDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

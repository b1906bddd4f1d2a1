#pragma once
// The window that opens when the program is started without a switch or with
// /c. In this version it tells how to start the show; settings are values in
// the registry.

#include "base/win.h"

inline constexpr int kConfigDialogId = 104;  // of the dialog resource

INT_PTR CALLBACK ConfigDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);

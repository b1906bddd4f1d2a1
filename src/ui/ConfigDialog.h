#pragma once
// The window in which the user sets all up: a picture cut to its outline, with
// hand-made controls. OK copies the controls into the settings record and writes
// it; Cancel drops them. Its buttons open the other dialogs.
//
// Opened modally with the dialog resource IDD_CONFIG; its result is 1 for OK and
// 2 for Cancel. One at a time, on the main thread.

#include "base/win.h"

INT_PTR CALLBACK ConfigDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

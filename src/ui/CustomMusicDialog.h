#pragma once
// The list of the user's own music. Points the keyboard hook at itself while it is open.

#include "base/win.h"

// The procedure of the dialog resource IDD_CUSTOM_MUSIC.
INT_PTR CALLBACK CustomMusicDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

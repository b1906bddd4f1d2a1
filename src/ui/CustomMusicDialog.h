#pragma once
// The list of the user's own music, in play order. Works on a copy: the file
// PlaylistPath is read at the start, and written or, for an empty list, deleted
// by OK. Points the keyboard hook at itself while it is open.

#include "base/win.h"

// The procedure of the dialog resource IDD_CUSTOM_MUSIC. Ends with IDOK or
// IDCANCEL.
INT_PTR CALLBACK CustomMusicDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

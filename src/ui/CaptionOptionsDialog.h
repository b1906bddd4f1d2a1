#pragma once
// How captions look. Writes into the settings record.

#include "base/win.h"

// The procedure of the dialog resource IDD_CAPTION_OPTIONS.
INT_PTR CALLBACK CaptionOptionsDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

#pragma once
// A small window that shows a saver in a frame, as the system's own settings do.
// An installer's part: nothing in a run opens it.

#include "base/win.h"

// Shows the saver `path`, until the user closes the window.
void ShowPreviewDialog(HWND parent, const char* path);

// Its procedure; the dialog's parameter is the path.
INT_PTR CALLBACK PreviewDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

#pragma once
// Whether captions are shown, and in which font, size, style and alignment; a
// sample text follows the choices. OK writes into the settings record, which the
// configuration dialog saves. The dialog's thread only.

#include "base/win.h"

// The procedure of the dialog resource IDD_CAPTION_OPTIONS. Ends with IDOK or
// IDCANCEL.
INT_PTR CALLBACK CaptionOptionsDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

// Takes the font families as EnumFontFamiliesEx tells of them: adds each to the
// font list of the dialog in `lParam`, but a family that comes again for another
// character set only once.
int CALLBACK AddFontFaceProc(const LOGFONTA* logFont, const TEXTMETRICA* textMetric,
                             DWORD fontType, LPARAM lParam);

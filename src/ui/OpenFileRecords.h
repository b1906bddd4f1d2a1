#pragma once
// The two records behind the dialog that opens songs and playlists, one with
// narrow and one with wide texts. They are filled before the configuration
// dialog opens, in the form that every Windows knows (76 bytes).

#include "base/win.h"

#include <commdlg.h>

extern OPENFILENAME_NT4A OpenFileRecordA;
extern OPENFILENAME_NT4W OpenFileRecordW;

// Fills both for dialogs that belong to `owner`. The texts and file buffers are
// static.
void PrepareOpenFileRecords(HWND owner);

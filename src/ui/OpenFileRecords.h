#pragma once
// The two records behind the dialog that opens songs and playlists, one with
// narrow and one with wide texts. They are filled before the configuration
// dialog opens, in the form that every Windows knows (76 bytes). Windows 2000 and
// later are asked with the wide one.
//
// A record's buffer for the chosen names has 1,024 characters at first. The hook
// replaces it by one on the process's heap as soon as a selection needs more;
// that one stays for the next time. The dialogs' thread only.

#include "base/win.h"

#include <commdlg.h>
#include <string>
#include <vector>

extern OPENFILENAME_NT4A OpenFileRecordA;
extern OPENFILENAME_NT4W OpenFileRecordW;

// Fills both for dialogs that belong to `owner`. The texts and file buffers are
// static.
void PrepareOpenFileRecords(HWND owner);

// Opens the dialog; false if the user gave up or CommDlgExtendedError tells why
// not. The chosen files' folder becomes the current one.
bool AskForFiles(HWND owner);

// What the user chose, in the system's code page.
struct ChosenFiles {
  std::string first;               // a file's full path, or the folder of several
  std::vector<std::string> names;  // of the files in that folder; empty for one file
};

// Reads the record and makes it ready for the next time, which starts in the
// folder where this one ended.
ChosenFiles TakeChosenFiles();

// The file dialog's hook: sees to it that the names fit into the record.
UINT_PTR CALLBACK OpenFileHookProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

#pragma once
// The list of display modes in the configuration window, and the setting behind
// it. The dialog's thread only.

#include "base/win.h"

// Fills the list box with "No change" and the modes that the card offers, and
// selects the one of the settings record; the result is the selected row. Makes
// the graphics layer, on the window `dialog`; without one only "No change"
// stands in the list.
int FillModeList(HWND dialog, HWND list);
// Writes the selected row into the settings record.
void TakeSelectedMode(HWND list);
// Frees the graphics layer.
void ReleaseModeList();

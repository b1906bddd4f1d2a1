#pragma once
// The tooltips of the configuration window.

#include "base/LinkedList.h"
#include "base/win.h"

// Windows of the tooltips, from CreateDialogTooltips to DestroyTooltips.
extern LinkedList<HWND> gTooltips;

// One for each control that has something to say; the controls are made before.
void CreateDialogTooltips(HWND hwnd);
void DestroyTooltips();

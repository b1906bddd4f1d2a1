#pragma once
// Static texts that can be clicked. A hyperlink has a colour, a hand cursor,
// and an underline while the pointer is over it; a clickable static changes its
// colour instead. Neither opens anything: the click reaches the dialog as the
// static's STN_CLICKED.
//
// All state lies in properties of the window, and what was put on it is taken off
// when it is destroyed (the colours go with it), so that a static needs no owner.
// The static and its parent are subclassed, the parent once for any number of
// statics of a kind. The dialog's thread only.

#include "base/win.h"

// Of the dialogs' links.
inline constexpr COLORREF kLinkColour = RGB(0, 0, 0xC0);

// Each results in 1. The static must be the direct child of its dialog. Attaching one
// again gives it other colours.
int AttachHyperlink(HWND hwnd, COLORREF color);
int AttachHyperlink(HWND dialog, int id, COLORREF color);
int AttachClickable(HWND hwnd, COLORREF normalColor, COLORREF overColor);
int AttachClickable(HWND dialog, int id, COLORREF normalColor, COLORREF overColor);

// The procedures that the windows get.
LRESULT CALLBACK HyperlinkParentProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT CALLBACK HyperlinkProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT CALLBACK ClickableParentProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT CALLBACK ClickableProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

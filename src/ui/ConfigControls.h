#pragma once
// The controls of the configuration window: image buttons, toggles, sliders and
// the mode list with its knob, each at its place on the skin, with its picture
// and the setting that it shows. The places are constants: picture and program
// are made for each other. The dialog's thread only.

#include "base/win.h"

// Both need gSkinDC; the skin's bundle is opened if it isn't. They fill the
// controls from the settings record.
void CreateSkinControls(HWND hwnd);    // image buttons and toggles
void CreateSliderControls(HWND hwnd);  // sliders and the list's knob
void DestroySkinControls();
void DestroySliderControls();

// Copies toggles and sliders into the settings record. What has no control keeps
// what was read: without a skin that is all of them.
void ApplyControlsToSettings();

// Answers WM_DRAWITEM of the control `id`.
void DrawControl(unsigned id, const DRAWITEMSTRUCT* item);

// False if there are no toggles.
bool ToggleIsOn(unsigned id);

// The time that the delay slider shows, in seconds.
int ShownDelay();
// Where the window shows it: client px.
extern const RECT kDelayLabel;

// Puts the list's knob at row `selected` of `rows`.
void MoveModeKnob(int selected, int rows);

// On the fast mode toggle: switching it on shows a note.
LRESULT CALLBACK FastModeButtonProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

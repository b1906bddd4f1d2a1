#pragma once
// The application core: the entry point, the saver session, its two window
// procedures, and the frame step. Minimal.cpp is one run of the program, to be
// read from top to bottom. All of it runs on the main thread.

#include "base/win.h"

class VFBUNDLE;

// The opened images.bdl: from initStates to CleanUp.
extern VFBUNDLE* SlideBundle;

// --- Entry ---

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPSTR commandLine, int show);

// The system's dialog for the saver's password; nothing where it is missing.
void ChangePassword(HWND parent);
// Has the system's control panel take the program `path` as its saver.
void InstallSaver(const char* path);
// Starts the program `path` anew with its configuration dialog.
void RestartAsConfig(HWND parent, const char* path);

// --- Session ---

// The whole life of a saver run, full-screen or, in preview mode, as a child
// of `hparwnd`. `show` is what WinMain was given. How it went stands in
// CriticalError of the settings.
void DoSaver(HWND hparwnd, int show);

// The one way to end the saver, from anywhere: posts the close that the window
// procedure then acts on.
void CloseSaver();

// For a screen of that size, px: opens the bundle, makes the graphics device but in
// fast mode, builds the show, and in fast mode brings its first picture up. False
// ends the session with a box. Throws cGameError if the captions' surfaces can't be
// made; nobody catches that, and it ends as a crash.
bool initStates(int width, int height);
// One turn of the main loop. Throws cGameError.
void RenderFrame();
// Closes the music player and clears PlayMusic: no key steers it from here on.
void ShutdownSound();
// Takes down, in order: wallpaper, show, device contexts or graphics, bundle.
void CleanUp();

// --- Windows ---

// Of the saver window, full-screen or in a preview's frame: the exit rules, and the
// keys that steer the music.
LRESULT CALLBACK ScreenSaverProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Of the black windows on further monitors, and of the frame that the preview dialog
// runs a saver in. Motion and keys count as on the saver window, mouse buttons don't.
LRESULT CALLBACK ChildWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// Around the password dialog: exit rules are off and the arrow cursor is back.
void BeginDialog();
void EndDialog();

#pragma once
// Tooltip windows. The dialog's thread only.

#include "base/win.h"

#include <commctrl.h>

// One tooltip for one control; the result is its window, which belongs to the
// control's dialog and which the caller may destroy earlier. `text` isn't
// copied by the caller's side: it must stay alive. `maxWidth` in px; `flags`
// are those of a TOOLINFO; a null `title` gives none; an `autoPopTime` of -1
// leaves the time it shows to the system, else it is in ms and cut to 16 bits.
HWND CreateTooltip(HWND control, const char* text, int maxWidth, DWORD style, UINT flags,
                   int titleIcon, const char* title, int autoPopTime);

// The same as the dialogs have it: at most 250 px wide, and nothing else asked for.
HWND CreateTooltip(HWND control, const char* text);

// A tooltip that belongs to no control and stands where it is told to.
class TrackingTooltip {
 public:
  TrackingTooltip() = default;
  ~TrackingTooltip() { Destroy(); }
  TrackingTooltip(const TrackingTooltip&) = delete;
  TrackingTooltip& operator=(const TrackingTooltip&) = delete;

  // Makes the window, hidden, in place of an earlier one. `text` must stay
  // alive.
  void Create(const char* text, int maxWidth, DWORD style, int titleIcon, const char* title);
  // Screen coordinates, px.
  void ShowAt(int x, int y);
  void MoveTo(int x, int y);
  void Show();
  void Hide();
  void Destroy();

  HWND Window() const { return window; }

 private:
  void Activate(BOOL yes);

  HWND window = nullptr;
  TOOLINFOA tool{};
};

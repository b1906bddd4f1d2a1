#pragma once
// Two-state check marks on a picture. A toggle shows the background under its
// whole area and a masked indicator at its right end; its text is part of the
// background. ToggleButtonList holds the toggles of a window and the pictures
// that they share.
//
// The state flips while a toggle is drawn pressed, not in a click handler: a
// press still draws the old picture, the redraw when the button comes up shows
// the new one, and whoever handles the click already reads the new state.
//
// The window's thread only.

#include "base/LinkedList.h"
#include "base/win.h"

class CToggleButton final {
 public:
  CToggleButton() = default;
  // Gives the window back its own procedure.
  ~CToggleButton();
  CToggleButton(const CToggleButton&) = delete;
  CToggleButton& operator=(const CToggleButton&) = delete;

  virtual LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

  // Takes over the owner-drawn button `hwnd`. The indicator has the mask's
  // size, px, ends at the right edge and is centred by height. A null
  // `handCursor` leaves the cursor to the system.
  void Create(HWND hwnd, HWND parent, int maskWidth, int maskHeight, HCURSOR handCursor);
  // Draws the toggle: `background` is a picture of the parent window, `mask` is
  // black where `picture` shows.
  void Compose(HDC picture, HDC mask, HDC background, const DRAWITEMSTRUCT* item);

  struct Indicator {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
  };

  WNDPROC oldProc = nullptr;
  HCURSOR cursor = nullptr;
  HWND window = nullptr;
  HDC memoryDC = nullptr;  // the composing surface, of the control's size
  HDC windowDC = nullptr;
  RECT clientRect{};
  RECT parentOffset{};     // the window rectangle less the parent's, side by side
  Indicator indicator;     // where it lies in the control, px
  unsigned id = 0;
  bool on = false;
};

// Owns its toggles. A list has one walking cursor, so walks must not be nested.
class ToggleButtonList : public LinkedList<CToggleButton*> {
 public:
  ToggleButtonList() = default;
  ~ToggleButtonList() override;

  // The pictures stay the caller's and must outlive the drawing.
  void SetPictures(HDC on, HDC off, HDC onMaskPicture, HDC offMaskPicture);
  // Makes a toggle of the button `hwnd`, which stays the list's.
  CToggleButton* Add(unsigned id, int maskWidth, int maskHeight, HWND hwnd, HWND parent,
                     HCURSOR handCursor);
  CToggleButton* Add(unsigned id, int maskWidth, int maskHeight, HWND hwnd, HWND parent,
                     bool initiallyOn, HCURSOR handCursor);

  // Null if there is no such toggle; the others then do nothing.
  CToggleButton* Find(unsigned id);
  void SetState(unsigned id, bool on);
  void Flip(unsigned id);
  // Answers WM_DRAWITEM: flips the toggle if it is drawn pressed.
  void Draw(unsigned id, HDC background, const DRAWITEMSTRUCT* item);
  // Draws every toggle into `item` as it stands; nothing flips.
  void DrawAll(HDC background, const DRAWITEMSTRUCT* item);

  HDC onPicture = nullptr;
  HDC offPicture = nullptr;
  HDC onMask = nullptr;
  HDC offMask = nullptr;

 private:
  void Compose(CToggleButton& toggle, bool on, HDC background, const DRAWITEMSTRUCT* item);
};

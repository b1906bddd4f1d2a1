#pragma once
// An image button: turns an owner-drawn BUTTON window into something that is
// painted from two pictures, one for its pressed state.
//
// The window's GWL_USERDATA leads to the object, which must outlive the window
// or be detached before it goes. The window's thread only.

#include "base/win.h"

class CButtonControl {
 public:
  CButtonControl() = default;
  ~CButtonControl() { Detach(); }
  CButtonControl(const CButtonControl&) = delete;
  CButtonControl& operator=(const CButtonControl&) = delete;

  // What the subclassed window does with a message.
  virtual LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

  // Takes over the button `hwnd`. The pictures, `newWidth` by `newHeight` px, stay
  // the caller's and must outlive the button; a null `handCursor` leaves the
  // cursor to the system.
  void Attach(HDC normal, HDC pressed, int newWidth, int newHeight, HWND hwnd,
              HCURSOR handCursor);
  // The same for the control `id` of `dialog`, with a picture of its own for
  // both states: what `background`, a picture of the dialog's client area,
  // shows at the control's place.
  void AttachFromBackground(HWND dialog, int id, HDC background, HCURSOR handCursor);
  // Gives the window back its own procedure and drops what Attach took.
  void Detach();

  void SetCursor(HCURSOR handCursor) { cursor = handCursor; }
  // Draws the picture for the state that `item` tells of.
  void Paint(const DRAWITEMSTRUCT* item) const;

  WNDPROC oldProc = nullptr;
  HCURSOR cursor = nullptr;
  HWND window = nullptr;
  HDC normalDC = nullptr;
  HDC pressedDC = nullptr;
  HDC windowDC = nullptr;  // nothing draws on it
  int width = 0;   // px
  int height = 0;  // px
  bool ownsPictures = false;  // made by AttachFromBackground, deleted by Detach

 private:
  void DeletePictures();
};

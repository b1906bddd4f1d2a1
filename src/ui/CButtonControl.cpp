#include "ui/CButtonControl.h"

#include "base/win_owned.h"
#include "ui/Subclass.h"

void CButtonControl::Attach(HDC normal, HDC pressed, int newWidth, int newHeight, HWND hwnd,
                            HCURSOR handCursor) {
  normalDC = normal;
  pressedDC = pressed;
  width = newWidth;
  height = newHeight;
  windowDC = GetWindowDC(hwnd);
  window = hwnd;
  if (handCursor) cursor = handCursor;
  oldProc = SubclassWithObject(hwnd, this);
}

void CButtonControl::AttachFromBackground(HWND dialog, int id, HDC background,
                                          HCURSOR handCursor) {
  Detach();
  const HWND control = GetDlgItem(dialog, id);
  RECT rect{};
  GetWindowRect(control, &rect);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&rect), 2);
  const int controlWidth = rect.right - rect.left;
  const int controlHeight = rect.bottom - rect.top;
  const HDC picture = MakeCanvas(background, controlWidth, controlHeight).release();
  BitBlt(picture, 0, 0, controlWidth, controlHeight, background, rect.left, rect.top, SRCCOPY);
  ownsPictures = true;
  Attach(picture, picture, controlWidth, controlHeight, control, handCursor);
}

void CButtonControl::Detach() {
  if (oldProc && window) EndSubclass(window, this, oldProc);
  if (windowDC) ReleaseDC(window, windowDC);
  oldProc = nullptr;
  window = nullptr;
  windowDC = nullptr;
  DeletePictures();
}

void CButtonControl::DeletePictures() {
  if (ownsPictures) {
    DeleteDC(normalDC);
    if (pressedDC != normalDC) DeleteDC(pressedDC);
  }
  ownsPictures = false;
  normalDC = pressedDC = nullptr;
}

void CButtonControl::Paint(const DRAWITEMSTRUCT* item) const {
  const HDC picture = item->itemState & ODS_SELECTED ? pressedDC : normalDC;
  BitBlt(item->hDC, 0, 0, width, height, picture, 0, 0, SRCCOPY);
}

LRESULT CButtonControl::WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_SETCURSOR && cursor) {
    ::SetCursor(cursor);
    return TRUE;
  }
  return CallFormerProc(oldProc, hwnd, message, wParam, lParam);
}

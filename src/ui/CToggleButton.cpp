#include "ui/CToggleButton.h"

#include "base/win_owned.h"
#include "ui/Subclass.h"

namespace {

bool IsPushed(WNDPROC button, HWND hwnd) {
  return (CallFormerProc(button, hwnd, BM_GETSTATE, 0, 0) & BST_PUSHED) != 0;
}

}  // namespace

CToggleButton::~CToggleButton() {
  if (windowDC) ReleaseDC(window, windowDC);
  if (memoryDC) DeleteDC(memoryDC);
  if (oldProc) EndSubclass(window, this, oldProc);
}

void CToggleButton::Create(HWND hwnd, HWND parent, int maskWidth, int maskHeight,
                           HCURSOR handCursor) {
  indicator.width = maskWidth;
  indicator.height = maskHeight;
  if (handCursor) cursor = handCursor;
  windowDC = GetWindowDC(hwnd);
  GetClientRect(hwnd, &clientRect);
  RECT own{};
  RECT outer{};
  GetWindowRect(hwnd, &own);
  GetWindowRect(parent, &outer);
  parentOffset = {own.left - outer.left, own.top - outer.top, own.right - outer.right,
                  own.bottom - outer.bottom};
  memoryDC = MakeCanvas(windowDC, clientRect.right, clientRect.bottom).release();
  indicator.x = clientRect.right - maskWidth;
  indicator.y = (clientRect.bottom - clientRect.top) / 2 - maskHeight / 2;
  window = hwnd;
  oldProc = SubclassWithObject(hwnd, this);
}

// Drawing the picture twice by exclusive-or, with the mask's black cut out in
// between, lets it through where the mask is black and leaves the background
// where it is white.
void CToggleButton::Compose(HDC picture, HDC mask, HDC background, const DRAWITEMSTRUCT* item) {
  const int width = clientRect.right;
  const int height = clientRect.bottom;
  BitBlt(memoryDC, 0, 0, width, height, background, parentOffset.left, parentOffset.top, SRCCOPY);
  // These become the two colours of a mask of one bit.
  SetBkColor(memoryDC, RGB(255, 255, 255));
  SetTextColor(memoryDC, RGB(0, 0, 0));
  const auto draw = [&](HDC source, DWORD operation) {
    BitBlt(memoryDC, indicator.x, indicator.y, indicator.width, indicator.height, source, 0, 0,
           operation);
  };
  draw(picture, SRCINVERT);
  draw(mask, SRCAND);
  draw(picture, SRCINVERT);
  BitBlt(item->hDC, 0, 0, width, height, memoryDC, 0, 0, SRCCOPY);
}

LRESULT CToggleButton::WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_SETCURSOR && cursor) {
    ::SetCursor(cursor);
    return TRUE;
  }
  // Each press is to be drawn pressed exactly once, since that is what flips.
  // Some systems redraw for a state that the button has already, as it gets with
  // every motion of a held mouse; and they only mark it for painting, so that a
  // quick click would be over before it was ever drawn.
  const bool setsState = message == BM_SETSTATE;
  if (setsState && IsPushed(oldProc, hwnd) == (wParam != 0)) return 0;
  const LRESULT result = CallFormerProc(oldProc, hwnd, message, wParam, lParam);
  if (setsState) UpdateWindow(hwnd);
  return result;
}

ToggleButtonList::~ToggleButtonList() { DeleteAll(*this); }

void ToggleButtonList::SetPictures(HDC on, HDC off, HDC onMaskPicture, HDC offMaskPicture) {
  onPicture = on;
  offPicture = off;
  onMask = onMaskPicture;
  offMask = offMaskPicture;
}

CToggleButton* ToggleButtonList::Add(unsigned id, int maskWidth, int maskHeight, HWND hwnd,
                                     HWND parent, HCURSOR handCursor) {
  auto* toggle = new CToggleButton;
  toggle->id = id;
  toggle->Create(hwnd, parent, maskWidth, maskHeight, handCursor);
  AddTail(toggle);
  return toggle;
}

CToggleButton* ToggleButtonList::Add(unsigned id, int maskWidth, int maskHeight, HWND hwnd,
                                     HWND parent, bool initiallyOn, HCURSOR handCursor) {
  CToggleButton* toggle = Add(id, maskWidth, maskHeight, hwnd, parent, handCursor);
  toggle->on = initiallyOn;
  return toggle;
}

CToggleButton* ToggleButtonList::Find(unsigned id) {
  if (!First()) return nullptr;
  do {
    if (Current()->id == id) return Current();
  } while (Next());
  return nullptr;
}

void ToggleButtonList::SetState(unsigned id, bool on) {
  if (CToggleButton* toggle = Find(id)) toggle->on = on;
}

void ToggleButtonList::Flip(unsigned id) {
  if (CToggleButton* toggle = Find(id)) toggle->on = !toggle->on;
}

void ToggleButtonList::Draw(unsigned id, HDC background, const DRAWITEMSTRUCT* item) {
  CToggleButton* toggle = Find(id);
  if (!toggle) return;
  const bool shown = toggle->on;
  if (item->itemState & ODS_SELECTED) Flip(id);
  Compose(*toggle, shown, background, item);
}

void ToggleButtonList::DrawAll(HDC background, const DRAWITEMSTRUCT* item) {
  if (!First()) return;
  do Compose(*Current(), Current()->on, background, item);
  while (Next());
}

void ToggleButtonList::Compose(CToggleButton& toggle, bool on, HDC background,
                               const DRAWITEMSTRUCT* item) {
  toggle.Compose(on ? onPicture : offPicture, on ? onMask : offMask, background, item);
}

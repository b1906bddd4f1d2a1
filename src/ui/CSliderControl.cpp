#include "ui/CSliderControl.h"

#include "base/win_owned.h"
#include "ui/Subclass.h"

#include <algorithm>

namespace {

constexpr int kBeforeTheWindow = 55000;  // a coordinate above is a negative one

}  // namespace

int ClampMouseCoordinate(int coordinate) {
  return coordinate > kBeforeTheWindow ? 0 : coordinate;
}

CSliderControl::~CSliderControl() {
  if (windowDC && window) ReleaseDC(window, windowDC);
  CSliderControl::Detach();
}

void CSliderControl::Attach(HWND hwnd) {
  window = hwnd;
  GetClientRect(hwnd, &clientRect);
  GetWindowRect(hwnd, &windowRect);
  windowDC = GetWindowDC(hwnd);
  SetPosition(position);
  oldProc = SubclassWithObject<CSliderControl>(hwnd, this);
}

void CSliderControl::Detach() {
  if (oldProc) EndSubclass<CSliderControl>(window, this, oldProc);
  oldProc = nullptr;
}

float CSliderControl::GetKnobEdge() { return position - HalfKnob(); }

float CSliderControl::GetValue() { return position / HighEnd(); }

void CSliderControl::SetPosition(float centre) {
  if (centre > HighEnd())
    position = HighEnd();
  else
    position = std::max(LowEnd(), centre);
}

void CSliderControl::PageToward(int coordinate) {
  const auto step = static_cast<float>(pageStep);
  SetPosition(static_cast<float>(coordinate) > position ? position + step : position - step);
}

bool CSliderControl::HitKnob(int x, int y) {
  const auto coordinate = static_cast<float>(horizontal ? x : y);
  return coordinate >= position - HalfKnob() && coordinate <= position + HalfKnob();
}

void CSliderControl::SetPercent(float share) {
  SetPosition(HighEnd() * std::clamp(share, 0.0f, 1.0f));
}

void CSliderControl::SetKnobSize(int width, int height) {
  knobWidth = static_cast<float>(width);
  knobHeight = static_cast<float>(height);
}

void CSliderControl::Paint(const DRAWITEMSTRUCT* item) {
  BitBlt(item->hDC, 0, 0, clientRect.right, clientRect.bottom, background, 0, 0, SRCCOPY);
  PaintKnob(item->hDC);
}

void CSliderControl::PaintKnob(HDC target) const {
  const float alongX = horizontal ? position : static_cast<float>(clientRect.right / 2 + 1);
  const float alongY = horizontal ? static_cast<float>(clientRect.bottom / 2) : position;
  BitBlt(target, static_cast<int>(alongX - knobWidth * 0.5f),
         static_cast<int>(alongY - knobHeight * 0.5f), static_cast<int>(knobWidth),
         static_cast<int>(knobHeight), knob, 0, 0, SRCCOPY);
}

int CSliderControl::MouseCoordinate(LPARAM lParam) const {
  return horizontal ? LOWORD(lParam) : HIWORD(lParam);
}

int CSliderControl::DragCoordinate(LPARAM lParam) const {
  return ClampMouseCoordinate(MouseCoordinate(lParam));
}

bool CSliderControl::PressAt(LPARAM lParam) {
  if (HitKnob(LOWORD(lParam), HIWORD(lParam))) return false;
  PageToward(MouseCoordinate(lParam));
  return true;
}

void CSliderControl::DragTo(LPARAM lParam) {
  SetPosition(static_cast<float>(DragCoordinate(lParam)));
}

void CSliderControl::PaintNow() {
  if (!window) return;  // the system would take it for the whole screen
  const WindowDc dc(window);
  DRAWITEMSTRUCT item{};
  item.hDC = dc.get();
  Paint(&item);
}

void CSliderControl::Refresh() {
  PaintNow();
  if (notifyWindow) InvalidateRect(notifyWindow, &invalidRect, FALSE);
}

LRESULT CSliderControl::WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_LBUTTONDOWN) {
    if (PressAt(lParam)) Refresh();
  } else if (message == WM_MOUSEMOVE && (wParam & MK_LBUTTON)) {
    DragTo(lParam);
    Refresh();
  }
  return CallFormerProc(oldProc, hwnd, message, wParam, lParam);
}

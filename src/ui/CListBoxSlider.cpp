#include "ui/CListBoxSlider.h"

#include "ui/Subclass.h"

#include <algorithm>

void CListBoxSlider::BindList(HWND list) {
  listWindow = list;
  oldListProc = SubclassWithObject<CSliderControl>(list, this);
}

void CListBoxSlider::Detach() {
  CSliderControl::Detach();
  if (oldListProc) EndSubclass<CSliderControl>(listWindow, this, oldListProc);
  oldListProc = nullptr;
}

float CListBoxSlider::GetValue() {
  return (position - HalfKnob()) / (static_cast<float>(Span()) - KnobLength());
}

void CListBoxSlider::ScrollList() {
  const auto rows = static_cast<int>(SendMessageA(listWindow, LB_GETCOUNT, 0, 0));
  const int top = static_cast<int>(GetValue() * static_cast<float>(rows - (visibleRows - 1)));
  SendMessageA(listWindow, WM_VSCROLL, MAKEWPARAM(SB_THUMBTRACK, top), 0);
  // Some lists ask their scroll bar for the place, and this one has none.
  SendMessageA(listWindow, LB_SETTOPINDEX, static_cast<WPARAM>(std::max(top, 0)), 0);
}

// A notch starts from the knob's edge, not from its centre, so one upwards goes
// further than one downwards.
void CListBoxSlider::TurnWheel(WPARAM wParam) {
  const auto delta = static_cast<short>(HIWORD(wParam));
  const auto halfPage = static_cast<float>(pageStep / 2);
  SetPosition(delta > 0 ? GetKnobEdge() - halfPage : GetKnobEdge() + halfPage);
  ScrollList();
  PaintNow();
}

void CListBoxSlider::FollowSelection() {
  const auto selected = static_cast<int>(SendMessageA(listWindow, LB_GETCURSEL, 0, 0));
  const auto rows = static_cast<int>(SendMessageA(listWindow, LB_GETCOUNT, 0, 0));
  SetPercent(rows > 1 ? static_cast<float>(selected) / static_cast<float>(rows - 1) : 0.0f);
  PaintNow();
}

LRESULT CListBoxSlider::KnobProc(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_LBUTTONDOWN) {
    PressAt(lParam);
    ScrollList();
    PaintNow();
  } else if (message == WM_MOUSEMOVE && (wParam & MK_LBUTTON)) {
    DragTo(lParam);
    ScrollList();
    PaintNow();
  } else if (message == WM_MOUSEWHEEL) {
    TurnWheel(wParam);
  }
  return CallFormerProc(oldProc, window, message, wParam, lParam);
}

LRESULT CListBoxSlider::ListProc(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_KEYDOWN || message == WM_LBUTTONUP) FollowSelection();
  if (message == WM_MOUSEWHEEL) TurnWheel(wParam);
  const LRESULT result = CallFormerProc(oldListProc, listWindow, message, wParam, lParam);
  // Some systems scroll a list by the wheel even where it has no scroll bar;
  // the knob says where it belongs.
  if (message == WM_MOUSEWHEEL) ScrollList();
  return result;
}

LRESULT CListBoxSlider::WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (hwnd == window) return KnobProc(message, wParam, lParam);
  if (hwnd == listWindow) return ListProc(message, wParam, lParam);
  return CallFormerProc(oldProc, hwnd, message, wParam, lParam);
}

#include "ui/CSteppedSlider.h"

#include "ui/Subclass.h"

#include <algorithm>

namespace {

bool dragging = false;  // one slider at a time can be dragged

// Whole pixels from place to place. At least 1: fewer than two places, or more
// places than pixels, would have none.
int WholeStep(float length) { return std::max(static_cast<int>(length), 1); }

}  // namespace

float CSteppedSlider::StepLength() const {
  return static_cast<float>(Span() / std::max(steps - 1, 1));
}

void CSteppedSlider::SnapTo(int coordinate) {
  const int beyond = coordinate % WholeStep(StepLength());
  const int base = coordinate - beyond;
  const int snapped = StepLength() * 0.5f >= static_cast<float>(beyond)
                          ? base
                          : static_cast<int>(static_cast<float>(base) + StepLength());
  const auto centre = static_cast<float>(snapped);
  if (centre > HighEnd())
    position = static_cast<float>(static_cast<int>(HighEnd()));
  else if (LowEnd() > centre)
    position = static_cast<float>(static_cast<int>(LowEnd()));
  else
    position = centre;
}

void CSteppedSlider::SetStep(int step) {
  SnapTo(static_cast<int>(static_cast<float>(step) * StepLength()));
}

float CSteppedSlider::GetKnobEdge() {
  const float room = static_cast<float>(Span()) - KnobLength();
  const int stride = WholeStep(room / static_cast<float>(std::max(steps - 1, 1)));
  return static_cast<float>(static_cast<int>(position - HalfKnob()) / stride);
}

void CSteppedSlider::PageToward(int coordinate) {
  const bool onward = static_cast<float>(coordinate) > position;
  SnapTo(static_cast<int>(onward ? position + StepLength() : position - StepLength()));
}

void CSteppedSlider::ReleaseAt(LPARAM lParam) {
  const int x = ClampMouseCoordinate(LOWORD(lParam));
  const int y = ClampMouseCoordinate(HIWORD(lParam));
  if (horizontal) {
    if (dragging)
      SnapTo(x);
    else if (!HitKnob(x, y))
      PageToward(x);
  }
  dragging = false;
  PaintNow();
}

LRESULT CSteppedSlider::WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_MOUSEMOVE && (wParam & MK_LBUTTON)) {
    dragging = true;
    DragTo(lParam);
    PaintNow();
  } else if (message == WM_LBUTTONUP) {
    ReleaseAt(lParam);
  }
  return CallFormerProc(oldProc, hwnd, message, wParam, lParam);
}

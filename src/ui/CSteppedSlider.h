#pragma once
// A filled slider that snaps to equally spaced places when it is released: to
// the place next to where it was dragged, or one place on for a press beside
// the knob. Dragging itself is free. A vertical one isn't moved by a release.

#include "ui/CFilledSlider.h"

class CSteppedSlider : public CFilledSlider {
 public:
  LRESULT WindowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) override;
  // The number of the place that the knob stands at, from 0.
  float GetKnobEdge() override;
  // Moves one place towards `coordinate`, px.
  void PageToward(int coordinate) override;

  // Moves to the place nearest to `coordinate`, px; the lower one in the middle.
  void SnapTo(int coordinate);
  // Moves to place `step`, from 0.
  void SetStep(int step);

  int steps = 3;  // places, at least 2

 private:
  float StepLength() const;  // px
  void ReleaseAt(LPARAM lParam);
};

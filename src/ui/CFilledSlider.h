#pragma once
// A slider whose track has another picture behind the knob: left of it, or
// below it if the slider is vertical.

#include "ui/CSliderControl.h"

class CFilledSlider : public CSliderControl {
 public:
  void Paint(const DRAWITEMSTRUCT* item) override;

  // The picture of the part behind the knob, of the track's size; the owner's.
  void SetFill(HDC picture) { fill = picture; }

  HDC fill = nullptr;
};

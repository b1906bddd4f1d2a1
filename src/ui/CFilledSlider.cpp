#include "ui/CFilledSlider.h"

void CFilledSlider::Paint(const DRAWITEMSTRUCT* item) {
  const int width = clientRect.right;
  const int height = clientRect.bottom;
  const int border = static_cast<int>(position);
  if (horizontal) {
    BitBlt(item->hDC, border, 0, width - border, height, background, border, 0, SRCCOPY);
    BitBlt(item->hDC, 0, 0, border, height, fill, 0, 0, SRCCOPY);
  } else {
    BitBlt(item->hDC, 0, 0, width, border, background, 0, 0, SRCCOPY);
    BitBlt(item->hDC, 0, border, width, height - border, fill, 0, border, SRCCOPY);
  }
  PaintKnob(item->hDC);
}

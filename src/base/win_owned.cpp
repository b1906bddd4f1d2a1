#include "base/win_owned.h"

MemDc MakeCanvas(HDC like, int width, int height) {
  MemDc canvas(CreateCompatibleDC(like));
  const GdiBitmap bitmap(CreateCompatibleBitmap(like, width, height));
  if (!canvas || !bitmap) return MemDc();
  SelectObject(canvas.get(), bitmap.get());
  return canvas;
}

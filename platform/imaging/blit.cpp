#include "imaging/blit.h"

#include "base/win_owned.h"
#include "imaging/picture.h"

#include <cstring>

namespace imaging {

namespace {

// Header of `height` rows from top to bottom.
BITMAPINFO HeaderOf(int rowPixels, int height) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = rowPixels;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  return info;
}

// The fastest way, and an exact one. The header speaks of the wanted rows alone:
// with a whole picture rows would have to be counted from the bottom. But of
// these it speaks as a whole, since GDI may read all that a header promises.
bool Copy(HDC hdc, int x, int y, const PixelBlock& block) {
  const BITMAPINFO info = HeaderOf(block.rowPixels, block.height);
  const UINT rows = static_cast<UINT>(block.height);
  return SetDIBitsToDevice(hdc, x, y, static_cast<DWORD>(block.width), rows, block.left, 0, 0, rows,
                           block.rows, &info, DIB_RGB_COLORS) != 0;
}

// By way of a bitmap, for SetDIBitsToDevice knows no raster operations.
bool Combine(HDC hdc, int x, int y, const PixelBlock& block, DWORD rop) {
  const BITMAPINFO info = HeaderOf(block.width, block.height);
  void* bits = nullptr;
  const GdiBitmap bitmap(CreateDIBSection(hdc, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  const MemDc memory(CreateCompatibleDC(hdc));
  if (!bitmap || !memory) return false;
  const std::size_t rowSize = static_cast<std::size_t>(block.width) * kBytesPerPixel;
  const std::size_t pitch = static_cast<std::size_t>(block.rowPixels) * kBytesPerPixel;
  const std::uint8_t* first = block.rows + static_cast<std::size_t>(block.left) * kBytesPerPixel;
  for (std::size_t row = 0; row < static_cast<std::size_t>(block.height); ++row)
    std::memcpy(static_cast<std::uint8_t*>(bits) + row * rowSize, first + row * pitch, rowSize);
  const SelectGuard selected(memory.get(), bitmap.get());
  return BitBlt(hdc, x, y, block.width, block.height, memory.get(), 0, 0, rop) != FALSE;
}

}  // namespace

bool Blit(HDC hdc, int x, int y, const PixelBlock& block, DWORD rop) {
  return rop == SRCCOPY ? Copy(hdc, x, y, block) : Combine(hdc, x, y, block, rop);
}

}  // namespace imaging

#pragma once
// Pixels of ours into a device context.

#include "base/win.h"

#include <cstdint>

namespace imaging {

// Pixels as a Picture has them: from column `left` on `width` of each of
// `height` rows, which are `rowPixels` long. All of these rows can be read.
struct PixelBlock {
  const std::uint8_t* rows;  // where the first one begins
  int left;
  int width;
  int height;
  int rowPixels;
};

// Combines the block with what is at (x, y) of `hdc` by the raster operation
// `rop`. False if GDI fails.
bool Blit(HDC hdc, int x, int y, const PixelBlock& block, DWORD rop);

}  // namespace imaging

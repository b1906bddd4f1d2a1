#pragma once
// How a whole picture fits on a screen.

#include <cstdint>

struct PixelSize {
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// The largest size with the picture's proportions that fits on the screen:
// full width for a picture at least as wide as the screen is, else full
// height. Computed in 32-bit floats and truncated. A picture without a height
// or width, or one that is a thread, fills at least one pixel each way.
PixelSize FitWhole(std::uint32_t pictureWidth, std::uint32_t pictureHeight,
                   std::int32_t screenWidth, std::int32_t screenHeight);

#pragma once
// Reads what was drawn and compares it with what should be there. Colours are
// 0xRRGGBB; the fourth byte of a pixel never counts.

#include "base/win.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace support {

// A rectangle of pixels, rows from the top.
struct Pixels {
  Pixels() = default;
  Pixels(int pixelWidth, int pixelHeight, std::uint32_t colour = 0);

  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> colours;

  std::uint32_t At(int x, int y) const;  // throws std::out_of_range
  void Set(int x, int y, std::uint32_t colour);
  Pixels Cut(int x, int y, int cutWidth, int cutHeight) const;
};

// The picture that a pattern describes.
Pixels Render(int width, int height, const Pattern& pattern);

// What a device context shows in a rectangle (logical units = pixels).
Pixels ReadDc(HDC dc, int x, int y, int width, int height);
// A whole bitmap that is selected nowhere.
Pixels ReadBitmap(HBITMAP bitmap);
// Rows of `stride` bytes from the top, 4 bytes a pixel (blue, green, red, any).
Pixels ReadBgrx(const void* bits, int width, int height, int stride);

// Largest difference of any colour channel between two colours.
int ColourDistance(std::uint32_t a, std::uint32_t b);
// Mean of the absolute differences over all channels of all pixels, 0 to 255;
// infinite if the sizes differ.
double MeanError(const Pixels& a, const Pixels& b);

// EXPECT_TRUE(PixelsNear(...)): equal sizes and no channel off by more than
// `tolerance`. A failure names the number of wrong pixels and the first one.
testing::AssertionResult PixelsNear(const Pixels& actual, const Pixels& expected,
                                    int tolerance = 0);

// A 32-bit picture in memory that one can draw into through `Dc()`.
class Canvas {
 public:
  Canvas(int width, int height, std::uint32_t colour = 0);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  HDC Dc() const { return dc_; }
  Pixels Read() const;

 private:
  int width_;
  int height_;
  HDC dc_;
  HBITMAP bitmap_;
  HGDIOBJ previous_;
  void* bits_ = nullptr;
};

}  // namespace support

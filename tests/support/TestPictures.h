#pragma once
// Pictures whose every pixel a test can work out for itself. Colours are
// 0xRRGGBB throughout; (0, 0) is the top left pixel.

#include "support/Bytes.h"

#include <cstdint>
#include <functional>

namespace support {

// The colour at (x, y) of a picture of the given size.
using Pattern = std::function<std::uint32_t(int x, int y, int width, int height)>;

Pattern Flat(std::uint32_t colour);
// Red grows from left to right, green from top to bottom, both 0 to 255; blue
// is a quarter of their sum, so that no axis can be swapped unnoticed.
Pattern Gradient();
// One colour for each quarter; the middle column and row of an odd size belong
// to the right and lower quarters.
Pattern Quadrants(std::uint32_t topLeft, std::uint32_t topRight, std::uint32_t bottomLeft,
                  std::uint32_t bottomRight);
// Squares of `square` px in two colours; the first one stands at (0, 0).
Pattern Checkers(int square, std::uint32_t first, std::uint32_t second);

// The picture as the bytes of a BMP file: uncompressed, rows from the bottom
// up, `bits` 24 or 32.
Bytes MakeBmp(int width, int height, const Pattern& pattern, int bits = 24);

}  // namespace support

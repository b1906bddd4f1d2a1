#include "graphics/MipMaps.h"

#include <algorithm>

namespace {

// Two channels of a 32-bit pixel, with room between them for the sum of four.
constexpr std::uint32_t kEvenBytes = 0x00FF00FF;

std::uint32_t Mean32(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  const std::uint32_t even =
      (a & kEvenBytes) + (b & kEvenBytes) + (c & kEvenBytes) + (d & kEvenBytes);
  const std::uint32_t odd = (a >> 8 & kEvenBytes) + (b >> 8 & kEvenBytes) + (c >> 8 & kEvenBytes) +
                            (d >> 8 & kEvenBytes);
  return (even >> 2 & kEvenBytes) | (odd >> 2 & kEvenBytes) << 8;
}

template <class Pixel>
Pixel* Row(const PixelBlock& block, std::uint32_t y) {
  return reinterpret_cast<Pixel*>(block.bits + static_cast<std::ptrdiff_t>(y) * block.pitch);
}

template <class Pixel, class Mean>
void Shrink(const PixelBlock& source, const PixelBlock& target, Mean mean) {
  if (source.width == 0 || source.height == 0) return;
  const std::uint32_t lastColumn = source.width - 1;
  const std::uint32_t lastRow = source.height - 1;
  for (std::uint32_t y = 0; y < target.height; ++y) {
    const Pixel* upper = Row<Pixel>(source, std::min(2 * y, lastRow));
    const Pixel* lower = Row<Pixel>(source, std::min(2 * y + 1, lastRow));
    Pixel* to = Row<Pixel>(target, y);
    for (std::uint32_t x = 0; x < target.width; ++x) {
      const std::uint32_t left = std::min(2 * x, lastColumn);
      const std::uint32_t right = std::min(2 * x + 1, lastColumn);
      to[x] = mean(upper[left], upper[right], lower[left], lower[right]);
    }
  }
}

}  // namespace

std::uint32_t LimitMipLevels(std::uint32_t width, std::uint32_t height, std::int32_t levels) {
  levels = std::max(levels, 1);
  std::uint32_t side = std::min(width, height);
  const bool lastHasTwoPixels = levels <= 32 && side >> (levels - 1) >= 2;
  if (lastHasTwoPixels) return static_cast<std::uint32_t>(levels);
  std::uint32_t halvings = 0;
  for (; side > 1; side /= 2) ++halvings;
  return halvings + 1;
}

void Shrink32(const PixelBlock& source, const PixelBlock& target) {
  Shrink<std::uint32_t>(source, target, Mean32);
}

void Shrink16(const PixelBlock& source, const PixelBlock& target, const ChannelMasks& masks) {
  const auto mean = [&masks](std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    std::uint32_t result = 0;
    for (const std::uint32_t mask : {masks.red, masks.green, masks.blue})
      result |= ((a & mask) + (b & mask) + (c & mask) + (d & mask)) >> 2 & mask;
    return static_cast<std::uint16_t>(result);
  };
  Shrink<std::uint16_t>(source, target, mean);
}

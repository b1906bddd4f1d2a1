#pragma once
// The arithmetic of mip chains: how many levels a texture can have, and how one
// level becomes the next. Plain memory, no device.

#include <cstddef>
#include <cstdint>

// How many of `levels` a texture of that size gets: as many as asked if the
// last one still is 2 px wide and high, else the chain down to 1 px. At
// least 1.
std::uint32_t LimitMipLevels(std::uint32_t width, std::uint32_t height, std::int32_t levels);

// Rows of pixels in memory, `pitch` bytes apart.
struct PixelBlock {
  unsigned char* bits = nullptr;
  std::ptrdiff_t pitch = 0;
  std::uint32_t width = 0;   // px
  std::uint32_t height = 0;
};

// Which bits of a 16-bit pixel make up each channel.
struct ChannelMasks {
  std::uint32_t red = 0;
  std::uint32_t green = 0;
  std::uint32_t blue = 0;
};

// Each target pixel becomes the mean, rounded down, of its 2 by 2 source
// pixels, channel by channel. A source that is narrower or lower than that
// repeats its last column or row.
void Shrink32(const PixelBlock& source, const PixelBlock& target);
void Shrink16(const PixelBlock& source, const PixelBlock& target, const ChannelMasks& masks);

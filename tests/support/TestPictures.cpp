#include "support/TestPictures.h"

#include <cassert>

namespace support {
namespace {

constexpr std::uint32_t kFileHeaderSize = 14;
constexpr std::uint32_t kInfoHeaderSize = 40;

std::uint32_t Ramp(int at, int length) {
  return length > 1 ? static_cast<std::uint32_t>(at * 255 / (length - 1)) : 0;
}

void AppendHeaders(Bytes& file, int width, int height, int bits, std::uint32_t pixelBytes) {
  file.push_back('B');
  file.push_back('M');
  AppendU32(file, kFileHeaderSize + kInfoHeaderSize + pixelBytes);
  AppendU32(file, 0);
  AppendU32(file, kFileHeaderSize + kInfoHeaderSize);
  AppendU32(file, kInfoHeaderSize);
  AppendU32(file, static_cast<std::uint32_t>(width));
  AppendU32(file, static_cast<std::uint32_t>(height));
  AppendU16(file, 1);
  AppendU16(file, static_cast<std::uint16_t>(bits));
  AppendU32(file, 0);  // uncompressed
  AppendU32(file, pixelBytes);
  AppendU32(file, 2835);  // 72 dots an inch
  AppendU32(file, 2835);
  AppendU32(file, 0);
  AppendU32(file, 0);
}

}  // namespace

Pattern Flat(std::uint32_t colour) {
  return [colour](int, int, int, int) { return colour; };
}

Pattern Gradient() {
  return [](int x, int y, int width, int height) {
    const std::uint32_t red = Ramp(x, width);
    const std::uint32_t green = Ramp(y, height);
    return red << 16 | green << 8 | (red + green) / 4;
  };
}

Pattern Quadrants(std::uint32_t topLeft, std::uint32_t topRight, std::uint32_t bottomLeft,
                  std::uint32_t bottomRight) {
  return [=](int x, int y, int width, int height) {
    if (y < height / 2) return x < width / 2 ? topLeft : topRight;
    return x < width / 2 ? bottomLeft : bottomRight;
  };
}

Pattern Checkers(int square, std::uint32_t first, std::uint32_t second) {
  return
      [=](int x, int y, int, int) { return (x / square + y / square) % 2 == 0 ? first : second; };
}

Bytes MakeBmp(int width, int height, const Pattern& pattern, int bits) {
  assert(bits == 24 || bits == 32);
  const int pixelSize = bits / 8;
  const int padding = (4 - width * pixelSize % 4) % 4;
  Bytes file;
  AppendHeaders(file, width, height, bits,
                static_cast<std::uint32_t>((width * pixelSize + padding) * height));
  for (int y = height - 1; y >= 0; --y) {
    for (int x = 0; x < width; ++x) {
      const std::uint32_t colour = pattern(x, y, width, height);
      file.push_back(static_cast<unsigned char>(colour & 0xFF));
      file.push_back(static_cast<unsigned char>(colour >> 8 & 0xFF));
      file.push_back(static_cast<unsigned char>(colour >> 16 & 0xFF));
      if (bits == 32) file.push_back(0);
    }
    file.insert(file.end(), static_cast<std::size_t>(padding), 0);
  }
  return file;
}

}  // namespace support

#include "support/PixelHelpers.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <limits>
#include <stdexcept>

namespace support {
namespace {

constexpr std::uint32_t kColourMask = 0xFFFFFF;

// 32 bits, uncompressed, rows from the top.
BITMAPINFO TopDownInfo(int width, int height) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  return info;
}

int Channel(std::uint32_t colour, int shift) { return static_cast<int>(colour >> shift & 0xFF); }

int ChannelSum(std::uint32_t a, std::uint32_t b) {
  int sum = 0;
  for (int shift = 0; shift < 24; shift += 8)
    sum += std::abs(Channel(a, shift) - Channel(b, shift));
  return sum;
}

bool SameSize(const Pixels& a, const Pixels& b) {
  return a.width == b.width && a.height == b.height;
}

}  // namespace

Pixels::Pixels(int pixelWidth, int pixelHeight, std::uint32_t colour)
    : width(pixelWidth),
      height(pixelHeight),
      colours(static_cast<std::size_t>(pixelWidth) * static_cast<std::size_t>(pixelHeight),
              colour & kColourMask) {}

std::uint32_t Pixels::At(int x, int y) const {
  if (x < 0 || y < 0 || x >= width || y >= height) throw std::out_of_range("pixel outside");
  return colours[static_cast<std::size_t>(y * width + x)];
}

void Pixels::Set(int x, int y, std::uint32_t colour) {
  if (x < 0 || y < 0 || x >= width || y >= height) throw std::out_of_range("pixel outside");
  colours[static_cast<std::size_t>(y * width + x)] = colour & kColourMask;
}

Pixels Pixels::Cut(int x, int y, int cutWidth, int cutHeight) const {
  Pixels part(cutWidth, cutHeight);
  for (int row = 0; row < cutHeight; ++row)
    for (int column = 0; column < cutWidth; ++column)
      part.Set(column, row, At(x + column, y + row));
  return part;
}

Pixels Render(int width, int height, const Pattern& pattern) {
  Pixels pixels(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) pixels.Set(x, y, pattern(x, y, width, height));
  return pixels;
}

Pixels ReadDc(HDC dc, int x, int y, int width, int height) {
  const Canvas copy(width, height);
  if (!BitBlt(copy.Dc(), 0, 0, width, height, dc, x, y, SRCCOPY))
    throw std::runtime_error("the device context can't be read");
  return copy.Read();
}

Pixels ReadBitmap(HBITMAP bitmap) {
  BITMAP size{};
  if (!GetObjectA(bitmap, sizeof size, &size)) throw std::runtime_error("not a bitmap");
  Pixels pixels(size.bmWidth, std::abs(size.bmHeight));
  BITMAPINFO info = TopDownInfo(pixels.width, pixels.height);
  const HDC screen = GetDC(nullptr);
  const int rows = GetDIBits(screen, bitmap, 0, static_cast<UINT>(pixels.height),
                             pixels.colours.data(), &info, DIB_RGB_COLORS);
  ReleaseDC(nullptr, screen);
  if (rows != pixels.height) throw std::runtime_error("the bitmap can't be read");
  for (std::uint32_t& colour : pixels.colours) colour &= kColourMask;
  return pixels;
}

Pixels ReadBgrx(const void* bits, int width, int height, int stride) {
  Pixels pixels(width, height);
  const auto* row = static_cast<const unsigned char*>(bits);
  for (int y = 0; y < height; ++y, row += stride)
    for (int x = 0; x < width; ++x) {
      std::uint32_t pixel;
      std::memcpy(&pixel, row + x * 4, sizeof pixel);
      pixels.Set(x, y, pixel);
    }
  return pixels;
}

int ColourDistance(std::uint32_t a, std::uint32_t b) {
  int distance = 0;
  for (int shift = 0; shift < 24; shift += 8)
    distance = std::max(distance, std::abs(Channel(a, shift) - Channel(b, shift)));
  return distance;
}

double MeanError(const Pixels& a, const Pixels& b) {
  if (!SameSize(a, b)) return std::numeric_limits<double>::infinity();
  if (a.colours.empty()) return 0;
  double sum = 0;
  for (std::size_t n = 0; n < a.colours.size(); ++n) sum += ChannelSum(a.colours[n], b.colours[n]);
  return sum / (3.0 * static_cast<double>(a.colours.size()));
}

testing::AssertionResult PixelsNear(const Pixels& actual, const Pixels& expected, int tolerance) {
  if (!SameSize(actual, expected))
    return testing::AssertionFailure()
           << "size " << actual.width << "x" << actual.height << " instead of " << expected.width
           << "x" << expected.height;
  std::size_t wrong = 0;
  std::size_t first = 0;
  for (std::size_t n = 0; n < actual.colours.size(); ++n)
    if (ColourDistance(actual.colours[n], expected.colours[n]) > tolerance && wrong++ == 0)
      first = n;
  if (wrong == 0) return testing::AssertionSuccess();
  const auto width = static_cast<std::size_t>(actual.width);
  return testing::AssertionFailure()
         << wrong << " of " << actual.colours.size() << " pixels differ; the first at ("
         << first % width << ", " << first / width << ") is " << std::hex << std::setfill('0')
         << std::setw(6) << actual.colours[first] << " instead of " << std::setw(6)
         << expected.colours[first];
}

Canvas::Canvas(int width, int height, std::uint32_t colour)
    : width_(width), height_(height), dc_(CreateCompatibleDC(nullptr)) {
  const BITMAPINFO info = TopDownInfo(width, height);
  bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &bits_, nullptr, 0);
  if (!bitmap_) {
    DeleteDC(dc_);
    throw std::runtime_error("no canvas of that size");
  }
  previous_ = SelectObject(dc_, bitmap_);
  std::fill_n(static_cast<std::uint32_t*>(bits_), static_cast<std::size_t>(width) * height, colour);
}

Canvas::~Canvas() {
  SelectObject(dc_, previous_);
  DeleteObject(bitmap_);
  DeleteDC(dc_);
}

Pixels Canvas::Read() const {
  GdiFlush();
  return ReadBgrx(bits_, width_, height_, width_ * 4);
}

}  // namespace support

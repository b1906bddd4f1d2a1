#include "imaging/picture.h"

#include <cstring>
#include <new>
#include <utility>

namespace imaging {

namespace {

std::uint8_t ScaleByOpacity(unsigned value, unsigned opacity) {
  return static_cast<std::uint8_t>((value * opacity + 127) / 255);
}

}  // namespace

Picture& Picture::operator=(Picture&& other) noexcept {
  bits_ = std::move(other.bits_);
  width_ = std::exchange(other.width_, 0);
  height_ = std::exchange(other.height_, 0);
  return *this;
}

bool Picture::Create(std::int64_t width, std::int64_t height) {
  Clear();
  if (!IsSizeAllowed(width, height)) return false;
  const std::size_t size = static_cast<std::size_t>(width * height) * kBytesPerPixel;
  bits_.reset(new (std::nothrow) std::uint8_t[size + kSlack]);
  if (!bits_) return false;
  std::memset(bits_.get() + size, 0, kSlack);
  width_ = static_cast<int>(width);
  height_ = static_cast<int>(height);
  return true;
}

void Picture::Clear() {
  bits_.reset();
  width_ = height_ = 0;
}

void CompositeOnBlack(std::uint8_t* pixels, std::size_t count) {
  for (std::uint8_t* p = pixels; count > 0; --count, p += kBytesPerPixel) {
    const unsigned opacity = std::exchange(p[3], std::uint8_t{255});
    if (opacity == 255) continue;
    for (int i = 0; i < 3; ++i) p[i] = ScaleByOpacity(p[i], opacity);
  }
}

}  // namespace imaging

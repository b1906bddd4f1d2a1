#pragma once
// The pixels of one picture, and the limits that every decoder keeps. Portable.

#include <cstdint>
#include <memory>
#include <span>

namespace imaging {

// A picture file in memory, as it came from outside.
using Bytes = std::span<const std::uint8_t>;

inline constexpr int kMaxSide = 32767;
inline constexpr std::int64_t kMaxPixels = 100'000'000;
inline constexpr int kBytesPerPixel = 4;

// True if a picture may have this size. To be asked with what a header claims,
// before memory is taken.
constexpr bool IsSizeAllowed(std::int64_t width, std::int64_t height) {
  return width >= 1 && height >= 1 && width <= kMaxSide && height <= kMaxSide &&
         width * height <= kMaxPixels;
}

// Rows from top to bottom without padding; four bytes a pixel: blue, green,
// red, 255. Behind the last row lie kSlack readable bytes, so that vector code
// may read whole registers. Empty (0 by 0) at first.
class Picture {
 public:
  static constexpr int kSlack = 16;

  Picture() = default;
  Picture(Picture&& other) noexcept { *this = std::move(other); }
  Picture& operator=(Picture&& other) noexcept;

  // Takes memory for a picture and leaves its pixels unset, the slack zero.
  // False, with the picture empty, for a size that isn't allowed or when
  // memory runs out. The former pixels are freed first.
  [[nodiscard]] bool Create(std::int64_t width, std::int64_t height);
  void Clear();

  bool empty() const { return !bits_; }
  int width() const { return width_; }
  int height() const { return height_; }
  std::size_t rowBytes() const { return static_cast<std::size_t>(width_) * kBytesPerPixel; }
  std::uint8_t* bits() const { return bits_.get(); }
  std::uint8_t* row(int y) const { return bits_.get() + rowBytes() * static_cast<std::size_t>(y); }

 private:
  std::unique_ptr<std::uint8_t[]> bits_;
  int width_ = 0;
  int height_ = 0;
};

// Puts `count` pixels, whose fourth byte is their opacity, on a black ground:
// colours are scaled by the opacity, the fourth byte becomes 255.
void CompositeOnBlack(std::uint8_t* pixels, std::size_t count);

}  // namespace imaging

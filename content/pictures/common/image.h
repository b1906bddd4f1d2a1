// The picture being made: linear light in floats, then "developed" into 8-bit sRGB as a
// photograph is: exposure, a filmic curve, a little grain that keeps smooth skies from banding.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/random.h"
#include "common/vec.h"

namespace pictures {

class Image {
 public:
  Image(int width, int height) : width_(width), height_(height), data_(3ull * width * height) {}
  int width() const { return width_; }
  int height() const { return height_; }

  Vec3 At(int x, int y) const {
    const float* p = &data_[3 * (static_cast<size_t>(y) * width_ + x)];
    return {p[0], p[1], p[2]};
  }
  void Set(int x, int y, Vec3 c) {
    float* p = &data_[3 * (static_cast<size_t>(y) * width_ + x)];
    p[0] = static_cast<float>(c.x), p[1] = static_cast<float>(c.y), p[2] = static_cast<float>(c.z);
  }
  void Add(int x, int y, Vec3 c) { Set(x, y, At(x, y) + c); }
  // Adds without minding the borders: what lies outside is dropped.
  void AddInside(int x, int y, Vec3 c) {
    if (x >= 0 && y >= 0 && x < width_ && y < height_) Add(x, y, c);
  }
  // Bilinear; coordinates in pixels, centres at .5, clamped to the edge.
  Vec3 Sample(double x, double y) const;

 private:
  int width_, height_;
  std::vector<float> data_;
};

// Calls shade(x, y) at samples*samples jittered points of each pixel, in pixel coordinates, and
// stores the mean.
template <typename Shade>
void RenderPixels(Image& image, int samples, Shade shade) {
  const double step = 1.0 / samples;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      Vec3 sum;
      for (int s = 0; s < samples * samples; ++s) {
        const uint32_t h = Hash(x, y, s, 77);
        const double jx = (h & 0xFFFF) / 65536.0, jy = (h >> 16) / 65536.0;
        sum += shade(x + (s % samples + jx) * step, y + (s / samples + jy) * step);
      }
      image.Set(x, y, sum / (samples * samples));
    }
  }
}

// Calls change(x, y, colour) for each pixel and stores what it returns.
template <typename Change>
void ForEachPixel(Image& image, Change change) {
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) image.Set(x, y, change(x, y, image.At(x, y)));
  }
}

// An approximate Gaussian (three box passes), `radius` its standard deviation in pixels.
Image Blurred(const Image& image, double radius);
// Half size, by averaging.
Image Halved(const Image& image);
// Bilinear enlargement to the given size.
Image Resized(const Image& image, int width, int height);
// Adds a glow: light above `threshold`, spread over several radii, times `strength`.
void AddGlow(Image& image, double threshold, double strength, double radius);

struct Development {
  double exposure = 1.0;
  double contrast = 1.0;  // slope of the filmic curve in the middle tones
  double saturation = 1.0;
  double vignette = 0.0;  // share of light lost in the corners
  double grain = 0.004;   // standard deviation, of full scale
  bool filmic = true;     // false: clip at 1, for pictures whose colours are chosen directly
  Vec3 tint = {1, 1, 1};
};
// Writes a binary PPM to standard output. False if that failed.
bool Develop(const Image& image, const Development& how);

}  // namespace pictures

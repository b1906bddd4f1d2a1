// Conifers: as a skyline for distant ridges, and painted one by one for near woods.
#pragma once

#include <cstdint>
#include <vector>

#include "common/vec.h"

namespace pictures {

// How far a wood's outline reaches above the ground at x. `density`: trees a unit of x; `tall`:
// height of the tallest, in the same unit.
double TreeLine(double x, double density, double tall, uint32_t seed);

// A one-channel canvas of how much of each pixel is covered, 0..1.
class Mask {
 public:
  Mask(int width, int height)
      : width_(width), height_(height), data_(static_cast<size_t>(width) * height) {}
  int width() const { return width_; }
  int height() const { return height_; }
  double At(int x, int y) const { return data_[static_cast<size_t>(y) * width_ + x]; }
  // Covers what is left of a pixel by `share`; outside is ignored.
  void Cover(int x, int y, double share);
  // A soft-edged line that tapers from radius r0 to r1.
  void Stroke(Vec2 from, Vec2 to, double r0, double r1);

 private:
  int width_, height_;
  std::vector<float> data_;
};

// Paints a spruce with its foot at `foot` (pixels), `tall` pixels high.
void PaintSpruce(Mask& mask, Vec2 foot, double tall, uint32_t seed);

}  // namespace pictures

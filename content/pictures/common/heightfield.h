// Landscapes as a square grid of heights, the forces that shape them, and the light on them.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "common/vec.h"

namespace pictures {

// Heights in metres over a square of `size` metres, sampled at n*n points. Outside the square
// the border goes on.
class HeightField {
 public:
  HeightField(int n, double size) : n_(n), size_(size), data_(static_cast<size_t>(n) * n) {}
  int n() const { return n_; }
  double size() const { return size_; }
  double cell() const { return size_ / n_; }
  float& At(int x, int y) { return data_[static_cast<size_t>(y) * n_ + x]; }
  float At(int x, int y) const { return data_[static_cast<size_t>(y) * n_ + x]; }
  float AtClamped(int x, int y) const;

  double Linear(double x, double y) const;  // x, y in metres
  double Cubic(double x, double y) const;
  Vec2 Slope(double x, double y) const;  // of the cubic surface

 private:
  int n_;
  double size_;
  std::vector<float> data_;
};

// Twice the grid, same land.
HeightField Refined(const HeightField& field);
HeightField Smoothed(const HeightField& field, int radius);

// Mountains as rivers carve them: the land rises, every cell drains to its lowest neighbour, and
// water cuts the deeper the more land it drains. Leaves ridges and branching valleys. `uplift`
// holds the rise of each point in metres a step. `talus`: steepest slope that rock keeps.
void CarveRivers(HeightField& field, const HeightField& uplift, int steps, double erodibility,
                 double talus);

// Gullies and fans: single drops run downhill, pick up and lay down soil.
void CarveGullies(HeightField& field, int drops, uint32_t seed);

// A whole range: `uplift(u, v)` says how fast the land rises at each place, u and v 0..1 over the
// square, 1 for the high chains. Rivers are carved on `n`*`n` points, gullies on four times as
// many.
HeightField CarvedRange(double size, int n, const std::function<double(double, double)>& uplift);

// For each point the height up to which land towards the sun shades it, and the distance to what
// casts the shade (for the softness of its edge).
class ShadowMap {
 public:
  ShadowMap(const HeightField& field, Vec3 sun);
  // Share of the sun's disc that is seen from a point, 0..1.
  double Lit(double x, double y, double z) const;

 private:
  HeightField top_, distance_;
};

// How open the sky is over each point, 0..1: hollows are darker than crests.
HeightField Openness(const HeightField& field);

}  // namespace pictures

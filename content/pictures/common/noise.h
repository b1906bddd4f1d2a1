// Gradient noise and what is woven from it. All results lie around 0, in about -1..1, unless
// said otherwise; features are about one unit wide.
#pragma once

#include <cstdint>

#include "common/vec.h"

namespace pictures {

double Noise(double x, double y, uint32_t seed);
double Noise(Vec3 p, uint32_t seed);

// Sums of octaves, each of twice the frequency and `gain` times the height of the one before.
// Octaves are rotated against each other, so that the lattice does not show.
double Fbm(double x, double y, int octaves, uint32_t seed, double gain = 0.5);
double Fbm(Vec3 p, int octaves, uint32_t seed, double gain = 0.5);

// Octaves folded at zero: sharp crests, round hollows. 0..1.
double Ridged(double x, double y, int octaves, uint32_t seed, double gain = 0.5);
double Ridged(Vec3 p, int octaves, uint32_t seed, double gain = 0.5);

// Distances to the nearest and second nearest of points scattered one to a cell.
struct CellDistances {
  double nearest, second;
  uint32_t id;  // tells the cells apart
};
CellDistances Cells(double x, double y, uint32_t seed);

}  // namespace pictures

// Wind waves: random waves of the lengths and directions that wind raises, summed by Fourier
// transform into square patches that repeat.
#pragma once

#include <cstdint>
#include <vector>

#include "common/vec.h"

namespace pictures {

struct WaterSample {
  double height = 0;
  Vec2 slope;
  double roughness = 0;  // variance of the slopes too small to be seen from here
};

class Ocean {
 public:
  // `wind`: direction (radians, 0 = +x) the waves run; `significant`: mean height in metres of the
  // higher third of the waves; `longest`: wave length in metres of the strongest waves.
  Ocean(double wind, double significant, double longest, uint32_t seed);
  // What is there, averaged over `footprint` metres.
  WaterSample At(double x, double y, double footprint) const;
  double Height(double x, double y, double footprint) const;

 private:
  struct Level {
    int n;
    std::vector<float> values;  // height, slope x, slope y
    double variance;            // of the slopes lost up to this level
  };
  struct Patch {
    double size, turn;
    std::vector<Level> levels;
  };
  void Blend(const Patch& patch, double x, double y, double footprint, WaterSample& sum) const;
  std::vector<Patch> patches_;
};

}  // namespace pictures

// Colour: from linear light to the screen, and palettes.
#pragma once

#include <initializer_list>
#include <vector>

#include "common/vec.h"

namespace pictures {

// A film-like curve: keeps middle tones, rolls highlights off and lets very bright colours fade
// to white as film and eyes do. Linear in and out, result 0..1.
Vec3 Filmic(Vec3 c, double contrast);

Vec3 Saturated(Vec3 c, double amount);
double Luminance(Vec3 c);
double ToSrgb(double linear);
double FromSrgb(double srgb);
// 0xRRGGBB as a designer writes it -> linear light.
Vec3 Rgb(uint32_t hex);
// The colour of a glowing body, brightness normalised to luminance 1. `kelvin` from 1500 to 30000.
Vec3 BlackBody(double kelvin);

// Smooth (monotone cubic) ramp through colours at given places.
class Gradient {
 public:
  struct Stop {
    double at;
    uint32_t colour;
  };
  // `wraps`: the ramp repeats with period 1; stops must then start at 0 and stay below 1.
  Gradient(std::initializer_list<Stop> stops, bool wraps = false);
  Vec3 operator()(double t) const;

 private:
  Vec3 Exact(double t) const;
  bool wraps_;
  std::vector<double> at_;
  std::vector<Vec3> colours_;
  std::vector<Vec3> table_;
};

}  // namespace pictures

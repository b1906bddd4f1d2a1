// Star fields: many faint, few bright, each of its own colour, drawn as a lens draws them.
#pragma once

#include "common/image.h"

namespace pictures {

// Draws one star as a small spot with a faint halo. `flux`: total light, in units of one pixel
// at 1. `radius`: that of the spot, in pixels.
void DrawStar(Image& image, double x, double y, double flux, Vec3 colour, double radius);

// Star colours, milder than those of glowing bodies: air and eye wash them out.
Vec3 BlackBodyOf(double kelvin);

// `count` stars over the picture above row `horizon`; `brightest` is the flux of the first
// magnitude. density(x, y) in 0..1 thins them out.
template <typename Density>
void ScatterStars(Image& image, int count, double brightest, double radius, uint32_t seed,
                  Density density) {
  Random random(seed);
  for (int i = 0; i < count; ++i) {
    const double x = random.Range(0, image.width()), y = random.Range(0, image.height());
    // Three times as many stars with every magnitude: a power law of the flux.
    const double flux = brightest * std::min(1.0, 0.0016 * std::pow(random.Unit() + 1e-9, -0.95));
    const double kelvin = 3300 + 9000 * Square(random.Unit()) + 1500 * random.Unit();
    const double keep = random.Unit();
    if (keep > density(x, y)) continue;
    DrawStar(image, x, y, flux, BlackBodyOf(kelvin), radius);
  }
}

}  // namespace pictures

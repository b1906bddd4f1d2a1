// A soap film: its thickness, stirred by slow swirls, picks the colours by interference.
#include "common/colour.h"
#include "common/noise.h"
#include "scenes.h"

namespace pictures {
namespace {

// Colour of white light thrown back by a film of the given thickness (nanometres), by summing
// over the spectrum with bell-shaped approximations of the eye's response.
Vec3 FilmColour(double thickness) {
  Vec3 sum, norm;
  for (double wave = 400; wave <= 700; wave += 10) {
    const Vec3 eye{
        std::exp(-Square((wave - 605) / 38)) + 0.12 * std::exp(-Square((wave - 445) / 22)),
        std::exp(-Square((wave - 545) / 38)), std::exp(-Square((wave - 455) / 28))};
    const double back = Square(std::sin(2 * kPi * 1.33 * thickness / wave));
    sum += eye * back;
    norm += eye;
  }
  return {sum.x / norm.x, sum.y / norm.y, sum.z / norm.z};
}

}  // namespace

Picture SoapFilm(int width, int height) {
  Picture picture{Image(width, height), {}};
  RenderPixels(picture.image, 5, [&](double x, double y) {
    const double u = x / width * 1.15, v = y / width * 1.15;
    // Twice warped: eddies that carry smaller eddies.
    const double ax = Fbm(u, v, 3, 3, 0.4), ay = Fbm(u + 5.2, v + 1.3, 3, 5, 0.4);
    const double bx = Fbm(u + 1.6 * ax + 1.7, v + 1.6 * ay + 9.2, 4, 7);
    const double by = Fbm(u + 1.6 * ax + 8.3, v + 1.6 * ay + 2.8, 4, 11);
    const double stir = Fbm(u + 1.1 * bx, v + 1.1 * by, 4, 13, 0.40);
    const double thickness = 300 + 170 * (v - 0.5) + 250 * stir + 60 * bx;
    const Vec3 film = FilmColour(std::fabs(thickness));
    const double sheen = 0.80 + 0.35 * ax;
    return Saturated(film, 0.82) * sheen + Vec3{0.05, 0.055, 0.065};
  });
  picture.development = {
      .exposure = 0.85, .contrast = 1.0, .saturation = 1.05, .vignette = 0.3, .grain = 0.003};
  return picture;
}

}  // namespace pictures

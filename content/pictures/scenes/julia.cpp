// A Julia set of double spirals, lit from the side like enamel.
#include "common/colour.h"
#include "common/escape.h"
#include "scenes.h"

namespace pictures {

Picture JuliaSpirals(int width, int height) {
  const Vec2 c{-0.76, 0.09};
  const double pixel = 2.3 / width, turn = Radians(-18);
  const Gradient palette({{0.00, 0x04060F},
                          {0.18, 0x0B2A4A},
                          {0.34, 0x0F6E7A},
                          {0.45, 0xCDEFD8},
                          {0.54, 0xFFD27A},
                          {0.64, 0xE0622E},
                          {0.74, 0x7A1440},
                          {0.83, 0x2A1650},
                          {0.91, 0x2E7FA8},
                          {1.00, 0xF2F6E4}});
  Picture picture{Image(width, height), {}};
  RenderPixels(picture.image, 2, [&](double x, double y) {
    const Vec2 o = Rotate({(x - 0.5 * width) * pixel, (0.5 * height - y) * pixel}, turn);
    const Escape e = FollowJulia(o, c, 2500);
    if (!e.escaped) return Vec3{0.01, 0.004, 0.01};
    const Vec3 base = palette(0.142 * std::log2(std::max(1.0, e.smooth + 3)) - 0.16);
    const double near = Saturate(std::pow(e.distance / (pixel * 26), 0.30));
    const double light = 0.5 + 0.5 * std::cos(e.angle - Radians(125));
    return (base * (0.42 + 0.85 * light) + Vec3{1, 0.95, 0.85} * (0.16 * std::pow(light, 20))) *
           (0.4 + 0.6 * near);
  });
  picture.development = {
      .exposure = 1.1, .saturation = 1.05, .vignette = 0.3, .grain = 0.003, .filmic = false};
  return picture;
}

}  // namespace pictures

// An eye of seeds in the valley between the Mandelbrot set's head and its antenna.
#include "common/colour.h"
#include "common/escape.h"
#include "scenes.h"

namespace pictures {

Picture MandelbrotEye(int width, int height) {
  const Vec2 centre{-1.25066, 0.02012};
  const double pixel = 1.7e-4 / width, turn = Radians(32);
  const Gradient palette({{0.00, 0x0B1E3F},
                          {0.14, 0x1F5A8C},
                          {0.28, 0xE9F3F2},
                          {0.40, 0xF6B23C},
                          {0.52, 0xA63A12},
                          {0.64, 0x2B0A1E},
                          {0.80, 0x0E3F4F},
                          {0.92, 0x0A1A33}},
                         true);
  Picture picture{Image(width, height), {}};
  RenderPixels(picture.image, 2, [&](double x, double y) {
    const Vec2 o = Rotate({(x - 0.5 * width) * pixel, (0.5 * height - y) * pixel}, turn);
    const Escape e = FollowMandelbrot(centre + o, 4000);
    if (!e.escaped) return Vec3{0.002, 0.003, 0.006};
    // No point here leaves before 80 steps; the logarithm keeps the bands of even width.
    const Vec3 base = palette(0.33 * std::log(std::max(1.0, e.smooth - 80)) + 0.62);
    // Light from the upper left over a surface that rises towards the set.
    const double near = Saturate(std::pow(e.distance / (pixel * 60), 0.32));
    const double light = 0.5 + 0.5 * std::cos(e.angle - Radians(130) + turn);
    const Vec3 lit =
        base * (0.35 + 0.95 * light) + Vec3{1, 0.95, 0.85} * (0.22 * std::pow(light, 24));
    return lit * (0.12 + 0.88 * near);
  });
  picture.development = {
      .exposure = 1.0, .saturation = 1.08, .vignette = 0.2, .grain = 0.002, .filmic = false};
  return picture;
}

}  // namespace pictures

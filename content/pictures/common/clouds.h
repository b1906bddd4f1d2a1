// A thin layer of cloud seen from below: flat, but shaded as if the sun shone through it.
#pragma once

#include "common/noise.h"
#include "common/sky.h"

namespace pictures {

struct CloudLayer {
  double scale = 1.0;     // size of the clouds, in heights of the layer
  double cover = 0.5;     // 0 none, 1 overcast
  double stretch = 1.0;   // drawn out along `wind`
  double wind = 0.0;      // radians, 0 = +x
  double softness = 0.5;  // width of the edges
  double density = 3.0;
  double gain = 0.55;  // how ragged
  uint32_t seed = 1;

  double Thickness(double u, double v, int octaves) const {
    const Vec2 q = Rotate({u, v}, -wind);
    const double x = q.x / (scale * stretch), y = q.y / scale;
    const double wx = Fbm(x * 0.7 + 3.1, y * 0.7, 3, seed + 100),
                 wy = Fbm(x * 0.7, y * 0.7 + 9.4, 3, seed + 200);
    const double f = Fbm(x + 0.55 * wx, y + 0.55 * wy, octaves, seed, gain);
    return Saturate((f + cover * 1.6 - 0.8) / softness) * (0.35 + 0.65 * Saturate(f + cover));
  }

  // Blends the layer over what is behind it. `sun`: light that reaches it; `fill`: the sky's.
  Vec3 Over(Vec3 behind, Vec3 d, Vec3 sun_direction, Vec3 sun, Vec3 fill, int octaves) const {
    if (d.z <= 0) return behind;
    const double reach = 1.0 / (d.z + 0.035);  // the earth's curve keeps the horizon finite
    const double u = d.x * reach, v = d.y * reach;
    const double t = Thickness(u, v, octaves);
    if (t <= 0) return behind;
    double shade = 0;
    const double step = 0.075 * scale;
    for (int i = 1; i <= 4; ++i) {
      shade += Thickness(u + sun_direction.x * step * i * i * 0.5,
                         v + sun_direction.y * step * i * i * 0.5, std::max(3, octaves - 2 - i));
    }
    const double mu = Dot(d, sun_direction);
    const double forward =
        0.28 + 0.9 * std::pow(Saturate(0.5 + 0.5 * mu), 9) + 1.6 * std::pow(std::max(mu, 0.0), 60);
    const double opacity = 1 - std::exp(-density * t);
    // Thin edges let the light through, thick middles keep it.
    const double through = std::exp(-0.55 * shade - 0.8 * t);
    const Vec3 colour = sun * (forward * through) + fill * (0.75 - 0.35 * t);
    return Mix(behind, colour, opacity * Ramp(0.0, 0.03, d.z));
  }
};

}  // namespace pictures

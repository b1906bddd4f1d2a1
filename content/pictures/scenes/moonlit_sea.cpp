// The open sea at night under a full moon.
#include "common/clouds.h"
#include "common/noise.h"
#include "common/ocean.h"
#include "common/sweep.h"
#include "common/water_surface.h"
#include "scenes.h"

namespace pictures {
namespace {

constexpr Vec3 kMoonlight{0.80, 0.90, 1.05};
constexpr Vec3 kHorizon{0.030, 0.060, 0.105};
constexpr CloudLayer kClouds{.scale = 1.1,
                             .cover = 0.50,
                             .stretch = 1.8,
                             .wind = 20 * kPi / 180,
                             .softness = 0.6,
                             .density = 2.4,
                             .gain = 0.55,
                             .seed = 61};

Vec3 Heavens(Vec3 d, Vec3 moon, int octaves) {
  const double away = std::acos(Clamp(Dot(d, moon), -1.0, 1.0));
  Vec3 c = Mix(kHorizon, Vec3{0.006, 0.015, 0.042}, Ramp(-0.05, 0.45, d.z));
  c += Vec3{0.35, 0.5, 0.7} * (0.16 * std::exp(-away / 0.14) + 0.4 * std::exp(-away / 0.03));
  const double disc = Ramp(0.0225, 0.0205, away);
  const double maria = 0.78 + 0.3 * Fbm((d.x - moon.x) * 90, (d.z - moon.z) * 90, 5, 7);
  c = Mix(c, Vec3{7, 6.8, 6.2} * maria, disc);
  return kClouds.Over(c, d, moon, kMoonlight * 0.55, Vec3{0.014, 0.024, 0.045}, octaves);
}

}  // namespace

Picture MoonlitSea(int width, int height) {
  const Ocean ocean(Radians(-100), 0.7, 26, 15);
  const WaterLight moon{Direction(Radians(9), Radians(13)), kMoonlight * 0.14, 0.012};
  LevelCamera camera;
  camera.position = {400, 170, 5.0};
  camera.focal = 1.0;
  camera.horizon = 0.52;
  camera.near = 6;
  camera.far = 12000;
  camera.detail = 1.2;
  Picture picture{Image(width, height), {}};
  SweepLand(
      picture.image, camera, 4, [&](double x, double y, double f) { return ocean.Height(x, y, f); },
      [&](Vec3 p, Vec3 way, double distance, double f) {
        const WaterSample water = ocean.At(p.x, p.y, WaterFootprint(f, way));
        const Vec3 c = WaterColour(water, way, moon, Vec3{0.001, 0.006, 0.012},
                                   [&](Vec3 r) { return Heavens(r, moon.from, 4); });
        return Mix(c, kHorizon, 1 - std::exp(-distance / 9000));
      },
      [&](Vec3 d) { return Heavens(d, moon.from, 7); });
  AddGlow(picture.image, 1.2, 0.12, width * 0.01);
  picture.development = {
      .exposure = 1.0, .contrast = 1.05, .saturation = 1.05, .vignette = 0.2, .grain = 0.004};
  return picture;
}

}  // namespace pictures

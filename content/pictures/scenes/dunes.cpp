// A sea of sand in the last hour of light: long shadows, sharp crests, ripples at our feet.
#include "common/colour.h"
#include "common/heightfield.h"
#include "common/noise.h"
#include "common/sky.h"
#include "common/sweep.h"
#include "scenes.h"

namespace pictures {
namespace {

constexpr double kSize = 4200;

// A dune in section: a long rise, a crest, a short fall. `phase` in dune lengths.
double Section(double phase) {
  const double t = Fract(phase);
  constexpr double kCrest = 0.70;
  const double rise = t / kCrest, fall = (1 - t) / (1 - kCrest);
  return t < kCrest ? rise * rise * (3 - 2 * rise) * 0.35 + 0.65 * rise * rise
                    : fall * (0.75 + 0.25 * fall);
}

// Sand slides until no slope is steeper than it can hold.
void Settle(HeightField& field) {
  const double hold = 0.64 * field.cell();
  const auto slide = [hold](float& h, float& other) {
    const double excess = h - other - hold;
    if (excess <= 0) return;
    h -= static_cast<float>(excess * 0.3);
    other += static_cast<float>(excess * 0.3);
  };
  for (int pass = 0; pass < 40; ++pass) {
    for (int j = 1; j < field.n() - 1; ++j) {
      for (int i = 1; i < field.n() - 1; ++i) {
        float& h = field.At(i, j);
        slide(h, field.At(i + 1, j));
        slide(h, field.At(i - 1, j));
        slide(h, field.At(i, j + 1));
        slide(h, field.At(i, j - 1));
      }
    }
  }
}

// Great dunes with small ones on their backs, all of wandering crests and changing height.
HeightField MakeDunes() {
  HeightField field(2048, kSize);
  for (int j = 0; j < field.n(); ++j) {
    for (int i = 0; i < field.n(); ++i) {
      const double x = i * field.cell(), y = j * field.cell();
      const double wander = 0.85 * Fbm(x / 620, y / 620, 3, 3, 0.42);
      const double big = Section(x / 430 + y / 1500 + wander);
      const double tall = Saturate(0.62 + 0.75 * Noise(x / 900, y / 700, 5));
      const double bend = 0.7 * Fbm(x / 170, y / 170, 3, 7, 0.45);
      const double small = Section(x / 120 - y / 520 + bend);
      const double swell = 26 * Noise(x / 1300, y / 1300, 11);
      field.At(i, j) =
          static_cast<float>(swell + 46 * big * tall + 7.5 * small * (0.4 + 0.6 * (1 - big)));
    }
  }
  Settle(field);
  return field;
}

// Wind ripples: fine waves across the wind, split and joined by noise.
double Ripples(double x, double y, double footprint) {
  const double warp = 1.6 * Fbm(x / 2.6, y / 2.6, 3, 21) + 2.8 * Noise(x / 11, y / 11, 22);
  const double fade = Ramp(0.09, 0.02, footprint);
  const double broad = Ramp(0.9, 0.2, footprint);
  return 0.013 * fade * std::sin((x * 0.93 + y * 0.36) * 2 * kPi / 0.30 + 2.2 * warp) +
         0.05 * broad * std::sin((x * 0.95 + y * 0.30) * 2 * kPi / 2.9 + 1.3 * warp);
}

class Desert {
 public:
  double Land(double x, double y) const { return field_.Linear(x, y); }
  double Height(double x, double y, double footprint) const {
    return field_.Cubic(x, y) + Ripples(x, y, footprint);
  }

  Vec3 Sand(Vec3 p, Vec3 way, double distance, double footprint) const {
    const Vec3 n = Normal(p, footprint);
    const double seen = shadow_.Lit(p.x, p.y, p.z);
    const double lit = seen * std::pow(std::max(0.0, Dot(n, sun_)), 0.85);
    const double shade = 0.5 + 0.5 * Fbm(p.x / 60, p.y / 60, 5, 31);
    const Vec3 sand = Mix(Vec3{0.50, 0.265, 0.118}, Vec3{0.60, 0.36, 0.18}, shade);
    // Sun-lit sand opposite warms the shadows from below.
    const Vec3 bounce = sky_.SunLight() * sand * (0.055 * (1.2 - n.z) + 0.012);
    const Vec3 fill = sky_.Ambient() * (2.0 * open_.Linear(p.x, p.y) * (0.6 + 0.4 * n.z));
    const double sheen = std::pow(std::max(0.0, Dot(Reflect(way, n), sun_)), 18) * 0.006 * seen;
    const Vec3 c =
        sand * (sky_.SunLight() * lit + fill + bounce) * (1 / kPi) + sky_.SunLight() * sheen;
    const Vec3 clear = Exp(Vec3{1.0, 1.35, 1.9} * (-distance / 9500));
    const Vec3 air = sky_(Normalize(Vec3{way.x, way.y, 0.03})) * 0.8;
    return c * clear + air * (Vec3{1, 1, 1} - clear);
  }

  // A clear sky with a few wisps.
  Vec3 Heavens(Vec3 d) const {
    const double reach = 1 / (d.z + 0.1), u = d.x * reach, v = d.y * reach;
    const double wisp = Fbm(u * 0.5, v * 1.6 + Fbm(u, v, 3, 43), 7, 41, 0.56);
    return Mix(sky_(d), sky_.SunLight() * 0.10 + sky_.Ambient(), 0.35 * Ramp(0.05, 0.9, wisp));
  }

 private:
  Vec3 Normal(Vec3 p, double footprint) const {
    const double e = std::max(0.5 * footprint, 0.012), here = Ripples(p.x, p.y, footprint);
    const double rx = (Ripples(p.x + e, p.y, footprint) - here) / e;
    const double ry = (Ripples(p.x, p.y + e, footprint) - here) / e;
    const double grain = 0.035 * Fbm(p.x * 2.3, p.y * 2.3, 4, 25) * Ramp(0.5, 0.05, footprint);
    const Vec2 slope = field_.Slope(p.x, p.y);
    return Normalize(Vec3{-slope.x - rx - grain, -slope.y - ry + grain, 1});
  }

  HeightField field_ = MakeDunes();
  Vec3 sun_ = Direction(Radians(-68), Radians(13));
  Sky sky_{sun_, 2.2};
  ShadowMap shadow_{field_, sun_};
  HeightField open_ = Openness(field_);
};

}  // namespace

Picture Dunes(int width, int height) {
  const Desert desert;
  LevelCamera camera;
  camera.position = {2230, 330, desert.Land(2230, 330) + 60};
  camera.azimuth = Radians(-9);
  camera.focal = 1.1;
  camera.horizon = 0.30;
  camera.near = 6;
  camera.far = 3700;
  camera.detail = 0.7;
  Picture picture{Image(width, height), {}};
  SweepLand(
      picture.image, camera, 2,
      [&](double x, double y, double f) { return desert.Height(x, y, f); },
      [&](Vec3 p, Vec3 way, double far, double f) { return desert.Sand(p, way, far, f); },
      [&](Vec3 d) { return desert.Heavens(d); });
  picture.development = {
      .exposure = 0.95, .contrast = 1.15, .saturation = 1.08, .vignette = 0.25, .grain = 0.004};
  return picture;
}

}  // namespace pictures

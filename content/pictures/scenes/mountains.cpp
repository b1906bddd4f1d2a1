// First light on a snow range: river-carved mountains, mist in the valleys, the sun just up.
#include "common/colour.h"
#include "common/heightfield.h"
#include "common/noise.h"
#include "common/sky.h"
#include "common/sweep.h"
#include "scenes.h"

namespace pictures {
namespace {

constexpr double kSize = 32000;  // metres along a side

HeightField MakeRange() {
  return CarvedRange(kSize, 1024, [](double u, double v) {
    // A high chain across the view with lower hills before it.
    const double bend = 0.07 * Noise(u * 2.5, 3.0, 5);
    const double chain = std::exp(-Square((v - 0.56 - bend) / 0.17));
    const double hills = 0.20 + 0.15 * Fbm(u * 4, v * 4, 3, 17);
    const double rough = std::max(0.25, 1.0 + 0.95 * Fbm(u * 4.2, v * 4.2, 4, 23));
    return std::max(0.02, (hills + chain) * rough);
  });
}

class Range {
 public:
  Range()
      : field_(MakeRange()),
        sun_(Direction(Radians(112), Radians(8.5))),
        sky_(sun_, 0.9),
        shadow_(field_, sun_),
        open_(Openness(field_)) {}

  const HeightField& field() const { return field_; }
  const Sky& sky() const { return sky_; }
  Vec3 sun() const { return sun_; }

  // The grid plus rock detail below its mesh, as fine as the footprint lets one see.
  double Height(double x, double y, double footprint) const {
    return field_.Linear(x, y) + Detail(x, y, footprint);
  }

  Vec3 Ground(Vec3 p, Vec3 way, double distance, double footprint) const {
    const Vec3 n = Normal(p, footprint);
    const double lit = shadow_.Lit(p.x, p.y, p.z) * std::max(0.0, Dot(n, sun_));
    const double open = open_.Linear(p.x, p.y);
    const double patches = Fbm(p.x / 260, p.y / 260, 4, 91);
    // Snow lies on what is flat and high; wind and sun make its edge uneven.
    const double snow = Ramp(0.50, 0.72, n.z + 0.10 * patches) *
                        Ramp(900, 1500, p.z + 350 * patches + 250 * (n.y > 0 ? n.y : 0));
    const double strata = 0.5 + 0.5 * Noise(p.x / 300, p.z / 18 + 2 * patches, 8);
    const Vec3 rock = Mix(Vec3{0.085, 0.075, 0.07}, Vec3{0.19, 0.165, 0.15}, strata);
    const Vec3 wood =
        Mix(Vec3{0.018, 0.028, 0.014}, Vec3{0.05, 0.055, 0.025}, Saturate(0.5 + patches));
    const double green = Ramp(1350, 800, p.z + 250 * patches) * Ramp(0.55, 0.8, n.z);
    const Vec3 albedo = Mix(Mix(rock, wood, green), Vec3{0.86, 0.88, 0.92}, snow);
    const Vec3 fill = sky_.Ambient() * (open * (0.55 + 0.45 * n.z)) * 2.6;
    const Vec3 colour = albedo * (sky_.SunLight() * lit + fill) * (1 / kPi);
    return Veil(colour, p, way, distance);
  }

  // What air and valley mist put before a thing at a distance.
  Vec3 Veil(Vec3 colour, Vec3 p, Vec3 way, double distance) const {
    const Vec3 low = Normalize(Vec3{way.x, way.y, 0.05});
    const double toward = std::max(0.0, Dot(way, sun_));
    const Vec3 glow = Saturated(sky_(low), 0.75) * Vec3{0.74, 0.76, 0.98} + sky_.Ambient() * 0.35 +
                      sky_.SunLight() * (0.018 * std::pow(toward, 6));
    const Vec3 clear = Exp(Vec3{1.0, 1.7, 3.1} * (-distance / 62000));
    colour = colour * clear + glow * (Vec3{1, 1, 1} - clear);
    // Mist: exponential with height, thicker in some valleys than in others.
    const double bank = 1.0 + 0.8 * Fbm(p.x / 3800, p.y / 3800, 3, 55);
    const double scale = 130, floor = 520, density = 1 / 900.0;
    const double a = (camera_z_ - floor) / scale, b = (p.z - floor) / scale;
    const double mean =
        std::fabs(a - b) < 1e-4 ? std::exp(-a) : (std::exp(-b) - std::exp(-a)) / (a - b);
    const double mist =
        1 - std::exp(-density * distance * std::max(0.1, bank) * std::max(mean, 0.0));
    return Mix(colour, glow * 0.9 + sky_.Ambient() * 0.35, Saturate(mist));
  }

  void set_camera_height(double z) { camera_z_ = z; }

 private:
  double Detail(double x, double y, double footprint) const {
    const int octaves =
        std::clamp(static_cast<int>(std::log2(40 / std::max(footprint, 0.05))), 1, 7);
    return 9.0 * Fbm(x / 45, y / 45, octaves, 41, 0.52);
  }
  Vec3 Normal(Vec3 p, double footprint) const {
    const double e = std::max(footprint, 0.6);
    const Vec2 slope = field_.Slope(p.x, p.y);
    const double here = Detail(p.x, p.y, footprint);
    const double sx = slope.x + (Detail(p.x + e, p.y, footprint) - here) / e;
    const double sy = slope.y + (Detail(p.x, p.y + e, footprint) - here) / e;
    return Normalize(Vec3{-sx, -sy, 1});
  }

  HeightField field_;
  Vec3 sun_;
  Sky sky_;
  ShadowMap shadow_;
  HeightField open_;
  double camera_z_ = 0;
};

Vec3 SkyColour(const Range& range, Vec3 d) {
  Vec3 colour = range.sky()(d);
  // Thin high cloud, drawn out by the wind and lit from below.
  const double height = 1.0 / (d.z + 0.06);
  const double u = d.x * height, v = d.y * height;
  const double warp = Fbm(u * 0.35, v * 0.35, 4, 61);
  const double streak = Fbm(u * 0.28 + warp * 0.9, v * 1.05 + warp * 0.7, 7, 67, 0.55);
  const double cover = Ramp(0.02, 0.75, streak + 0.22) * Ramp(0.0, 0.12, d.z);
  const double toward = 0.5 + 0.5 * Dot(d, range.sun());
  const Vec3 lit =
      range.sky().SunLight() * (0.05 + 0.12 * std::pow(toward, 5)) + range.sky().Ambient() * 0.8;
  return Mix(colour, lit, 0.62 * cover);
}

}  // namespace

Picture Mountains(int width, int height) {
  Range range;
  LevelCamera camera;
  camera.position = {kSize * 0.50, kSize * 0.10, 0};
  camera.position.z = range.field().Linear(camera.position.x, camera.position.y) + 700;
  camera.azimuth = Radians(4);
  camera.focal = 1.05;
  camera.horizon = 0.50;
  camera.near = 150;
  camera.far = 40000;
  range.set_camera_height(camera.position.z);
  Picture picture{Image(width, height), {}};
  SweepLand(
      picture.image, camera, 2, [&](double x, double y, double f) { return range.Height(x, y, f); },
      [&](Vec3 p, Vec3 way, double distance, double f) {
        return range.Ground(p, way, distance, f);
      },
      [&](Vec3 d) { return SkyColour(range, d); });
  picture.development = {
      .exposure = 1.15, .contrast = 1.1, .saturation = 1.05, .vignette = 0.25, .grain = 0.005};
  return picture;
}

}  // namespace pictures

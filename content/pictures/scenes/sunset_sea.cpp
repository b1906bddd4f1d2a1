// The open sea with the sun going down behind torn clouds.
#include "common/clouds.h"
#include "common/colour.h"
#include "common/ocean.h"
#include "common/sky.h"
#include "common/sweep.h"
#include "common/water_surface.h"
#include "scenes.h"

namespace pictures {
namespace {

constexpr CloudLayer kHigh{.scale = 1.5,
                           .cover = 0.56,
                           .stretch = 2.6,
                           .wind = 12 * kPi / 180,
                           .softness = 0.8,
                           .density = 1.4,
                           .gain = 0.58,
                           .seed = 21};
constexpr CloudLayer kLow{.scale = 0.85,
                          .cover = 0.46,
                          .stretch = 1.7,
                          .wind = -8 * kPi / 180,
                          .softness = 0.5,
                          .density = 4.0,
                          .gain = 0.55,
                          .seed = 44};

class Evening {
 public:
  // Direct light, reddened more than clear air alone would do it.
  Vec3 OnClouds() const { return sky_.SunLight() * 0.55 + Vec3{1.2, 0.42, 0.16}; }

  // `octaves`: how finely the clouds are drawn; a mirror image needs less.
  Vec3 Heavens(Vec3 d, int octaves) const {
    const double away = std::acos(Clamp(Dot(d, sun_), -1.0, 1.0));
    Vec3 c = sky_(d) + sky_.SunLight() * (260 * Ramp(0.0050, 0.0043, away));
    c = kHigh.Over(c, d, sun_, OnClouds() * 0.9, sky_.Ambient() * 1.5, octaves);
    const Vec3 fill = sky_.Ambient() + Vec3{0.02, 0.012, 0.02};
    return kLow.Over(c, d, sun_, OnClouds() * 1.1, fill, octaves);
  }

  double Height(double x, double y, double footprint) const {
    return ocean_.Height(x, y, footprint);
  }

  Vec3 Water(Vec3 p, Vec3 way, double distance, double footprint) const {
    const WaterSample water = ocean_.At(p.x, p.y, WaterFootprint(footprint, way));
    // Crests against the sun glow green.
    const double crest = Ramp(0.1, 0.9, p.z) * std::max(0.0, Dot(way, sun_));
    const Vec3 depth = Vec3{0.020, 0.085, 0.110} * (0.6 + 0.4 * Luminance(sky_.Ambient())) +
                       Vec3{0.03, 0.10, 0.085} * (0.5 * crest);
    const WaterLight light{sun_, sky_.SunLight() * 1.3, 0.006};
    const Vec3 c = WaterColour(water, way, light, depth, [this](Vec3 r) { return Heavens(r, 4); });
    const double air = 1 - std::exp(-distance / 14000);
    return Mix(c, sky_(Normalize(Vec3{way.x, way.y, 0.004})), air);
  }

 private:
  Vec3 sun_ = Direction(Radians(-7), Radians(3.6));
  Sky sky_{sun_, 2.4};
  Ocean ocean_{Radians(-70), 1.25, 42, 5};
};

}  // namespace

Picture SunsetSea(int width, int height) {
  const Evening evening;
  LevelCamera camera;
  camera.position = {40, 10, 3.4};
  camera.focal = 1.0;
  camera.horizon = 0.46;
  camera.near = 4;
  camera.far = 12000;
  camera.detail = 1.6;
  Picture picture{Image(width, height), {}};
  SweepLand(
      picture.image, camera, 2,
      [&](double x, double y, double f) { return evening.Height(x, y, f); },
      [&](Vec3 p, Vec3 way, double far, double f) { return evening.Water(p, way, far, f); },
      [&](Vec3 d) { return evening.Heavens(d, 8); });
  AddGlow(picture.image, 3.0, 0.05, width * 0.006);
  picture.development = {.exposure = 0.42,
                         .contrast = 1.08,
                         .saturation = 1.05,
                         .vignette = 0.25,
                         .grain = 0.004,
                         .tint = {1.0, 0.93, 1.16}};
  return picture;
}

}  // namespace pictures

// A spiral galaxy, made of what galaxies are made of: old yellow stars in a bulge and a disk, young
// blue ones along two arms, pink clouds where they are born, and dust on the inner side of the
// arms.
#include "common/colour.h"
#include "common/noise.h"
#include "common/stars.h"
#include "scenes.h"

namespace pictures {
namespace {

// Angle by which an arm has wound up at a radius; the pitch is about 17 degrees.
double Winding(double r) { return 3.25 * std::log(std::max(r, 0.02) / 0.09); }

// 1 on an arm, 0 between.
double Arm(double r, double angle) {
  const double wobble = 0.70 * Noise(r * 5, angle * 0.8, 8);
  return 0.5 + 0.5 * std::cos(2 * (angle - Winding(r)) + wobble);
}

// From the galaxy's own plane (radius 1 is its rim) to the picture and back.
class Tilted {
 public:
  Tilted(int width, int height) : centre_{width * 0.5, height * 0.5}, unit_(width * 0.66) {}
  Vec2 ToPicture(double r, double angle, double above) const {
    const Vec2 q{r * std::cos(angle), r * std::sin(angle) * kFlat + above * std::sin(kTilt)};
    const Vec2 p = Rotate(q, kRoll);
    return {centre_.x + p.x * unit_, centre_.y - p.y * unit_};
  }
  // In the picture's plane but upright; divide y by Flat() for the galaxy's plane.
  Vec2 Upright(double x, double y) const {
    return Rotate(Vec2{(x - centre_.x) / unit_, (centre_.y - y) / unit_}, -kRoll);
  }
  static double Flat() { return kFlat; }

 private:
  static inline const double kTilt = Radians(52), kRoll = Radians(-28), kFlat = std::cos(kTilt);
  Vec2 centre_;
  double unit_;
};

Vec3 SoftLight(Vec2 q) {
  const double x = q.x, y = q.y / Tilted::Flat(), r = std::sqrt(x * x + y * y) + 1e-6;
  const double angle = std::atan2(y, x), arm = Arm(r, angle);
  const double clumps = Fbm(x * 7 + 3, y * 7, 6, 21, 0.58);
  const double disk = std::exp(-r / 0.34) * Ramp(1.35, 0.5, r);
  const double young =
      disk * std::pow(arm, 2.2) * std::max(0.0, 0.65 + 1.1 * clumps) * Ramp(0.05, 0.25, r);
  const double old = disk * (0.35 + 0.35 * arm);
  // The bulge is round, so it is flattened less than the disk.
  const double bulge_r = std::sqrt(q.x * q.x + Square(q.y / std::max(Tilted::Flat(), 0.72)));
  const double bulge = 2.4 * std::exp(-std::pow(bulge_r / 0.046, 0.62));
  const double lane =
      0.5 + 0.5 * std::cos(2 * (angle - Winding(r) - 0.33) + 0.8 * Fbm(x * 5, y * 5, 4, 33));
  const double threads = Ridged(x * 6 + 0.4 * clumps, y * 6, 6, 29, 0.6);
  const double near_side = y < 0 ? 1.0 : 0.75;  // dust in front of the bulge shows more
  const double dust = (4.18 * std::pow(lane, 5) * threads + 0.5 * threads * threads) *
                      Ramp(0.03, 0.16, r) * Ramp(1.15, 0.5, r) * near_side;
  const Vec3 pass = Exp(Vec3{0.75, 1.05, 1.5} * -dust);
  return (Rgb(0x9DB8FF) * (2.1 * young) + Rgb(0xFFD9A6) * (0.36 * old)) * pass +
         Rgb(0xFFE2B8) * bulge * Mix(Vec3{1, 1, 1}, pass, 0.55);
}

void AddArmStars(Image& image, const Tilted& tilted, Random& random) {
  const double scale = image.width() / 2000.0;
  for (int i = 0; i < 420000; ++i) {
    const double r = -0.26 * std::log(1 - random.Unit() * 0.985), angle = random.Range(0, 2 * kPi);
    const double clumps = Fbm(r * std::cos(angle) * 7 + 3, r * std::sin(angle) * 7, 3, 21);
    const double keep = std::pow(Arm(r, angle), 2.0) * (0.6 + clumps);
    if (random.Unit() > keep || r < 0.05) continue;
    const Vec2 p = tilted.ToPicture(r, angle, 0.006 * random.Gauss());
    const double flux = 0.040 * std::pow(random.Unit() + 1e-4, -0.62) * scale * scale;
    const Vec3 hue = Mix(Rgb(0xA8C0FF), Rgb(0xFFF0DC), random.Unit());
    DrawStar(image, p.x, p.y, flux, hue, 0.7 * scale);
  }
}

void AddNurseries(Image& image, const Tilted& tilted, Random& random) {
  const double scale = image.width() / 2000.0;
  for (int i = 0; i < 900; ++i) {
    const double r = random.Range(0.18, 0.95), side = random.Unit() < 0.5 ? 0 : kPi;
    const double angle = Winding(r) + side + 0.10 * random.Gauss() - 0.03;
    const Vec2 p = tilted.ToPicture(r, angle, 0);
    const double size = random.Range(1.2, 5.6) * scale;
    DrawStar(image, p.x, p.y, 0.30 * size * size * std::exp(-r / 0.6), Rgb(0xFF5A78), size);
  }
}

}  // namespace

Picture Galaxy(int width, int height) {
  const Tilted tilted(width, height);
  Picture picture{Image(width, height), {}};
  Image& image = picture.image;
  RenderPixels(image, 1, [&](double x, double y) { return SoftLight(tilted.Upright(x, y)); });
  Random random(31);
  AddArmStars(image, tilted, random);
  AddNurseries(image, tilted, random);
  // Stars of our own galaxy, in front.
  const double scale = width / 2000.0;
  ScatterStars(image, 2600, 120 * scale * scale, 0.95 * scale, 41,
               [](double, double) { return 0.8; });
  AddGlow(image, 0.6, 0.22, width * 0.006);
  ForEachPixel(image, [](int, int, Vec3 c) { return c + Vec3{0.0026, 0.0028, 0.0044}; });
  picture.development = {.exposure = 1.35, .contrast = 1.0, .saturation = 1.1, .grain = 0.006};
  return picture;
}

}  // namespace pictures

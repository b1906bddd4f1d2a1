// The Milky Way over three dark ridges: star clouds, the dust of the great rift, a million stars.
#include "common/colour.h"
#include "common/noise.h"
#include "common/stars.h"
#include "common/trees.h"
#include "scenes.h"

namespace pictures {
namespace {

// The band rises from the lower left to the upper right; x runs along it, y across, in widths of
// the picture.
const double kSlant = Radians(57);
constexpr Vec2 kMiddle{0.47, 0.40};  // in widths from the left, heights from the top

struct Band {
  double light, dust, core;
};

Band BandAt(Vec2 q) {
  const double bend = q.y + 0.020 * Noise(q.x * 3, 0.3, 5);
  const double bulge = std::exp(-Square((q.x + 0.10) / 0.20));
  const double width = 0.075 + 0.055 * bulge;
  const double clouds = Fbm(q.x * 9, q.y * 11, 7, 301, 0.58);
  const double light = std::exp(-std::pow(std::fabs(bend) / width, 1.55)) * (0.40 + 0.85 * bulge) *
                       std::max(0.15, 1.0 + 0.9 * clouds);
  // The great rift: dust along the middle, frayed on both sides, with threads that leave it.
  const double wx = Fbm(q.x * 7, q.y * 7, 5, 311), wy = Fbm(q.x * 7 + 5, q.y * 7, 5, 312);
  const double rift_at = bend - 0.010 + 0.035 * wy;
  const double rift = std::exp(-Square(rift_at / (0.020 + 0.012 * wx + 0.012 * bulge)));
  const double threads = Ridged(q.x * 8 + 1.2 * wx, q.y * 10 + 1.2 * wy, 7, 320, 0.56);
  const double veil = std::exp(-Square(bend / 0.075));
  const double dust = rift * (0.9 + 1.8 * threads) + veil * 2.1 * threads * threads;
  return {light, dust, bulge * std::exp(-Square(bend / 0.055))};
}

// Light that no single star accounts for, at x, y in 0..1 from the upper left.
Vec3 SoftLight(double x, double y, double aspect) {
  const Band band = BandAt(Rotate(Vec2{x - kMiddle.x, (kMiddle.y - y) * aspect}, -kSlant));
  const Vec3 warm = Mix(Rgb(0x9FB4DC), Rgb(0xFFD9AE), Saturate(band.core * 1.3 + 0.25));
  const Vec3 pass = Exp(Vec3{0.85, 1.15, 1.5} * -band.dust);
  // Air glow: green near the ground, violet above; and a town beyond the hills.
  const double up = 1 - y;
  const double waves = 0.5 + 0.5 * Fbm(x * 3, up * 14, 4, 330);
  const Vec3 glow = Mix(Vec3{0.020, 0.030, 0.026}, Vec3{0.006, 0.008, 0.016}, Ramp(0.12, 0.7, up)) *
                    (0.8 + 0.5 * waves * Ramp(0.9, 0.3, up));
  const Vec3 town =
      Vec3{0.16, 0.085, 0.035} * std::exp(-Square((x - 0.80) / 0.22) - (up - 0.12) / 0.085);
  return warm * pass * (0.155 * band.light) + glow + town;
}

// Stars stand thickest where the band is brightest.
void AddStars(Image& image, const Image& soft) {
  const double scale = image.width() / 4000.0, sharp = std::max(scale, 0.5);
  ScatterStars(image, 1300000, 26 * scale * scale, 0.75 * sharp, 51, [&](double x, double y) {
    const Vec3 light = soft.At(static_cast<int>(x / 2), static_cast<int>(y / 2));
    return Saturate(0.10 + 6.5 * (Luminance(light) - 0.012));
  });
  ScatterStars(image, 9000, 330 * scale * scale, 1.05 * sharp, 52,
               [](double, double) { return 0.6; });
}

// Pink clouds of glowing hydrogen along the band.
void AddNebulae(Image& image) {
  Random random(53);
  for (int i = 0; i < 26; ++i) {
    const Vec2 q = Rotate(Vec2{random.Range(-0.55, 0.5), 0.025 * random.Gauss()}, kSlant);
    const double x = (kMiddle.x + q.x) * image.width();
    const double y = kMiddle.y * image.height() - q.y * image.width();
    const double size = random.Range(3, 15) * image.width() / 4000.0;
    DrawStar(image, x, y, 0.11 * size * size, Rgb(0xFF6A86), size);
  }
}

struct Ridge {
  double base, relief, frequency;  // in widths of the picture
  double trees, tall;              // trees across the picture, height of the tallest
  Vec3 colour;
  uint32_t seed;

  double Top(double x) const {
    const double land = base + relief * Fbm(x * frequency, seed * 1.7, 9, seed, 0.48);
    return trees > 0 ? land + TreeLine(x, trees, tall, seed) : land;
  }
};

void AddRidge(Image& image, const Ridge& ridge) {
  const int width = image.width(), height = image.height();
  const double scale = width / 4000.0;
  for (int x = 0; x < width; ++x) {
    double tops[4];  // rows where the ridge begins, four to a column
    for (int s = 0; s < 4; ++s)
      tops[s] = height - ridge.Top((x + (s + 0.5) / 4) / width) * width * 0.75;
    const int from = std::max(0, FloorInt(*std::min_element(tops, tops + 4)) - 1);
    for (int y = from; y < height; ++y) {
      double cover = 0;
      for (double top : tops) cover += 0.25 * Saturate(y + 1 - top);
      const double texture = 1 + 0.35 * Fbm(x / (90 * scale), y / (40 * scale), 5, ridge.seed + 9);
      image.Set(x, y, Mix(image.At(x, y), ridge.colour * texture, cover));
    }
  }
}

}  // namespace

Picture MilkyWay(int width, int height) {
  // The soft light varies slowly: half the resolution carries it.
  Image soft(width / 2, height / 2);
  const double aspect = double(height) / width;
  RenderPixels(soft, 1, [&](double x, double y) {
    return SoftLight(x / soft.width(), y / soft.height(), aspect);
  });
  Picture picture{Resized(soft, width, height), {}};
  AddStars(picture.image, soft);
  AddNebulae(picture.image);
  AddGlow(picture.image, 0.5, 0.16, width * 0.004);
  // The nearer, the darker, and only near trees can be told apart.
  const Ridge ridges[] = {
      {0.165, 0.085, 2.3, 0, 0, {0.0110, 0.0145, 0.0180}, 401},
      {0.115, 0.060, 3.1, 420, 0.013, {0.0062, 0.0082, 0.0105}, 402},
      {0.020, 0.050, 1.7, 130, 0.062, {0.0030, 0.0038, 0.0048}, 403},
  };
  for (const Ridge& ridge : ridges) AddRidge(picture.image, ridge);
  picture.development = {
      .exposure = 3.0, .contrast = 1.12, .saturation = 1.12, .vignette = 0.15, .grain = 0.006};
  return picture;
}

}  // namespace pictures

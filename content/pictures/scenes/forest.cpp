// A stand of spruces in morning mist, with the sun in it.
#include "common/colour.h"
#include "common/noise.h"
#include "common/trees.h"
#include "scenes.h"

namespace pictures {
namespace {

constexpr int kLayers = 9;        // rows of trees, from far to near
constexpr Vec2 kSun{0.44, 0.30};  // in widths from the left, heights from the top

class Forest {
 public:
  Forest(int width, int height) : width_(width), height_(height), blockers_(width, height) {}

  Vec3 Fog(double x, double y) const {
    const double away =
        Length(Vec2{x / width_ - kSun.x, (y / height_ - kSun.y) * height_ / width_});
    const double drift = Fbm(x / width_ * 4 + 5, y / width_ * 6, 6, 11, 0.5);
    const Vec3 base = Mix(Rgb(0x4F7A80), Rgb(0xE2CF9C), std::exp(-away / 0.36));
    return base * (0.80 + 0.12 * drift) + Vec3{1.3, 1.12, 0.72} * (0.75 * std::exp(-away / 0.105)) +
           Vec3{1, 0.9, 0.62} * (0.18 * std::exp(-away / 0.4));
  }

  // Draws the rows of trees into `image`, the mist between them too, and notes what they block.
  void AddTrees(Image& image) {
    for (int layer = 0; layer < kLayers; ++layer) {
      const Mask trees = Plant(layer);
      ForEachPixel(image, [&](int x, int y, Vec3 behind) {
        return ThroughLayer(layer, x, y, behind, trees.At(x, y));
      });
      if (layer == 0 || layer > 5) continue;
      for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) blockers_.Cover(x, y, 0.55 * trees.At(x, y));
      }
    }
  }

  // Light that got past the trees on its straight way from the sun to a point.
  double Beam(Vec2 p, double jitter) const {
    constexpr int kSteps = 40;
    const Vec2 source{kSun.x * width_, kSun.y * height_};
    double light = 0;
    for (int i = 0; i < kSteps; ++i) {
      const Vec2 q = p + (source - p) * ((i + jitter) / kSteps);
      const int x = static_cast<int>(q.x), y = static_cast<int>(q.y);
      if (x >= 0 && y >= 0 && x < width_ && y < height_) light += 1 - blockers_.At(x, y);
    }
    return std::pow(light / kSteps, 2.6) * std::exp(-Length(p - source) / width_ / 0.30);
  }

 private:
  static double Nearness(int layer) { return layer / (kLayers - 1.0); }
  double Ground(int layer) const {
    return height_ * (0.74 + 0.36 * std::pow(Nearness(layer), 1.3));
  }
  double Swell(int layer, double u) const { return height_ * 0.05 * Noise(u * 3 + layer, 2.5, 21); }

  Mask Plant(int layer) {
    const double near = Nearness(layer);
    Mask mask(width_, height_);
    const double tall = height_ * (0.42 + 1.05 * std::pow(near, 1.5));
    const double gap = tall * (0.105 + 0.16 * near);
    for (double x = -gap; x < width_ + gap; x += gap * random_.Range(0.45, 1.75)) {
      const double u = x / width_;
      // A clearing towards the sun.
      const double open = std::exp(-Square((u - kSun.x) / (0.07 + 0.15 * near)));
      if (random_.Unit() < open * (0.45 + 0.6 * near)) continue;
      const double rise = Swell(layer, u) + height_ * 0.2 * Square(u - kSun.x);
      const double size = tall * random_.Range(0.62, 1.08);
      PaintSpruce(mask, {x, Ground(layer) - rise + height_ * 0.06}, size, random_.Next());
    }
    return mask;
  }

  Vec3 ThroughLayer(int layer, int x, int y, Vec3 behind, double trees) const {
    const double near = Nearness(layer), u = double(x) / width_, down = double(y) / height_;
    const double floor_row = Ground(layer) - Swell(layer, u) +
                             height_ * 0.010 * Fbm(u * 34, layer * 2.0, 6, 31, 0.55) -
                             height_ * 0.2 * Square(u - kSun.x);
    const double cover = std::max(trees, Saturate(y - floor_row));
    const Vec3 air = Fog(x, y);
    const double low = Ramp(0.45, 1.0, down);
    const double veil = std::exp(-2.6 * std::pow(near, 0.85)) * (0.93 + 0.05 * low);
    const Vec3 dark = Mix(Rgb(0x2B4440), Rgb(0x060C0B), std::pow(near, 0.6));
    const Vec3 c = Mix(behind, Mix(dark, air, veil), cover * (0.75 + 0.25 * near));
    // Mist between this row of trees and the next.
    const double drift = Fbm(u * 5 + layer * 3, double(y) / width_ * 11, 5, 41 + layer);
    return Mix(c, air * 0.97, 0.34 * Saturate(0.30 + 0.55 * drift) * low * (1 - 0.65 * near));
  }

  int width_, height_;
  Mask blockers_;  // how much the trees hide of the sun
  Random random_{7};
};

}  // namespace

Picture FogForest(int width, int height) {
  Forest forest(width, height);
  Picture picture{Image(width, height), {}};
  RenderPixels(picture.image, 1, [&](double x, double y) { return forest.Fog(x, y); });
  forest.AddTrees(picture.image);
  Image beams(width / 2, height / 2);
  RenderPixels(beams, 1, [&](double x, double y) {
    const double jitter = HashUnit(static_cast<int>(x), static_cast<int>(y), 0, 3);
    return Vec3{1.0, 0.82, 0.48} * forest.Beam({x * 2, y * 2}, jitter);
  });
  beams = Blurred(beams, width / 1600.0 * 1.2);
  ForEachPixel(picture.image, [&](int x, int y, Vec3 c) {
    return c + beams.Sample((x + 0.5) / 2, (y + 0.5) / 2) * 0.75;
  });
  AddGlow(picture.image, 0.9, 0.15, width * 0.008);
  picture.development = {
      .exposure = 0.80, .contrast = 1.2, .saturation = 1.12, .vignette = 0.35, .grain = 0.006};
  return picture;
}

}  // namespace pictures

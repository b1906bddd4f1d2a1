// Ridge behind ridge as far as one can see, and the sun just above the last of them.
#include <vector>

#include "common/colour.h"
#include "common/noise.h"
#include "common/trees.h"
#include "scenes.h"

namespace pictures {
namespace {

constexpr int kRidges = 10;
constexpr Vec2 kSun{0.64, 0.300};  // in widths from the left, heights from the top

class View {
 public:
  View(int width, int height) : width_(width), height_(height) {
    for (int k = 0; k < kRidges; ++k) ridges_.push_back(MakeRidge(k));
  }

  Vec3 Colour(int x, int y) const {
    Vec3 c = Heavens(x + 0.5, y + 0.5);
    for (int k = 0; k < kRidges; ++k) {
      const double* tops = &ridges_[k].tops[4 * x];
      double cover = 0;
      for (int s = 0; s < 4; ++s) cover += 0.25 * Saturate(y + 1 - tops[s]);
      if (cover > 0) c = Mix(c, RidgeColour(k, x, y), cover);
    }
    return c;
  }

 private:
  struct Ridge {
    std::vector<double> tops;  // rows, four to a column, with trees
    std::vector<double> land;  // rows, one to a column, without
  };

  static double Nearness(int k) { return k / (kRidges - 1.0); }
  // Distance from the sun, in widths.
  double FromSun(double x, double y) const {
    return Length(Vec2{x / width_ - kSun.x, (y / height_ - kSun.y) * height_ / width_});
  }

  Ridge MakeRidge(int k) const {
    const double near = Nearness(k);
    const double base = height_ * (0.385 + 0.56 * std::pow(near, 1.18));
    const double relief = width_ * (0.012 + 0.030 * near);
    const double frequency = 5.5 - 3.0 * near;
    const double tall = 0.0012 + 0.0165 * std::pow(near, 2.6);  // of the trees, in widths
    Ridge ridge{std::vector<double>(4ull * width_), std::vector<double>(width_)};
    for (int i = 0; i < 4 * width_; ++i) {
      const double u = (i + 0.5) / (4.0 * width_);
      const double crest = Ridged(u * frequency + 3.1 * k, 1.7 * k, 4, 50 + k, 0.42) - 0.45 +
                           0.30 * Fbm(u * frequency * 2.2, k * 3.3, 7, 70 + k, 0.46);
      const double top = base - relief * 1.5 * crest;
      ridge.land[i / 4] = top;
      ridge.tops[i] = top - width_ * TreeLine(u, (3.2 + 3.5 * near) / tall, tall, 90 + k);
    }
    return ridge;
  }

  Vec3 Heavens(double x, double y) const {
    static const Gradient sky(
        {{0.0, 0x5C7FB0}, {0.35, 0xA9B6CC}, {0.62, 0xF1CDA8}, {0.80, 0xFCD9A0}, {1.0, 0xFCE3B8}});
    const double u = x / width_, v = y / width_, down = y / height_, away = FromSun(x, y);
    const double streaks = Fbm(u * 5.0 + 0.4 * Fbm(u * 3, v * 9, 3, 4), v * 34, 7, 3, 0.55);
    const double veil = 0.55 * Ramp(0.05, 0.8, streaks) * Ramp(0.42, 0.05, down);
    const Vec3 c = Mix(sky(down / 0.42) * 0.86, Rgb(0xFFD3B0) * 1.05, veil);
    return c + Vec3{1.5, 0.95, 0.50} * (0.55 * std::exp(-away / 0.055)) +
           Vec3{1.2, 0.72, 0.34} * (0.30 * std::exp(-away / 0.20)) +
           Vec3{9, 7.4, 5.0} * Ramp(0.0112, 0.0098, away);
  }

  // Far ridges take the colour of the air, warm towards the sun and blue away from it; mist
  // collects at the foot of each.
  Vec3 RidgeColour(int k, int x, int y) const {
    const double near = Nearness(k), u = double(x) / width_, v = double(y) / width_;
    const Vec3 air = Mix(Rgb(0x8FA9CC), Rgb(0xFFCF9C), std::exp(-FromSun(x, y) / 0.27)) * 0.95;
    const Vec3 vapour = Mix(air, Rgb(0x6C86B4), 0.15 + 0.55 * near);
    const Vec3 wood = Mix(Rgb(0x2A4C74), Rgb(0x0C2028), near);
    const double texture = 1 + 0.30 * Fbm(u * (60 + 180 * (1 - near)), v * 150, 5, 200 + k);
    const double distance = 0.93 * std::exp(-2.7 * near) + 0.02;
    const Vec3 ridge = Mix(wood * texture, Mix(air, vapour, 0.5), distance);
    const double below = std::max(0.0, y - ridges_[k].land[x]) / height_;
    const double wisps = 0.75 + 0.55 * Fbm(u * 9 + k, v * 40, 5, 300 + k);
    const double mist =
        Saturate(Ramp(-0.01, 0.16 + 0.10 * near, below) * wisps) * (0.80 - 0.35 * near * near);
    return Mix(ridge, vapour * (1.02 - 0.25 * near), mist);
  }

  int width_, height_;
  std::vector<Ridge> ridges_;
};

}  // namespace

Picture BlueRidges(int width, int height) {
  const View view(width, height);
  Picture picture{Image(width, height), {}};
  ForEachPixel(picture.image, [&](int x, int y, Vec3) { return view.Colour(x, y); });
  AddGlow(picture.image, 0.85, 0.12, width * 0.006);
  picture.development = {
      .exposure = 0.85, .contrast = 1.15, .saturation = 1.12, .vignette = 0.18, .grain = 0.005};
  return picture;
}

}  // namespace pictures

#include "common/trees.h"

#include "common/noise.h"
#include "common/random.h"

namespace pictures {

double TreeLine(double x, double density, double tall, uint32_t seed) {
  double top = 0;
  const int cell = FloorInt(x * density);
  for (int i = cell - 3; i <= cell + 3; ++i) {
    const double centre = (i + HashUnit(i, 0, 0, seed)) / density;
    const double grove = 0.40 + 0.60 * Saturate(0.6 + Noise(centre * density / 14, 3.3, seed));
    const double h = tall * grove * (0.35 + 0.65 * HashUnit(i, 1, 0, seed));
    const double half = h * (0.15 + 0.07 * HashUnit(i, 2, 0, seed));
    const double off = std::fabs(x - centre) / half;
    if (off >= 1) continue;
    // Branches in tiers: a saw edge along the flanks.
    const double rise = 1 - off;
    const double saw = Fract(rise * (7 + 4 * HashUnit(i, 3, 0, seed))) - 0.5;
    top = std::max(top, h * Saturate(std::pow(rise, 1.15) + 0.055 * saw * (0.3 + off)));
  }
  return top;
}

void Mask::Cover(int x, int y, double share) {
  if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
  float& v = data_[static_cast<size_t>(y) * width_ + x];
  v += static_cast<float>((1 - v) * share);
}

void Mask::Stroke(Vec2 from, Vec2 to, double r0, double r1) {
  const double reach = std::max(r0, r1) + 1;
  const int x0 = std::max(0, FloorInt(std::min(from.x, to.x) - reach));
  const int x1 = std::min(width_ - 1, FloorInt(std::max(from.x, to.x) + reach));
  const int y0 = std::max(0, FloorInt(std::min(from.y, to.y) - reach));
  const int y1 = std::min(height_ - 1, FloorInt(std::max(from.y, to.y) + reach));
  const Vec2 way = to - from;
  const double inverse = 1 / std::max(1e-9, Dot(way, way));
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) {
      const Vec2 p{x + 0.5 - from.x, y + 0.5 - from.y};
      const double t = Saturate(Dot(p, way) * inverse);
      const double share = Saturate(Mix(r0, r1, t) + 0.5 - Length(p - way * t));
      if (share > 0) Cover(x, y, std::min(share, std::max(2 * Mix(r0, r1, t), 0.05)));
    }
  }
}

void PaintSpruce(Mask& mask, Vec2 foot, double tall, uint32_t seed) {
  Random random(seed);
  const double lean = 0.012 * random.Gauss();
  const auto trunk = [&](double t) { return Vec2{foot.x + lean * tall * t, foot.y - tall * t}; };
  const double thick = tall * 0.0095;
  for (int i = 0; i < 12; ++i) {
    mask.Stroke(trunk(i / 12.0), trunk((i + 1) / 12.0), thick * (1 - i / 12.5),
                thick * (1 - (i + 1) / 12.5));
  }
  const double slim = random.Range(0.145, 0.21), bare = random.Range(0.04, 0.18);
  const int tiers = static_cast<int>(Clamp(tall / 4.5, 30, 110));
  for (int tier = 0; tier < tiers; ++tier) {
    const double t = bare + (0.995 - bare) * (tier + random.Range(-0.7, 0.7)) / tiers;
    const double span =
        tall * slim * (std::pow(Saturate(1 - t), 1.02) + 0.006) * random.Range(0.72, 1.08);
    for (int branch = 0; branch < 7; ++branch) {
      const double side = branch % 2 ? 1 : -1;
      const double length = span * random.Range(0.35, 1.12);
      const double droop = random.Range(0.10, 0.55) - 0.75 * Ramp(0.75, 1.0, t);
      Vec2 p = trunk(t);
      constexpr int kParts = 7;
      for (int k = 0; k < kParts; ++k) {
        const double s = double(k) / kParts;
        // Down from the trunk, level at the tip.
        const Vec2 q = p + Vec2{side * length / kParts, length / kParts * droop * (1.5 - 2.0 * s)};
        const double r = std::max(0.35, tall * 0.0034 * (1 - 0.7 * s));
        mask.Stroke(p, q, r, r * 0.8);
        // Needles hang from the branch.
        for (int needle = 0; needle < 3; ++needle) {
          const Vec2 at = p + (q - p) * random.Unit();
          const double hang =
              std::min(tall * random.Range(0.006, 0.020), 0.55 * length + 0.002 * tall) *
              (1 - 0.5 * s);
          mask.Stroke(at, at + Vec2{side * hang * random.Range(0.0, 0.8), hang}, r * 0.7, 0.2);
        }
        p = q;
      }
    }
  }
}

}  // namespace pictures

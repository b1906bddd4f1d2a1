// A fractal flame: a point that hops for ever by one of a few bent maps leaves a trace whose
// density, on a logarithmic scale, looks like coloured smoke.
#include <iterator>
#include <vector>

#include "common/colour.h"
#include "scenes.h"

namespace pictures {
namespace {

struct Map {
  double weight, colour;
  double a, b, c, d, e, f;                                // affine part
  double linear, sinus, spherical, swirl, julia, bubble;  // shares of the bent variants
};

Vec2 Apply(const Map& m, Vec2 p, Random& random) {
  const double x = m.a * p.x + m.b * p.y + m.c, y = m.d * p.x + m.e * p.y + m.f;
  const double r2 = x * x + y * y + 1e-9;
  Vec2 out{m.linear * x, m.linear * y};
  if (m.sinus != 0) out = out + Vec2{std::sin(x), std::sin(y)} * m.sinus;
  if (m.spherical != 0) out = out + Vec2{x / r2, y / r2} * m.spherical;
  if (m.swirl != 0) {
    const double s = std::sin(r2), c = std::cos(r2);
    out = out + Vec2{x * s - y * c, x * c + y * s} * m.swirl;
  }
  if (m.julia != 0) {
    const double angle = std::atan2(x, y) / 2 + (random.Next() & 0x10000 ? kPi : 0.0);
    const double root = std::sqrt(std::sqrt(r2));
    out = out + Vec2{std::cos(angle), std::sin(angle)} * (root * m.julia);
  }
  if (m.bubble != 0) out = out + Vec2{x, y} * (4 / (r2 + 4) * m.bubble);
  return out;
}

constexpr Map kMaps[] = {
    {0.50, 0.05, 0.92, -0.33, 0.10, 0.33, 0.92, 0.05, 0.0, 0, 0, 0, 1.0, 0},
    {0.22, 0.55, 0.55, 0.42, -0.60, -0.42, 0.55, 0.22, 0.35, 0, 0.12, 0, 0.55, 0},
    {0.18, 0.95, -0.45, 0.30, 0.75, 0.38, 0.52, -0.35, 0.0, 0.35, 0, 0.35, 0, 0.4},
    {0.10, 0.30, 0.30, 0.0, 0.1, 0.0, 0.30, -0.75, 0.6, 0, 0.25, 0, 0, 0},
};

const Map& Pick(Random& random) {
  double left = random.Unit();
  const Map* map = kMaps;
  while (left > map->weight && map != std::end(kMaps) - 1) left -= (map++)->weight;
  return *map;
}

// How often the point came by each place, and in which colours.
class Trace {
 public:
  Trace(int width, int height)
      : width_(width),
        height_(height),
        density_(static_cast<size_t>(width) * height),
        colour_(3 * density_.size()) {}

  void Add(Vec2 p, Vec3 c) {
    const double scale = width_ / 3.45;
    const int x = FloorInt(width_ * 0.5 + p.x * scale), y = FloorInt(height_ * 0.5 - p.y * scale);
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    const size_t i = static_cast<size_t>(y) * width_ + x;
    density_[i] += 1;
    colour_[3 * i] += static_cast<float>(c.x);
    colour_[3 * i + 1] += static_cast<float>(c.y);
    colour_[3 * i + 2] += static_cast<float>(c.z);
  }
  // The light of one place; `unit`: mean visits of a place.
  Vec3 Light(int x, int y, double unit) const {
    const size_t i = static_cast<size_t>(y) * width_ + x;
    if (density_[i] == 0) return {};
    const double v = std::log(1.0 + 6.0 * density_[i] / unit) / 5.2;
    const Vec3 c = Vec3{colour_[3 * i], colour_[3 * i + 1], colour_[3 * i + 2]} / density_[i];
    return c * (std::pow(v, 1.7) * 1.5);
  }

 private:
  int width_, height_;
  std::vector<float> density_, colour_;
};

void Hop(Trace& trace, double steps) {
  const Gradient palette({{0.0, 0x1740C8},
                          {0.22, 0x20B6E0},
                          {0.42, 0xC7F5E6},
                          {0.58, 0xFFC766},
                          {0.78, 0xF2506B},
                          {1.0, 0x7A1FC0}});
  Random random(99);
  Vec2 p{0.1, 0.2};
  double hue = 0.5;
  for (double s = 0; s < steps; ++s) {
    const Map& map = Pick(random);
    p = Apply(map, p, random);
    hue = 0.5 * (hue + map.colour);
    // A point that got lost starts anew.
    if (!(std::fabs(p.x) < 1e6 && std::fabs(p.y) < 1e6)) p = {random.Unit(), random.Unit()};
    if (s >= 50) trace.Add(p, palette(hue));
  }
}

}  // namespace

Picture Flame(int width, int height) {
  // Four places to a pixel, so that the thinnest threads come out smooth.
  Trace trace(width * 2, height * 2);
  const double steps = 11.7 * width * height, unit = steps / (4.0 * width * height);
  Hop(trace, steps);
  Picture picture{Image(width, height), {}};
  ForEachPixel(picture.image, [&](int x, int y, Vec3) {
    return (trace.Light(2 * x, 2 * y, unit) + trace.Light(2 * x + 1, 2 * y, unit) +
            trace.Light(2 * x, 2 * y + 1, unit) + trace.Light(2 * x + 1, 2 * y + 1, unit)) *
           0.25;
  });
  AddGlow(picture.image, 0.3, 0.3, width * 0.004);
  ForEachPixel(picture.image, [](int, int, Vec3 c) { return c + Vec3{0.006, 0.008, 0.018}; });
  picture.development = {.exposure = 1.3, .contrast = 1.05, .saturation = 1.1, .grain = 0.004};
  return picture;
}

}  // namespace pictures

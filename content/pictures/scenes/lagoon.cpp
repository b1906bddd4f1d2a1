// A shallow lagoon seen straight from above: sunlight, bent by the waves, gathers on the sand in a
// net of bright lines.
#include <vector>

#include "common/colour.h"
#include "common/noise.h"
#include "scenes.h"

namespace pictures {
namespace {

// A light breeze on shallow water: a few dozen long-crested waves from all about one direction.
// x, y: slopes. `span`: metres across the grid.
Image GentleWaves(int nx, int ny, double span) {
  struct Wave {
    Vec2 k;
    double phase, height;
  };
  std::vector<Wave> waves;
  Random random(8);
  for (int i = 0; i < 44; ++i) {
    const double length = 0.42 * std::pow(5.5, random.Unit());
    const double angle = 0.6 + 0.85 * random.Gauss();
    const double k = 2 * kPi / length;
    waves.push_back({{k * std::cos(angle), k * std::sin(angle)},
                     random.Range(0, 2 * kPi),
                     0.0066 * std::pow(length, 1.75)});
  }
  Image out(nx, ny);
  const double step = span / nx;
  for (int j = 0; j < ny; ++j) {
    for (int i = 0; i < nx; ++i) {
      Vec3 sum;
      for (const Wave& w : waves) {
        const double phase = w.k.x * i * step + w.k.y * j * step + w.phase;
        const double c = std::cos(phase) * w.height;
        sum += Vec3{w.k.x * c, w.k.y * c, 0};
      }
      out.Set(i, j, sum);
    }
  }
  return out;
}

// Everything is in metres; the picture is `kAcross` wide, its upper left corner is the origin. What
// is reckoned on a grid reaches `kMargin` further, for light that comes from outside.
constexpr double kAcross = 9.0, kMargin = 1.2;

class Water {
 public:
  Water(int width, int height)
      : span_{kAcross + 2 * kMargin, kAcross * height / width + 2 * kMargin},
        nx_(std::min(width, 2400)),
        ny_(static_cast<int>(nx_ * span_.y / span_.x)),
        surface_(GentleWaves(nx_, ny_, span_.x)),
        net_(CastLight()) {}

  // Slopes of the surface in x and y.
  Vec3 Surface(double x, double y) const { return Read(surface_, x, y); }
  // Light that arrives at the ground, 1 on average.
  Vec3 Light(double x, double y) const { return Read(net_, x, y); }

  static double Depth(double x, double y) {
    return 0.55 + 0.19 * (x * 0.75 + y) + 0.16 * Fbm(x / 2.9, y / 2.9, 3, 21);
  }
  // How far a ray is bent aside on its way down: by about a quarter of the slope (refraction index
  // 1.33) times the depth.
  static Vec2 Bent(Vec3 slope, double depth) { return Vec2{slope.x, slope.y} * (-0.25 * depth); }

 private:
  Vec3 Read(const Image& grid, double x, double y) const {
    return grid.Sample((x + kMargin) / span_.x * nx_, (y + kMargin) / span_.y * ny_);
  }

  // Sends sixteen rays down through each point of the grid and counts where they arrive.
  Image CastLight() const {
    constexpr int kRays = 4;
    constexpr double kShare = 1.0 / (kRays * kRays);
    Image net(nx_, ny_);
    for (int j = 0; j < ny_ * kRays; ++j) {
      for (int i = 0; i < nx_ * kRays; ++i) {
        const double gx = (i + HashUnit(i, j, 0, 3)) / kRays,
                     gy = (j + HashUnit(i, j, 1, 3)) / kRays;
        const double x = gx / nx_ * span_.x - kMargin, y = gy / ny_ * span_.y - kMargin;
        const Vec2 off = Bent(surface_.Sample(gx, gy), Depth(x, y) + 0.5) * (nx_ / span_.x);
        // Colours part a little, as behind a prism.
        net.AddInside(FloorInt(gx + off.x * 0.985), FloorInt(gy + off.y * 0.985), {kShare, 0, 0});
        net.AddInside(FloorInt(gx + off.x), FloorInt(gy + off.y), {0, kShare, 0});
        net.AddInside(FloorInt(gx + off.x * 1.015), FloorInt(gy + off.y * 1.015), {0, 0, kShare});
      }
    }
    return Blurred(net, 0.8);
  }

  Vec2 span_;
  int nx_, ny_;
  Image surface_, net_;
};

// Sand with ripples and shell grit.
Vec3 SandColour(double x, double y) {
  const double warp = Fbm(x * 0.7, y * 0.7, 4, 31);
  const double ripple = std::sin((x * 0.45 + y) * 17 + 5.0 * warp + 0.8 * Noise(x * 3, y * 3, 32));
  const double grit = Fbm(x * 48, y * 48, 3, 33, 0.6);
  const double tone = 0.50 + 0.26 * ripple * (0.7 + 0.8 * warp) + 0.55 * grit + 0.30 * warp;
  return Mix(Vec3{0.52, 0.44, 0.31}, Vec3{0.88, 0.82, 0.68}, Saturate(tone));
}

Vec3 LagoonColour(const Water& water, double x, double y) {
  const double depth = Water::Depth(x, y);
  const Vec3 slope = water.Surface(x, y);
  const Vec2 off = Water::Bent(slope, depth);
  const double bx = x + off.x, by = y + off.y;
  // Down and up again through water that swallows the red first.
  const Vec3 pass = Exp(Vec3{0.42, 0.075, 0.050} * (-2.0 * depth));
  const Vec3 body = Vec3{0.004, 0.15, 0.21} * (1 - std::exp(-0.40 * depth));
  const Vec3 light = Vec3{0.26, 0.31, 0.35} + water.Light(bx, by) * 0.70;
  // The sky in the slopes, and here and there the sun.
  const Vec3 n = Normalize(Vec3{-slope.x, -slope.y, 1});
  const Vec3 half = Normalize(Vec3{-0.20, 0.16, 1.0});  // between the sun and the eye
  const double sky = 0.035 + 0.30 * std::max(0.0, slope.x * 0.8 - slope.y * 0.5);
  const double sun = 1.6 * std::pow(std::max(0.0, Dot(n, half)), 6000);
  return SandColour(bx, by) * pass * light + body + Vec3{0.50, 0.72, 1.0} * sky +
         Vec3{1, 0.98, 0.92} * sun;
}

}  // namespace

Picture Lagoon(int width, int height) {
  const Water water(width, height);
  const double pixel = kAcross / width;
  Picture picture{Image(width, height), {}};
  RenderPixels(picture.image, 2,
               [&](double x, double y) { return LagoonColour(water, x * pixel, y * pixel); });
  AddGlow(picture.image, 0.95, 0.10, width * 0.004);
  picture.development = {
      .exposure = 0.72, .contrast = 1.2, .saturation = 1.08, .vignette = 0.25, .grain = 0.003};
  return picture;
}

}  // namespace pictures

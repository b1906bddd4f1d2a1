// Northern lights as they are: curtains of light that hang along folded lines a hundred kilometres
// up, over a snowy range and the lake that mirrors it all.
#include "common/colour.h"
#include "common/heightfield.h"
#include "common/noise.h"
#include "common/stars.h"
#include "common/sweep.h"
#include "common/trees.h"
#include "scenes.h"

namespace pictures {
namespace {

// The line along which a curtain hangs, seen from above; kilometres to the right and ahead of us.
struct Line {
  Vec2 from, to;
  double power;
  uint32_t seed;

  // The point at `s` kilometres along it, off the straight way by wide and narrow folds.
  Vec2 Folded(double s) const {
    const Vec2 way = to - from;
    const double length = Length(way), t = s / 330;
    const double aside = 85 * Noise(t * 1.5, 2.5, seed) + 34 * Noise(t * 4.3, 3.5, seed) +
                         11 * Noise(t * 12, 4.5, seed);
    const double slip = 46 * Noise(t * 4.0, 0.5, seed) + 17 * Noise(t * 11.5, 1.5, seed);
    const Vec2 p = from + way * ((s + slip) / length) + Vec2{-way.y, way.x} * (aside / length);
    return {p.x, std::max(p.y, 150.0)};
  }
  // Light at `s`: threads in the cloth, patches where it is thin, soft ends.
  double Light(double s) const {
    const double length = Length(to - from), t = s / 330;
    const double thread = 0.35 +
                          1.3 * std::pow(Saturate(0.5 + 0.75 * Noise(t * 60, 5.5, seed)), 2.0) +
                          0.5 * std::pow(Saturate(0.5 + 0.8 * Noise(t * 210, 6.5, seed)), 3.0);
    const double patch = Ramp(-0.45, 0.35, Noise(t * 1.9, 7.5, seed) + 0.08);
    return power * thread * patch * Ramp(0, 160, s) * Ramp(length, length - 260, s);
  }
  // How tall the rays stand at `s`, 1 on average.
  double Reach(double s) const {
    return 0.55 + 0.75 * Saturate(0.5 + 0.7 * Noise(s / 330 * 24, 8.5, seed));
  }
};

// Colour at `h` kilometres above the hem: pink below, green, and red where the air is thin.
Vec3 RayColour(double h, double reach) {
  const double green =
      Ramp(-4, 7, h) * (std::exp(-h / (26 * reach)) + 0.22 * std::exp(-h / (70 * reach)));
  const double red = Ramp(20, 110, h) * std::exp(-h / (120 * reach));
  const double hem = Ramp(-4, 2, h) * std::exp(-Square((h - 1) / 5));
  return Vec3{0.10, 1.0, 0.40} * green + Vec3{0.60, 0.10, 0.62} * (0.34 * red) +
         Vec3{0.85, 0.22, 0.50} * (0.32 * hem);
}

// Each step along a line adds one upright strip, so folds seen edge-on shine by themselves.
// `focal` in pixels, `horizon` the row of the horizon.
void HangCurtain(Image& image, const Line& line, double focal, double horizon, Random& random) {
  const int width = image.width();
  const double step = 15.0 / width;  // kilometres
  const double length = Length(line.to - line.from);
  for (double s = 0; s < length; s += step) {
    const Vec2 p = line.Folded(s);
    const double blur = 1.6 * (random.Unit() + random.Unit() - 1);
    const int column = FloorInt(0.5 * width + p.x / p.y * focal + blur);
    const double light = line.Light(s) * step * width * (0.22 / 330), reach = line.Reach(s);
    if (column < 0 || column >= width || light < 1e-6) continue;
    const double hem = horizon - 98 / p.y * focal, unit = focal / p.y;  // pixels a kilometre
    for (int row = std::min(image.height() - 1, FloorInt(hem + 4 * unit)); row >= 0; --row) {
      image.Add(column, row, RayColour((hem - row) / unit, reach) * light);
    }
  }
}

Image Curtains(int width, int height, double focal, double horizon) {
  const Line lines[] = {{{-330, 250}, {620, 640}, 1.0, 501},
                        {{-640, 640}, {420, 420}, 0.75, 512},
                        {{-900, 900}, {1000, 760}, 0.40, 523}};
  Image image(width, height);
  Random random(17);
  for (const Line& line : lines) HangCurtain(image, line, focal, horizon, random);
  // A share of the light is spread by thin cloth between the folds. Where a fold is seen edge-on
  // the light piles up; eyes and film give in there.
  const Image soft = Blurred(image, width * 0.012);
  ForEachPixel(image, [&](int x, int y, Vec3 sharp) {
    const Vec3 c = sharp * 0.8 + soft.At(x, y) * 0.45;
    return c / (1 + 0.9 * Luminance(c));
  });
  return image;
}

Image NightSky(int width, int rows, double focal, double horizon) {
  Image sky(width, rows);
  const Image veil = Curtains(width / 2, rows / 2 + 1, focal / 2, horizon / 2);
  RenderPixels(sky, 1, [&](double x, double y) {
    const double up = 1 - y / horizon;
    const Vec3 night =
        Mix(Vec3{0.012, 0.034, 0.050}, Vec3{0.003, 0.008, 0.026}, Ramp(-0.1, 0.8, up));
    return night + veil.Sample(x / 2, y / 2);
  });
  const double scale = width / 2560.0;
  ScatterStars(sky, 9000, 70 * scale * scale, 0.85 * scale, 91, [](double, double) { return 0.8; });
  AddGlow(sky, 0.45, 0.22, width * 0.008);
  return sky;
}

// The far shore: a snowy range that only the green light from above shows.
class Range {
 public:
  static constexpr double kSize = 24000;  // metres

  // Below zero near the viewer: there the lake lies.
  double Height(double x, double y) const { return land_.Linear(x, y) - 45; }

  Vec3 Colour(Vec3 p, double distance) const {
    const Vec2 slope = land_.Slope(p.x, p.y);
    const double rough = Fbm(p.x / 70, p.y / 70, 5, 99, 0.55);
    const Vec3 n = Normalize(Vec3{-slope.x - 0.2 * rough, -slope.y + 0.2 * rough, 1});
    const double snow = Ramp(0.30, 0.56, n.z + 0.05 * rough) * Ramp(40, 380, p.z + 160 * rough);
    const double facing = std::pow(std::max(0.0, Dot(n, light_)), 1.5);
    const double light = (0.25 + 0.75 * facing) * open_.Linear(p.x, p.y);
    const Vec3 c = Mix(Vec3{0.004, 0.008, 0.010}, Vec3{0.050, 0.120, 0.108}, snow) * light;
    const double mist = 1 - std::exp(-distance / 30000 - 0.7 * std::exp(-(p.z + 20) / 130));
    return Mix(c, Vec3{0.010, 0.046, 0.046}, mist);
  }

 private:
  HeightField land_ = CarvedRange(kSize, 512, [](double u, double v) {
    const double chain = std::exp(-Square((v - 0.52 - 0.06 * Noise(u * 3, 1.5, 12)) / 0.12));
    const double rough = std::max(0.2, 1.0 + 0.9 * Fbm(u * 5 + 3, v * 5, 4, 29));
    return Ramp(0.24, 0.34, v) * (0.10 + 0.62 * chain) * rough;
  });
  HeightField open_ = Openness(land_);
  Vec3 light_ = Normalize(Vec3{-0.70, -0.30, 0.65});
};

// A dark wood along the water, at row `shore`.
void AddWood(Image& image, double shore) {
  const int width = image.width();
  for (int x = 0; x < width; ++x) {
    double tops[4];
    for (int s = 0; s < 4; ++s) {
      const double u = (x + (s + 0.5) / 4) / width;
      const double bank = 0.005 + 0.004 * Noise(u * 9, 1.5, 97) + 0.016 * Ramp(0.30, 0.0, u) +
                          0.022 * Ramp(0.68, 1.0, u);
      const double trees = TreeLine(u, 300, 0.013 + 0.012 * std::fabs(u - 0.45), 98);
      tops[s] = shore - (bank + trees) * width;
    }
    for (int y = static_cast<int>(shore * 0.8); y < image.height(); ++y) {
      double cover = 0;
      for (double top : tops) cover += 0.25 * Saturate(y + 1 - top);
      image.Set(x, y, Mix(image.At(x, y), Vec3{0.0012, 0.0026, 0.0030}, cover));
    }
  }
}

// The lake at a point below row `shore`: what is above, upside down, drawn out by ripples that
// grow towards us. `focal` in pixels, `height` of the whole picture.
Vec3 LakeColour(const Image& above, double x, double y, double shore, double focal, int height) {
  constexpr int kTaps = 6;
  const double below = std::max(0.5, y - shore);
  const double depth = focal / below;  // in heights of the eye
  const double px = (x - 0.5 * above.width()) / focal * depth;
  Vec3 sum;
  for (int k = 0; k < kTaps; ++k) {
    const double jitter = HashUnit(static_cast<int>(x), static_cast<int>(y), k, 33) - 0.5;
    const double q = depth * (1 + jitter * 1.2 / below);
    const double waves = 0.60 * Noise(px * 0.9, q * 0.36, 35) +
                         0.35 * Noise(px * 2.3, q * 0.9, 36) + 0.16 * Noise(px * 5.1, q * 2.0, 37);
    const double ripple = waves / (1 + depth * 0.010);
    const double calm = Saturate(0.45 + 0.9 * Noise(px * 0.06, q * 0.030, 38));
    const double shift = height * (0.020 * ripple * calm + 0.010 * jitter * (0.3 + calm));
    const double row = shore - Clamp(below + shift, 1.0, shore * 0.999);
    sum += above.Sample(x + height * 0.003 * ripple * calm, row);
  }
  const double grazing = below / std::sqrt(below * below + focal * focal);
  const double fresnel = 0.05 + 0.95 * std::pow(1 - grazing, 3.2);
  return sum * (0.95 * fresnel / kTaps) + Vec3{0.0010, 0.0030, 0.0042};
}

}  // namespace

Picture AuroraLake(int width, int height) {
  const double shore = 0.605 * height;  // the lake begins here, at the horizon
  const int rows = static_cast<int>(shore) + 2;
  LevelCamera camera;
  camera.position = {Range::kSize * 0.50, Range::kSize * 0.05, 12};
  camera.focal = 0.72;
  camera.horizon = shore / rows;
  camera.near = 400;
  camera.far = 26000;
  const double focal = camera.focal * width;
  const Image sky = NightSky(width, rows, focal, shore);
  const Range range;
  Image above(width, rows);
  SweepLand(
      above, camera, 2, [&](double x, double y, double) { return range.Height(x, y); },
      [&](Vec3 p, Vec3, double distance, double) { return range.Colour(p, distance); },
      [&](Vec3 d) {
        const Vec2 at = camera.Point(d, width, rows);
        return sky.Sample(at.x, at.y);
      });
  AddWood(above, shore);
  Picture picture{Image(width, height), {}};
  RenderPixels(picture.image, 1, [&](double x, double y) {
    return y < shore ? above.Sample(x, y) : LakeColour(above, x, y, shore, focal, height);
  });
  picture.development = {
      .exposure = 1.5, .contrast = 1.08, .saturation = 1.06, .vignette = 0.2, .grain = 0.005};
  return picture;
}

}  // namespace pictures

// Rain on a window at night: the street out of focus, and small and upside down in every drop.
#include <vector>

#include "common/colour.h"
#include "common/noise.h"
#include "scenes.h"

namespace pictures {
namespace {

struct Light {
  double x, y, size;
  Vec3 colour;
};

// A street out of focus: lamps in rows that run together, windows, tail lights.
std::vector<Light> StreetLights() {
  Random random(12);
  const Vec3 lamps[] = {Rgb(0xFFB347), Rgb(0xFF8A2E), Rgb(0xFFD9A0), Rgb(0xFF4A3A),
                        Rgb(0x59B8FF), Rgb(0x5CE0C8), Rgb(0xFF5FA8), Rgb(0xFFC46B)};
  std::vector<Light> lights;
  for (int i = 0; i < 150; ++i) {
    const double depth = std::pow(random.Unit(), 1.4);
    const double x = random.Range(-0.05, 1.05);
    const double y = 0.36 + 0.10 * random.Gauss() + 0.16 * std::fabs(x - 0.5) * random.Gauss();
    const double size = 0.010 + 0.026 * depth;
    lights.push_back(
        {x, y, size, lamps[random.Next() % 8] * (random.Range(0.25, 1.0) * (0.35 + depth))});
  }
  for (int i = 0; i < 26; ++i) {  // the wet road mirrors some of them
    lights.push_back({random.Range(0, 1), random.Range(0.52, 0.62), random.Range(0.012, 0.03),
                      lamps[random.Next() % 4] * random.Range(0.1, 0.35)});
  }
  return lights;
}

// The street as a lens sees it; `blur`: size of the discs, 1 for the view through the pane.
Image Street(int width, int height, double blur) {
  Image image(width, height);
  RenderPixels(image, 1, [&](double x, double y) {
    const double v = y / height, u = x / width;
    const Vec3 night = Mix(Rgb(0x1D3A6B), Rgb(0x10182E), Ramp(0.1, 0.9, v));
    const Vec3 town = Rgb(0x8A4A2A) * (0.42 * std::exp(-Square((v - 0.55) / 0.20))) *
                      (0.8 + 0.4 * Noise(u * 3, v * 2, 5));
    return night * 0.8 + town;
  });
  for (const Light& light : StreetLights()) {
    const double r = std::max(2.0, light.size * blur * width);
    const double cx = light.x * width, cy = light.y * width;
    const double strength = std::min(40.0, 1.0 / (blur * blur));
    for (int y = FloorInt(cy - r) - 1; y <= cy + r + 1; ++y) {
      for (int x = FloorInt(cx - r) - 1; x <= cx + r + 1; ++x) {
        const double d = Length(Vec2{x + 0.5 - cx, y + 0.5 - cy});
        // A lens draws a point as a disc, a little brighter at its rim.
        const double disc = Saturate((r - d) * 0.35) * (0.72 + 0.32 * Ramp(0.70, 0.97, d / r));
        image.AddInside(x, y, light.colour * (disc * strength * 0.9));
      }
    }
  }
  return image;
}

struct Drop {
  double x, y, r, tall;  // pixels; `tall`: height to width
  uint32_t seed;
};

// Drops on a pane, none of them touching another.
class Pane {
 public:
  Pane(int width, int height)
      : width_(width),
        height_(height),
        unit_(width / 2048.0),
        cell_(width / 40.0),
        columns_(static_cast<int>(width / cell_) + 3),
        rows_(static_cast<int>(height / cell_) + 3),
        grid_(static_cast<size_t>(columns_) * rows_) {
    for (int i = 0; i < 11; ++i) AddRunner();
    // Large drops first; a smaller one is set only where there is room.
    const double sizes[][3] = {{28, 46, 46}, {17, 28, 170},  {9, 17, 620},
                               {5, 9, 1500}, {2.6, 5, 2600}, {1.6, 2.6, 4200}};
    for (const auto& s : sizes) {
      for (int i = 0; i < s[2]; ++i) {
        const double x = random_.Range(0, width_), y = random_.Range(0, height_);
        const double r = unit_ * random_.Range(s[0], s[1]), tall = random_.Range(0.92, 1.22);
        TryAdd({x, y, r, tall, random_.Next()}, 1.06);
      }
    }
  }
  const std::vector<Drop>& drops() const { return drops_; }

 private:
  // A heavy drop at the foot of a trail of beads.
  void AddRunner() {
    const double x = random_.Range(0.03, 0.97) * width_, foot = random_.Range(0.25, 1.0) * height_;
    const double r = unit_ * random_.Range(30, 44);
    TryAdd({x, foot, r, 1.25, random_.Next()}, 1.05);
    double wander = 0;
    for (double y = foot - r * 2.2; y > -20; y -= unit_ * random_.Range(8, 42)) {
      wander += random_.Gauss() * unit_ * 1.6;
      const double bead = unit_ * random_.Range(2.2, 8.0), tall = random_.Range(1.0, 1.6);
      TryAdd({x + wander, y, bead, tall, random_.Next()}, 1.02);
    }
  }

  // Adds the drop unless another is nearer than `spacing` times the sum of their radii.
  void TryAdd(const Drop& d, double spacing) {
    const int gx = FloorInt(d.x / cell_) + 1, gy = FloorInt(d.y / cell_) + 1;
    if (gx < 0 || gy < 0 || gx >= columns_ || gy >= rows_) return;
    for (int j = std::max(0, gy - 2); j <= std::min(rows_ - 1, gy + 2); ++j) {
      for (int i = std::max(0, gx - 2); i <= std::min(columns_ - 1, gx + 2); ++i) {
        for (int k : grid_[j * columns_ + i]) {
          const Drop& o = drops_[k];
          const Vec2 apart{d.x - o.x, (d.y - o.y) / std::max(o.tall, d.tall)};
          if (Length(apart) < (d.r + o.r) * spacing) return;
        }
      }
    }
    grid_[gy * columns_ + gx].push_back(static_cast<int>(drops_.size()));
    drops_.push_back(d);
  }

  int width_, height_;
  double unit_, cell_;
  int columns_, rows_;
  std::vector<std::vector<int>> grid_;  // numbers of the drops by cell
  std::vector<Drop> drops_;
  Random random_{77};
};

// The view through the pane without drops (`soft`) and as a drop sees it (`sharp`).
struct Views {
  const Image &soft, &sharp;
};

// A drop at dx, dy from its centre in radii, d away from it: a strong small lens, in which the
// street stands upside down.
Vec3 DropColour(const Drop& drop, double dx, double dy, double d, const Views& views) {
  const int width = views.soft.width(), height = views.soft.height();
  const double bulge = std::sqrt(std::max(0.0, 1 - d * d));
  const double bend = (0.10 + 0.30 * (1 - bulge)) * width;
  const double sx = drop.x - dx * bend * 1.1;
  const double sy = 0.60 * height - dy * bend * 1.25 + 0.10 * (drop.y - 0.5 * height);
  const double rim = std::pow(Saturate(d), 5);
  const double dark = 0.72 * rim * std::min(1.0, drop.r * 2048 / (9.0 * width));
  const double sky = std::pow(Saturate(0.5 - 0.62 * dy - 0.12 * dx), 3) * (1 - rim);
  const double spark = std::exp(-(Square(dx + 0.30) + Square(dy + 0.42)) / 0.016);
  const double kick = std::exp(-Square((d - 0.80) / 0.10)) * Ramp(0.15, 0.9, dy);
  return views.sharp.Sample(sx, sy) * (2.2 * (1 - dark)) + Rgb(0x6E8FC0) * (0.11 * sky) +
         Vec3{1.0, 0.95, 0.9} * (0.55 * spark) + views.soft.Sample(drop.x, drop.y) * (0.55 * kick);
}

void DrawDrop(Image& image, const Drop& drop, const Views& views) {
  const double reach = drop.r * 1.25;
  const int top = std::max(0, FloorInt(drop.y - reach * drop.tall));
  const int left = std::max(0, FloorInt(drop.x - reach));
  for (int y = top; y <= drop.y + reach * drop.tall && y < image.height(); ++y) {
    for (int x = left; x <= drop.x + reach && x < image.width(); ++x) {
      // Not quite round: drops hang, and dust holds their edges.
      const double dy = (y + 0.5 - drop.y) / (drop.r * drop.tall);
      const double dx = (x + 0.5 - drop.x) / drop.r / (1.0 + 0.16 * dy);
      const double angle = std::atan2(dy, dx);
      const double edge =
          1.0 + 0.07 * Noise(std::cos(angle) * 1.3 + drop.seed % 97, std::sin(angle) * 1.3, 9);
      const double d = std::sqrt(dx * dx + dy * dy) / edge;
      const double cover = Saturate((1 - d) * drop.r + 0.5);
      if (cover <= 0) continue;
      image.Set(x, y, Mix(image.At(x, y), DropColour(drop, dx, dy, d, views), cover));
    }
  }
}

}  // namespace

Picture RainOnGlass(int width, int height) {
  const Image soft = Blurred(Street(width, height, 1.0), width / 2048.0 * 2.2);
  const Image sharp = Street(width, height, 0.42);
  Picture picture{soft, {}};
  // Breath on the pane: veils the view a little, unevenly.
  ForEachPixel(picture.image, [&](int x, int y, Vec3 c) {
    const double breath = 0.10 + 0.10 * Fbm((x + 0.5) / width * 4, (y + 0.5) / width * 4, 5, 3);
    return Mix(c, Rgb(0x2A3348) * 0.8, Saturate(breath));
  });
  const Pane pane(width, height);
  for (const Drop& drop : pane.drops()) {
    DrawDrop(picture.image, drop, {soft, sharp});
  }
  AddGlow(picture.image, 0.7, 0.14, width * 0.006);
  picture.development = {
      .exposure = 1.15, .contrast = 1.08, .saturation = 1.1, .vignette = 0.35, .grain = 0.004};
  return picture;
}

}  // namespace pictures

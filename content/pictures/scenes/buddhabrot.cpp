// Points outside the Mandelbrot set, each orbit drawn as it leaves: together they look like a
// figure seated in a nebula. Long, middle and short orbits make the three colours, as filters do
// in photographs of real ones.
#include <vector>

#include "common/colour.h"
#include "scenes.h"

namespace pictures {
namespace {

struct Channel {
  int shortest, longest;  // orbits that count, in steps
  uint32_t ink;
  double strength, contrast;
};
constexpr Channel kChannels[] = {
    {120, 3000, 0xFFB054, 0.8, 1.3}, {6, 300, 0xD8486A, 0.8, 1.3}, {6, 40, 0x2468E0, 0.55, 1.7}};
constexpr int kLongest = 3000;

// Fills `path` with the orbit of c; its length, 0 if it never leaves.
int FollowOrbit(Vec2 c, std::vector<Vec2>& path) {
  // The two big bulbs never let go; skipping them saves nearly all of the work.
  const double q = Square(c.x - 0.25) + c.y * c.y;
  if (q * (q + c.x - 0.25) < 0.25 * c.y * c.y || Square(c.x + 1) + c.y * c.y < 0.0625) return 0;
  Vec2 z, saved;
  int n = 0, next_save = 8;
  while (n < kLongest && Dot(z, z) < 16) {
    z = {z.x * z.x - z.y * z.y + c.x, 2 * z.x * z.y + c.y};
    path[n++] = z;
    if (z.x == saved.x && z.y == saved.y) return 0;  // it goes round in a circle
    if (n == next_save) {
      saved = z;
      next_save *= 2;
    }
  }
  return n == kLongest ? 0 : n;
}

class Exposure {
 public:
  Exposure(int width, int height) : width_(width), height_(height) {
    for (auto& c : counts_) c.assign(static_cast<size_t>(width) * height, 0.0f);
  }

  void AddOrbit(const std::vector<Vec2>& path, int length) {
    for (int k = 0; k < 3; ++k) {
      if (length < kChannels[k].shortest || length > kChannels[k].longest) continue;
      for (int i = 2; i < length; ++i) AddPoint(counts_[k], path[i]);
    }
  }

  // What one channel adds to a picture; full strength at the brightest few per mille.
  void Print(int k, Image& image) const {
    std::vector<float> sorted = counts_[k];
    const auto rank = sorted.begin() + static_cast<int>(sorted.size() * 0.996);
    std::nth_element(sorted.begin(), rank, sorted.end());
    const double full = std::max(*rank, 1.0f);
    const Channel& channel = kChannels[k];
    const Vec3 ink = Rgb(channel.ink);
    ForEachPixel(image, [&](int x, int y, Vec3 before) {
      const double v = counts_[k][static_cast<size_t>(y) * width_ + x] / full;
      return before + ink * (channel.strength * std::pow(v, channel.contrast));
    });
  }

 private:
  // Turned a quarter, head up; both mirror images, as the set is symmetric.
  void AddPoint(std::vector<float>& counts, Vec2 z) const {
    const double scale = width_ / 2.02, y = height_ * 0.52 + (z.x + 0.40) * scale;
    AddSoftly(counts, width_ * 0.5 + z.y * scale, y);
    AddSoftly(counts, width_ * 0.5 - z.y * scale, y);
  }
  // Shares the point among the four pixels around it.
  void AddSoftly(std::vector<float>& counts, double x, double y) const {
    const int ix = FloorInt(x), iy = FloorInt(y);
    if (ix < 0 || iy < 0 || ix >= width_ - 1 || iy >= height_ - 1) return;
    float* p = &counts[static_cast<size_t>(iy) * width_ + ix];
    const float fx = static_cast<float>(x - ix), fy = static_cast<float>(y - iy);
    p[0] += (1 - fx) * (1 - fy), p[1] += fx * (1 - fy);
    p[width_] += (1 - fx) * fy, p[width_ + 1] += fx * fy;
  }

  int width_, height_;
  std::vector<float> counts_[3];
};

}  // namespace

Picture Buddhabrot(int width, int height) {
  Exposure exposure(width, height);
  Random random(2024);
  std::vector<Vec2> path(kLongest);
  const double samples = 13.1 * width * height;
  for (double s = 0; s < samples; ++s) {
    const double x = random.Range(-2.0, 0.6), y = random.Range(0, 1.2);
    exposure.AddOrbit(path, FollowOrbit({x, y}, path));
  }
  Picture picture{Image(width, height), {}};
  for (int k = 0; k < 3; ++k) exposure.Print(k, picture.image);
  AddGlow(picture.image, 0.35, 0.25, width * 0.006);
  picture.development = {.exposure = 1.15, .contrast = 1.0, .saturation = 1.05, .grain = 0.003};
  return picture;
}

}  // namespace pictures

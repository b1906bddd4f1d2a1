// Draws a landscape column by column. With a level camera (the horizon is put where wanted by
// shifting the picture, as with a view camera's lens) every column of the picture looks along one
// vertical plane, so one walk from near to far draws it whole: no ray is ever traced twice, and
// the cost is that of the land, not of the picture's height.
#pragma once

#include <vector>

#include "common/image.h"
#include "common/vec.h"

namespace pictures {

struct LevelCamera {
  Vec3 position;                  // metres
  double azimuth = 0;             // radians, 0 = +y, clockwise
  double focal = 1.0;             // distance of the picture plane, in picture widths
  double horizon = 0.5;           // from the top, in picture heights
  double near = 10, far = 50000;  // range of the walk, metres
  double detail = 0.5;            // longest step, in pixels of a slope of 45 degrees

  // Direction through a point of the picture (pixels), not normalised: one unit of depth.
  Vec3 Ray(double x, double y, int width, int height) const {
    const double scale = 1.0 / (focal * width);
    const double right = (x - 0.5 * width) * scale, up = (horizon * height - y) * scale;
    return {std::sin(azimuth) + std::cos(azimuth) * right,
            std::cos(azimuth) - std::sin(azimuth) * right, up};
  }
  // The point of the picture (pixels) that looks in a direction.
  Vec2 Point(Vec3 d, int width, int height) const {
    const double depth = d.x * std::sin(azimuth) + d.y * std::cos(azimuth);
    const double right = d.x * std::cos(azimuth) - d.y * std::sin(azimuth);
    const double scale = focal * width / depth;
    return {0.5 * width + right * scale, horizon * height - d.z * scale};
  }
};

// height(x, y, footprint): metres; footprint is a pixel's width there.
// ground(position, direction, distance, footprint): the colour there.
// sky(direction): the colour above.
// Each pixel is the mean of samples*samples points.
template <typename Height, typename Ground, typename SkyColour>
void SweepLand(Image& image, const LevelCamera& camera, int samples, Height height, Ground ground,
               SkyColour sky) {
  constexpr double kEarth = 2 * 6371e3;
  const int w = image.width(), h = image.height() * samples;
  const double focal = camera.focal * w * samples;  // in sub-pixels
  const double growth = camera.detail * samples / focal;
  const double share = 1.0 / (samples * samples);
  std::vector<Vec3> column(h);
  for (int x = 0; x < w; ++x) {
    std::vector<Vec3> sum(image.height());
    for (int s = 0; s < samples; ++s) {
      const double px = x + (s + HashUnit(x, s, 0, 9)) / samples;
      const double shift = HashUnit(x, s, 1, 9);  // vertical jitter, by column
      const Vec3 flat = camera.Ray(px, camera.horizon * image.height(), w, image.height());
      const double scale = std::sqrt(flat.x * flat.x + flat.y * flat.y);
      int top = h;  // rows from here down are done
      double t = camera.near * (1 + growth * HashUnit(x, s, 2, 9));
      double before = t, z_before = -1e9;
      while (t < camera.far && top > 0) {
        const double footprint = t / (camera.focal * w);
        const double gx = camera.position.x + flat.x * t, gy = camera.position.y + flat.y * t;
        const double z = height(gx, gy, footprint) - Square(t * scale) / kEarth;
        const double row = camera.horizon * h - focal * (z - camera.position.z) / t;
        if (row < top - 1 + shift) {
          const int upto = std::max(0, static_cast<int>(std::ceil(row - shift)));
          for (int r = top - 1; r >= upto; --r) {
            // Where between the last two points of the walk this row's ray met the land.
            const double slope = (camera.horizon * h - (r + shift)) / focal;
            double hit = t;
            if (z_before > -1e8) {
              const double a = z_before - camera.position.z - slope * before;
              const double b = z - camera.position.z - slope * t;
              if (b > a) hit = Mix(before, t, Saturate(-a / (b - a)));
            }
            const Vec3 way{flat.x, flat.y, slope};
            const double unit = Length(way);
            column[r] = ground(camera.position + way * hit, way / unit, hit * unit, footprint);
          }
          top = std::min(top, upto);
        }
        before = t, z_before = z;
        t *= 1 + growth;
      }
      for (int r = 0; r < top; ++r) {
        const double slope = (camera.horizon * h - (r + shift)) / focal;
        column[r] = sky(Normalize(Vec3{flat.x, flat.y, slope}));
      }
      for (int r = 0; r < h; ++r) sum[r / samples] += column[r] * share;
    }
    for (int y = 0; y < image.height(); ++y) image.Set(x, y, sum[y]);
  }
}

}  // namespace pictures

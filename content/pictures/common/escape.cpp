#include "common/escape.h"

namespace pictures {
namespace {

// Follows z together with its derivative, which tells distance and direction to the set's border.
// `growth`: what one step adds to the derivative, 1 if c varies.
Escape Follow(Vec2 z, Vec2 c, Vec2 d, double growth, int limit) {
  for (int i = 0; i < limit; ++i) {
    const double xx = z.x * z.x, yy = z.y * z.y;
    if (xx + yy > 1e8) {
      const double r = std::sqrt(xx + yy), log_r = std::log(r);
      // z / z' points away from the border.
      return {true, i - std::log2(log_r / std::log(1e4)), r * log_r / Length(d),
              std::atan2(z.y * d.x - z.x * d.y, z.x * d.x + z.y * d.y)};
    }
    d = {2 * (z.x * d.x - z.y * d.y) + growth, 2 * (z.x * d.y + z.y * d.x)};
    z = {xx - yy + c.x, 2 * z.x * z.y + c.y};
  }
  return {};
}

}  // namespace

Escape FollowMandelbrot(Vec2 c, int limit) { return Follow({0, 0}, c, {0, 0}, 1, limit); }
Escape FollowJulia(Vec2 z, Vec2 c, int limit) { return Follow(z, c, {1, 0}, 0, limit); }

}  // namespace pictures

#include "common/stars.h"

#include "common/colour.h"

namespace pictures {

Vec3 BlackBodyOf(double kelvin) { return Mix(Vec3{1, 1, 1}, BlackBody(kelvin), 0.75); }

void DrawStar(Image& image, double x, double y, double flux, Vec3 colour, double radius) {
  const double extent = radius * (3.0 + 1.6 * std::log(1 + flux));
  const int x0 = FloorInt(x - extent), x1 = FloorInt(x + extent);
  const int y0 = FloorInt(y - extent), y1 = FloorInt(y + extent);
  const double spot = flux / (2 * kPi * radius * radius);
  for (int j = y0; j <= y1; ++j) {
    for (int i = x0; i <= x1; ++i) {
      const double r2 = (Square(i + 0.5 - x) + Square(j + 0.5 - y)) / (radius * radius);
      const double edge = Ramp(extent * extent / (radius * radius), 0, r2);
      const double light = std::exp(-0.5 * r2) + 0.012 / (1 + r2 + 0.05 * r2 * r2);
      image.AddInside(i, j, colour * (spot * light * edge));
    }
  }
}

}  // namespace pictures

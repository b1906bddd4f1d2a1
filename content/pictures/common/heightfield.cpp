#include "common/heightfield.h"

#include <numeric>

#include "common/noise.h"
#include "common/random.h"

namespace pictures {
namespace {

// Catmull-Rom weights and their derivatives for the four samples around a point.
void Weights(double t, double w[4], double d[4]) {
  w[0] = 0.5 * (-t + 2 * t * t - t * t * t);
  w[1] = 0.5 * (2 - 5 * t * t + 3 * t * t * t);
  w[2] = 0.5 * (t + 4 * t * t - 3 * t * t * t);
  w[3] = 0.5 * (-t * t + t * t * t);
  d[0] = 0.5 * (-1 + 4 * t - 3 * t * t);
  d[1] = 0.5 * (-10 * t + 9 * t * t);
  d[2] = 0.5 * (1 + 8 * t - 9 * t * t);
  d[3] = 0.5 * (-2 * t + 3 * t * t);
}

constexpr int kDx[8] = {1, -1, 0, 0, 1, 1, -1, -1};
constexpr int kDy[8] = {0, 0, 1, -1, 1, -1, 1, -1};

}  // namespace

float HeightField::AtClamped(int x, int y) const {
  return At(std::clamp(x, 0, n_ - 1), std::clamp(y, 0, n_ - 1));
}

double HeightField::Linear(double x, double y) const {
  const double gx = x / cell(), gy = y / cell();
  const int ix = FloorInt(gx), iy = FloorInt(gy);
  const double fx = gx - ix, fy = gy - iy;
  if (ix >= 0 && iy >= 0 && ix < n_ - 1 && iy < n_ - 1) {
    const float* p = &data_[static_cast<size_t>(iy) * n_ + ix];
    return Mix(Mix(p[0], p[1], fx), Mix(p[n_], p[n_ + 1], fx), fy);
  }
  return Mix(Mix(AtClamped(ix, iy), AtClamped(ix + 1, iy), fx),
             Mix(AtClamped(ix, iy + 1), AtClamped(ix + 1, iy + 1), fx), fy);
}

double HeightField::Cubic(double x, double y) const {
  const double gx = x / cell(), gy = y / cell();
  const int ix = FloorInt(gx), iy = FloorInt(gy);
  double wx[4], wy[4], unused[4], sum = 0;
  Weights(gx - ix, wx, unused);
  Weights(gy - iy, wy, unused);
  for (int j = 0; j < 4; ++j) {
    for (int i = 0; i < 4; ++i) sum += wx[i] * wy[j] * AtClamped(ix + i - 1, iy + j - 1);
  }
  return sum;
}

Vec2 HeightField::Slope(double x, double y) const {
  const double gx = x / cell(), gy = y / cell();
  const int ix = FloorInt(gx), iy = FloorInt(gy);
  double wx[4], wy[4], dx[4], dy[4];
  Weights(gx - ix, wx, dx);
  Weights(gy - iy, wy, dy);
  Vec2 slope;
  for (int j = 0; j < 4; ++j) {
    for (int i = 0; i < 4; ++i) {
      const double h = AtClamped(ix + i - 1, iy + j - 1);
      slope.x += dx[i] * wy[j] * h;
      slope.y += wx[i] * dy[j] * h;
    }
  }
  return slope * (1.0 / cell());
}

HeightField Refined(const HeightField& field) {
  HeightField out(field.n() * 2, field.size());
  for (int y = 0; y < out.n(); ++y) {
    for (int x = 0; x < out.n(); ++x) {
      out.At(x, y) = static_cast<float>(field.Cubic(x * out.cell(), y * out.cell()));
    }
  }
  return out;
}

HeightField Smoothed(const HeightField& field, int radius) {
  HeightField work = field;
  const int n = field.n();
  std::vector<float> line(n);
  for (int pass = 0; pass < 4; ++pass) {
    for (int y = 0; y < n; ++y) {
      const auto cell = [&](int i) -> float& { return pass % 2 ? work.At(y, i) : work.At(i, y); };
      double sum = 0;
      for (int i = -radius; i <= radius; ++i) sum += cell(std::clamp(i, 0, n - 1));
      for (int i = 0; i < n; ++i) {
        line[i] = static_cast<float>(sum / (2 * radius + 1));
        sum += cell(std::min(i + radius + 1, n - 1)) - cell(std::max(i - radius, 0));
      }
      for (int i = 0; i < n; ++i) cell(i) = line[i];
    }
  }
  return work;
}

void CarveRivers(HeightField& field, const HeightField& uplift, int steps, double erodibility,
                 double talus) {
  const int n = field.n();
  const double cell = field.cell();
  std::vector<int> order(static_cast<size_t>(n) * n), receiver(order.size());
  std::vector<float> area(order.size()), length(order.size());
  std::iota(order.begin(), order.end(), 0);
  float* h = &field.At(0, 0);
  for (int step = 0; step < steps; ++step) {
    // From high to low, so that a cell's water is complete before it runs on. The order changes
    // little between steps.
    std::sort(order.begin(), order.end(),
              [h](int a, int b) { return h[a] > h[b] || (h[a] == h[b] && a < b); });
    std::fill(area.begin(), area.end(), static_cast<float>(cell * cell));
    for (int c : order) {
      const int x = c % n, y = c / n;
      receiver[c] = c;
      if (x == 0 || y == 0 || x == n - 1 || y == n - 1) continue;
      double steepest = 0;
      for (int k = 0; k < 8; ++k) {
        const int other = c + kDy[k] * n + kDx[k];
        const double run = k < 4 ? cell : cell * 1.41421356;
        const double slope = (h[c] - h[other]) / run;
        if (slope > steepest) {
          steepest = slope;
          receiver[c] = other;
          length[c] = static_cast<float>(run);
        }
      }
      if (receiver[c] != c) area[receiver[c]] += area[c];
    }
    // From the sea upwards: each new height follows from that of the cell below it.
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
      const int c = *it, r = receiver[c], x = c % n, y = c / n;
      if (x == 0 || y == 0 || x == n - 1 || y == n - 1) continue;
      const double raised = h[c] + uplift.At(x, y);
      if (r == c) {
        h[c] = static_cast<float>(raised);
        continue;
      }
      const double cut = erodibility * std::sqrt(area[c]) / length[c];
      double height = (raised + cut * h[r]) / (1.0 + cut);
      height = std::min(height, h[r] + talus * length[c]);
      h[c] = static_cast<float>(height);
    }
  }
}

void CarveGullies(HeightField& field, int drops, uint32_t seed) {
  Random random(seed);
  const int n = field.n();
  const double inv = 1.0 / field.cell();  // heights in cells while a drop runs
  for (int drop = 0; drop < drops; ++drop) {
    double x = random.Range(2, n - 3), y = random.Range(2, n - 3);
    double vx = 0, vy = 0, speed = 1.0, water = 1.0, soil = 0.0;
    for (int life = 0; life < 48; ++life) {
      const int ix = static_cast<int>(x), iy = static_cast<int>(y);
      const double fx = x - ix, fy = y - iy;
      float* p = &field.At(ix, iy);
      const double a = p[0] * inv, b = p[1] * inv, c = p[n] * inv, d = p[n + 1] * inv;
      const double gx = (b - a) * (1 - fy) + (d - c) * fy, gy = (c - a) * (1 - fx) + (d - b) * fx;
      const double here = Mix(Mix(a, b, fx), Mix(c, d, fx), fy);
      vx = vx * 0.25 - gx * 0.75;
      vy = vy * 0.25 - gy * 0.75;
      const double norm = std::sqrt(vx * vx + vy * vy);
      if (norm < 1e-6) break;
      vx /= norm, vy /= norm;
      x += vx, y += vy;
      if (x < 2 || y < 2 || x > n - 3 || y > n - 3) break;
      const int jx = static_cast<int>(x), jy = static_cast<int>(y);
      const float* q = &field.At(jx, jy);
      const double there = inv * Mix(Mix(q[0], q[1], x - jx), Mix(q[n], q[n + 1], x - jx), y - jy);
      const double fall = here - there;
      const double capacity = std::max(fall, 0.01) * speed * water * 3.0;
      double change;  // laid down if positive
      if (fall < 0) {
        change = std::min(-fall, soil);
      } else if (soil > capacity) {
        change = (soil - capacity) * 0.12;
      } else {
        change = -std::min((capacity - soil) * 0.25, fall * 0.5);
      }
      soil -= change;
      const double metres = change / inv;
      p[0] += static_cast<float>(metres * (1 - fx) * (1 - fy));
      p[1] += static_cast<float>(metres * fx * (1 - fy));
      p[n] += static_cast<float>(metres * (1 - fx) * fy);
      p[n + 1] += static_cast<float>(metres * fx * fy);
      speed = std::min(2.5, std::sqrt(std::max(0.01, speed * speed + fall * 2.0)));
      water *= 0.97;
    }
  }
}

HeightField CarvedRange(double size, int n, const std::function<double(double, double)>& uplift) {
  HeightField field(n / 2, size);
  for (int y = 0; y < field.n(); ++y) {
    for (int x = 0; x < field.n(); ++x)
      field.At(x, y) = static_cast<float>(30 * HashUnit(x, y, 0, 3));
  }
  // Large forms on a coarse grid, where a step is cheap; then some more steps on the fine one.
  for (int pass = 0; pass < 2; ++pass) {
    if (pass == 1) field = Refined(field);
    HeightField rise(field.n(), size);
    for (int y = 0; y < field.n(); ++y) {
      for (int x = 0; x < field.n(); ++x) {
        rise.At(x, y) =
            static_cast<float>(26.0 * uplift(double(x) / field.n(), double(y) / field.n()));
      }
    }
    CarveRivers(field, rise, pass == 0 ? 90 : 24, 0.055, 1.05);
  }
  field = Refined(field);
  for (int y = 0; y < field.n(); ++y) {
    for (int x = 0; x < field.n(); ++x) {
      const double u = x * field.cell() / 900, v = y * field.cell() / 900;
      field.At(x, y) += static_cast<float>(38 * Fbm(u, v, 5, 31));
    }
  }
  CarveGullies(field, static_cast<int>(0.38 * field.n() * field.n()), 77);
  return field;
}

ShadowMap::ShadowMap(const HeightField& field, Vec3 sun)
    : top_(field.n(), field.size()), distance_(field.n(), field.size()) {
  // The sweep goes away from the sun along the axis it is closest to; each cell looks one row
  // back towards the sun.
  const int n = field.n();
  const bool along_x = std::fabs(sun.x) > std::fabs(sun.y);
  const double major = along_x ? sun.x : sun.y, minor = along_x ? sun.y : sun.x;
  const int step = major > 0 ? 1 : -1;
  const double shift = minor / std::fabs(major);
  const double run = field.cell() * std::sqrt(1 + shift * shift);
  const double drop = run * sun.z / std::sqrt(sun.x * sun.x + sun.y * sun.y);
  for (int k = 0; k < n; ++k) {
    const int i = step > 0 ? n - 1 - k : k;
    for (int j = 0; j < n; ++j) {
      const auto at = [&](auto& map, int a, int b) -> decltype(auto) {
        return along_x ? map.At(a, b) : map.At(b, a);
      };
      float& top = at(top_, i, j);
      float& distance = at(distance_, i, j);
      top = -1e6f, distance = 0;
      if (k == 0) continue;
      const double back = Clamp(j + shift, 0.0, n - 1.001);
      const int b = static_cast<int>(back);
      const double f = back - b;
      const int before = i + step;
      const double land = Mix(at(field, before, b), at(field, before, b + 1), f);
      const double shade = Mix(at(top_, before, b), at(top_, before, b + 1), f);
      const double far = Mix(at(distance_, before, b), at(distance_, before, b + 1), f);
      top = static_cast<float>(std::max(land, shade) - drop);
      distance = static_cast<float>(land > shade ? run : far + run);
    }
  }
}

double ShadowMap::Lit(double x, double y, double z) const {
  const double soft = distance_.Linear(x, y) * 0.009 + top_.cell() * 0.25;
  return Ramp(-soft, soft, z - top_.Linear(x, y) - soft * 0.3);
}

HeightField Openness(const HeightField& field) {
  HeightField out(field.n(), field.size());
  for (int i = 0; i < field.n() * field.n(); ++i) (&out.At(0, 0))[i] = 1.0f;
  for (int radius : {2, 6, 18, 54}) {
    const HeightField mean = Smoothed(field, radius);
    for (int y = 0; y < field.n(); ++y) {
      for (int x = 0; x < field.n(); ++x) {
        const double depth = (mean.At(x, y) - field.At(x, y)) / (radius * field.cell());
        out.At(x, y) *= static_cast<float>(Clamp(1.0 - 0.7 * depth, 0.45, 1.12));
      }
    }
  }
  return out;
}

}  // namespace pictures

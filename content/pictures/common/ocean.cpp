#include "common/ocean.h"

#include <complex>

#include "common/random.h"

namespace pictures {
namespace {

using Complex = std::complex<float>;
constexpr int kGrid = 512;

void Transform(std::vector<Complex>& a, size_t offset, size_t stride) {
  const auto at = [&](size_t i) -> Complex& { return a[offset + i * stride]; };
  for (size_t i = 1, j = 0; i < kGrid; ++i) {
    size_t bit = kGrid >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(at(i), at(j));
  }
  for (size_t length = 2; length <= kGrid; length *= 2) {
    const double angle = 2 * kPi / length;
    const Complex turn(static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)));
    for (size_t i = 0; i < kGrid; i += length) {
      Complex w(1);
      for (size_t k = 0; k < length / 2; ++k, w *= turn) {
        const Complex u = at(i + k), v = at(i + k + length / 2) * w;
        at(i + k) = u + v;
        at(i + k + length / 2) = u - v;
      }
    }
  }
}
void Transform(std::vector<Complex>& a) {
  for (size_t i = 0; i < kGrid; ++i) Transform(a, i * kGrid, 1);
  for (size_t i = 0; i < kGrid; ++i) Transform(a, i, kGrid);
}

}  // namespace

Ocean::Ocean(double wind, double significant, double longest, uint32_t seed) {
  // Each patch takes over where the one before has no finer waves left.
  const double sizes[3] = {longest * 7.3, longest * 0.97, longest * 0.113};
  const double k_peak = 2 * kPi / longest;
  double k_low = 0;
  double variance = 0;
  std::vector<std::vector<Complex>> heights;
  for (int p = 0; p < 3; ++p) {
    const double dk = 2 * kPi / sizes[p], k_high = dk * kGrid * 0.36;
    std::vector<Complex> spectrum(kGrid * kGrid);
    Random random(seed + p);
    for (int j = 0; j < kGrid; ++j) {
      for (int i = 0; i < kGrid; ++i) {
        const double kx = (i < kGrid / 2 ? i : i - kGrid) * dk;
        const double ky = (j < kGrid / 2 ? j : j - kGrid) * dk;
        const double re = random.Gauss(), im = random.Gauss();
        const double k = std::sqrt(kx * kx + ky * ky);
        if (k <= k_low || k >= k_high) continue;
        const double along = (kx * std::cos(wind) + ky * std::sin(wind)) / k;
        const double spread = std::pow(0.5 + 0.5 * along, k < 3 * k_peak ? 6 : 2) + 0.03;
        const double power =
            std::exp(-1.25 * Square(k_peak / k)) / (k * k * k * k) * spread * dk * dk;
        const double amplitude = std::sqrt(power);
        spectrum[j * kGrid + i] = {static_cast<float>(re * amplitude),
                                   static_cast<float>(im * amplitude)};
        variance += power;
      }
    }
    heights.push_back(std::move(spectrum));
    k_low = k_high;
  }
  const double scale = significant / 4 / std::sqrt(variance);
  for (int p = 0; p < 3; ++p) {
    const double dk = 2 * kPi / sizes[p];
    Patch patch{sizes[p], 0.37 * p, {}};
    Level level{kGrid, std::vector<float>(3 * kGrid * kGrid), 0};
    for (int channel = 0; channel < 3; ++channel) {
      std::vector<Complex> field = heights[p];
      for (int j = 0; j < kGrid && channel > 0; ++j) {
        for (int i = 0; i < kGrid; ++i) {
          const int m = channel == 1 ? i : j;
          const float k = static_cast<float>((m < kGrid / 2 ? m : m - kGrid) * dk);
          field[j * kGrid + i] *= Complex(0, k);
        }
      }
      Transform(field);
      for (int c = 0; c < kGrid * kGrid; ++c) {
        level.values[3 * c + channel] = static_cast<float>(field[c].real() * scale);
      }
    }
    const auto mean_square = [](const Level& l) {
      double sum = 0;
      for (int c = 0; c < l.n * l.n; ++c)
        sum += Square(l.values[3 * c + 1]) + Square(l.values[3 * c + 2]);
      return sum / (l.n * l.n);
    };
    const double whole = mean_square(level);
    patch.levels.push_back(level);
    while (patch.levels.back().n > 1) {
      const Level& fine = patch.levels.back();
      Level coarse{fine.n / 2, std::vector<float>(3 * fine.n * fine.n / 4), 0};
      for (int y = 0; y < coarse.n; ++y) {
        for (int x = 0; x < coarse.n; ++x) {
          for (int c = 0; c < 3; ++c) {
            const auto f = [&](int dx, int dy) {
              return fine.values[3 * ((2 * y + dy) * fine.n + 2 * x + dx) + c];
            };
            coarse.values[3 * (y * coarse.n + x) + c] =
                0.25f * (f(0, 0) + f(1, 0) + f(0, 1) + f(1, 1));
          }
        }
      }
      coarse.variance = whole - mean_square(coarse);
      patch.levels.push_back(std::move(coarse));
    }
    patches_.push_back(std::move(patch));
  }
}

void Ocean::Blend(const Patch& patch, double x, double y, double footprint,
                  WaterSample& sum) const {
  const double cell = patch.size / kGrid;
  const double lod =
      Clamp(std::log2(std::max(footprint / cell, 1e-6)), 0.0, patch.levels.size() - 1.001);
  const int first = static_cast<int>(lod);
  // Patches are turned against each other, so that their repeats never line up.
  const Vec2 q = Rotate({x, y}, patch.turn);
  double out[3] = {}, lost = 0;
  for (int k = 0; k < 2; ++k) {
    const double share = k == 0 ? 1 - (lod - first) : lod - first;
    if (share < 1e-3) continue;
    const Level& level = patch.levels[first + k];
    const double gx = Fract(q.x / patch.size) * level.n - 0.5 * (first + k > 0);
    const double gy = Fract(q.y / patch.size) * level.n - 0.5 * (first + k > 0);
    const int ix = FloorInt(gx), iy = FloorInt(gy), mask = level.n - 1;
    const double fx = gx - ix, fy = gy - iy;
    const float* a = &level.values[3 * ((iy & mask) * level.n + (ix & mask))];
    const float* b = &level.values[3 * ((iy & mask) * level.n + ((ix + 1) & mask))];
    const float* c = &level.values[3 * (((iy + 1) & mask) * level.n + (ix & mask))];
    const float* d = &level.values[3 * (((iy + 1) & mask) * level.n + ((ix + 1) & mask))];
    for (int i = 0; i < 3; ++i) out[i] += share * Mix(Mix(a[i], b[i], fx), Mix(c[i], d[i], fx), fy);
    lost += share * level.variance;
  }
  const Vec2 slope = Rotate({out[1], out[2]}, -patch.turn);
  sum.height += out[0];
  sum.slope = sum.slope + slope;
  sum.roughness += lost;
}

WaterSample Ocean::At(double x, double y, double footprint) const {
  WaterSample sum;
  for (const Patch& patch : patches_) Blend(patch, x, y, footprint, sum);
  return sum;
}

double Ocean::Height(double x, double y, double footprint) const {
  WaterSample sum;
  Blend(patches_[0], x, y, footprint, sum);
  if (footprint < patches_[1].size) Blend(patches_[1], x, y, footprint, sum);
  return sum.height;
}

}  // namespace pictures

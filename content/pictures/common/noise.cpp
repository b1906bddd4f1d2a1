#include "common/noise.h"

#include "common/random.h"

namespace pictures {
namespace {

// Eight directions in the plane, twelve in space: enough once octaves are summed.
constexpr double kGradients2[8][2] = {{1, 0},
                                      {-1, 0},
                                      {0, 1},
                                      {0, -1},
                                      {0.7071, 0.7071},
                                      {-0.7071, 0.7071},
                                      {0.7071, -0.7071},
                                      {-0.7071, -0.7071}};
constexpr double kGradients3[16][3] = {
    {1, 1, 0}, {-1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, {1, 0, 1}, {-1, 0, 1}, {1, 0, -1}, {-1, 0, -1},
    {0, 1, 1}, {0, -1, 1}, {0, 1, -1}, {0, -1, -1}, {1, 1, 0}, {-1, 1, 0}, {0, -1, 1}, {0, -1, -1}};

double Fade(double t) { return t * t * t * (t * (t * 6.0 - 15.0) + 10.0); }

double Corner(int ix, int iy, double dx, double dy, uint32_t seed) {
  const double* g = kGradients2[Hash(ix, iy, 0, seed) >> 29];
  return g[0] * dx + g[1] * dy;
}
double Corner(int ix, int iy, int iz, double dx, double dy, double dz, uint32_t seed) {
  const double* g = kGradients3[Hash(ix, iy, iz, seed) >> 28];
  return g[0] * dx + g[1] * dy + g[2] * dz;
}

// A rotation by about 37 degrees and a frequency just off 2, the step between octaves.
constexpr double kCos = 0.8, kSin = 0.6, kLacunarity = 2.03;
void NextOctave(double& x, double& y) {
  const double rx = (kCos * x - kSin * y) * kLacunarity, ry = (kSin * x + kCos * y) * kLacunarity;
  x = rx + 17.3;
  y = ry - 5.1;
}
void NextOctave(Vec3& p) {
  p = Vec3{0.8 * p.y + 0.6 * p.z, -0.8 * p.x + 0.36 * p.y - 0.48 * p.z,
           -0.6 * p.x - 0.48 * p.y + 0.64 * p.z} *
          kLacunarity +
      Vec3{11.7, 3.1, -7.9};
}

}  // namespace

double Noise(double x, double y, uint32_t seed) {
  const int ix = FloorInt(x), iy = FloorInt(y);
  const double fx = x - ix, fy = y - iy;
  const double u = Fade(fx), v = Fade(fy);
  const double a = Corner(ix, iy, fx, fy, seed), b = Corner(ix + 1, iy, fx - 1, fy, seed);
  const double c = Corner(ix, iy + 1, fx, fy - 1, seed);
  const double d = Corner(ix + 1, iy + 1, fx - 1, fy - 1, seed);
  return 1.5 * Mix(Mix(a, b, u), Mix(c, d, u), v);
}

double Noise(Vec3 p, uint32_t seed) {
  const int ix = FloorInt(p.x), iy = FloorInt(p.y), iz = FloorInt(p.z);
  const double fx = p.x - ix, fy = p.y - iy, fz = p.z - iz;
  const double u = Fade(fx), v = Fade(fy), w = Fade(fz);
  double layer[2];
  for (int k = 0; k < 2; ++k) {
    const double dz = fz - k;
    const double a = Corner(ix, iy, iz + k, fx, fy, dz, seed);
    const double b = Corner(ix + 1, iy, iz + k, fx - 1, fy, dz, seed);
    const double c = Corner(ix, iy + 1, iz + k, fx, fy - 1, dz, seed);
    const double d = Corner(ix + 1, iy + 1, iz + k, fx - 1, fy - 1, dz, seed);
    layer[k] = Mix(Mix(a, b, u), Mix(c, d, u), v);
  }
  return Mix(layer[0], layer[1], w);
}

double Fbm(double x, double y, int octaves, uint32_t seed, double gain) {
  double sum = 0, height = 1.0 - gain;
  for (int i = 0; i < octaves; ++i, height *= gain, ++seed) {
    sum += height * Noise(x, y, seed);
    NextOctave(x, y);
  }
  return 1.6 * sum;
}

double Fbm(Vec3 p, int octaves, uint32_t seed, double gain) {
  double sum = 0, height = 1.0 - gain;
  for (int i = 0; i < octaves; ++i, height *= gain, ++seed) {
    sum += height * Noise(p, seed);
    NextOctave(p);
  }
  return 1.8 * sum;
}

double Ridged(double x, double y, int octaves, uint32_t seed, double gain) {
  double sum = 0, height = 1.0 - gain, weight = 1.0;
  for (int i = 0; i < octaves; ++i, height *= gain, ++seed) {
    const double crest = Square(1.0 - std::min(1.0, std::fabs(Noise(x, y, seed)) * 1.4));
    sum += height * crest * weight;
    weight = Saturate(crest * 1.6);
    NextOctave(x, y);
  }
  return sum;
}

double Ridged(Vec3 p, int octaves, uint32_t seed, double gain) {
  double sum = 0, height = 1.0 - gain, weight = 1.0;
  for (int i = 0; i < octaves; ++i, height *= gain, ++seed) {
    const double crest = Square(1.0 - std::min(1.0, std::fabs(Noise(p, seed)) * 1.6));
    sum += height * crest * weight;
    weight = Saturate(crest * 1.6);
    NextOctave(p);
  }
  return sum;
}

CellDistances Cells(double x, double y, uint32_t seed) {
  const int ix = FloorInt(x), iy = FloorInt(y);
  CellDistances result{9, 9, 0};
  for (int j = iy - 1; j <= iy + 1; ++j) {
    for (int i = ix - 1; i <= ix + 1; ++i) {
      const uint32_t h = Hash(i, j, 1, seed);
      const double px = i + (h & 0xFFFF) / 65536.0, py = j + (h >> 16) / 65536.0;
      const double d = Square(px - x) + Square(py - y);
      if (d < result.nearest) {
        result = {d, result.nearest, h};
      } else if (d < result.second) {
        result.second = d;
      }
    }
  }
  result.nearest = std::sqrt(result.nearest);
  result.second = std::sqrt(result.second);
  return result;
}

}  // namespace pictures

// Above the clouds at evening: a sea of vapour, walked through step by step for each ray of sight.
#include <vector>

#include "common/colour.h"
#include "common/noise.h"
#include "common/sky.h"
#include "scenes.h"

namespace pictures {
namespace {

// Noise in a box of 96^3 points that repeats; reading it is far cheaper than making it anew.
class NoiseBox {
 public:
  explicit NoiseBox(uint32_t seed) : data_(kN * kN * kN) {
    for (int z = 0; z < kN; ++z) {
      for (int y = 0; y < kN; ++y) {
        for (int x = 0; x < kN; ++x) {
          // Billows: round outside, creased between, from cells and folded noise.
          double sum = 0, height = 0.55;
          for (int period = 6, octave = 0; octave < 4; ++octave, period *= 2, height *= 0.52) {
            sum += height * (1.0 - Worley(double(x) / kN, double(y) / kN, double(z) / kN, period,
                                          seed + octave));
          }
          data_[(z * kN + y) * kN + x] = static_cast<float>(sum);
        }
      }
    }
  }
  double operator()(double x, double y, double z) const {
    x *= kN, y *= kN, z *= kN;
    const int ix = FloorInt(x), iy = FloorInt(y), iz = FloorInt(z);
    const double fx = x - ix, fy = y - iy, fz = z - iz;
    const auto wrap = [](int i) { return ((i % kN) + kN) % kN; };
    const int x0 = wrap(ix), x1 = wrap(ix + 1), y0 = wrap(iy), y1 = wrap(iy + 1), z0 = wrap(iz),
              z1 = wrap(iz + 1);
    const auto at = [&](int a, int b, int c) { return data_[(c * kN + b) * kN + a]; };
    return Mix(
        Mix(Mix(at(x0, y0, z0), at(x1, y0, z0), fx), Mix(at(x0, y1, z0), at(x1, y1, z0), fx), fy),
        Mix(Mix(at(x0, y0, z1), at(x1, y0, z1), fx), Mix(at(x0, y1, z1), at(x1, y1, z1), fx), fy),
        fz);
  }

 private:
  static constexpr int kN = 96;
  static double Worley(double x, double y, double z, int period, uint32_t seed) {
    x *= period, y *= period, z *= period;
    const int ix = FloorInt(x), iy = FloorInt(y), iz = FloorInt(z);
    double best = 4;
    for (int k = iz - 1; k <= iz + 1; ++k) {
      for (int j = iy - 1; j <= iy + 1; ++j) {
        for (int i = ix - 1; i <= ix + 1; ++i) {
          const auto wrap = [period](int v) { return (v + period) % period; };
          const uint32_t h = Hash(wrap(i), wrap(j), wrap(k), seed);
          const double px = i + (h & 1023) / 1024.0, py = j + (h >> 10 & 1023) / 1024.0,
                       pz = k + (h >> 20 & 1023) / 1024.0;
          best = std::min(best, Square(px - x) + Square(py - y) + Square(pz - z));
        }
      }
    }
    return std::min(1.0, std::sqrt(best));
  }
  std::vector<float> data_;
};

// Heights in kilometres.
constexpr double kFloor = 0.0, kCeiling = 2.1;

class CloudSea {
 public:
  CloudSea() : billows_(5), sun_(Direction(Radians(24), Radians(4.2))), sky_(sun_, 0.55) {}

  Vec3 Look(Vec3 eye, Vec3 d, double jitter) const {
    const Vec3 behind = Heavens(d);
    if (d.z >= 0 && eye.z > kCeiling) return behind;
    double t = std::max(0.0, (kCeiling - eye.z) / d.z);
    if (t > kFar) return behind;
    Vec3 light;
    double clear = 1.0, first = -1;
    t *= 1 + 0.004 * jitter;
    for (int i = 0; i < 260 && clear > 0.01 && t < kFar; ++i) {
      const Vec3 p = eye + d * t;
      if (p.z < kFloor - 0.1) break;
      const double lack = TopAt(p.x, p.y) - p.z;
      double step = 0.010 + t * 0.0038;
      if (lack < -0.28) {
        step = std::max(step, 0.55 * (-lack - 0.25) / std::max(0.15, -d.z + 0.35));
      } else {
        const double density = Density(p, lack, t);
        if (density > 0.002) {
          if (first < 0) first = t;
          const double absorbed = 1 - std::exp(-density * step * 26);
          light += Lit(p, density, Dot(d, sun_)) * (absorbed * clear);
          clear *= 1 - absorbed;
        }
      }
      t += step * (0.92 + 0.16 * jitter);
    }
    if (first < 0) first = kFar;
    const Vec3 far = Exp(Vec3{0.8, 1.15, 1.75} * (-first / 62));
    const Vec3 air = Heavens(Normalize(Vec3{d.x, d.y, 0.012}));
    const Vec3 c = light + air * (0.75 * clear);
    return c * far + air * (Vec3{1, 1, 1} - far);
  }

 private:
  static constexpr double kFar = 110;

  // Height of the cloud tops: wide swells, and towers here and there.
  double TopAt(double x, double y) const {
    const double swell = Fbm(x / 9 + 4, y / 9, 3, 61);
    const double tower = Ramp(0.12, 0.80, Fbm(x / 5.5, y / 5.5, 4, 67, 0.5));
    const double lumps = billows_(x / 6.1, y / 6.1, 0.31);
    return 0.55 + 0.30 * swell + 0.95 * tower * (0.5 + 0.9 * lumps) + 0.55 * (lumps - 0.45);
  }
  double Density(Vec3 p, double lack, double t) const {
    const double coarse = billows_(p.x / 3.1, p.y / 3.1, p.z / 3.1 + 0.2);
    double d = lack * 1.9 + (coarse - 0.52) * 1.25;
    if (d > -0.1 && t < 45) d += (billows_(p.x / 0.83, p.y / 0.83, p.z / 0.83) - 0.5) * 0.42;
    return Saturate(d * 2.2);
  }
  Vec3 Lit(Vec3 p, double density, double mu) const {
    double shade = 0, reach = 0.05;
    Vec3 q = p;
    for (int i = 0; i < 5; ++i, reach *= 1.9) {
      q += sun_ * reach;
      const double lack = TopAt(q.x, q.y) - q.z;
      if (lack > -0.3) shade += Density(q, lack, 50) * reach;
    }
    // Light scattered many times inside reaches deeper than the direct beam: three orders.
    const double silver = 0.10 + 0.75 * std::pow(Saturate(0.5 + 0.5 * mu), 10);
    const double direct = (0.28 + silver) * std::exp(-9.0 * shade) + 0.30 * std::exp(-2.6 * shade) +
                          0.12 * std::exp(-0.8 * shade);
    const double powder = 1 - 0.45 * std::exp(-density * 4);
    const double height = Ramp(-0.1, 1.3, p.z);
    return sky_.SunLight() * (0.32 * direct * powder) + sky_.Ambient() * (0.42 + 0.75 * height);
  }
  Vec3 Heavens(Vec3 d) const {
    Vec3 c = sky_(d);
    const double away = std::acos(Clamp(Dot(d, sun_), -1.0, 1.0));
    c += sky_.SunLight() * (120 * Ramp(0.0062, 0.0052, away)) +
         sky_.SunLight() * (0.05 * std::exp(-away / 0.10));
    const double reach = 1 / (std::max(d.z, 0.0) + 0.08);
    const double u = d.x * reach, v = d.y * reach;
    const double wisp = Fbm(u * 0.35 + Fbm(u * 0.5, v * 0.5, 3, 91), v * 0.9, 7, 92, 0.57);
    return Mix(c, sky_.SunLight() * 0.13 + sky_.Ambient(),
               0.45 * Ramp(0.1, 0.9, wisp) * Ramp(0.02, 0.15, d.z));
  }

  NoiseBox billows_;
  Vec3 sun_;
  Sky sky_;
};

}  // namespace

Picture SeaOfClouds(int width, int height) {
  const CloudSea sea;
  const Vec3 eye{0, 0, 3.0};
  Picture picture{Image(width, height), {}};
  RenderPixels(picture.image, 1, [&](double x, double y) {
    const double u = (x / width - 0.5) / 0.95, v = (0.36 * height - y) / width / 0.95;
    const double jitter = HashUnit(static_cast<int>(x), static_cast<int>(y), 0, 3);
    return sea.Look(eye, Normalize(Vec3{u, 1, v}), jitter);
  });
  AddGlow(picture.image, 1.6, 0.06, width * 0.006);
  picture.development = {.exposure = 0.42,
                         .contrast = 1.18,
                         .saturation = 1.08,
                         .vignette = 0.22,
                         .grain = 0.004,
                         .tint = {1.0, 0.90, 1.38}};
  return picture;
}

}  // namespace pictures

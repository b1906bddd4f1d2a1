#include "common/sky.h"

namespace pictures {
namespace {

constexpr double kGround = 6360e3, kTop = 6440e3;  // metres from the earth's centre
constexpr double kAirHeight = 8000, kHazeHeight = 1300;
constexpr Vec3 kAir = {5.8e-6, 13.5e-6, 33.1e-6};
constexpr Vec3 kOzone = {0.65e-6 * 1.6, 1.88e-6 * 1.6, 0.085e-6 * 1.6};
constexpr double kHaze = 3.2e-6;
constexpr double kSunPower = 22.0;
constexpr int kAzimuths = 96, kElevations = 128;

struct Densities {
  double air, haze, ozone;
};
Densities At(double height) {
  return {std::exp(-height / kAirHeight), std::exp(-height / kHazeHeight),
          std::max(0.0, 1.0 - std::fabs(height - 25e3) / 15e3)};
}

// Distance from radius `r` along a ray of the given cosine to the top of the air.
double ToTop(double r, double cosine) {
  return -r * cosine + std::sqrt(std::max(0.0, r * r * (cosine * cosine - 1) + kTop * kTop));
}

double HazePhase(double cosine) {
  constexpr double g = 0.78;
  return 3.0 / (8 * kPi) * (1 - g * g) * (1 + cosine * cosine) /
         ((2 + g * g) * std::pow(1 + g * g - 2 * g * cosine, 1.5));
}

}  // namespace

Sky::Sky(Vec3 sun, double haze) : sun_(sun), haze_(haze) {
  table_.resize(kAzimuths * kElevations);
  const Vec3 flat = Normalize(Vec3{sun.x, sun.y, 1e-9});
  const Vec3 side{flat.y, -flat.x, 0};
  double weight = 0;
  for (int e = 0; e < kElevations; ++e) {
    // Half of the table for the lowest fifth of the sky, where it changes fastest.
    const double elevation = Square(e / (kElevations - 1.0)) * kPi / 2;
    for (int a = 0; a < kAzimuths; ++a) {
      const double azimuth = Square(a / (kAzimuths - 1.0)) * kPi;
      const Vec3 d = (flat * std::cos(azimuth) + side * std::sin(azimuth)) * std::cos(elevation) +
                     Vec3{0, 0, std::sin(elevation)};
      const Vec3 light = Scattered(d);
      table_[e * kAzimuths + a] = light;
      const double share = std::cos(elevation) * (e + 1.0) * (a + 1.0);
      ambient_ += light * share;
      weight += share;
    }
  }
  ambient_ *= 1.0 / weight;
  const double s = std::max(sun.z, 0.004);
  sun_light_ = Exp(Depth(1.0, s) * -1.0) * (kSunPower * Ramp(-0.02, 0.012, sun.z));
}

// Optical depth from a height up to space.
Vec3 Sky::Depth(double height, double cosine) const {
  constexpr int kSteps = 14;
  const double r = kGround + height, length = ToTop(r, cosine);
  Vec3 depth;
  double before = 0;
  for (int i = 1; i <= kSteps; ++i) {
    const double t = length * Square(double(i) / kSteps), middle = (t + before) / 2;
    const double h = std::sqrt(r * r + middle * middle + 2 * r * middle * cosine) - kGround;
    if (h < -200) return {1e3, 1e3, 1e3};  // the earth's own shadow
    const Densities d = At(std::max(h, 0.0));
    depth += (kAir * d.air + kOzone * d.ozone + Vec3{1, 1, 1} * (kHaze * haze_ * 1.1 * d.haze)) *
             (t - before);
    before = t;
  }
  return depth;
}

Vec3 Sky::Scattered(Vec3 direction) const {
  constexpr int kSteps = 36;
  const double r = kGround + 200, cosine = std::max(direction.z, 0.0);
  const double length = ToTop(r, cosine), mu = Dot(direction, sun_);
  const double air_phase = 3.0 / (16 * kPi) * (1 + mu * mu), haze_phase = HazePhase(mu);
  Vec3 light, depth;
  double before = 0;
  for (int i = 1; i <= kSteps; ++i) {
    const double t = length * Square(double(i) / kSteps), middle = (t + before) / 2;
    const double radius = std::sqrt(r * r + middle * middle + 2 * r * middle * cosine);
    const double height = radius - kGround;
    const Densities d = At(height);
    const Vec3 local = kAir * d.air, misty = Vec3{1, 1, 1} * (kHaze * haze_ * d.haze);
    const Vec3 step = (local + misty * 1.1 + kOzone * d.ozone) * (t - before);
    // Cosine of the sun over the local horizon: the earth is round.
    const double sun_cosine = (r * sun_.z + middle * mu) / radius;
    const Vec3 from_sun = Exp(Depth(height, sun_cosine) * -1.0);
    // A small even share stands for light scattered more than once.
    const Vec3 in = from_sun * (local * (air_phase + 0.012) + misty * (haze_phase + 0.02));
    light += Exp((depth + step * 0.5) * -1.0) * in * (t - before);
    depth += step;
    before = t;
  }
  return light * kSunPower;
}

Vec3 Sky::operator()(Vec3 direction) const {
  const double elevation = std::asin(Clamp(direction.z, 0.0, 1.0));
  const double flat = std::sqrt(sun_.x * sun_.x + sun_.y * sun_.y) *
                      std::sqrt(direction.x * direction.x + direction.y * direction.y);
  const double cosine = flat > 1e-12 ? (direction.x * sun_.x + direction.y * sun_.y) / flat : 1.0;
  const double azimuth = std::acos(Clamp(cosine, -1.0, 1.0));
  const double e = std::sqrt(elevation / (kPi / 2)) * (kElevations - 1.001);
  const double a = std::sqrt(azimuth / kPi) * (kAzimuths - 1.001);
  const int ie = static_cast<int>(e), ia = static_cast<int>(a);
  const Vec3* p = &table_[ie * kAzimuths + ia];
  return Mix(Mix(p[0], p[1], a - ia), Mix(p[kAzimuths], p[kAzimuths + 1], a - ia), e - ie);
}

}  // namespace pictures

// A giant planet with rings and the shadows they throw on each other.
#include "common/colour.h"
#include "common/noise.h"
#include "common/stars.h"
#include "scenes.h"

namespace pictures {
namespace {

// The planet is a globe of radius 1 at the origin, its rings lie in the plane z = 0.
const Vec3 kSun = Normalize(Vec3{-0.24, -0.92, 0.30});
constexpr double kInner = 1.28, kOuter = 2.35;  // rings, in planet radii

// How much light the rings let through and throw back at a distance from the planet's centre.
double RingDensity(double r) {
  if (r < kInner || r > kOuter) return 0;
  const double t = (r - kInner) / (kOuter - kInner);
  double d = 0.62 + 0.25 * Noise(r * 9, 0.5, 3) + 0.30 * Noise(r * 34, 0.5, 4) +
             0.22 * Noise(r * 120, 0.5, 5) + 0.14 * Noise(r * 420, 0.5, 6);
  d *= Ramp(0, 0.22, t) * 0.85 + 0.15 * Ramp(0, 0.02, t);
  d *= 1 - 0.96 * Ramp(0.58, 0.588, t) * Ramp(0.645, 0.637, t);  // the great gap
  d *= 1 - 0.9 * Ramp(0.885, 0.888, t) * Ramp(0.897, 0.894, t);  // a narrow one
  d *= 1 - 0.45 * Ramp(0.645, 0.66, t);
  return Saturate(d) * Ramp(1.0, 0.992, t);
}

Vec3 RingColour(double r) {
  const double t = (r - kInner) / (kOuter - kInner);
  const Vec3 warm = Mix(Rgb(0x8F7657), Rgb(0xE8D6B4), Ramp(0, 0.35, t));
  return Mix(warm, Rgb(0xCFC3B4), Ramp(0.6, 1.0, t)) * (0.9 + 0.2 * Noise(r * 60, 2.5, 9));
}

// The cloud bands: latitude picks the colour, swirling winds bend the latitude.
Vec3 BandColour(Vec3 n) {
  const double latitude = std::asin(Clamp(n.z, -1.0, 1.0));
  const double longitude = std::atan2(n.y, n.x);
  const Vec3 p = n * 3.0;
  const double shear = std::sin(latitude * 21);
  const Vec3 q{p.x * 1.0 + shear * 0.3, p.y * 1.0, p.z * 5.0};
  const double swirl =
      Fbm(q + Vec3{Fbm(q * 1.3, 4, 41), Fbm(q * 1.3 + Vec3{5, 2, 1}, 4, 42), 0} * 1.1, 6, 43, 0.55);
  const double fine = Fbm(Vec3{q.x * 4 + swirl, q.y * 4, q.z * 3.5}, 5, 47);
  const double bent = latitude + 0.034 * swirl + 0.007 * fine;
  static const Gradient bands({{0.00, 0x7D8C9A},
                               {0.10, 0xA79C8A},
                               {0.18, 0xCDB68F},
                               {0.25, 0xB98F63},
                               {0.31, 0xE6D3AE},
                               {0.37, 0xC99C68},
                               {0.43, 0xF1E3C4},
                               {0.49, 0xE0BD8A},
                               {0.53, 0xF6EBD2},
                               {0.58, 0xC58F5C},
                               {0.64, 0xEAD7B3},
                               {0.70, 0xB4885F},
                               {0.77, 0xDCC49A},
                               {0.85, 0xA59A8C},
                               {1.00, 0x6C8096}});
  Vec3 c = bands(bent / kPi + 0.5);
  c = c * (1.0 + 0.16 * fine + 0.16 * Noise(bent * 30, 1.7, 49));
  c = c * c * 0.55 + c * 0.45;  // deeper tones than the palette's
  // One storm, turning.
  const double dx = std::remainder(longitude + 2.2, 2 * kPi) / 0.17, dy = (latitude + 0.38) / 0.085;
  const double storm = std::exp(-(dx * dx + dy * dy) * (1.2 + 0.5 * swirl));
  return Mix(c, Rgb(0xD9794A), 0.75 * storm);
}

Vec3 PlanetColour(Vec3 n) {
  const double cosine = Dot(n, kSun);
  const double day = Ramp(-0.10, 0.35, cosine) * std::max(0.0, cosine * 0.9 + 0.1);
  // The rings' shadow: where the way to the sun crosses their plane.
  double shade = 1.0;
  if (n.z * kSun.z < 0) {
    const double t = -n.z / kSun.z;
    const Vec3 cross = n + kSun * t;
    shade = 1.0 - 0.86 * RingDensity(std::sqrt(cross.x * cross.x + cross.y * cross.y));
  }
  const Vec3 dusk = Mix(Vec3{1.0, 0.55, 0.32}, Vec3{1, 1, 1}, Ramp(0.0, 0.35, cosine));
  return BandColour(n) * (dusk * (day * shade * 1.55) + Vec3{0.004, 0.005, 0.008});
}

// Light from the rings where a ray meets their plane, already weighted by `density`.
Vec3 RingLight(Vec3 p, double density) {
  // The globe's shadow falls across the far side.
  const double along = Dot(p, kSun);
  const double off = std::sqrt(std::max(0.0, Dot(p, p) - along * along));
  const double lit = along > 0 ? 1.0 : Ramp(0.985, 1.012, off);
  const double grains = 0.75 + 0.25 * density;
  return RingColour(std::sqrt(p.x * p.x + p.y * p.y)) * (grains * (0.012 + 1.25 * lit) * density);
}

// The globe seen along d at its point n: darker at the rim, with a thin blue air above it.
Vec3 GlobeLight(Vec3 n, Vec3 d) {
  const double rim = std::pow(1.0 - std::fabs(Dot(n, d)), 3.5);
  return PlanetColour(n) * (1 - 0.45 * rim) +
         Vec3{0.45, 0.62, 0.95} * (0.35 * rim * Ramp(-0.05, 0.6, Dot(n, kSun)));
}

// What a ray meets, over what lies behind.
Vec3 Trace(Vec3 eye, Vec3 d, Vec3 behind) {
  constexpr double kNever = 1e9;
  const double b = Dot(eye, d), disc = b * b - (Dot(eye, eye) - 1.0);
  const double t_globe = disc > 0 ? -b - std::sqrt(disc) : kNever;
  const double t_ring = -eye.z / d.z;
  Vec3 colour = t_globe < kNever ? GlobeLight(eye + d * t_globe, d) : behind;
  if (t_ring > 0 && t_ring < t_globe) {
    const Vec3 p = eye + d * t_ring;
    const double density = RingDensity(std::sqrt(p.x * p.x + p.y * p.y));
    if (density > 0) colour = RingLight(p, density) + colour * (1 - density);
  }
  return colour;
}

// Stars, and the faintest of nebulae so that the black is not empty.
Image Background(int width, int height) {
  Image image(width, height);
  RenderPixels(image, 1, [&](double x, double y) {
    const double u = x / width * 3.2, v = y / width * 3.2;
    const double warp = Fbm(u * 0.8, v * 0.8, 4, 71);
    const double shape = Fbm(u + warp, v - warp, 7, 72, 0.55);
    const double cloud = Ramp(-0.1, 1.1, shape + 0.25 - 0.35 * std::fabs(u - v - 0.4));
    const double tone = Saturate(0.5 + Fbm(u * 1.5, v * 1.5, 3, 73));
    const Vec3 hue = Mix(Rgb(0x1B2A6B), Rgb(0x7A3B7E), tone);
    return hue * (1.1 * cloud * cloud + 0.12 * cloud) + Vec3{0.0050, 0.0058, 0.0092};
  });
  const double scale = width / 1920.0;
  ScatterStars(image, 9000, 160 * scale * scale, 0.85 * scale, 11, [&](double x, double y) {
    return 0.45 + 0.4 * Fbm(x / width * 4, y / width * 4, 3, 74);
  });
  return image;
}

}  // namespace

Picture RingedPlanet(int width, int height) {
  const Vec3 eye{0.6, -6.6, 1.55}, target{0.28, 0, -0.02};
  const double focal = 1.62;  // in widths
  const Vec3 ahead = Normalize(target - eye);
  // The camera is held askew, so that the rings slant across the picture.
  const Vec3 right = Normalize(Cross(ahead, Normalize(Vec3{-0.30, 0, 1})));
  const Vec3 up = Cross(right, ahead);
  const Image stars = Background(width, height);
  Picture picture{Image(width, height), {}};
  RenderPixels(picture.image, 3, [&](double x, double y) {
    const Vec3 d =
        Normalize(ahead * focal + right * (x / width - 0.5) + up * ((0.5 * height - y) / width));
    return Trace(eye, d, stars.At(static_cast<int>(x), static_cast<int>(y)));
  });
  AddGlow(picture.image, 0.9, 0.10, width * 0.005);
  picture.development = {.exposure = 0.95, .contrast = 1.0, .saturation = 1.08, .grain = 0.004};
  return picture;
}

}  // namespace pictures

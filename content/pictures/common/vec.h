// Small vector arithmetic and scalar helpers for the picture generator.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace pictures {

constexpr double kPi = 3.14159265358979323846;

struct Vec2 {
  double x = 0, y = 0;
};
inline Vec2 operator+(Vec2 a, Vec2 b) { return {a.x + b.x, a.y + b.y}; }
inline Vec2 operator-(Vec2 a, Vec2 b) { return {a.x - b.x, a.y - b.y}; }
inline Vec2 operator*(Vec2 a, double s) { return {a.x * s, a.y * s}; }
inline double Dot(Vec2 a, Vec2 b) { return a.x * b.x + a.y * b.y; }
inline double Length(Vec2 a) { return std::sqrt(Dot(a, a)); }
inline Vec2 Rotate(Vec2 a, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return {c * a.x - s * a.y, s * a.x + c * a.y};
}

// A point, a direction (z up) or a linear RGB colour.
struct Vec3 {
  double x = 0, y = 0, z = 0;
};
inline Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(Vec3 a, Vec3 b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
inline Vec3 operator*(Vec3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
inline Vec3 operator*(double s, Vec3 a) { return a * s; }
inline Vec3 operator/(Vec3 a, double s) { return a * (1.0 / s); }
inline Vec3& operator+=(Vec3& a, Vec3 b) { return a = a + b; }
inline Vec3& operator*=(Vec3& a, Vec3 b) { return a = a * b; }
inline Vec3& operator*=(Vec3& a, double s) { return a = a * s; }
inline double Dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 Cross(Vec3 a, Vec3 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(Vec3 a) { return std::sqrt(Dot(a, a)); }
inline Vec3 Normalize(Vec3 a) { return a / Length(a); }
inline Vec3 Reflect(Vec3 d, Vec3 n) { return d - n * (2.0 * Dot(d, n)); }
inline Vec3 Exp(Vec3 a) { return {std::exp(a.x), std::exp(a.y), std::exp(a.z)}; }

inline double Mix(double a, double b, double t) { return a + (b - a) * t; }
inline Vec3 Mix(Vec3 a, Vec3 b, double t) { return a + (b - a) * t; }
inline double Clamp(double v, double lo, double hi) { return v < lo ? lo : v > hi ? hi : v; }
inline double Saturate(double v) { return Clamp(v, 0.0, 1.0); }
// Smooth ramp from 0 at `lo` to 1 at `hi`; also falls if lo > hi.
inline double Ramp(double lo, double hi, double v) {
  const double t = Saturate((v - lo) / (hi - lo));
  return t * t * (3.0 - 2.0 * t);
}
inline double Square(double v) { return v * v; }
inline double Fract(double v) { return v - std::floor(v); }
// Floor to an int without a library call; the baseline instruction set has none for it.
inline int FloorInt(double v) {
  const int i = static_cast<int>(v);
  return i - (v < i);
}
// Unit vector from a compass angle (0 = +y, clockwise seen from above) and an elevation, radians.
inline Vec3 Direction(double azimuth, double elevation) {
  return {std::cos(elevation) * std::sin(azimuth), std::cos(elevation) * std::cos(azimuth),
          std::sin(elevation)};
}
inline double Radians(double degrees) { return degrees * kPi / 180.0; }

}  // namespace pictures

#include "common/colour.h"

namespace pictures {
namespace {

constexpr int kTableSize = 2048;

// An S curve over the logarithm of light. 0.18, the grey card, stays where it is.
double Curve(double v, double contrast) {
  const double stops = std::log2(std::max(v, 1e-6) / 0.18);
  const double s = 1.0 / (1.0 + std::exp(-contrast * 0.92 * stops + 0.4));
  // The sigmoid gives display values (gamma 2.2); back to linear light.
  return std::pow(s, 2.2);
}

}  // namespace

Vec3 Filmic(Vec3 c, double contrast) {
  // Some of each channel leaks into the others before the curve: saturated light that gets very
  // bright then turns pale instead of clipping to a flat primary.
  constexpr double kLeak = 0.055;
  const double sum = c.x + c.y + c.z;
  const Vec3 mixed = c * (1.0 - 3 * kLeak) + Vec3{sum, sum, sum} * kLeak;
  Vec3 out{Curve(mixed.x, contrast), Curve(mixed.y, contrast), Curve(mixed.z, contrast)};
  out = Saturated(out, 1.18);
  return {Saturate(out.x), Saturate(out.y), Saturate(out.z)};
}

double Luminance(Vec3 c) { return 0.2126 * c.x + 0.7152 * c.y + 0.0722 * c.z; }

Vec3 Saturated(Vec3 c, double amount) {
  const double l = Luminance(c);
  const Vec3 out = Vec3{l, l, l} + (c - Vec3{l, l, l}) * amount;
  return {std::max(out.x, 0.0), std::max(out.y, 0.0), std::max(out.z, 0.0)};
}

double ToSrgb(double v) {
  return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
}
double FromSrgb(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
Vec3 Rgb(uint32_t hex) {
  return {FromSrgb((hex >> 16 & 255) / 255.0), FromSrgb((hex >> 8 & 255) / 255.0),
          FromSrgb((hex & 255) / 255.0)};
}

Vec3 BlackBody(double kelvin) {
  // Planck's law at three wavelengths close to the primaries is all that stars need.
  const auto planck = [kelvin](double nanometres) {
    return std::pow(nanometres / 550.0, -5.0) / (std::exp(1.4388e7 / (nanometres * kelvin)) - 1.0);
  };
  const auto white = [](double nanometres) {
    return std::pow(nanometres / 550.0, -5.0) / (std::exp(1.4388e7 / (nanometres * 6500.0)) - 1.0);
  };
  const Vec3 c{planck(610) / white(610), planck(550) / white(550), planck(465) / white(465)};
  return c / Luminance(c);
}

Gradient::Gradient(std::initializer_list<Stop> stops, bool wraps) : wraps_(wraps) {
  for (const Stop& stop : stops) {
    at_.push_back(stop.at);
    colours_.push_back(Rgb(stop.colour));
  }
  if (wraps_) {
    at_.push_back(1.0);
    colours_.push_back(colours_.front());
  }
  for (int i = 0; i <= kTableSize; ++i) table_.push_back(Exact(double(i) / kTableSize));
}

// Mixed in a roughly perceptual space (square roots): even steps, no dark seams.
Vec3 Gradient::Exact(double t) const {
  size_t i = 0;
  while (i + 2 < at_.size() && t > at_[i + 1]) ++i;
  const double f = Ramp(0, 1, Saturate((t - at_[i]) / (at_[i + 1] - at_[i])));
  const double g = Mix(f, Saturate((t - at_[i]) / (at_[i + 1] - at_[i])), 0.5);
  const Vec3 a = colours_[i], b = colours_[i + 1];
  const auto mix = [g](double p, double q) { return Square(Mix(std::sqrt(p), std::sqrt(q), g)); };
  return {mix(a.x, b.x), mix(a.y, b.y), mix(a.z, b.z)};
}

Vec3 Gradient::operator()(double t) const {
  t = (wraps_ ? Fract(t) : Saturate(t)) * kTableSize;
  const int i = std::min(static_cast<int>(t), kTableSize - 1);
  return Mix(table_[i], table_[i + 1], t - i);
}

}  // namespace pictures

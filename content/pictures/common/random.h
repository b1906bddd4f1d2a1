// Repeatable random numbers: every picture comes out the same on every machine.
#pragma once

#include <cmath>
#include <cstdint>

#include "common/vec.h"

namespace pictures {

// Mixes lattice coordinates into 32 well spread bits.
inline uint32_t Hash(int32_t x, int32_t y, int32_t z, uint32_t seed) {
  uint32_t h = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u ^
               static_cast<uint32_t>(z) * 0x27D4EB2Fu ^ seed * 0xC2B2AE3Du;
  h ^= h >> 15;
  h *= 0x2C1B3C6Du;
  h ^= h >> 12;
  h *= 0x297A2D39u;
  return h ^ h >> 15;
}
inline double HashUnit(int32_t x, int32_t y, int32_t z, uint32_t seed) {
  return Hash(x, y, z, seed) * (1.0 / 4294967296.0);
}

// A small generator with a 64-bit state (PCG).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 2 + 1) {
    Next();
    Next();
  }
  uint32_t Next() {
    const uint64_t old = state_;
    state_ = old * 6364136223846793005ull + 1442695040888963407ull;
    const uint32_t shifted = static_cast<uint32_t>(((old >> 18) ^ old) >> 27);
    const uint32_t rotation = static_cast<uint32_t>(old >> 59);
    return shifted >> rotation | shifted << (-rotation & 31u);
  }
  double Unit() { return Next() * (1.0 / 4294967296.0); }
  double Range(double lo, double hi) { return lo + (hi - lo) * Unit(); }
  double Gauss() {
    const double radius = std::sqrt(-2.0 * std::log(1.0 - Unit()));
    return radius * std::cos(2.0 * kPi * Unit());
  }

 private:
  uint64_t state_;
};

}  // namespace pictures

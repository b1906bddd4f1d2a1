// How a wavy water surface looks: mirror, glitter and depth.
#pragma once

#include "common/ocean.h"
#include "common/vec.h"

namespace pictures {

struct WaterLight {
  Vec3 from;    // unit vector towards the sun or moon
  Vec3 colour;  // its light
  double size;  // its radius, radians
};

// The colour of water seen along `way`. `body`: light that comes out of the depth.
// sky(direction): what the surface mirrors.
template <typename SkyColour>
Vec3 WaterColour(const WaterSample& water, Vec3 way, const WaterLight& light, Vec3 body,
                 SkyColour sky) {
  const Vec3 n = Normalize(Vec3{-water.slope.x, -water.slope.y, 1});
  const double facing = std::max(0.015, -Dot(way, n));
  // Unseen small waves lower the mirroring at grazing angles and blur what is mirrored.
  const double fresnel = 0.02 + 0.98 * std::pow(1 - facing, 5.0 / (1 + 6 * water.roughness));
  Vec3 r = Reflect(way, n);
  r.z = std::fabs(r.z) + 0.35 * std::sqrt(water.roughness);
  r = Normalize(r);
  // Glitter: how many of the unseen facets are turned so that they mirror the light.
  const Vec3 h = Normalize(light.from - way);
  const Vec3 facet = Normalize(Vec3{h.x / h.z + water.slope.x, h.y / h.z + water.slope.y, 1});
  const double tan2 = std::max(0.0, 1 / (facet.z * facet.z) - 1);
  const double spread = 2 * (water.roughness * 0.5 + light.size * light.size);
  const double glint = std::exp(-tan2 / spread) / (kPi * spread) / (4 * facing) * fresnel;
  return sky(r) * fresnel + body * (1 - fresnel) + light.colour * std::min(glint, 400.0);
}

// A pixel's width on the water, longer at grazing angles.
inline double WaterFootprint(double pixel, Vec3 way) {
  return pixel / std::sqrt(std::max(0.01, -way.z));
}

}  // namespace pictures

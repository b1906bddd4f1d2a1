#include "slideshow/TilePlan.h"

#include <algorithm>
#include <cmath>
#include <limits>

// In floats, which take up the rounding of a quotient of logarithms. They tell
// neighbours apart up to 2,097,150 px; a picture's side has 32,767 at most.
bool IsPowerOfTwo(std::int32_t value) {
  if (value < 1) return false;
  const float exponent = static_cast<float>(std::log10(value) / std::log10(2.0));
  return exponent > 0 && exponent == std::floor(exponent);
}

std::int32_t PowerBelow(std::int32_t value, std::int32_t limit) {
  while (limit > value && limit > 1) limit /= 2;
  return limit;
}

std::int32_t PowerAbove(std::int32_t value, std::int32_t limit) {
  while (limit / 2 >= value && limit > 1) limit /= 2;
  return limit;
}

std::int32_t ChooseTileSide(std::int32_t side, std::int32_t largest, std::int32_t smallest) {
  std::int32_t chosen = std::max(largest, 1);
  std::int32_t best = std::numeric_limits<std::int32_t>::max();
  for (std::int32_t t = largest; t >= smallest; t /= 2) {
    if (side % t >= best) continue;
    best = side % t;
    chosen = t;
  }
  return chosen;
}

TilePlan PlanTileGrid(std::int32_t width, std::int32_t height, std::int32_t maxTextureSize,
                      bool cramEnabled, std::int32_t cramSize) {
  TilePlan plan;
  if (cramEnabled && cramSize > 0 && (cramSize < width || cramSize < height)) {
    plan.crammed = true;
    width = plan.cramWidth = std::min(width, cramSize);
    height = plan.cramHeight = std::min(height, cramSize);
  }
  const std::int32_t tileWidth = ChooseTileSide(width, maxTextureSize);
  const std::int32_t tileHeight = ChooseTileSide(height, maxTextureSize);
  plan.columns = std::max(width / tileWidth, 1);
  plan.rows = std::max(height / tileHeight, 1);
  plan.fitWidth = plan.columns * tileWidth;
  plan.fitHeight = plan.rows * tileHeight;
  plan.needsResize = plan.fitWidth != width || plan.fitHeight != height;
  return plan;
}

namespace {

std::int32_t ToPowerOfTwo(std::int32_t side, std::int32_t limit, bool roundUp) {
  return roundUp ? PowerAbove(side, limit) : PowerBelow(side, limit);
}

}  // namespace

TextureSize PlanSingleTexture(std::int32_t width, std::int32_t height, std::int32_t maxTextureSize,
                              bool roundUp) {
  const bool bothFit = width <= maxTextureSize && height <= maxTextureSize;
  const auto plan = [=](std::int32_t side) {
    if (side > maxTextureSize) return maxTextureSize;
    if (IsPowerOfTwo(side)) return bothFit ? side : PowerAbove(side, maxTextureSize);
    return ToPowerOfTwo(side, maxTextureSize, roundUp);
  };
  return {plan(width), plan(height)};
}

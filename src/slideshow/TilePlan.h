#pragma once
// How a picture is cut into textures. Pure arithmetic on sizes in px.

#include <cstdint>

// Whether `value` is a power of two greater than 1.
bool IsPowerOfTwo(std::int32_t value);
// `limit` halved until it isn't above `value`; `limit` itself if it isn't to
// begin with.
std::int32_t PowerBelow(std::int32_t value, std::int32_t limit);
// The same walk, but the last number that wasn't yet below `value`.
std::int32_t PowerAbove(std::int32_t value, std::int32_t limit);

// Of a picture: below it the number of tiles grows too large.
inline constexpr std::int32_t kSmallestTile = 256;

// The tile side, from `largest` down by halves to `smallest`, which is at least 1,
// that leaves the smallest remainder of `side`; the larger one of two that leave
// the same. At least 1.
std::int32_t ChooseTileSide(std::int32_t side, std::int32_t largest,
                            std::int32_t smallest = kSmallestTile);

// The grid that a picture is cut into.
struct TilePlan {
  bool crammed = false;          // the picture is over the limit
  std::int32_t cramWidth = 0;    // its size after the limit, 0 where not limited
  std::int32_t cramHeight = 0;
  std::int32_t columns = 1;
  std::int32_t rows = 1;
  std::int32_t fitWidth = 0;     // a whole number of tiles
  std::int32_t fitHeight = 0;
  bool needsResize = false;      // the picture must become that size before it is cut
};

// Plans for a decoded picture of `width` by `height`. With `cramEnabled` no
// side counts as more than `cramSize`; 0 or below, which no dialog offers, is no
// limit. A picture smaller than one tile gets one all the same.
TilePlan PlanTileGrid(std::int32_t width, std::int32_t height, std::int32_t maxTextureSize,
                      bool cramEnabled, std::int32_t cramSize);

// The one texture of a picture that isn't cut into tiles.
struct TextureSize {
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// Brings each side to a power of two within `maxTextureSize`: the next lower
// one, or with `roundUp` the next higher one.
TextureSize PlanSingleTexture(std::int32_t width, std::int32_t height, std::int32_t maxTextureSize,
                              bool roundUp);

#pragma once
// Turns decoded pixels into textures: a GDI copy into the surface, then the mip
// chain. Main thread only. A surface that can't be made throws cGameError.

#include "imaging/BTNexgenIPL.h"

#include <cstdint>
#include <memory>

class CSlideImage;
class cTexture;

// A texture of the whole picture; null for depths other than 16 and 32.
std::unique_ptr<cTexture> MakeTexture(std::int32_t bits, const BTCImageData& picture,
                                      std::int32_t mipLevels);

// The texture of the slide's next tile, which then counts as done. Row 0 shows
// the bottom of the picture. False, with nothing counted, past the last tile and
// for depths other than 16 and 32.
bool MakeTile(std::int32_t bits, const BTCImageData& picture, CSlideImage& slide,
              std::int32_t mipLevels);
// The same, with the tile's part of the picture scaled to a share of
// `cramWidth` by `cramHeight` px.
bool MakeTileStretched(std::int32_t bits, const BTCImageData& picture, std::int32_t cramWidth,
                       std::int32_t cramHeight, CSlideImage& slide, std::int32_t mipLevels);

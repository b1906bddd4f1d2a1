#pragma once
// Shows the textures of a caption: one quad a texture, edge to edge, centred on
// the origin of the world matrix.
//
// Needs the graphics layer; main thread only.

#include "graphics/DirectX7.h"

#include <cstdint>
#include <memory>

class cTexture;

class CaptionQuad {
 public:
  // All tiles together, world units; before Build.
  void SetSize(float width, float height) { quadWidth = width, quadHeight = height; }
  float GetHeight() const { return quadHeight; }

  // Places `newColumns` by `newRows` tiles and shows `textures` on them, which
  // stay the caller's and must outlive the drawing. Row 0 is the lowest.
  void Build(std::int32_t newColumns, std::int32_t newRows, const cTexture* textures);
  // Shows other textures, as many as before, on the same tiles.
  void SetTiles(const cTexture* textures);
  // Draws all tiles in one scene, blended onto what is there: at 32 bits by the
  // textures' alpha times `alpha` (0 to 1), at any other depth by the textures'
  // colours dimmed to `alpha`. Leaves the material, the blend factors and stage
  // 0 changed. A lost scene sets the layer's flag.
  void Draw(float alpha, std::int32_t bits);

 private:
  struct Tile {
    float left = 0;     // world units
    float right = 0;
    float bottom = 0;
    float top = 0;
    float uMax = 1;
    float vTop = 0;
    const cTexture* texture = nullptr;
  };
  // A corner as the device takes it.
  struct Corner {
    float x = 0;
    float y = 0;
    float z = 0;
    D3DCOLOR colour = 0xFFFFFFFF;
    float u = 0;
    float v = 0;
  };
  static_assert(sizeof(Corner) == 24);

  void DrawTile(const Tile& tile);

  float quadWidth = 0;
  float quadHeight = 0;
  std::unique_ptr<Tile[]> tiles;  // number columns * row + column
  std::int32_t columns = 0;
  std::int32_t rows = 0;
  Corner vertices[4];             // of the tile that is being drawn
  std::uint16_t indices[6] = {0, 1, 2, 0, 2, 3};
};

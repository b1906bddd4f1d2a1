#include "slideshow/CaptionQuad.h"

#include "graphics/cGraphicsLayer.h"
#include "graphics/cTexture.h"

#include <cstddef>

namespace {

constexpr DWORD kCornerFormat = D3DFVF_XYZ | D3DFVF_DIFFUSE | D3DFVF_TEX1;

// Where edge number `n` of `count` equal parts of `length` lies, seen from the
// middle.
float Edge(std::int32_t n, std::int32_t count, float length) {
  return static_cast<float>(n) * length / static_cast<float>(count) - length / 2;
}

void BlendByAlpha(IDirect3DDevice7* device, float alpha) {
  device->SetTextureStageState(0, D3DTSS_ALPHAARG1, D3DTA_TEXTURE | D3DTA_ALPHAREPLICATE);
  device->SetRenderState(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
  device->SetRenderState(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
  D3DMATERIAL7 material{};
  material.diffuse = material.ambient = {1.0f, 1.0f, 1.0f, alpha};
  device->SetMaterial(&material);
}

// Black leaves what is there, white covers it.
void BlendByColour(IDirect3DDevice7* device, float alpha) {
  device->SetRenderState(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCCOLOR);
  device->SetRenderState(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCCOLOR);
  device->SetTextureStageState(0, D3DTSS_ALPHAARG1, D3DTA_DIFFUSE);
  D3DMATERIAL7 material{};
  material.ambient = {alpha, alpha, alpha, 1.0f};
  device->SetMaterial(&material);
}

}  // namespace

void CaptionQuad::Build(std::int32_t newColumns, std::int32_t newRows, const cTexture* textures) {
  columns = newColumns;
  rows = newRows;
  tiles = std::make_unique<Tile[]>(static_cast<std::size_t>(columns * rows));
  for (std::int32_t row = 0; row < rows; ++row) {
    for (std::int32_t column = 0; column < columns; ++column) {
      Tile& tile = tiles[static_cast<std::size_t>(columns * row + column)];
      tile.left = Edge(column, columns, quadWidth);
      tile.right = Edge(column + 1, columns, quadWidth);
      tile.bottom = Edge(row, rows, quadHeight);
      tile.top = Edge(row + 1, rows, quadHeight);
    }
  }
  SetTiles(textures);
}

void CaptionQuad::SetTiles(const cTexture* textures) {
  for (std::int32_t n = 0; n < columns * rows; ++n)
    tiles[static_cast<std::size_t>(n)].texture = &textures[n];
}

void CaptionQuad::Draw(float alpha, std::int32_t bits) {
  IDirect3DDevice7* device = gGraphicsLayer->GetDevice();
  if (bits == 32)
    BlendByAlpha(device, alpha);
  else
    BlendByColour(device, alpha);
  if (FAILED(gGraphicsLayer->BeginScene())) return;
  for (std::int32_t n = 0; n < columns * rows; ++n) DrawTile(tiles[static_cast<std::size_t>(n)]);
  gGraphicsLayer->EndScene();
}

void CaptionQuad::DrawTile(const Tile& tile) {
  vertices[0] = {tile.left, tile.top, 0, 0xFFFFFFFF, 0, tile.vTop};
  vertices[1] = {tile.left, tile.bottom, 0, 0xFFFFFFFF, 0, 1};
  vertices[2] = {tile.right, tile.bottom, 0, 0xFFFFFFFF, tile.uMax, 1};
  vertices[3] = {tile.right, tile.top, 0, 0xFFFFFFFF, tile.uMax, tile.vTop};
  IDirect3DDevice7* device = gGraphicsLayer->GetDevice();
  device->SetTexture(0, tile.texture->GetSurface());
  device->DrawIndexedPrimitive(D3DPT_TRIANGLELIST, kCornerFormat, vertices, 4, indices, 6, 0);
}

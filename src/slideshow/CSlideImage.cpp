#include "slideshow/CSlideImage.h"

#include "graphics/cGraphicsLayer.h"
#include "graphics/cTexture.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace {

constexpr DWORD kCornerFormat = D3DFVF_XYZ | D3DFVF_TEX1;
constexpr double kMotionStepMs = 20.0;

std::size_t Index(std::int32_t number) { return static_cast<std::size_t>(number); }

}  // namespace

// --- Vertices ---

void Vertex_xyz::Scale(float factor) {
  x *= factor;
  y *= factor;
  z *= factor;
}

void Vertex_xyz::Subtract(const Vertex_xyz& other) {
  x -= other.x;
  y -= other.y;
  z -= other.z;
}

// --- Life ---

CSlideImage::~CSlideImage() {
  if (!ownsTextures || !tiles) return;
  for (std::int32_t n = 0; n < TileCount(); ++n) delete tiles[Index(n)].texture;
}

void CSlideImage::Setup(std::uint32_t width, std::uint32_t height, bool onlyX, bool onlyY) {
  focusXOnly = onlyX;
  focusYOnly = onlyY;
  scaleX = scaleY = 1.0f;
  if (width == 0 || height == 0 || width == height) return;
  if (width < height)
    scaleX = static_cast<float>(width) / static_cast<float>(height);
  else
    scaleY = static_cast<float>(height) / static_cast<float>(width);
}

void CSlideImage::MakeTiles(std::int32_t newColumns, std::int32_t newRows) {
  columns = std::max(newColumns, 1);
  rows = std::max(newRows, 1);
  tiles = std::make_unique<SlideTile[]>(Index(TileCount()));
}

// --- Mesh ---

void CSlideImage::Build() {
  vertexCount = (columns + 1) * (rows + 1);
  vertices = std::make_unique<Vertex_xyz[]>(Index(vertexCount));
  directions = std::make_unique<Vertex_xyz[]>(Index(vertexCount));
  quads = std::make_unique<std::array<std::uint32_t, 4>[]>(Index(TileCount()));
  PlaceVertices();
  LinkQuads();
  CopyToCorners();
}

void CSlideImage::PlaceVertices() {
  const bool tall = scaleY > scaleX;
  const float width = tall ? size : scaleX / scaleY * size;
  const float height = tall ? scaleY / scaleX * size : size;
  const float left = -width / 2;
  const float bottom = -height / 2;
  const float cellWidth = width / static_cast<float>(columns);
  const float cellHeight = height / static_cast<float>(rows);
  for (std::int32_t row = 0; row <= rows; ++row) {
    for (std::int32_t column = 0; column <= columns; ++column) {
      const std::size_t n = Index((columns + 1) * row + column);
      vertices[n] = {static_cast<float>(column) * cellWidth + left,
                     static_cast<float>(row) * cellHeight + bottom, 0};
      directions[n] = vertices[n];
      directions[n].Subtract(focus);
    }
  }
}

// Neighbouring tiles share their vertices, so that no gap can open between them
// however they move.
void CSlideImage::LinkQuads() {
  const auto vertexAt = [this](std::int32_t column, std::int32_t row) {
    return static_cast<std::uint32_t>((columns + 1) * row + column);
  };
  for (std::int32_t row = 0; row < rows; ++row)
    for (std::int32_t column = 0; column < columns; ++column)
      quads[Index(columns * row + column)] = {vertexAt(column, row + 1), vertexAt(column, row),
                                              vertexAt(column + 1, row),
                                              vertexAt(column + 1, row + 1)};
}

void CSlideImage::CopyToCorners() {
  for (std::int32_t n = 0; n < TileCount(); ++n) {
    for (std::size_t corner = 0; corner < 4; ++corner) {
      const Vertex_xyz& from = vertices[quads[Index(n)][corner]];
      SlideCorner& to = tiles[Index(n)].corners[corner];
      to.x = from.x;
      to.y = from.y;
      to.z = from.z;
    }
  }
}

void CSlideImage::Move(float amount) {
  if (!vertices) Build();
  for (std::int32_t n = 0; n < vertexCount; ++n) {
    Vertex_xyz& vertex = vertices[Index(n)];
    const Vertex_xyz& direction = directions[Index(n)];
    vertex.x += direction.x * zoomSign * amount;
    vertex.y += direction.y * zoomSign * amount;
    vertex.z += direction.z * zoomSign * amount;
  }
  CopyToCorners();
}

HRESULT CSlideImage::Draw() {
  if (!vertices) Build();
  const HRESULT begun = gGraphicsLayer->BeginScene();
  if (FAILED(begun)) return begun;
  IDirect3DDevice7* device = gGraphicsLayer->GetDevice();
  for (std::int32_t column = 0; column < columns; ++column) {
    for (std::int32_t row = 0; row < rows; ++row) {
      SlideTile& tile = tiles[Index(columns * row + column)];
      device->SetTexture(0, tile.texture ? tile.texture->GetSurface() : nullptr);
      device->DrawIndexedPrimitive(D3DPT_TRIANGLELIST, kCornerFormat, tile.corners, 4, tile.indices,
                                   6, 0);
    }
  }
  return gGraphicsLayer->EndScene();
}

// --- Motion ---

namespace {

// Uniform over the screen's width or height, in hundredths of a unit.
float RandomX() { return static_cast<float>((std::rand() % 200) / 100.0 - 1.0); }

float RandomY(const SlideMotion& motion) {
  const int steps = std::max(static_cast<int>(motion.topEdge * 200.0), 1);
  return static_cast<float>((std::rand() % steps) / 100.0 + motion.bottomEdge);
}

Vertex_xyz RandomFocus(const CSlideImage& slide, const SlideMotion& motion) {
  Vertex_xyz focus;
  if (slide.focusXOnly) {
    focus.x = RandomX();
  } else if (slide.focusYOnly) {
    focus.y = RandomY(motion);
  } else {
    focus.x = RandomX();
    focus.y = RandomY(motion);
  }
  return focus;
}

// A moving picture covers the whole screen and overflows on one axis, so that no
// edge shows; a still one shows whole, with bars on one axis.
float SizeOnScreen(const CSlideImage& slide, const SlideMotion& motion) {
  const float screen = motion.topEdge - motion.bottomEdge;
  const bool widerThanScreen = slide.scaleY / slide.scaleX < screen / 2;
  if (widerThanScreen == motion.animate) return screen * slide.scaleX;
  return 2 * slide.scaleY;
}

}  // namespace

float MotionAmount(std::int32_t dt, float zoomRate) {
  return static_cast<float>(dt / kMotionStepMs * zoomRate);
}

void PrepareMotion(CSlideImage& slide, const CSlideImage* previous, const SlideMotion& motion) {
  if (motion.animate) {
    slide.zoomSign = previous ? -previous->zoomSign : 1.0f;
    slide.focus = RandomFocus(slide, motion);
  }
  slide.size = SizeOnScreen(slide, motion);
  if (!motion.animate || slide.zoomSign >= 0 || !previous) return;
  const std::int32_t timeOnScreen = motion.imageDelay + 2 * motion.transitionTime;
  slide.Move(-MotionAmount(timeOnScreen, motion.zoomRate));
}

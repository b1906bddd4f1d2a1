#pragma once
// One picture on the Direct3D path: a flat grid of textured quads, one a tile.
//
//        topEdge  +--------------------------+        The screen is 2.0 world
//                 |   the screen             |        units wide and centred on
//           y ^   |            o origin      |        the origin, y up. Vertex
//             |   |                          |        and tile numbers run from
//             +-> +--------------------------+        the bottom left corner to
//               x -1.0                      1.0       the right, row by row.
//
// The show's slow motion moves the grid's vertices: each one is pushed along
// its fixed direction away from the point of focus, which scales the picture
// about that point. The eye doesn't move.
//
// A loader fills the proportions and the tiles on its own thread before it
// reports the picture decoded; everything else happens on the main thread.

#include "graphics/DirectX7.h"

#include <array>
#include <cstdint>
#include <memory>

class cTexture;

struct Vertex_xyz {
  float x = 0;
  float y = 0;
  float z = 0;

  void Scale(float factor);
  void Subtract(const Vertex_xyz& other);
};

// A corner as the device takes it.
struct SlideCorner {
  float x = 0;
  float y = 0;
  float z = 0;
  float u = 0;
  float v = 0;
};
static_assert(sizeof(SlideCorner) == 20);

// One quad: top left, bottom left, bottom right, top right.
struct SlideTile {
  SlideTile() = default;
  SlideTile(const SlideTile&) = delete;
  SlideTile& operator=(const SlideTile&) = delete;

  SlideCorner corners[4] = {{0, 0, 0, 0, 0}, {0, 0, 0, 0, 1}, {0, 0, 0, 1, 1}, {0, 0, 0, 1, 0}};
  std::uint16_t indices[6] = {0, 1, 2, 0, 2, 3};
  cTexture* texture = nullptr;   // owned by the slide, unless it disclaims them; null until made
  // Of a picture over the limit: the tile's part of it, px; else the whole picture's
  // size, which nothing reads.
  std::int32_t pixelWidth = 0;
  std::int32_t pixelHeight = 0;
};

class CSlideImage {
 public:
  CSlideImage() = default;
  ~CSlideImage();
  CSlideImage(const CSlideImage&) = delete;
  CSlideImage& operator=(const CSlideImage&) = delete;

  // Fixes the proportions by the picture's size, px, and keeps which way the
  // point of focus may move. A size that isn't one counts as square.
  void Setup(std::uint32_t width, std::uint32_t height, bool onlyX, bool onlyY);
  // Makes the tiles, without textures. At least one each way.
  void MakeTiles(std::int32_t newColumns, std::int32_t newRows);
  std::int32_t TileCount() const { return columns * rows; }

  void AddDone(std::int32_t n) { tilesDone += n; }
  bool AllDone() const { return tilesDone == TileCount(); }
  std::int32_t GetDone() const { return tilesDone; }

  // Makes the vertices from `size` and `focus`, centred on the origin wherever
  // the focus is. Move and Draw do it if it hasn't been done.
  void Build();
  // Pushes every vertex along its direction: by `amount` of its distance from
  // the focus at Build, outwards or inwards as `zoomSign` says.
  void Move(float amount);
  // Draws all tiles in one scene. A scene that can't be begun or ended hands
  // back its code; the layer is then lost.
  HRESULT Draw();

  std::unique_ptr<Vertex_xyz[]> vertices;    // present positions; null until built
  std::unique_ptr<Vertex_xyz[]> directions;  // per vertex: where it started, seen from `focus`
  std::unique_ptr<std::array<std::uint32_t, 4>[]> quads;  // vertex numbers of each tile's corners
  std::int32_t vertexCount = 0;
  std::int32_t tilesDone = 0;                // tiles that have a texture
  std::unique_ptr<SlideTile[]> tiles;        // number columns * row + column
  std::int32_t ownsTextures = 1;
  std::int32_t columns = 0;
  std::int32_t rows = 0;
  float scaleX = 1.0f;                       // proportions; the longer side is 1.0
  float scaleY = 1.0f;
  float zoomSign = 1.0f;                     // 1.0 the slide grows, -1.0 it shrinks
  float size = 1.0f;                         // the shorter side, world units
  bool focusXOnly = false;
  bool focusYOnly = false;
  Vertex_xyz focus;                          // world units

 private:
  void PlaceVertices();
  void LinkQuads();
  void CopyToCorners();
};

// What a slide's motion depends on beside the slide itself.
struct SlideMotion {
  bool animate = true;
  float topEdge = 0.75f;             // of the screen, world units
  float bottomEdge = -0.75f;
  float zoomRate = 0.0002f;          // share of the distance from the focus in 20 ms
  std::int32_t imageDelay = 8000;    // ms
  std::int32_t transitionTime = 4000;
};

// How far a slide moves in `dt` ms, as Move takes it.
float MotionAmount(std::int32_t dt, float zoomRate);

// Gives a slide that has just been loaded its direction, focus and size. Slides
// alternate: `previous` is the one before it, null for the first of a session,
// which grows. One that shrinks starts enlarged by what it will lose while it is
// on the screen. Uses rand().
void PrepareMotion(CSlideImage& slide, const CSlideImage* previous, const SlideMotion& motion);

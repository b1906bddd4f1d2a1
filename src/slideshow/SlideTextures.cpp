#include "slideshow/SlideTextures.h"

#include "graphics/SurfaceDc.h"
#include "graphics/cTexture.h"
#include "slideshow/CSlideImage.h"

#include <cstddef>

namespace {

constexpr std::int32_t kPictureStage = 0;

// A texture with what `draw` puts into its device context. The context is given
// back before the mip chain is built, which locks the surface.
template <class Draw>
std::unique_ptr<cTexture> MakeDrawn(std::int32_t bits, std::int32_t width, std::int32_t height,
                                    std::int32_t mipLevels, Draw draw) {
  if (bits != 16 && bits != 32) return nullptr;
  auto texture = std::make_unique<cTexture>();
  texture->Create(width, height, bits, kPictureStage, mipLevels);
  if (const SurfaceDc dc(texture->GetSurface()); dc) draw(dc.get());
  texture->GenerateMipMaps();
  return texture;
}

// Where the slide's next tile lies, counted from the picture's top left.
struct NextTile {
  explicit NextTile(const CSlideImage& slide)
      : number(slide.tilesDone),
        column(number % slide.columns),
        rowFromTop(slide.rows - number / slide.columns - 1) {}

  std::int32_t number;
  std::int32_t column;
  std::int32_t rowFromTop;
};

bool HasNextTile(const CSlideImage& slide) { return slide.GetDone() < slide.TileCount(); }

bool KeepTile(CSlideImage& slide, std::unique_ptr<cTexture> texture) {
  if (!texture) return false;
  slide.tiles[static_cast<std::size_t>(slide.GetDone())].texture = texture.release();
  slide.AddDone(1);
  return true;
}

}  // namespace

std::unique_ptr<cTexture> MakeTexture(std::int32_t bits, const BTCImageData& picture,
                                      std::int32_t mipLevels) {
  const int width = picture.GetWidth();
  const int height = picture.GetHeight();
  return MakeDrawn(bits, width, height, mipLevels, [&](HDC dc) {
    picture.Draw(dc, 0, 0, width, height, 0, 0, BTDrawMode_Plain, SRCCOPY);
  });
}

bool MakeTile(std::int32_t bits, const BTCImageData& picture, CSlideImage& slide,
              std::int32_t mipLevels) {
  if (!HasNextTile(slide)) return false;
  const NextTile tile(slide);
  const int width = picture.GetWidth() / slide.columns;
  const int height = picture.GetHeight() / slide.rows;
  return KeepTile(slide, MakeDrawn(bits, width, height, mipLevels, [&](HDC dc) {
                    picture.Draw(dc, 0, 0, width, height, width * tile.column,
                                 height * tile.rowFromTop, BTDrawMode_Plain, SRCCOPY);
                  }));
}

bool MakeTileStretched(std::int32_t bits, const BTCImageData& picture, std::int32_t cramWidth,
                       std::int32_t cramHeight, CSlideImage& slide, std::int32_t mipLevels) {
  if (!HasNextTile(slide)) return false;
  const NextTile tile(slide);
  const SlideTile& part = slide.tiles[static_cast<std::size_t>(tile.number)];
  const int width = cramWidth / slide.columns;
  const int height = cramHeight / slide.rows;
  return KeepTile(slide, MakeDrawn(bits, width, height, mipLevels, [&](HDC dc) {
                    picture.Stretch(dc, 0, 0, width, height, part.pixelWidth * tile.column,
                                    part.pixelHeight * tile.rowFromTop, part.pixelWidth,
                                    part.pixelHeight, BTDrawMode_Smooth, SRCCOPY);
                  }));
}

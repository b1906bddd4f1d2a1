// From the decoded picture to textures, on a real device.

#include "graphics/cTexture.h"
#include "slideshow/CImgLoadThread.h"
#include "slideshow/SlideTextures.h"
#include "support/MethodHook.h"
#include "unit/graphics/GraphicsTest.h"
#include "unit/slideshow/LoaderTest.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using graphics_test::DescriptionOf;
using graphics_test::MipLevel;
using graphics_test::ReadSurface;
using slideshow_test::DimsOf;
using slideshow_test::EndsDecodedOrFailed;
using slideshow_test::MakeLoader;
using slideshow_test::PictureBundle;
using support::Pixels;
using support::PixelsNear;

class LoaderTextures : public graphics_test::GraphicsTest {
 protected:
  LoaderTextures() { Windowed(); }

  CImgLoadThread& Decoded(int width, int height, const support::Pattern& pattern) {
    bundle.AddBmp("a", width, height, pattern);
    loader = MakeLoader(bundle, "a",
                        DimsOf(static_cast<unsigned>(width), static_cast<unsigned>(height)));
    return *loader;
  }
  void Run() {
    loader->Begin(0);
    ASSERT_TRUE(EndsDecodedOrFailed(*loader));
    ASSERT_TRUE(loader->IsDecoded());
  }
  static IDirectDrawSurface7* SurfaceOf(const CSlideImage& slide, int tile) {
    const cTexture* texture = slide.tiles[static_cast<std::size_t>(tile)].texture;
    return texture ? texture->GetSurface() : nullptr;
  }

  PictureBundle bundle;
  std::unique_ptr<CImgLoadThread> loader;
};

TEST_F(LoaderTextures, EachTileShowsItsPartOfThePictureExactly) {
  Decoded(1024, 512, support::Gradient());
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  ASSERT_TRUE(slide);
  EXPECT_TRUE(slide->AllDone());
  const Pixels whole = support::Render(1024, 512, support::Gradient());
  for (int row = 0; row < 2; ++row)
    for (int column = 0; column < 4; ++column)
      EXPECT_TRUE(PixelsNear(ReadSurface(SurfaceOf(*slide, 4 * row + column)),
                             whole.Cut(256 * column, 256 * (1 - row), 256, 256)))
          << "column " << column << " row " << row;
}

TEST_F(LoaderTextures, SixteenBitsShowTheSamePartOfThePicture) {
  Decoded(512, 512, support::Gradient()).SetDisplayBits(16);
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  ASSERT_TRUE(slide);
  EXPECT_EQ(DescriptionOf(SurfaceOf(*slide, 0)).ddpfPixelFormat.dwRGBBitCount, 16u);
  const Pixels whole = support::Render(512, 512, support::Gradient());
  EXPECT_TRUE(PixelsNear(ReadSurface(SurfaceOf(*slide, 3)), whole.Cut(256, 0, 256, 256), 8));
}

TEST_F(LoaderTextures, AResizedPictureKeepsItsWholeContent) {
  Decoded(600, 300, support::Gradient());
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  ASSERT_EQ(slide->columns, 2);
  ASSERT_EQ(slide->rows, 1);
  const Pixels ideal = support::Render(512, 256, support::Gradient());
  for (int column = 0; column < 2; ++column)
    EXPECT_LT(support::MeanError(ReadSurface(SurfaceOf(*slide, column)),
                                 ideal.Cut(256 * column, 0, 256, 256)),
              1.0);
}

TEST_F(LoaderTextures, ALimitedPictureIsReducedTileByTile) {
  Decoded(3000, 2000, support::Gradient());
  loader->SetCram(true);
  loader->SetCramSize(1024);
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  ASSERT_EQ(slide->TileCount(), 16);
  const Pixels ideal = support::Render(1024, 1024, support::Gradient());
  for (const int tile : {0, 3, 6, 15}) {
    const Pixels shown = ReadSurface(SurfaceOf(*slide, tile));
    ASSERT_EQ(shown.width, 256);
    ASSERT_EQ(shown.height, 256);
    EXPECT_LT(
        support::MeanError(shown, ideal.Cut(256 * (tile % 4), 256 * (3 - tile / 4), 256, 256)), 1.0)
        << "tile " << tile;
  }
}

// Checkers finer than a texture's pixels come out as their mean.
TEST_F(LoaderTextures, AResizedPictureIsSmoothed) {
  Decoded(511, 511, support::Checkers(1, 0x000000, 0xFFFFFF));
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  ASSERT_EQ(slide->TileCount(), 1);
  EXPECT_TRUE(PixelsNear(ReadSurface(SurfaceOf(*slide, 0)).Cut(8, 8, 240, 240),
                         Pixels(240, 240, 0x808080), 16));
}

TEST_F(LoaderTextures, ALimitedPictureIsSmoothed) {
  Decoded(1024, 1024, support::Checkers(1, 0x000000, 0xFFFFFF));
  loader->SetCram(true);
  loader->SetCramSize(512);
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  ASSERT_EQ(slide->TileCount(), 4);
  for (int tile = 0; tile < 4; ++tile)
    EXPECT_TRUE(PixelsNear(ReadSurface(SurfaceOf(*slide, tile)).Cut(4, 4, 248, 248),
                           Pixels(248, 248, 0x808080), 16))
        << "tile " << tile;
}

TEST_F(LoaderTextures, ALimitOnOneSideGivesOddTextures) {
  Decoded(1600, 1000, support::Gradient());
  loader->SetCram(true);
  loader->SetCramSize(1536);
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  ASSERT_EQ(slide->TileCount(), 18);
  const DDSURFACEDESC2 made = DescriptionOf(SurfaceOf(*slide, 0));
  EXPECT_EQ(made.dwWidth, 256u);
  EXPECT_EQ(made.dwHeight, 333u);
  const Pixels ideal = support::Render(1536, 999, support::Gradient());
  EXPECT_LT(
      support::MeanError(ReadSurface(SurfaceOf(*slide, 6 + 2)), ideal.Cut(512, 333, 256, 333)),
      1.5);
}

TEST_F(LoaderTextures, OneTileShowsTheWholePicture) {
  Decoded(256, 128, support::Gradient());
  Run();
  EXPECT_TRUE(loader->Step());
  EXPECT_EQ(loader->GetState(), 10);
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  EXPECT_TRUE(PixelsNear(ReadSurface(SurfaceOf(*slide, 0)),
                         support::Render(256, 128, support::Gradient())));
}

// The limit plays no part in a plan of one tile.
TEST_F(LoaderTextures, OneTileKeepsThePicturesSizeBelowAnyLimit) {
  Decoded(256, 128, support::Gradient());
  loader->SetCram(true);
  loader->SetCramSize(64);
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  EXPECT_EQ(DescriptionOf(SurfaceOf(*slide, 0)).dwWidth, 256u);
}

TEST_F(LoaderTextures, ACrammedPictureOfOneTileBecomesOneTextureOfItsOwnSize) {
  Decoded(600, 300, support::Gradient());
  loader->SetCram(true);
  loader->SetCramSize(256);
  Run();
  ASSERT_EQ(loader->GetSlide()->TileCount(), 1);
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  EXPECT_EQ(DescriptionOf(SurfaceOf(*slide, 0)).dwWidth, 600u);
  EXPECT_EQ(DescriptionOf(SurfaceOf(*slide, 0)).dwHeight, 300u);
}

TEST_F(LoaderTextures, AStepMakesOneTexture) {
  Decoded(768, 256, support::Gradient());
  Run();
  EXPECT_FALSE(loader->Step());
  EXPECT_EQ(loader->GetState(), 9);
  EXPECT_EQ(loader->GetSlide()->GetDone(), 1);
  EXPECT_NE(SurfaceOf(*loader->GetSlide(), 0), nullptr);
  EXPECT_EQ(SurfaceOf(*loader->GetSlide(), 1), nullptr);
  EXPECT_FALSE(loader->Step());
  EXPECT_TRUE(loader->Step());
  EXPECT_EQ(loader->GetState(), 10);
  EXPECT_TRUE(loader->Step());
  EXPECT_EQ(loader->GetSlide()->GetDone(), 3);
}

TEST_F(LoaderTextures, FinishMakesWhatStepsHaveLeft) {
  Decoded(768, 256, support::Gradient());
  Run();
  loader->Step();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  EXPECT_TRUE(slide->AllDone());
  EXPECT_NE(SurfaceOf(*slide, 2), nullptr);
  EXPECT_EQ(loader->GetState(), 10);
  EXPECT_EQ(loader->GetSlide(), nullptr);
}

TEST_F(LoaderTextures, LevelsAreFourOrOne) {
  for (const bool mipMap : {true, false}) {
    PictureBundle pictures;
    pictures.AddBmp("a", 512, 256, support::Flat(0x808080));
    loader = MakeLoader(pictures, "a", DimsOf(512, 256));
    loader->SetMipMap(mipMap);
    Run();
    const std::unique_ptr<CSlideImage> slide = loader->Finish();
    EXPECT_EQ(static_cast<bool>(MipLevel(SurfaceOf(*slide, 1), 3)), mipMap);
    EXPECT_FALSE(MipLevel(SurfaceOf(*slide, 1), mipMap ? 4 : 1));
    if (mipMap) {
      EXPECT_TRUE(PixelsNear(ReadSurface(MipLevel(SurfaceOf(*slide, 1), 3).get()),
                             support::Render(32, 32, support::Flat(0x808080))));
    }
    loader.reset();
  }
}

TEST_F(LoaderTextures, AnImpossibleDepthEndsWithoutTextures) {
  Decoded(768, 256, support::Gradient()).SetDisplayBits(24);
  Run();
  EXPECT_FALSE(loader->Step());
  EXPECT_EQ(loader->GetSlide()->GetDone(), 0);
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  ASSERT_TRUE(slide);
  EXPECT_FALSE(slide->AllDone());
  EXPECT_EQ(SurfaceOf(*slide, 0), nullptr);
}

TEST_F(LoaderTextures, ASurfaceThatCannotBeMadeThrows) {
  Decoded(768, 256, support::Gradient());
  Run();
  HOOK_METHOD(full, AnyDDraw(), &IDirectDraw7::CreateSurface,
              [](auto, IDirectDraw7*, DDSURFACEDESC2*, IDirectDrawSurface7**, IUnknown*) {
                return DDERR_OUTOFVIDEOMEMORY;
              });
  EXPECT_EQ(graphics_test::ErrorOf([&] { loader->Step(); }), "Couldn't create surface");
}

TEST_F(LoaderTextures, NoTileIsMadePastTheLast) {
  Decoded(512, 256, support::Gradient());
  Run();
  const std::unique_ptr<CSlideImage> slide = loader->Finish();
  BTCImageObject none;
  EXPECT_FALSE(MakeTile(32, *none.GetObjectDataPtr(), *slide, 1));
  EXPECT_FALSE(MakeTileStretched(32, *none.GetObjectDataPtr(), 512, 512, *slide, 1));
  EXPECT_EQ(slide->GetDone(), 2);
}

TEST_F(LoaderTextures, AnImpossibleDepthGivesNoTexture) {
  BTCImageObject none;
  for (const int bits : {0, 8, 24, 33})
    EXPECT_EQ(MakeTexture(bits, *none.GetObjectDataPtr(), 1), nullptr);
}

}  // namespace

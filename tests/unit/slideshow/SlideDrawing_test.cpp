// What a slide looks like on a real device.

#include "slideshow/CSlideImage.h"

#include "graphics/cTexture.h"
#include "support/MethodHook.h"
#include "unit/graphics/GraphicsTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace {

using graphics_test::PaintSurface;
using graphics_test::ReadSurface;
using support::Pixels;
using testing::ElementsAre;

constexpr int kWidth = graphics_test::kWindowWidth;
constexpr int kHeight = graphics_test::kWindowHeight;
constexpr float kTop = 0.75f;

class SlideDrawing : public graphics_test::GraphicsTest {
 protected:
  SlideDrawing() {
    WindowedForShow();
    SetMaterial(1.0f);
  }

  void SetMaterial(float alpha) {
    D3DMATERIAL7 material{};
    material.diffuse = material.ambient = {1, 1, 1, alpha};
    AnyDevice()->SetMaterial(&material);
  }

  // A slide whose mesh is 2.0 by 1.5 world units: the whole screen.
  void MakeSlide(CSlideImage& slide, int columns, int rows, int tileSide,
                 const std::function<support::Pattern(int column, int row)>& patternOf) {
    slide.Setup(400, 300, false, false);
    slide.MakeTiles(columns, rows);
    slide.size = 2 * kTop;
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < columns; ++column) {
        auto* texture = new cTexture;
        slide.tiles[static_cast<std::size_t>(columns * row + column)].texture = texture;
        texture->Create32(tileSide, tileSide, 0, 4);
        PaintSurface(texture->GetSurface(), patternOf(column, row));
        texture->GenerateMipMaps();
        slide.AddDone(1);
      }
    }
  }

  Pixels Drawn(CSlideImage& slide, D3DCOLOR background = 0) {
    gGraphicsLayer->Clear(true, false, background, 1.0f);
    EXPECT_EQ(slide.Draw(), D3D_OK);
    return ReadSurface(gGraphicsLayer->GetBackBuffer());
  }
};

std::uint32_t TileColour(int column, int row) {
  return 0x102030u + 0x300000u * static_cast<unsigned>(column) +
         0x004000u * static_cast<unsigned>(row);
}

TEST_F(SlideDrawing, EachTileLiesWhereItsNumberSays) {
  CSlideImage slide;
  MakeSlide(slide, 3, 2, 32, [](int c, int r) { return support::Flat(TileColour(c, r)); });
  const Pixels picture = Drawn(slide);
  for (int column = 0; column < 3; ++column) {
    for (int row = 0; row < 2; ++row) {
      const int x = (2 * column + 1) * kWidth / 6;
      const int y = kHeight - (2 * row + 1) * kHeight / 4;
      EXPECT_LE(support::ColourDistance(picture.At(x, y), TileColour(column, row)), 1)
          << "column " << column << " row " << row;
    }
  }
}

TEST_F(SlideDrawing, ATileStandsUpright) {
  CSlideImage slide;
  MakeSlide(slide, 1, 1, 64, [](int, int) {
    return support::Quadrants(0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00);
  });
  const Pixels picture = Drawn(slide);
  EXPECT_LE(support::ColourDistance(picture.At(kWidth / 4, kHeight / 4), 0xFF0000), 1);
  EXPECT_LE(support::ColourDistance(picture.At(kWidth * 3 / 4, kHeight / 4), 0x00FF00), 1);
  EXPECT_LE(support::ColourDistance(picture.At(kWidth / 4, kHeight * 3 / 4), 0x0000FF), 1);
  EXPECT_LE(support::ColourDistance(picture.At(kWidth * 3 / 4, kHeight * 3 / 4), 0xFFFF00), 1);
}

// Half transparent white: a pixel that two tiles paint comes out lighter than
// its neighbours, one that none paints stays black.
TEST_F(SlideDrawing, NoPixelIsLeftOutOrPaintedTwiceAtAnyZoom) {
  CSlideImage slide;
  MakeSlide(slide, 7, 5, 16, [](int, int) { return support::Flat(0xFFFFFF); });
  SetMaterial(0.5f);
  AnyDevice()->SetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, TRUE);
  AnyDevice()->SetRenderState(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
  AnyDevice()->SetRenderState(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
  AnyDevice()->SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_SELECTARG1);
  AnyDevice()->SetTextureStageState(0, D3DTSS_ALPHAARG1, D3DTA_DIFFUSE);
  slide.focus = {0.31f, -0.17f, 0};
  for (int step = 0; step < 60; ++step) {
    slide.Move(MotionAmount(47, 0.0011f));
    const Pixels picture = Drawn(slide);
    const auto [least, most] =
        std::minmax_element(picture.colours.begin(), picture.colours.end(),
                            [](std::uint32_t a, std::uint32_t b) {
                              return (a & 0xFF) < (b & 0xFF);
                            });
    ASSERT_LE(support::ColourDistance(*least, *most), 1) << "after " << step + 1 << " steps";
    ASSERT_LE(support::ColourDistance(*least, 0x808080), 2);
  }
}

// One gradient over all tiles: no step at a tile's edge is larger than the
// gradient's own.
TEST_F(SlideDrawing, APictureRunsOnOverTheTilesEdges) {
  constexpr int kTile = 128, kColumns = 4, kRows = 3;
  CSlideImage slide;
  MakeSlide(slide, kColumns, kRows, kTile, [](int column, int row) -> support::Pattern {
    return [column, row](int x, int y, int, int) {
      const int wholeX = column * kTile + x;
      const int wholeY = (kRows - 1 - row) * kTile + y;
      return static_cast<std::uint32_t>(wholeX * 255 / (kColumns * kTile)) << 16 |
             static_cast<std::uint32_t>(wholeY * 255 / (kRows * kTile)) << 8;
    };
  });
  for (int step = 0; step < 20; ++step) {
    slide.Move(0.01f);
    const Pixels picture = Drawn(slide);
    for (int y = 1; y < kHeight; ++y)
      for (int x = 1; x < kWidth; ++x) {
        ASSERT_LE(support::ColourDistance(picture.At(x, y), picture.At(x - 1, y)), 3)
            << x << "," << y << " step " << step;
        ASSERT_LE(support::ColourDistance(picture.At(x, y), picture.At(x, y - 1)), 3)
            << x << "," << y << " step " << step;
      }
  }
}

TEST_F(SlideDrawing, TheMaterialSetsTheBrightness) {
  CSlideImage slide;
  MakeSlide(slide, 2, 2, 32, [](int, int) { return support::Flat(0x6040C0); });
  D3DMATERIAL7 half{};
  half.diffuse = half.ambient = {0.5f, 0.5f, 0.5f, 1};
  AnyDevice()->SetMaterial(&half);
  EXPECT_LE(support::ColourDistance(Drawn(slide).At(kWidth / 3, kHeight / 3), 0x302060), 1);
}

TEST_F(SlideDrawing, ATileWithoutATextureHasTheMaterialsColour) {
  CSlideImage slide;
  slide.Setup(400, 300, false, false);
  slide.MakeTiles(1, 1);
  slide.size = 2 * kTop;
  EXPECT_LE(support::ColourDistance(Drawn(slide).At(kWidth / 2, kHeight / 2), 0xFFFFFF), 1);
}

TEST_F(SlideDrawing, DrawsColumnByColumnInOneScene) {
  CSlideImage slide;
  MakeSlide(slide, 3, 2, 8, [](int, int) { return support::Flat(0); });
  std::vector<std::string> calls;
  const auto tileOf = [&slide](const void* corners) {
    for (int n = 0; n < slide.TileCount(); ++n)
      if (slide.tiles[static_cast<std::size_t>(n)].corners == corners) return std::to_string(n);
    return std::string("?");
  };
  HOOK_METHOD(
      begin, AnyDevice(), &IDirect3DDevice7::BeginScene,
      [&](auto real, IDirect3DDevice7* self) { return calls.push_back("begin"), real(self); });
  HOOK_METHOD(
      end, AnyDevice(), &IDirect3DDevice7::EndScene,
      [&](auto real, IDirect3DDevice7* self) { return calls.push_back("end"), real(self); });
  HOOK_METHOD(draw, AnyDevice(), &IDirect3DDevice7::DrawIndexedPrimitive,
              [&](auto, IDirect3DDevice7*, D3DPRIMITIVETYPE type, DWORD format, void* corners,
                  DWORD cornerCount, WORD* indices, DWORD indexCount, DWORD flags) {
                EXPECT_EQ(type, D3DPT_TRIANGLELIST);
                EXPECT_EQ(format, 258u);
                EXPECT_EQ(cornerCount, 4u);
                EXPECT_EQ(indices[5], 3);
                EXPECT_EQ(indexCount, 6u);
                EXPECT_EQ(flags, 0u);
                calls.push_back(tileOf(corners));
                return D3D_OK;
              });
  slide.Draw();
  EXPECT_THAT(calls, ElementsAre("begin", "0", "3", "1", "4", "2", "5", "end"));
}

TEST_F(SlideDrawing, ASceneThatCannotBeginIsHandedBack) {
  CSlideImage slide;
  MakeSlide(slide, 1, 1, 8, [](int, int) { return support::Flat(0); });
  HOOK_METHOD(begin, AnyDevice(), &IDirect3DDevice7::BeginScene,
              [](auto, IDirect3DDevice7*) { return DDERR_SURFACELOST; });
  int drawn = 0;
  HOOK_METHOD(draw, AnyDevice(), &IDirect3DDevice7::DrawIndexedPrimitive,
              [&](auto, IDirect3DDevice7*, D3DPRIMITIVETYPE, DWORD, void*, DWORD, WORD*, DWORD,
                  DWORD) { return ++drawn, D3D_OK; });
  EXPECT_EQ(slide.Draw(), DDERR_SURFACELOST);
  EXPECT_EQ(drawn, 0);
  EXPECT_TRUE(gGraphicsLayer->IsLost());
}

TEST_F(SlideDrawing, TexturesGoWithTheSlideUnlessItDisclaimsThem) {
  cTexture texture;
  texture.Create32(8, 8, 0, 1);
  IDirectDrawSurface7* owned = nullptr;
  {
    CSlideImage slide, borrower;
    MakeSlide(slide, 1, 1, 8, [](int, int) { return support::Flat(0); });
    owned = slide.tiles[0].texture->GetSurface();
    owned->AddRef();
    borrower.MakeTiles(1, 1);
    borrower.ownsTextures = 0;
    borrower.tiles[0].texture = &texture;
  }
  EXPECT_EQ(owned->Release(), 0u);
  EXPECT_NE(texture.GetSurface(), nullptr);
}

}  // namespace

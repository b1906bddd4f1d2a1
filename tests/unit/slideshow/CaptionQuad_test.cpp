// Where a caption's textures come to lie, and how they mix with what is there.

#include "slideshow/CaptionQuad.h"

#include "graphics/cTexture.h"
#include "support/MethodHook.h"
#include "unit/graphics/DeviceCalls.h"
#include "unit/graphics/GraphicsTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

using graphics_test::ReadSurface;
using testing::ElementsAre;

constexpr int kWidth = graphics_test::kWindowWidth;
constexpr int kHeight = graphics_test::kWindowHeight;

struct Corner {
  float x, y, z;
  std::uint32_t colour;
  float u, v;
};

class QuadOfCaption : public graphics_test::GraphicsTest {
 protected:
  QuadOfCaption() {
    cGraphicsLayer& layer = WindowedForShow();
    layer.GetDevice()->SetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, TRUE);
    layer.GetDevice()->SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  }

  // Flat textures, one colour each, as 0xAARRGGBB.
  static std::unique_ptr<cTexture[]> Textures(const std::vector<std::uint32_t>& colours,
                                              int bits = 32) {
    auto textures = std::make_unique<cTexture[]>(colours.size());
    for (std::size_t n = 0; n < colours.size(); ++n) {
      textures[n].Create(16, 16, bits, 0, 1);
      graphics_test::PaintSurface(textures[n].GetSurface(), support::Flat(colours[n]));
    }
    return textures;
  }
  support::Pixels DrawnOn(std::uint32_t background, float alpha, int bits) {
    gGraphicsLayer->Clear(true, false, background, 1.0f);
    quad.Draw(alpha, bits);
    return ReadSurface(gGraphicsLayer->GetBackBuffer());
  }
  std::uint32_t MixedWith(std::uint32_t background, float alpha, int bits) {
    return DrawnOn(background, alpha, bits).At(kWidth / 2, kHeight / 2);
  }
  std::vector<std::vector<Corner>> DrawnTiles() {
    std::vector<std::vector<Corner>> drawn;
    HOOK_METHOD(draw, AnyDevice(), &IDirect3DDevice7::DrawIndexedPrimitive,
                [&](auto, IDirect3DDevice7*, D3DPRIMITIVETYPE type, DWORD format, void* vertices,
                    DWORD count, WORD* indices, DWORD indexCount, DWORD) {
                  EXPECT_EQ(type, D3DPT_TRIANGLELIST);
                  EXPECT_EQ(format, 322u);
                  EXPECT_THAT(std::vector<WORD>(indices, indices + indexCount),
                              ElementsAre(0, 1, 2, 0, 2, 3));
                  std::vector<Corner> corners(count);
                  std::memcpy(corners.data(), vertices, count * sizeof(Corner));
                  drawn.push_back(corners);
                  return D3D_OK;
                });
    quad.Draw(1, 32);
    return drawn;
  }

  CaptionQuad quad;
};

TEST_F(QuadOfCaption, LiesCentredOnTheOriginTileByTile) {
  const auto textures = Textures(std::vector<std::uint32_t>(6, 0xFFFFFFFF));
  quad.SetSize(1.5f, 0.4f);
  quad.Build(3, 2, textures.get());
  const auto drawn = DrawnTiles();
  ASSERT_EQ(drawn.size(), 6u);
  for (int n = 0; n < 6; ++n) {
    const float left = -0.75f + 0.5f * static_cast<float>(n % 3);
    const float bottom = n < 3 ? -0.2f : 0.0f;
    const Corner expected[4] = {{left, bottom + 0.2f, 0, 0xFFFFFFFF, 0, 0},
                                {left, bottom, 0, 0xFFFFFFFF, 0, 1},
                                {left + 0.5f, bottom, 0, 0xFFFFFFFF, 1, 1},
                                {left + 0.5f, bottom + 0.2f, 0, 0xFFFFFFFF, 1, 0}};
    ASSERT_EQ(drawn[n].size(), 4u);
    for (int corner = 0; corner < 4; ++corner) {
      EXPECT_NEAR(drawn[n][corner].x, expected[corner].x, 1e-6) << n << " " << corner;
      EXPECT_NEAR(drawn[n][corner].y, expected[corner].y, 1e-6) << n << " " << corner;
      EXPECT_EQ(drawn[n][corner].z, 0);
      EXPECT_EQ(drawn[n][corner].colour, expected[corner].colour);
      EXPECT_EQ(drawn[n][corner].u, expected[corner].u);
      EXPECT_EQ(drawn[n][corner].v, expected[corner].v);
    }
  }
}

TEST_F(QuadOfCaption, ShowsEachTextureOnItsTile) {
  const auto textures = Textures({0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFFFFFF00});
  quad.SetSize(2.0f, 1.5f);
  quad.Build(4, 1, textures.get());
  const support::Pixels drawn = DrawnOn(0, 1, 32);
  const std::uint32_t expected[] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00};
  for (int n = 0; n < 4; ++n)
    EXPECT_EQ(drawn.At(kWidth / 8 + n * kWidth / 4, kHeight / 2) & 0xFFFFFF, expected[n]) << n;
}

TEST_F(QuadOfCaption, ShowsOtherTexturesWhenTold) {
  const auto before = Textures({0xFFFF0000}), after = Textures({0xFF00FF00});
  quad.SetSize(2.0f, 1.5f);
  quad.Build(1, 1, before.get());
  quad.SetTiles(after.get());
  EXPECT_EQ(MixedWith(0, 1, 32) & 0xFFFFFF, 0x00FF00u);
}

TEST_F(QuadOfCaption, At32BitsMixesByTheTexturesAlphaAndItsOwn) {
  quad.SetSize(2.0f, 1.5f);
  for (const std::uint32_t textureAlpha : {0u, 128u, 255u}) {
    const auto textures = Textures({textureAlpha << 24 | 0xFFFFFF});
    quad.Build(1, 1, textures.get());
    for (const float alpha : {0.0f, 0.25f, 1.0f}) {
      const double k = textureAlpha / 255.0 * alpha;
      const auto value = static_cast<std::uint32_t>(std::lround(255 * k + 0x40 * (1 - k)));
      EXPECT_LE(support::ColourDistance(MixedWith(0x404040, alpha, 32), value * 0x10101), 2)
          << textureAlpha << " " << alpha;
    }
  }
}

TEST_F(QuadOfCaption, At16BitsMixesByTheTexturesColour) {
  quad.SetSize(2.0f, 1.5f);
  for (const std::uint32_t level : {0u, 0x84u, 0xFFu}) {
    const auto textures = Textures({level * 0x10101}, 16);
    quad.Build(1, 1, textures.get());
    for (const float alpha : {0.0f, 0.5f, 1.0f}) {
      const double source = level / 255.0 * alpha;
      const double mixed = source * source + 0x40 / 255.0 * (1 - source);
      const auto value = static_cast<std::uint32_t>(std::lround(255 * mixed));
      EXPECT_LE(support::ColourDistance(MixedWith(0x404040, alpha, 16), value * 0x10101), 3)
          << level << " " << alpha;
    }
  }
}

TEST_F(QuadOfCaption, AsksTheDeviceForBothBlendings) {
  const auto textures = Textures({0xFFFFFFFF, 0xFFFFFFFF});
  quad.SetSize(2.0f, 1.5f);
  quad.Build(2, 1, textures.get());
  const auto callsAt = [&](int bits) {
    return graphics_test::DeviceCallsOf(
        AnyDevice(),
        [](const D3DMATERIAL7& material) {
          const D3DCOLORVALUE& a = material.ambient;
          return "ambient " + std::to_string(std::lround(a.r * 100)) + " " +
                 std::to_string(std::lround(a.a * 100));
        },
        [&] { quad.Draw(0.5f, bits); });
  };
  EXPECT_THAT(callsAt(32),
              ElementsAre("stage 5 34", "state 19 5", "state 20 6", "ambient 100 50", "scene"));
  EXPECT_THAT(callsAt(16),
              ElementsAre("state 19 3", "state 20 4", "stage 5 0", "ambient 50 100", "scene"));
}

TEST_F(QuadOfCaption, ALostSceneDrawsNothingAndIsReported) {
  const auto textures = Textures({0xFFFFFFFF});
  quad.SetSize(2.0f, 1.5f);
  quad.Build(1, 1, textures.get());
  HOOK_METHOD(lost, AnyDevice(), &IDirect3DDevice7::BeginScene,
              [](auto, IDirect3DDevice7*) { return DDERR_SURFACELOST; });
  EXPECT_TRUE(DrawnTiles().empty());
  EXPECT_TRUE(gGraphicsLayer->IsLost());
}

TEST_F(QuadOfCaption, DrawsNothingBeforeItIsBuilt) { EXPECT_TRUE(DrawnTiles().empty()); }

}  // namespace

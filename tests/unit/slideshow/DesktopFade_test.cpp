#include "slideshow/DesktopFade.h"

#include "base/win_owned.h"
#include "graphics/FixedPipeline.h"
#include "settings/Session.h"
#include "support/MethodHook.h"
#include "support/TestPictures.h"
#include "unit/graphics/DeviceCalls.h"
#include "unit/graphics/GraphicsTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using testing::Contains;
using testing::ElementsAre;

namespace {

constexpr int kWidth = graphics_test::kWindowWidth;
constexpr int kHeight = graphics_test::kWindowHeight;

class TheDesktopFade : public graphics_test::GraphicsTest {
 protected:
  TheDesktopFade() {
    cGraphicsLayer& layer = Windowed();
    SetFixedPipeline(layer, kWidth, kHeight);
    ScreenWidth = kWidth;
    ScreenHeight = kHeight;
    const HDC screen = GetDC(nullptr);
    DesktopCopyDC = MakeCanvas(screen, kWidth, kHeight).release();
    ReleaseDC(nullptr, screen);
    PaintDesktop(RGB(200, 100, 40), 0);
    PaintDesktop(RGB(40, 100, 200), kWidth / 2);
    PrepareDesktopFade();
  }
  ~TheDesktopFade() override {
    DeleteDesktopCopy();
    ScreenWidth = ScreenHeight = 0;
  }

  static void PaintDesktop(COLORREF colour, int left) {
    const HBRUSH brush = CreateSolidBrush(colour);
    const RECT rect{left, 0, kWidth, kHeight};
    FillRect(DesktopCopyDC, &rect, brush);
    DeleteObject(brush);
  }
  static std::uint32_t Left() { return Picture().At(kWidth / 4, kHeight / 2); }
  static support::Pixels Picture() {
    return graphics_test::ReadSurface(gGraphicsLayer->GetBackBuffer());
  }
};

std::uint32_t Darkened(std::uint32_t colour, double level) {
  std::uint32_t result = 0;
  for (int shift = 0; shift < 24; shift += 8)
    result |= static_cast<std::uint32_t>((colour >> shift & 0xFF) * (1 - level) + 0.5) << shift;
  return result;
}

TEST_F(TheDesktopFade, StartsWithTheDesktopAsItWas) {
  EXPECT_FALSE(DesktopFade(16));
  const support::Pixels picture = Picture();
  EXPECT_LE(support::ColourDistance(picture.At(kWidth / 4, 20), 0xC86428), 1);
  EXPECT_LE(support::ColourDistance(picture.At(kWidth * 3 / 4, 20), 0x2864C8), 1);
}

// The device multiplies the material's alpha by itself.
TEST_F(TheDesktopFade, DarkensBySquareOfItsLevel) {
  DesktopFade(0);
  DesktopFade(0);
  DesktopFade(1250);  // shown from the next frame on
  EXPECT_LE(support::ColourDistance(Left(), 0xC86428), 1);
  DesktopFade(0);
  EXPECT_LE(support::ColourDistance(Left(), Darkened(0xC86428, 0.25)), 2);
  DesktopFade(625);
  DesktopFade(0);
  EXPECT_LE(support::ColourDistance(Left(), Darkened(0xC86428, 0.5625)), 2);
}

TEST_F(TheDesktopFade, TheFirstTwoFramesTakeNoTime) {
  DesktopFade(60000);
  DesktopFade(60000);
  EXPECT_FALSE(DesktopFade(0));
  EXPECT_LE(support::ColourDistance(Left(), 0xC86428), 1);
}

TEST_F(TheDesktopFade, EndsInBlackAfterTwoAndAHalfSeconds) {
  DesktopFade(0);
  DesktopFade(0);
  EXPECT_FALSE(DesktopFade(2500));
  EXPECT_FALSE(DesktopFade(0));
  EXPECT_EQ(Left(), 0u);
  EXPECT_NE(DesktopCopyDC, nullptr);
  EXPECT_FALSE(DesktopFade(126));  // 2626 ms: a level of 1.0504
  EXPECT_TRUE(DesktopFade(0));
  EXPECT_EQ(DesktopCopyDC, nullptr);
}

TEST_F(TheDesktopFade, ALevelOfJustBeyondBlackIsStillDrawn) {
  DesktopFade(0);
  DesktopFade(0);
  DesktopFade(2624);  // 1.0496
  EXPECT_FALSE(DesktopFade(0));
}

TEST_F(TheDesktopFade, IsShownFrameByFrame) {
  int flips = 0;
  HOOK_METHOD(blt, AnySurface(), &IDirectDrawSurface7::Blt,
              [&](auto real, IDirectDrawSurface7* self, RECT* to, IDirectDrawSurface7* source,
                  RECT* from, DWORD flags, DDBLTFX* effects) {
                ++flips;
                return real(self, to, source, from, flags, effects);
              });
  for (int frame = 0; frame < 3; ++frame) DesktopFade(10);
  EXPECT_EQ(flips, 3);
}

// What one frame asks of the device and its surfaces.
class FadeCalls : public TheDesktopFade {
 protected:
  std::vector<std::string> CallsOfFrame(std::int32_t dt) {
    return graphics_test::DeviceCallsOf(
        AnyDevice(),
        [](const D3DMATERIAL7& material) {
          return "material " + std::to_string(material.ambient.a) + " " +
                 std::to_string(material.diffuse.a);
        },
        [&](std::vector<std::string>& calls) { DrawFrame(dt, calls); });
  }

 private:
  void DrawFrame(std::int32_t dt, std::vector<std::string>& calls) {
    HOOK_METHOD(lock, AnySurface(), &IDirectDrawSurface7::Lock,
                [&](auto real, IDirectDrawSurface7* self, RECT* rect, DDSURFACEDESC2* description,
                    DWORD flags, HANDLE event) {
                  calls.push_back("lock");
                  return real(self, rect, description, flags, event);
                });
    HOOK_METHOD(unlock, AnySurface(), &IDirectDrawSurface7::Unlock,
                [&](auto real, IDirectDrawSurface7* self, RECT* rect) {
                  calls.push_back("unlock");
                  return real(self, rect);
                });
    HOOK_METHOD(dc, AnySurface(), &IDirectDrawSurface7::GetDC,
                [&](auto real, IDirectDrawSurface7* self, HDC* made) {
                  calls.push_back("dc");
                  return real(self, made);
                });
    HOOK_METHOD(releaseDc, AnySurface(), &IDirectDrawSurface7::ReleaseDC,
                [&](auto real, IDirectDrawSurface7* self, HDC held) {
                  calls.push_back("dc given back");
                  return real(self, held);
                });
    HOOK_METHOD(flip, AnySurface(), &IDirectDrawSurface7::Blt,
                [&](auto real, IDirectDrawSurface7* self, RECT* to, IDirectDrawSurface7* source,
                    RECT* from, DWORD flags, DDBLTFX* effects) {
                  calls.push_back("flip");
                  return real(self, to, source, from, flags, effects);
                });
    HOOK_METHOD(clear, AnyDevice(), &IDirect3DDevice7::Clear,
                [&](auto real, IDirect3DDevice7* self, DWORD count, D3DRECT* rects, DWORD what,
                    D3DCOLOR colour, D3DVALUE z, DWORD stencil) {
                  calls.push_back("clear " + std::to_string(colour));
                  return real(self, count, rects, what, colour, z, stencil);
                });
    HOOK_METHOD(texture, AnyDevice(), &IDirect3DDevice7::SetTexture,
                [&](auto real, IDirect3DDevice7* self, DWORD stage, IDirectDrawSurface7* surface) {
                  calls.push_back(surface ? "texture" : "no texture");
                  return real(self, stage, surface);
                });
    DesktopFade(dt);
  }
};

TEST_F(FadeCalls, AFrameIsDrawnOverTheDesktopAndEndsWithBlendingOff) {
  EXPECT_THAT(CallsOfFrame(0),
              ElementsAre("lock", "unlock", "clear 0", "dc", "dc given back",
                          "material 1.000000 0.000000", "state 27 1", "state 19 5", "state 20 6",
                          "stage 4 4", "stage 5 0", "scene", "no texture", "state 27 0", "flip"));
}

TEST_F(FadeCalls, AFramesTimeShowsInTheNextOne) {
  DesktopFade(0);
  DesktopFade(0);
  EXPECT_THAT(CallsOfFrame(1250), Contains("material 1.000000 0.000000"));
  EXPECT_THAT(CallsOfFrame(0), Contains("material 1.000000 0.500000"));
}

TEST_F(TheDesktopFade, DrawsOneQuadOverEveryScreen) {
  struct Vertex {
    float x, y, z, nx, ny, nz;
    D3DCOLOR colour;
    float u, v;
  };
  std::vector<Vertex> vertices;
  HOOK_METHOD(draw, AnyDevice(), &IDirect3DDevice7::DrawIndexedPrimitive,
              [&](auto, IDirect3DDevice7*, D3DPRIMITIVETYPE type, DWORD format, void* corners,
                  DWORD count, WORD* indices, DWORD indexCount, DWORD) {
                EXPECT_EQ(type, D3DPT_TRIANGLELIST);
                EXPECT_EQ(format, 338u);
                EXPECT_EQ(indexCount, 6u);
                EXPECT_EQ(indices[4], 2);
                const auto* first = static_cast<const Vertex*>(corners);
                vertices.assign(first, first + count);
                return D3D_OK;
              });
  DesktopFade(0);
  ASSERT_EQ(vertices.size(), 4u);
  const float expected[4][4] = {{-10.75f, 10.75f, 0, 1},
                                {-10.75f, -10.75f, 0, 0},
                                {10.75f, -10.75f, 1, 0},
                                {10.75f, 10.75f, 1, 1}};
  for (std::size_t n = 0; n < 4; ++n) {
    EXPECT_EQ(vertices[n].x, expected[n][0]);
    EXPECT_EQ(vertices[n].y, expected[n][1]);
    EXPECT_EQ(vertices[n].z, 0.0f);
    EXPECT_EQ(vertices[n].nz, 1.0f);
    EXPECT_EQ(vertices[n].colour, 0xFFFFFFu);
    EXPECT_EQ(vertices[n].u, expected[n][2]);
    EXPECT_EQ(vertices[n].v, expected[n][3]);
  }
}

TEST_F(TheDesktopFade, ALostSurfaceSetsTheFlag) {
  HOOK_METHOD(blt, AnySurface(), &IDirectDrawSurface7::Blt,
              [](auto, IDirectDrawSurface7*, RECT*, IDirectDrawSurface7*, RECT*, DWORD, DDBLTFX*) {
                return DDERR_SURFACELOST;
              });
  EXPECT_FALSE(DesktopFade(10));
  EXPECT_TRUE(gGraphicsLayer->IsLost());
}

TEST_F(TheDesktopFade, WithoutACopyItStillEndsInBlack) {
  DeleteDesktopCopy();
  gGraphicsLayer->Clear(true, false, 0xFFFFFF, 1.0f);
  ASSERT_EQ(Left(), 0xFFFFFFu);
  EXPECT_FALSE(DesktopFade(0));
  EXPECT_EQ(Left(), 0u);
}

}  // namespace

#include "graphics/FixedPipeline.h"

#include "unit/graphics/GraphicsTest.h"
#include "support/MethodHook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::Pair;

class FixedPipeline : public graphics_test::GraphicsTest {};

TEST_F(FixedPipeline, RenderStatesComeInTheirOrder) {
  cGraphicsLayer& layer = Windowed();
  std::vector<std::pair<int, DWORD>> states;
  HOOK_METHOD(state, AnyDevice(), &IDirect3DDevice7::SetRenderState,
              [&](auto real, IDirect3DDevice7* self, D3DRENDERSTATETYPE type, DWORD value) {
                states.emplace_back(type, value);
                return real(self, type, value);
              });
  SetFixedPipeline(layer, 1024, 768);
  EXPECT_THAT(states,
              ElementsAre(Pair(D3DRENDERSTATE_CULLMODE, 2), Pair(D3DRENDERSTATE_LIGHTING, 1),
                          Pair(D3DRENDERSTATE_DITHERENABLE, 1),
                          Pair(D3DRENDERSTATE_SPECULARENABLE, 0),
                          Pair(D3DRENDERSTATE_SHADEMODE, 2), Pair(D3DRENDERSTATE_ZENABLE, 0),
                          Pair(D3DRENDERSTATE_AMBIENT, 0xFFFFFF),
                          Pair(D3DRENDERSTATE_COLORVERTEX, 1),
                          Pair(D3DRENDERSTATE_DIFFUSEMATERIALSOURCE, 0),
                          Pair(D3DRENDERSTATE_AMBIENTMATERIALSOURCE, 0),
                          Pair(D3DRENDERSTATE_SPECULARMATERIALSOURCE, 0),
                          Pair(D3DRENDERSTATE_ALPHABLENDENABLE, 0)));
}

TEST_F(FixedPipeline, TextureStatesComeInTheirOrder) {
  cGraphicsLayer& layer = Windowed();
  std::vector<std::pair<int, DWORD>> states;
  HOOK_METHOD(state, AnyDevice(), &IDirect3DDevice7::SetTextureStageState,
              [&](auto real, IDirect3DDevice7* self, DWORD stage, D3DTEXTURESTAGESTATETYPE type,
                  DWORD value) {
                EXPECT_EQ(stage, 0u);
                states.emplace_back(type, value);
                return real(self, stage, type, value);
              });
  SetFixedPipeline(layer, 1024, 768);
  EXPECT_THAT(states, ElementsAre(Pair(D3DTSS_MIPFILTER, 3), Pair(D3DTSS_MINFILTER, 2),
                                  Pair(D3DTSS_MAGFILTER, 2), Pair(D3DTSS_MINFILTER, 2),
                                  Pair(D3DTSS_ADDRESS, 3), Pair(D3DTSS_ALPHAARG1, 0x22),
                                  Pair(D3DTSS_ALPHAARG2, 0)));
}

TEST_F(FixedPipeline, TheScreenIsTwoUnitsWide) {
  cGraphicsLayer& layer = Windowed();
  SetFixedPipeline(layer, 1024, 768);
  D3DMATRIX matrix{};
  layer.GetProjectionMatrix(matrix);
  EXPECT_FLOAT_EQ(matrix._11, 1.0f);
  EXPECT_FLOAT_EQ(matrix._22, 2.0f / 1.5f);
  EXPECT_FLOAT_EQ(matrix._33, 1.0f / 9.5f);
  EXPECT_FLOAT_EQ(matrix._43, -0.5f / 9.5f);
  EXPECT_FLOAT_EQ(matrix._44, 1.0f);
  layer.GetViewMatrix(matrix);
  EXPECT_FLOAT_EQ(matrix._11, 1.0f);
  EXPECT_FLOAT_EQ(matrix._43, 0.0f);
}

TEST_F(FixedPipeline, TheWorldLiesTwoUnitsBeforeTheEye) {
  cGraphicsLayer& layer = Windowed();
  D3DMATRIX matrix{};
  matrix._41 = 5;
  layer.SetWorldMatrix(matrix);
  SetWorldBeforeEye(layer);
  layer.GetWorldMatrix(matrix);
  D3DMATRIX expected{};
  expected._11 = expected._22 = expected._33 = expected._44 = 1;
  expected._43 = 2;
  EXPECT_EQ(std::memcmp(&matrix, &expected, sizeof matrix), 0);
}

}  // namespace

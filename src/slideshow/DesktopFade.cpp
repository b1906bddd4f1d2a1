#include "slideshow/DesktopFade.h"

#include "graphics/FixedPipeline.h"
#include "graphics/LockedSurface.h"
#include "graphics/SurfaceDc.h"
#include "graphics/cGraphicsLayer.h"
#include "settings/Session.h"

HDC DesktopCopyDC = nullptr;

namespace {

constexpr float kFadeMs = 2500.0f;
constexpr float kEndLevel = 1.05f;   // a little beyond black, so that black is shown
constexpr int kUncountedCalls = 2;   // start-up time falls into these
constexpr float kReach = 10.75f;     // well beyond every screen, world units
constexpr DWORD kVertexFormat = D3DFVF_XYZ | D3DFVF_NORMAL | D3DFVF_DIFFUSE | D3DFVF_TEX1;

struct FadeVertex {
  float x, y, z;
  float normalX, normalY, normalZ;
  D3DCOLOR colour;
  float u, v;
};
static_assert(sizeof(FadeVertex) == 36);

// Over the whole screen. The material makes it black, whatever its vertices say.
FadeVertex quad[4] = {{-kReach, kReach, 0, 0, 0, 1, 0xFFFFFF, 0, 1},
                      {-kReach, -kReach, 0, 0, 0, 1, 0xFFFFFF, 0, 0},
                      {kReach, -kReach, 0, 0, 0, 1, 0xFFFFFF, 1, 0},
                      {kReach, kReach, 0, 0, 0, 1, 0xFFFFFF, 1, 1}};
WORD quadIndices[6] = {0, 1, 2, 0, 2, 3};
std::int32_t accumulated = 0;  // ms
float level = 0;               // 0 the desktop, 1 black
int calls = 0;

void DrawDesktop() {
  IDirectDrawSurface7* backBuffer = gGraphicsLayer->GetBackBuffer();
  // The card finishes what it is at before GDI draws into the surface.
  { const LockedSurface finished(backBuffer); }
  gGraphicsLayer->Clear(true, false, 0, 1.0f);
  const SurfaceDc dc(backBuffer);
  if (!dc) return;
  BitBlt(dc.get(), 0, 0, ScreenWidth, ScreenHeight, DesktopCopyDC, 0, 0, SRCCOPY);
}

void SetBlackness(IDirect3DDevice7* device) {
  D3DMATERIAL7 black{};
  black.diffuse.a = level;
  black.ambient.a = 1.0f;
  device->SetMaterial(&black);
  BlendByMaterial(device);
}

void DrawBlackness(IDirect3DDevice7* device) {
  SetWorldBeforeEye(*gGraphicsLayer);
  if (FAILED(gGraphicsLayer->BeginScene())) return;
  device->SetTexture(0, nullptr);
  device->DrawIndexedPrimitive(D3DPT_TRIANGLELIST, kVertexFormat, quad, 4, quadIndices, 6, 0);
  gGraphicsLayer->EndScene();
}

}  // namespace

void PrepareDesktopFade() {
  accumulated = 0;
  level = 0;
  calls = 0;
}

void DeleteDesktopCopy() {
  if (DesktopCopyDC) DeleteDC(DesktopCopyDC);
  DesktopCopyDC = nullptr;
}

bool DesktopFade(std::int32_t dt) {
  accumulated += dt;
  if (calls < kUncountedCalls) {
    ++calls;
    accumulated = 0;
  }
  if (level > kEndLevel) {
    DeleteDesktopCopy();
    return true;
  }
  DrawDesktop();
  IDirect3DDevice7* device = gGraphicsLayer->GetDevice();
  SetBlackness(device);
  DrawBlackness(device);
  device->SetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, FALSE);
  gGraphicsLayer->Flip(false);
  level = static_cast<float>(accumulated / static_cast<double>(kFadeMs));
  return false;
}

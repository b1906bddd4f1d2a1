#include "graphics/FixedPipeline.h"

#include "graphics/Matrix.h"
#include "graphics/cGraphicsLayer.h"

namespace {

constexpr float kWorldWidth = 2.0f;
constexpr float kNearPlane = 0.5f;
constexpr float kFarPlane = 10.0f;
constexpr float kWorldDistance = 2.0f;  // from the eye

void SetRenderStates(IDirect3DDevice7* device) {
  device->SetRenderState(D3DRENDERSTATE_CULLMODE, D3DCULL_CW);
  device->SetRenderState(D3DRENDERSTATE_LIGHTING, TRUE);
  device->SetRenderState(D3DRENDERSTATE_DITHERENABLE, TRUE);
  device->SetRenderState(D3DRENDERSTATE_SPECULARENABLE, FALSE);
  device->SetRenderState(D3DRENDERSTATE_SHADEMODE, D3DSHADE_GOURAUD);
  device->SetRenderState(D3DRENDERSTATE_ZENABLE, D3DZB_FALSE);
  device->SetRenderState(D3DRENDERSTATE_AMBIENT, 0xFFFFFF);
  device->SetRenderState(D3DRENDERSTATE_COLORVERTEX, TRUE);
  device->SetRenderState(D3DRENDERSTATE_DIFFUSEMATERIALSOURCE, D3DMCS_MATERIAL);
  device->SetRenderState(D3DRENDERSTATE_AMBIENTMATERIALSOURCE, D3DMCS_MATERIAL);
  device->SetRenderState(D3DRENDERSTATE_SPECULARMATERIALSOURCE, D3DMCS_MATERIAL);
  device->SetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, FALSE);
}

void SetTextureStage(IDirect3DDevice7* device) {
  device->SetTextureStageState(0, D3DTSS_MIPFILTER, D3DTFP_LINEAR);
  device->SetTextureStageState(0, D3DTSS_MINFILTER, D3DTFN_LINEAR);
  device->SetTextureStageState(0, D3DTSS_MAGFILTER, D3DTFG_LINEAR);
  // Set again after the magnification filter; the order is fixed.
  device->SetTextureStageState(0, D3DTSS_MINFILTER, D3DTFN_LINEAR);
  device->SetTextureStageState(0, D3DTSS_ADDRESS, D3DTADDRESS_CLAMP);
  device->SetTextureStageState(0, D3DTSS_ALPHAARG1, D3DTA_TEXTURE | D3DTA_ALPHAREPLICATE);
  device->SetTextureStageState(0, D3DTSS_ALPHAARG2, D3DTA_DIFFUSE);
}

}  // namespace

void SetFixedPipeline(cGraphicsLayer& layer, std::int32_t width, std::int32_t height) {
  D3DMATRIX matrix{};
  const float worldHeight = kWorldWidth * static_cast<float>(height) / static_cast<float>(width);
  SetOrthographic(matrix, kWorldWidth, worldHeight, kNearPlane, kFarPlane);
  layer.SetProjectionMatrix(matrix);
  SetRenderStates(layer.GetDevice());
  SetTextureStage(layer.GetDevice());
  SetIdentity(matrix);
  layer.SetViewMatrix(matrix);
}

void SetWorldBeforeEye(cGraphicsLayer& layer) {
  D3DMATRIX world{};
  SetIdentity(world);
  SetTranslation(world, 0, 0, kWorldDistance);
  layer.SetWorldMatrix(world);
}

void BlendByMaterial(IDirect3DDevice7* device) {
  device->SetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, TRUE);
  device->SetRenderState(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
  device->SetRenderState(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
  device->SetTextureStageState(0, D3DTSS_ALPHAOP, D3DTOP_MODULATE);
  device->SetTextureStageState(0, D3DTSS_ALPHAARG1, D3DTA_DIFFUSE);
}

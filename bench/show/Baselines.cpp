#include "show/Baselines.h"

#include "graphics/FixedPipeline.h"
#include "graphics/LockedSurface.h"
#include "graphics/Matrix.h"
#include "graphics/cGraphicsLayer.h"
#include "graphics/cTexture.h"
#include "slideshow/CSlideImage.h"

#include <stdexcept>

namespace {

void DrawQuads(IDirect3DDevice7* device, const CSlideImage& slide) {
  gGraphicsLayer->BeginScene();
  for (std::int32_t n = 0; n < slide.TileCount(); ++n) {
    SlideTile& tile = slide.tiles[static_cast<std::size_t>(n)];
    device->SetTexture(0, tile.texture ? tile.texture->GetSurface() : nullptr);
    device->DrawIndexedPrimitive(D3DPT_TRIANGLELIST, D3DFVF_XYZ | D3DFVF_TEX1, tile.corners, 4,
                                 tile.indices, 6, 0);
  }
  gGraphicsLayer->EndScene();
}

void SetMaterial(IDirect3DDevice7* device, float alpha) {
  D3DMATERIAL7 material{};
  material.ambient = {1, 1, 1, 1};
  material.diffuse = {1, 1, 1, alpha};
  device->SetMaterial(&material);
}

void WaitForCard() {
  IDirectDrawSurface7* backBuffer = gGraphicsLayer->GetBackBuffer();
  HDC dc = nullptr;
  if (SUCCEEDED(backBuffer->GetDC(&dc))) backBuffer->ReleaseDC(dc);
  const LockedSurface finished(backBuffer);
}

}  // namespace

void DrawBareFrame(const CSlideImage& current, const CSlideImage* next, float blend) {
  IDirect3DDevice7* device = gGraphicsLayer->GetDevice();
  gGraphicsLayer->Clear(true, false, 0, 1.0f);
  D3DMATRIX world{};
  SetIdentity(world);
  SetTranslation(world, 0, 0, 2);
  gGraphicsLayer->SetWorldMatrix(world);
  SetMaterial(device, 1);
  DrawQuads(device, current);
  if (next) {
    SetMaterial(device, blend);
    BlendByMaterial(device);
    DrawQuads(device, *next);
  }
  device->SetRenderState(D3DRENDERSTATE_ALPHABLENDENABLE, FALSE);
  WaitForCard();
  gGraphicsLayer->Flip(false);
}

// --- Decoding beside the frames ---

BusyDecoder::BusyDecoder(const char* bundlePath) {
  if (!bundle_.Open(bundlePath)) throw std::runtime_error("no bundle");
  images_ = bundle_.FindCategory("image");
  if (!images_ || !images_->files.First()) throw std::runtime_error("no pictures");
  images_->ReadAll();
  images_->files.First();
  thread_ = std::thread([this] { Run(); });
}

BusyDecoder::~BusyDecoder() {
  ends_ = true;
  On();
  thread_.join();
}

void BusyDecoder::On() {
  on_ = true;
  on_.notify_one();
}

void BusyDecoder::Off() {
  on_ = false;
  while (busy_) Sleep(1);
}

void BusyDecoder::Run() {
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
  while (!ends_) {
    on_.wait(false);
    busy_ = true;
    if (on_ && !ends_) DecodeNext();
    busy_ = false;
  }
}

void BusyDecoder::DecodeNext() {
  VFFILE& file = *images_->files.Current();
  BTCImageObject image;
  image.Load(images_->ReadFile(&file), file.size, nullptr);
  if (!images_->files.Next()) images_->files.First();
}

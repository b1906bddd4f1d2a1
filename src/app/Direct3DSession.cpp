// The log names the core for all of a session's lines, whichever file they stand in.
#define LOG_SOURCE "Minimal"
#include "app/Direct3DSession.h"

#include "base/Logger.h"
#include "base/win_owned.h"
#include "graphics/FixedPipeline.h"
#include "graphics/LockedSurface.h"
#include "graphics/SurfaceDc.h"
#include "graphics/cGameError.h"
#include "graphics/cGraphicsLayer.h"
#include "settings/Session.h"
#include "settings/Settings.h"
#include "slideshow/DesktopFade.h"
#include "slideshow/Slideshow.h"
#include "ui/Skin.h"

#include <algorithm>
#include <sstream>
#include <string>

std::int32_t MaxTextureSize = 256;
bool OpeningDone = false;

// --- Device ---

namespace {

constexpr DWORD kTextureLimit = 256;

bool AcceptAnyDevice(const D3DDEVICEDESC7&) { return true; }

// False if there is no layer with a device afterwards.
bool CreateLayer(int width, int height) {
  const bool fullScreen = RunMode != RUNMODE_PREVIEW;
  const std::uint32_t flags = RequestedMode.bits == 16 ? cGraphicsLayer::kSixteenBits : 0u;
  try {
    cGraphicsLayer::Create(hScrWindow, fullScreen, width, height, flags, AcceptAnyDevice);
  } catch (const cGameError& error) {
    LOG_ERROR(error.Text());
    return false;
  }
  if (!gGraphicsLayer) {
    LOG_ERROR("Received a null graphics object pointer");
    return false;
  }
  if (gGraphicsLayer->HasFailed()) {
    LOG_ERROR("Error creating Direct3D");
    return false;
  }
  gGraphicsLayer->ClearLost();
  return true;
}

// The card seen last is remembered for the machine.
void RememberCard() {
  DDDEVICEIDENTIFIER2 card{};
  if (FAILED(gGraphicsLayer->GetDDraw()->GetDeviceIdentifier(&card, 0))) {
    LOG_INFO("Couldn't get the video card type");
    return;
  }
  card.szDescription[sizeof card.szDescription - 1] = '\0';
  std::ostringstream text;
  text << "Video card: " << card.szDescription << " rev: " << card.dwRevision;
  LOG_INFO(text.str());
  if (!GuidEqual(card.guidDeviceIdentifier, ss->VideoGUID))
    SetMachineBinary(kMachineKey, "VideoGUID", &card.guidDeviceIdentifier,
                     sizeof card.guidDeviceIdentifier);
}

// A card that tells of no limit is taken to have the usual one: a limit of nothing
// would cut a picture into its pixels.
void ReadTextureLimit() {
  const D3DDEVICEDESC7& device = gGraphicsLayer->GetDeviceDesc();
  const DWORD limit = std::min(device.dwMaxTextureWidth, device.dwMaxTextureHeight);
  LOG_INFO("Max texture size: " + std::to_string(limit));
  const DWORD known = limit > 0 ? limit : kTextureLimit;
  MaxTextureSize = static_cast<std::int32_t>(std::min(known, kTextureLimit));
}

// The mode that was set may be another than the requested one.
void ReadColourDepth() {
  DDSURFACEDESC2 screen = EmptyDescription();
  if (FAILED(gGraphicsLayer->GetPrimary()->GetSurfaceDesc(&screen))) return;
  RequestedMode.bits = static_cast<std::int32_t>(screen.ddpfPixelFormat.dwRGBBitCount);
}

}  // namespace

bool CreateGraphicsDevice(int width, int height) {
  if (!CreateLayer(width, height)) return false;
  RememberCard();
  ReadTextureLimit();
  ReadColourDepth();
  return true;
}

// --- Fixed state ---

namespace {

// A changed mode has moved the user's windows about, and a still show begins at
// once.
bool OpensWithDesktop() { return ss->Animate && !ss->FastMode && !ModeChanged; }

// A desktop that can't be copied, such as that of another session, counts as
// black.
void CopyDesktop() {
  const WindowDc desktop(nullptr);
  MemDc copy = MakeCanvas(desktop.get(), ScreenWidth, ScreenHeight);
  if (!BitBlt(copy.get(), 0, 0, ScreenWidth, ScreenHeight, desktop.get(), 0, 0, SRCCOPY))
    PatBlt(copy.get(), 0, 0, ScreenWidth, ScreenHeight, BLACKNESS);
  DesktopCopyDC = copy.release();
}

}  // namespace

bool initD3D(int width, int height) {
  LOG_FUNCTION("initD3D()");
  if (!gGraphicsLayer) {
    LOG_ERROR("Received a null graphics object pointer");
    return false;
  }
  SetFixedPipeline(*gGraphicsLayer, width, height);
  PrepareDesktopFade();
  OpeningDone = false;
  gSkinBundle.FreeAll();  // the dialog's pictures aren't needed during a show
  if (OpensWithDesktop()) CopyDesktop();
  LOG_INFO("Successfully exiting initD3D()");
  return true;
}

// --- Frames ---

namespace {

// The card finishes the frame before it is shown, so that the picture is never
// behind its time. No pixel is touched.
void WaitForFrame() {
  IDirectDrawSurface7* backBuffer = gGraphicsLayer->GetBackBuffer();
  { const SurfaceDc drawn(backBuffer); }
  const LockedSurface finished(backBuffer);
}

void ShowFrame(std::int32_t dt) {
  gSlideshow->Update(dt);
  gGraphicsLayer->Clear(true, false, 0, 1.0f);
  SetWorldBeforeEye(*gGraphicsLayer);
  gSlideshow->Draw();
  WaitForFrame();
  gGraphicsLayer->Flip(false);
}

}  // namespace

void RenderDirect3DFrame(std::int32_t dt) {
  if (gGraphicsLayer->IsLost()) return;
  if (ss->Animate && !ModeChanged && !OpeningDone)
    OpeningDone = DesktopFade(dt);
  else
    ShowFrame(dt);
}

// --- End ---

void DeleteGraphics() {
  DeleteDesktopCopy();
  LOG_INFO("Setting current texture to NULL");
  if (gGraphicsLayer && gGraphicsLayer->GetDevice())
    gGraphicsLayer->GetDevice()->SetTexture(0, nullptr);
  LOG_INFO("Deleting graphics object");
  delete gGraphicsLayer;
}

// Set-up goes from DirectDraw (mode and surfaces, full screen or in a window)
// to Direct3D (device, z-buffer, viewport, projection).

#include "graphics/cGraphicsLayer.h"

#include "base/ComRef.h"
#include "graphics/DebugPrint.h"
#include "graphics/Matrix.h"
#include "graphics/cGameError.h"

#include <memory>
#include <vector>

cGraphicsLayer* gGraphicsLayer = nullptr;

namespace {

constexpr DWORD kTextureStages = 8;
constexpr DWORD kLeastDepthBits = 15;
constexpr DWORD kDeepDepthBits = 24;
constexpr DWORD kDeepStencilBits = 8;

bool UsesZBuffer(std::uint32_t flags) {
  return (flags & (cGraphicsLayer::kZBuffer | cGraphicsLayer::kDeepZBuffer)) != 0;
}

// One pass of the device enumeration: takes the wanted device, if it is there
// and accepted, and stops.
struct DeviceSearch {
  const GUID* wanted;
  cGraphicsLayer::DeviceCheck check;
  std::vector<D3DDEVICEDESC7>* found;
};

HRESULT CALLBACK TakeWantedDevice(char*, char*, D3DDEVICEDESC7* description, void* context) {
  const auto& search = *static_cast<const DeviceSearch*>(context);
  if (!IsEqualGUID(description->deviceGUID, *search.wanted)) return D3DENUMRET_OK;
  if (!search.check || search.check(*description)) search.found->push_back(*description);
  return D3DENUMRET_CANCEL;
}

// The devices there are, the best first.
std::vector<D3DDEVICEDESC7> FindDevices(IDirect3D7* d3d, std::uint32_t flags,
                                        cGraphicsLayer::DeviceCheck check) {
  std::vector<D3DDEVICEDESC7> found;
  const auto look = [&](const GUID& wanted) {
    DeviceSearch search{&wanted, check, &found};
    d3d->EnumDevices(TakeWantedDevice, &search);
  };
  if (!(flags & cGraphicsLayer::kNoHardware)) {
    look(IID_IDirect3DTnLHalDevice);
    look(IID_IDirect3DHALDevice);
  }
  if (!(flags & cGraphicsLayer::kNoSoftware)) {
    look(IID_IDirect3DRGBDevice);
    look(IID_IDirect3DRefDevice);
  }
  return found;
}

HRESULT CALLBACK TakeZFormat(DDPIXELFORMAT* format, void* context) {
  if (format->dwFlags & DDPF_ZBUFFER)
    static_cast<std::vector<DDPIXELFORMAT>*>(context)->push_back(*format);
  return D3DENUMRET_OK;
}

}  // namespace

bool ZFormatFits(const DDPIXELFORMAT& format, std::uint32_t flags) {
  DWORD depth = format.dwZBufferBitDepth;
  if (flags & (cGraphicsLayer::kStencil | cGraphicsLayer::kDeepStencil)) {
    const DWORD stencil = format.dwFlags & DDPF_STENCILBUFFER ? format.dwStencilBitDepth : 0;
    const DWORD least = flags & cGraphicsLayer::kDeepStencil ? kDeepStencilBits : 1;
    if (stencil < least || stencil > depth) return false;
    depth -= stencil;
  }
  return depth >= (flags & cGraphicsLayer::kDeepZBuffer ? kDeepDepthBits : kLeastDepthBits);
}

void ReportReferencesLeft(ULONG count) {
  if (count > 0) DebugPrint("[ExtraSafeRelease]: ERROR: Interface was not released enough!");
}

// --- Life ---

cGraphicsLayer* cGraphicsLayer::Create(HWND hWnd, bool fullScreen, std::int32_t width,
                                       std::int32_t height, std::uint32_t flags,
                                       DeviceCheck deviceCheck, GUID* driverGuid) {
  std::unique_ptr<cGraphicsLayer> layer(new cGraphicsLayer(hWnd));
  if (fullScreen)
    layer->InitD3DFullScreen(width, height, flags & kSixteenBits ? 16 : 32);
  else
    layer->InitD3DWindowed(driverGuid);
  layer->InitD3D(flags, deviceCheck);
  layer->lost = 1;
  return layer.release();
}

cGraphicsLayer* cGraphicsLayer::CreateDDrawOnly(HWND hWnd, GUID* driverGuid) {
  std::unique_ptr<cGraphicsLayer> layer(new cGraphicsLayer(hWnd));
  layer->CreateDDraw(driverGuid, "DirectDrawCreateEx failed");
  return layer.release();
}

cGraphicsLayer::cGraphicsLayer(HWND window) : hWnd(window) {
  if (gGraphicsLayer) throw cGameError("cGraphicsLayer object already instantiated\n");
  gGraphicsLayer = this;
}

cGraphicsLayer::~cGraphicsLayer() {
  if (ddraw) ddraw->SetCooperativeLevel(hWnd, DDSCL_NORMAL);
  if (device)
    for (DWORD stage = 0; stage < kTextureStages; ++stage) device->SetTexture(stage, nullptr);
  ExtraSafeRelease(device);
  // A back buffer of a flip chain carries a second reference.
  if (backBuffer && fullScreen) backBuffer->Release();
  SafeRelease(backBuffer);
  SafeRelease(zBuffer);
  SafeRelease(primary);
  SafeRelease(d3d);
  ExtraSafeRelease(ddraw);
  gGraphicsLayer = nullptr;
}

void cGraphicsLayer::Fail(const char* errorText) {
  failed = 1;
  throw cGameError(errorText);
}

void cGraphicsLayer::Require(HRESULT result, const char* errorText) {
  if (FAILED(result)) Fail(errorText);
}

void cGraphicsLayer::CreateDDraw(GUID* driverGuid, const char* errorText) {
  Require(
      DirectDrawCreateEx(driverGuid, reinterpret_cast<void**>(&ddraw), IID_IDirectDraw7, nullptr),
      errorText);
}

// --- Full screen ---

void cGraphicsLayer::InitD3DFullScreen(std::int32_t width, std::int32_t height,
                                       std::uint32_t bits) {
  fullScreen = true;
  CreateDDraw(nullptr, "Could not create DirectDraw");
  Require(ddraw->SetCooperativeLevel(hWnd, DDSCL_EXCLUSIVE | DDSCL_FULLSCREEN | DDSCL_ALLOWREBOOT),
          "Couldn't set coop level");
  screenRect = clientRect = RECT{0, 0, width, height};
  SetMode(width, height, bits);
  CreateFlipChain();
}

// The size fields stay as requested, also after the last way out.
void cGraphicsLayer::SetMode(std::int32_t width, std::int32_t height, std::uint32_t bits) {
  const auto w = static_cast<DWORD>(width);
  const auto h = static_cast<DWORD>(height);
  if (SUCCEEDED(ddraw->SetDisplayMode(w, h, bits, 0, 0))) return;
  if (SUCCEEDED(ddraw->SetDisplayMode(w, h, 16, 0, 0))) return;
  DebugPrint("Inputted resolution failed, trying 640x480x16\n");
  Require(ddraw->SetDisplayMode(640, 480, 16, 0, 0), "Can't set display mode");
}

void cGraphicsLayer::CreateFlipChain() {
  DDSURFACEDESC2 description = EmptyDescription();
  description.dwFlags = DDSD_CAPS | DDSD_BACKBUFFERCOUNT;
  description.ddsCaps.dwCaps =
      DDSCAPS_PRIMARYSURFACE | DDSCAPS_FLIP | DDSCAPS_COMPLEX | DDSCAPS_3DDEVICE;
  description.dwBackBufferCount = 1;
  Require(ddraw->CreateSurface(&description, &primary, nullptr),
          "Error: Can't create primary surface");
  DDSCAPS2 caps{};
  caps.dwCaps = DDSCAPS_BACKBUFFER;
  Require(primary->GetAttachedSurface(&caps, &backBuffer), "Error: Can't get the backbuffer");
  backBuffer->AddRef();
}

// --- In a window ---

void cGraphicsLayer::InitD3DWindowed(GUID* driverGuid) {
  fullScreen = false;
  ReadWindowRects();
  CreateDDraw(driverGuid, "DirectDrawCreateEx failed");
  Require(ddraw->SetCooperativeLevel(hWnd, DDSCL_NORMAL), "SetCooperativeLevel failed");
  CreateWindowSurfaces();
  CreateClipper();
}

void cGraphicsLayer::ReadWindowRects() {
  ::GetClientRect(hWnd, &clientRect);
  POINT origin{0, 0};
  ClientToScreen(hWnd, &origin);
  screenRect = clientRect;
  OffsetRect(&screenRect, origin.x, origin.y);
}

void cGraphicsLayer::CreateWindowSurfaces() {
  DDSURFACEDESC2 front = EmptyDescription();
  front.dwFlags = DDSD_CAPS;
  front.ddsCaps.dwCaps = DDSCAPS_PRIMARYSURFACE;
  Require(ddraw->CreateSurface(&front, &primary, nullptr), "Primary surface creation failed");
  DDSURFACEDESC2 back = EmptyDescription();
  back.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT;
  back.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_3DDEVICE;
  back.dwWidth = static_cast<DWORD>(GetWidth());
  back.dwHeight = static_cast<DWORD>(GetHeight());
  Require(ddraw->CreateSurface(&back, &backBuffer, nullptr), "back buffer creation failed");
}

void cGraphicsLayer::CreateClipper() {
  ComRef<IDirectDrawClipper> clipper;
  if (FAILED(ddraw->CreateClipper(0, clipper.put(), nullptr)) ||
      FAILED(clipper->SetHWnd(0, hWnd)) || FAILED(primary->SetClipper(clipper.get())))
    Fail("Clipper creation failed");
}

// --- Direct3D ---

void cGraphicsLayer::InitD3D(std::uint32_t flags, DeviceCheck deviceCheck) {
  if (!ddraw || !primary || !backBuffer) {
    DebugPrint("[cGraphicsLayer::InitD3DWindowed]: Error! DDraw not set up correctly; "
               "cannot set up D3D!\n");
    failed = 1;
    return;
  }
  SafeRelease(d3d);
  SafeRelease(device);
  Require(ddraw->QueryInterface(IID_IDirect3D7, reinterpret_cast<void**>(&d3d)), "D3D QI failed");
  ChooseDevice(flags, deviceCheck);
  if (UsesZBuffer(flags)) {
    hasZBuffer = true;
    ChooseZFormat(flags);
    MakeZBuffer();
  }
  Require(d3d->CreateDevice(deviceDesc.deviceGUID, backBuffer, &device), "CreateDevice failed");
  MakeViewport();
  MakeProjectionMatrix();
}

void cGraphicsLayer::ChooseDevice(std::uint32_t flags, DeviceCheck deviceCheck) {
  const std::vector<D3DDEVICEDESC7> devices = FindDevices(d3d, flags, deviceCheck);
  if (devices.empty()) Fail("No valid devices were found");
  deviceDesc = devices.front();
  hardware = IsEqualGUID(deviceDesc.deviceGUID, IID_IDirect3DTnLHalDevice) ||
             IsEqualGUID(deviceDesc.deviceGUID, IID_IDirect3DHALDevice);
}

void cGraphicsLayer::ChooseZFormat(std::uint32_t flags) {
  std::vector<DDPIXELFORMAT> formats;
  d3d->EnumZBufferFormats(deviceDesc.deviceGUID, TakeZFormat, &formats);
  for (const DDPIXELFORMAT& format : formats) {
    if (!ZFormatFits(format, flags)) continue;
    zFormat = format;
    return;
  }
  Fail("[InitD3D]: No good z-buffer format!\n");
}

void cGraphicsLayer::MakeZBuffer() {
  SafeRelease(zBuffer);
  DDSURFACEDESC2 description = EmptyDescription();
  description.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT | DDSD_PIXELFORMAT;
  description.ddsCaps.dwCaps =
      DDSCAPS_ZBUFFER | (hardware ? DDSCAPS_VIDEOMEMORY : DDSCAPS_SYSTEMMEMORY);
  description.dwWidth = static_cast<DWORD>(GetWidth());
  description.dwHeight = static_cast<DWORD>(GetHeight());
  description.ddpfPixelFormat = zFormat;
  Require(ddraw->CreateSurface(&description, &zBuffer, nullptr),
          "Failed to create a Z-Buffer surface.\nMost likely the application ran out of memory");
  Require(backBuffer->AddAttachedSurface(zBuffer), "[MakeZBuffer]: AddAttachedSurface failed!\n");
  if (!device) return;
  Require(device->SetRenderTarget(backBuffer, 0), "[MakeZBuffer]: SetRenderTarget failed!\n");
  device->SetRenderState(D3DRENDERSTATE_ZENABLE, TRUE);
}

void cGraphicsLayer::MakeViewport() {
  if (!device) {
    failed = 1;
    DebugPrint("[cGraphicsLayer::MakeViewport]: no device\n");
    return;
  }
  D3DVIEWPORT7 viewport{0, 0, static_cast<DWORD>(GetWidth()), static_cast<DWORD>(GetHeight()), 0.0f,
                        1.0f};
  Require(device->SetViewport(&viewport), "viewport setting failed.");
}

HRESULT cGraphicsLayer::MakeProjectionMatrix() {
  if (!device) return -1;
  D3DMATRIX projection{};
  const float heightOverWidth = static_cast<float>(GetHeight()) / static_cast<float>(GetWidth());
  if (!SetPerspective(projection, fieldOfView, heightOverWidth, nearPlane, farPlane)) return -1;
  SetProjectionMatrix(projection);
  return DD_OK;
}

// --- Per frame ---

void cGraphicsLayer::Clear(bool target, bool z, D3DCOLOR colour, float zValue) {
  if (!backBuffer) return;
  const DWORD what = (target ? D3DCLEAR_TARGET : 0u) | (z ? D3DCLEAR_ZBUFFER : 0u);
  if (FAILED(device->Clear(0, nullptr, what, colour, zValue, 0)))
    DebugPrint("[cGraphicsLayer::Clear]: Clear failed\n");
}

HRESULT cGraphicsLayer::BeginScene() {
  const HRESULT result = device->BeginScene();
  if (FAILED(result)) lost = 1;
  return result;
}

HRESULT cGraphicsLayer::EndScene() {
  const HRESULT result = device->EndScene();
  if (FAILED(result)) lost = 1;
  return result;
}

void cGraphicsLayer::Flip(bool noWait) {
  HRESULT result;
  if (fullScreen) {
    result = primary->Flip(nullptr, noWait ? DDFLIP_NOVSYNC : DDFLIP_WAIT);
  } else {
    if (!noWait) ddraw->WaitForVerticalBlank(DDWAITVB_BLOCKBEGIN, nullptr);
    result = primary->Blt(&screenRect, backBuffer, nullptr, DDBLT_WAIT, nullptr);
  }
  if (SUCCEEDED(result)) return;
  DebugPrint(fullScreen ? "[cGraphicsLayer::Flip]: Flip failed\n"
                        : "[cGraphicsLayer::Flip]: Blt failed\n");
  if (result == DDERR_SURFACELOST) lost = 1;
}

void cGraphicsLayer::GetWorldMatrix(D3DMATRIX& matrix) const {
  device->GetTransform(D3DTRANSFORMSTATE_WORLD, &matrix);
}

void cGraphicsLayer::SetWorldMatrix(D3DMATRIX& matrix) {
  device->SetTransform(D3DTRANSFORMSTATE_WORLD, &matrix);
}

void cGraphicsLayer::GetViewMatrix(D3DMATRIX& matrix) const {
  device->GetTransform(D3DTRANSFORMSTATE_VIEW, &matrix);
}

void cGraphicsLayer::SetViewMatrix(D3DMATRIX& matrix) {
  device->SetTransform(D3DTRANSFORMSTATE_VIEW, &matrix);
}

void cGraphicsLayer::GetProjectionMatrix(D3DMATRIX& matrix) const {
  device->GetTransform(D3DTRANSFORMSTATE_PROJECTION, &matrix);
}

void cGraphicsLayer::SetProjectionMatrix(D3DMATRIX& matrix) {
  device->SetTransform(D3DTRANSFORMSTATE_PROJECTION, &matrix);
}

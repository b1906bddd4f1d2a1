#pragma once
// The graphics device of the show: one object that owns the display mode, the
// surfaces and the Direct3D device, reached through gGraphicsLayer.
//
// Failures while it is set up throw cGameError. Failures afterwards are told to
// the debugger, and where a surface or a scene is lost, `lost` is set: the frame
// step polls it and ends the session. Nothing brings a lost surface back.
//
// Main thread only, and so is all work on textures.

#include "graphics/DirectX7.h"

#include <cstdint>

class cGraphicsLayer;

// The one layer; its constructor sets the pointer, its destructor clears it.
extern cGraphicsLayer* gGraphicsLayer;

class cGraphicsLayer {
 public:
  // What the device must have and what it must not be.
  enum Flags : std::uint32_t {
    kZBuffer = 1,         // of 15 bits of depth at least
    kDeepZBuffer = 2,     // of 24 bits at least
    kStencil = 4,         // in the z-buffer; depth bits then count without it
    kDeepStencil = 8,     // of 8 bits at least
    kNoSoftware = 16,
    kNoHardware = 32,
    kSixteenBits = 64,    // a pixel, in full screen; 32 otherwise
  };
  // Accepts or refuses a device; null accepts all.
  using DeviceCheck = bool (*)(const D3DDEVICEDESC7& description);

  // Makes the layer, ready to draw, on `hWnd`: full screen at `width` by
  // `height` px, or in the window's client area. `lost` is set on return; the
  // caller clears it once it is content. Throws cGameError, and then no layer
  // is left.
  static cGraphicsLayer* Create(HWND hWnd, bool fullScreen, std::int32_t width, std::int32_t height,
                                std::uint32_t flags, DeviceCheck deviceCheck,
                                GUID* driverGuid = nullptr);
  // Makes a layer that can only be asked for display modes. Throws cGameError.
  static cGraphicsLayer* CreateDDrawOnly(HWND hWnd, GUID* driverGuid = nullptr);
  // Gives the display back and releases everything.
  ~cGraphicsLayer();
  cGraphicsLayer(const cGraphicsLayer&) = delete;
  cGraphicsLayer& operator=(const cGraphicsLayer&) = delete;

  // --- Set-up steps; Create runs them ---

  // Direct3D on the surfaces that are there; without them `failed` is set.
  void InitD3D(std::uint32_t flags, DeviceCheck deviceCheck);
  // A z-buffer of the chosen format in place of an earlier one.
  void MakeZBuffer();
  // The whole back buffer. Without a device `failed` is set.
  void MakeViewport();
  // A perspective view, -1 if its angle or planes allow none.
  HRESULT MakeProjectionMatrix();

  // --- Per frame ---

  // Clears the viewport. Does nothing without a back buffer.
  void Clear(bool target, bool z, D3DCOLOR colour, float zValue);
  // A failure sets `lost` and is handed back.
  HRESULT BeginScene();
  HRESULT EndScene();
  // Shows the back buffer, at the next refresh unless `noWait`.
  void Flip(bool noWait);

  void GetWorldMatrix(D3DMATRIX& matrix) const;
  void SetWorldMatrix(D3DMATRIX& matrix);
  void GetViewMatrix(D3DMATRIX& matrix) const;
  void SetViewMatrix(D3DMATRIX& matrix);
  void GetProjectionMatrix(D3DMATRIX& matrix) const;
  void SetProjectionMatrix(D3DMATRIX& matrix);

  // --- State ---

  bool HasFailed() const { return failed != 0; }
  bool IsLost() const { return lost != 0; }
  void ClearLost() { lost = 0; }

  // Borrowed; null where there is none.
  IDirect3DDevice7* GetDevice() const { return device; }
  IDirectDraw7* GetDDraw() const { return ddraw; }
  IDirect3D7* GetD3D() const { return d3d; }
  IDirectDrawSurface7* GetPrimary() const { return primary; }
  IDirectDrawSurface7* GetBackBuffer() const { return backBuffer; }
  IDirectDrawSurface7* GetZBuffer() const { return zBuffer; }

  const D3DDEVICEDESC7& GetDeviceDesc() const { return deviceDesc; }
  bool IsFullScreen() const { return fullScreen; }
  bool IsHardware() const { return hardware; }
  bool HasZBuffer() const { return hasZBuffer; }
  std::int32_t GetWidth() const { return clientRect.right; }    // px
  std::int32_t GetHeight() const { return clientRect.bottom; }
  const RECT& GetScreenRect() const { return screenRect; }
  const RECT& GetClientRect() const { return clientRect; }

 private:
  explicit cGraphicsLayer(HWND window);

  void InitD3DFullScreen(std::int32_t width, std::int32_t height, std::uint32_t bits);
  void InitD3DWindowed(GUID* driverGuid);

  void CreateDDraw(GUID* driverGuid, const char* errorText);
  void SetMode(std::int32_t width, std::int32_t height, std::uint32_t bits);
  void CreateFlipChain();
  void CreateWindowSurfaces();
  void CreateClipper();
  void ReadWindowRects();
  void ChooseDevice(std::uint32_t flags, DeviceCheck deviceCheck);
  void ChooseZFormat(std::uint32_t flags);

  [[noreturn]] void Fail(const char* errorText);
  // Throws `errorText` unless `result` is a success.
  void Require(HRESULT result, const char* errorText);

  HWND hWnd;
  IDirect3DDevice7* device = nullptr;
  IDirectDraw7* ddraw = nullptr;
  IDirect3D7* d3d = nullptr;
  IDirectDrawSurface7* primary = nullptr;
  IDirectDrawSurface7* backBuffer = nullptr;  // the render target
  IDirectDrawSurface7* zBuffer = nullptr;     // null unless asked for
  D3DDEVICEDESC7 deviceDesc{};                // of the chosen device
  std::int32_t failed = 0;                    // something in the set-up went wrong
  std::int32_t lost = 0;                      // a surface or scene call failed
  DDPIXELFORMAT zFormat{};
  float fieldOfView = 1.5707963f;             // radians
  float nearPlane = 1.0f;
  float farPlane = 1000.0f;
  bool fullScreen = false;
  bool hardware = false;
  bool hasZBuffer = false;
  RECT screenRect{};                          // the client area on the screen
  RECT clientRect{};                          // right and bottom are its size
};

// Whether a z-buffer of that format is what `flags` ask for.
bool ZFormatFits(const DDPIXELFORMAT& format, std::uint32_t flags);

void ReportReferencesLeft(ULONG count);

// SafeRelease for the last reference: says so if it wasn't the last one.
template <class Interface>
void ExtraSafeRelease(Interface*& pointer) {
  if (pointer) ReportReferencesLeft(pointer->Release());
  pointer = nullptr;
}

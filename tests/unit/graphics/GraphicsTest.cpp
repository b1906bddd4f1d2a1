#include "unit/graphics/GraphicsTest.h"

#include "graphics/FixedPipeline.h"

#include <stdexcept>

namespace graphics_test {
namespace {

constexpr char kClass[] = "GraphicsTestWindow";

HWND MakeWindow() {
  WNDCLASSA windowClass{};
  windowClass.lpfnWndProc = DefWindowProcA;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.lpszClassName = kClass;
  RegisterClassA(&windowClass);
  return CreateWindowExA(WS_EX_TOPMOST, kClass, "graphics test", WS_POPUP | WS_VISIBLE, 16, 24,
                         kWindowWidth, kWindowHeight, nullptr, nullptr, windowClass.hInstance,
                         nullptr);
}

void Must(HRESULT result, const char* what) {
  if (FAILED(result)) throw std::runtime_error(std::string("test set-up: ") + what);
}

// A surface's memory, locked for one scope.
class Locked {
 public:
  explicit Locked(IDirectDrawSurface7* surface) : surface_(surface) {
    description.dwSize = sizeof description;
    Must(surface->Lock(nullptr, &description, DDLOCK_WAIT, nullptr), "Lock");
  }
  ~Locked() { surface_->Unlock(nullptr); }
  unsigned char* Row(int y) const {
    return static_cast<unsigned char*>(description.lpSurface) + y * description.lPitch;
  }

  DDSURFACEDESC2 description{};

 private:
  IDirectDrawSurface7* surface_;
};

std::uint32_t From565(std::uint16_t pixel) {
  const std::uint32_t red = pixel >> 11, green = pixel >> 5 & 63, blue = pixel & 31;
  return (red << 3 | red >> 2) << 16 | (green << 2 | green >> 4) << 8 | (blue << 3 | blue >> 2);
}

std::uint16_t To565(std::uint32_t colour) {
  return static_cast<std::uint16_t>((colour >> 8 & 0xF800) | (colour >> 5 & 0x7E0) |
                                    (colour >> 3 & 0x1F));
}

}  // namespace

GraphicsTest::GraphicsTest()
    : window(MakeWindow()),
      screenWidth(GetSystemMetrics(SM_CXSCREEN)),
      screenHeight(GetSystemMetrics(SM_CYSCREEN)) {}

GraphicsTest::~GraphicsTest() {
  layer_.reset();
  anyDevice_.reset();
  anyD3D_.reset();
  anySurface_.reset();
  anyDDraw_.reset();
  DestroyWindow(window);
}

IDirectDraw7* GraphicsTest::AnyDDraw() {
  if (layer_) return layer_->GetDDraw();
  if (anyDDraw_) return anyDDraw_.get();
  Must(DirectDrawCreateEx(nullptr, anyDDraw_.put_void(), IID_IDirectDraw7, nullptr), "DirectDraw");
  Must(anyDDraw_->SetCooperativeLevel(window, DDSCL_NORMAL), "cooperative level");
  return anyDDraw_.get();
}

IDirectDrawSurface7* GraphicsTest::AnySurface() {
  if (layer_) return layer_->GetBackBuffer();
  if (anySurface_) return anySurface_.get();
  DDSURFACEDESC2 description{};
  description.dwSize = sizeof description;
  description.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT;
  description.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_3DDEVICE;
  description.dwWidth = description.dwHeight = 64;
  Must(AnyDDraw()->CreateSurface(&description, anySurface_.put(), nullptr), "surface");
  return anySurface_.get();
}

IDirect3D7* GraphicsTest::AnyD3D() {
  if (layer_) return layer_->GetD3D();
  if (!anyD3D_) Must(AnyDDraw()->QueryInterface(IID_IDirect3D7, anyD3D_.put_void()), "Direct3D");
  return anyD3D_.get();
}

IDirect3DDevice7* GraphicsTest::AnyDevice() {
  if (layer_) return layer_->GetDevice();
  if (!anyDevice_)
    Must(AnyD3D()->CreateDevice(IID_IDirect3DHALDevice, AnySurface(), anyDevice_.put()), "device");
  return anyDevice_.get();
}

cGraphicsLayer& GraphicsTest::Windowed(std::uint32_t flags, cGraphicsLayer::DeviceCheck check) {
  layer_.reset();
  layer_.reset(cGraphicsLayer::Create(window, false, 0, 0, flags, check));
  layer_->ClearLost();
  return *layer_;
}

cGraphicsLayer& GraphicsTest::WindowedForShow() {
  cGraphicsLayer& layer = Windowed();
  SetFixedPipeline(layer, kWindowWidth, kWindowHeight);
  SetWorldBeforeEye(layer);
  return layer;
}

cGraphicsLayer& GraphicsTest::FullScreen(std::uint32_t flags, cGraphicsLayer::DeviceCheck check) {
  layer_.reset();
  layer_.reset(cGraphicsLayer::Create(window, true, screenWidth, screenHeight, flags, check));
  layer_->ClearLost();
  return *layer_;
}

support::Pixels ReadSurface(IDirectDrawSurface7* surface) {
  const Locked locked(surface);
  const int width = static_cast<int>(locked.description.dwWidth);
  const int height = static_cast<int>(locked.description.dwHeight);
  if (locked.description.ddpfPixelFormat.dwRGBBitCount == 32)
    return support::ReadBgrx(locked.Row(0), width, height,
                             static_cast<int>(locked.description.lPitch));
  support::Pixels pixels(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      pixels.Set(x, y, From565(reinterpret_cast<const std::uint16_t*>(locked.Row(y))[x]));
  return pixels;
}

void PaintSurface(IDirectDrawSurface7* surface, const support::Pattern& pattern) {
  const Locked locked(surface);
  const int width = static_cast<int>(locked.description.dwWidth);
  const int height = static_cast<int>(locked.description.dwHeight);
  const bool wide = locked.description.ddpfPixelFormat.dwRGBBitCount == 32;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint32_t colour = pattern(x, y, width, height);
      if (wide)
        reinterpret_cast<std::uint32_t*>(locked.Row(y))[x] = colour;
      else
        reinterpret_cast<std::uint16_t*>(locked.Row(y))[x] = To565(colour);
    }
  }
}

DDSURFACEDESC2 DescriptionOf(IDirectDrawSurface7* surface) {
  DDSURFACEDESC2 description{};
  description.dwSize = sizeof description;
  Must(surface->GetSurfaceDesc(&description), "GetSurfaceDesc");
  return description;
}

ComRef<IDirectDrawSurface7> MipLevel(IDirectDrawSurface7* surface, int steps) {
  surface->AddRef();
  ComRef<IDirectDrawSurface7> level(surface);
  for (; steps > 0 && level; --steps) {
    DDSCAPS2 caps{};
    caps.dwCaps = DDSCAPS_TEXTURE | DDSCAPS_MIPMAP;
    ComRef<IDirectDrawSurface7> next;
    if (FAILED(level->GetAttachedSurface(&caps, next.put()))) return {};
    level = std::move(next);
  }
  return level;
}

}  // namespace graphics_test

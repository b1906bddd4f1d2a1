#include "graphics/cGraphicsLayer.h"

#include "unit/graphics/GraphicsTest.h"
#include "unit/graphics/ZFormat.h"
#include "support/ImportHook.h"
#include "support/MethodHook.h"
#include "support/TestPictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using graphics_test::DebugOutput;
using graphics_test::DescriptionOf;
using graphics_test::ErrorOf;
using graphics_test::ReadSurface;
using graphics_test::ZFormat;
using testing::ElementsAre;

class GraphicsLayer : public graphics_test::GraphicsTest {
 protected:
  std::string WindowedError(std::uint32_t flags = 0) {
    return ErrorOf([&] { Windowed(flags); });
  }
  std::string FullScreenError() {
    return ErrorOf([&] { FullScreen(); });
  }
};

struct Mode {
  DWORD width, height, bits;
  bool operator==(const Mode&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Mode& mode) {
  return out << mode.width << "x" << mode.height << "x" << mode.bits;
}

// --- Life ---

TEST_F(GraphicsLayer, ASecondOneThrowsWhileTheFirstLives) {
  cGraphicsLayer& first = Windowed();
  EXPECT_EQ(ErrorOf([&] { cGraphicsLayer::Create(window, false, 0, 0, 0, nullptr); }),
            "cGraphicsLayer object already instantiated\n");
  EXPECT_EQ(ErrorOf([&] { cGraphicsLayer::CreateDDrawOnly(window); }),
            "cGraphicsLayer object already instantiated\n");
  EXPECT_EQ(gGraphicsLayer, &first);
}

TEST_F(GraphicsLayer, TheGlobalPointerFollowsItsLife) {
  EXPECT_EQ(gGraphicsLayer, nullptr);
  cGraphicsLayer& layer = Windowed();
  EXPECT_EQ(gGraphicsLayer, &layer);
  DropLayer();
  EXPECT_EQ(gGraphicsLayer, nullptr);
}

TEST_F(GraphicsLayer, AFailedCreationLeavesNoLayerAndCanBeRepeated) {
  {
    HOOK_METHOD(noDevice, AnyD3D(), &IDirect3D7::CreateDevice,
                [](auto, IDirect3D7*, REFCLSID, IDirectDrawSurface7*, IDirect3DDevice7**) {
                  return D3DERR_INVALID_DEVICE;
                });
    EXPECT_EQ(WindowedError(), "CreateDevice failed");
  }
  EXPECT_EQ(gGraphicsLayer, nullptr);
  EXPECT_EQ(WindowedError(), "nothing thrown");
}

TEST_F(GraphicsLayer, IsLostUntilItsMakerIsContent) {
  const std::unique_ptr<cGraphicsLayer> layer(
      cGraphicsLayer::Create(window, false, 0, 0, 0, nullptr));
  EXPECT_TRUE(layer->IsLost());
  EXPECT_FALSE(layer->HasFailed());
  layer->ClearLost();
  EXPECT_FALSE(layer->IsLost());
}

TEST_F(GraphicsLayer, DestructionReleasesTheLastReferences) {
  for (const bool fullScreen : {false, true}) {
    cGraphicsLayer& layer = fullScreen ? FullScreen() : Windowed(cGraphicsLayer::kZBuffer);
    IDirectDraw7* ddraw = layer.GetDDraw();
    ddraw->AddRef();
    const DebugOutput output;
    DropLayer();
    EXPECT_EQ(ddraw->Release(), 0u) << (fullScreen ? "full screen" : "window");
  }
}

TEST_F(GraphicsLayer, DestructionComplainsOfNothing) {
  for (const bool fullScreen : {false, true}) {
    if (fullScreen)
      FullScreen();
    else
      Windowed();
    const DebugOutput output;
    DropLayer();
    EXPECT_EQ(output.Text(), "") << (fullScreen ? "full screen" : "window");
  }
}

TEST_F(GraphicsLayer, DestructionGivesBackTheDisplayThenTheTextures) {
  Windowed();
  std::vector<std::string> calls;
  HOOK_METHOD(level, AnyDDraw(), &IDirectDraw7::SetCooperativeLevel,
              [&](auto real, IDirectDraw7* self, HWND hwnd, DWORD flags) {
                calls.push_back("level " + std::to_string(flags));
                return real(self, hwnd, flags);
              });
  HOOK_METHOD(texture, AnyDevice(), &IDirect3DDevice7::SetTexture,
              [&](auto real, IDirect3DDevice7* self, DWORD stage, IDirectDrawSurface7* surface) {
                EXPECT_EQ(surface, nullptr);
                calls.push_back("texture " + std::to_string(stage));
                return real(self, stage, surface);
              });
  DropLayer();
  ASSERT_GE(calls.size(), 9u);
  calls.resize(9);  // what DirectDraw itself does when it goes isn't ours
  EXPECT_THAT(calls, ElementsAre("level " + std::to_string(DDSCL_NORMAL), "texture 0", "texture 1",
                                 "texture 2", "texture 3", "texture 4", "texture 5", "texture 6",
                                 "texture 7"));
}

TEST_F(GraphicsLayer, DDrawOnlyHasNothingButDirectDraw) {
  const std::unique_ptr<cGraphicsLayer> layer(cGraphicsLayer::CreateDDrawOnly(window));
  EXPECT_NE(layer->GetDDraw(), nullptr);
  EXPECT_EQ(layer->GetPrimary(), nullptr);
  EXPECT_EQ(layer->GetBackBuffer(), nullptr);
  EXPECT_EQ(layer->GetDevice(), nullptr);
  EXPECT_EQ(gGraphicsLayer, layer.get());
}

TEST_F(GraphicsLayer, DDrawOnlyThatCannotBeHadThrows) {
  HOOK_IMPORT(none, "ddraw.dll", DirectDrawCreateEx,
              [](GUID*, void**, REFIID, IUnknown*) { return DDERR_GENERIC; });
  EXPECT_EQ(ErrorOf([&] { cGraphicsLayer::CreateDDrawOnly(window); }),
            "DirectDrawCreateEx failed");
}

TEST_F(GraphicsLayer, SetUpStepsWithoutSurfacesFailWithoutThrowing) {
  const std::unique_ptr<cGraphicsLayer> layer(cGraphicsLayer::CreateDDrawOnly(window));
  const DebugOutput output;
  layer->InitD3D(0, nullptr);
  EXPECT_EQ(output.Text(),
            "[cGraphicsLayer::InitD3DWindowed]: Error! DDraw not set up correctly; cannot set up "
            "D3D!\n");
  EXPECT_TRUE(layer->HasFailed());
}

TEST_F(GraphicsLayer, AViewportWithoutADeviceFailsWithoutThrowing) {
  const std::unique_ptr<cGraphicsLayer> layer(cGraphicsLayer::CreateDDrawOnly(window));
  const DebugOutput output;
  layer->MakeViewport();
  EXPECT_EQ(output.Text(), "[cGraphicsLayer::MakeViewport]: no device\n");
  EXPECT_TRUE(layer->HasFailed());
}

// --- ExtraSafeRelease ---

TEST(ExtraSafeReleaseOf, NullDoesNothing) {
  const DebugOutput output;
  IDirectDraw7* none = nullptr;
  ExtraSafeRelease(none);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(output.Text(), "");
}

TEST_F(GraphicsLayer, ExtraSafeReleaseTellsOfReferencesLeft) {
  IDirectDraw7* ddraw = nullptr;
  ASSERT_EQ(
      DirectDrawCreateEx(nullptr, reinterpret_cast<void**>(&ddraw), IID_IDirectDraw7, nullptr),
      DD_OK);
  IDirectDraw7* const still = ddraw;
  still->AddRef();
  const DebugOutput output;
  ExtraSafeRelease(ddraw);
  EXPECT_EQ(ddraw, nullptr);
  EXPECT_EQ(output.Text(), "[ExtraSafeRelease]: ERROR: Interface was not released enough!");
  ddraw = still;
  ExtraSafeRelease(ddraw);
  EXPECT_EQ(ddraw, nullptr);
}

// --- Full screen ---

// Notes every mode that is asked for; those that `refuses` names fail.
class ModeLog {
 public:
  ModeLog(IDirectDraw7* ddraw, std::function<bool(const Mode&)> refuses)
      : refuses_(std::move(refuses)), hook_(ddraw, &IDirectDraw7::SetDisplayMode, Note{this}) {}
  const std::vector<Mode>& Asked() const { return asked_; }

 private:
  struct Note {
    ModeLog* log;
    template <class Real>
    HRESULT operator()(Real real, IDirectDraw7* self, DWORD width, DWORD height, DWORD bits,
                       DWORD rate, DWORD flags) const {
      EXPECT_EQ(rate, 0u);
      EXPECT_EQ(flags, 0u);
      log->asked_.push_back({width, height, bits});
      if (log->refuses_(log->asked_.back())) return DDERR_UNSUPPORTEDMODE;
      return real(self, width, height, bits, rate, flags);
    }
  };

  std::function<bool(const Mode&)> refuses_;
  std::vector<Mode> asked_;
  support::MethodHook<IDirectDraw7, Note, HRESULT, DWORD, DWORD, DWORD, DWORD, DWORD> hook_;
};

class GraphicsLayerModes : public GraphicsLayer {
 protected:
  Mode Whole(DWORD bits) const {
    return {static_cast<DWORD>(screenWidth), static_cast<DWORD>(screenHeight), bits};
  }
};

TEST_F(GraphicsLayerModes, ThirtyTwoBitsUnlessSixteenAreAskedFor) {
  {
    const ModeLog modes(AnyDDraw(), [](const Mode&) { return false; });
    EXPECT_TRUE(FullScreen().IsFullScreen());
    EXPECT_THAT(modes.Asked(), ElementsAre(Whole(32)));
  }
  {
    const ModeLog modes(AnyDDraw(), [](const Mode&) { return false; });
    cGraphicsLayer& layer = FullScreen(cGraphicsLayer::kSixteenBits);
    EXPECT_THAT(modes.Asked(), ElementsAre(Whole(16)));
    EXPECT_EQ(DescriptionOf(layer.GetPrimary()).ddpfPixelFormat.dwRGBBitCount, 16u);
  }
}

TEST_F(GraphicsLayerModes, AModeThatOnlyWorksAt16BitsKeepsItsSize) {
  const ModeLog modes(AnyDDraw(), [](const Mode& mode) { return mode.bits == 32; });
  cGraphicsLayer& layer = FullScreen();
  EXPECT_THAT(modes.Asked(), ElementsAre(Whole(32), Whole(16)));
  const DDSURFACEDESC2 primary = DescriptionOf(layer.GetPrimary());
  EXPECT_EQ(primary.ddpfPixelFormat.dwRGBBitCount, 16u);
  EXPECT_EQ(primary.dwWidth, static_cast<DWORD>(screenWidth));
  EXPECT_EQ(layer.GetWidth(), screenWidth);
  EXPECT_EQ(layer.GetHeight(), screenHeight);
}

TEST_F(GraphicsLayerModes, TheLastWayOutIs640By480At16) {
  const DebugOutput output;
  const ModeLog modes(AnyDDraw(), [](const Mode&) { return true; });
  EXPECT_EQ(FullScreenError(), "Can't set display mode");
  EXPECT_THAT(modes.Asked(), ElementsAre(Whole(32), Whole(16), Mode{640, 480, 16}));
  EXPECT_TRUE(output.Has("Inputted resolution failed, trying 640x480x16\n")) << output.Text();
}

TEST_F(GraphicsLayerModes, TheSizeStaysAsAskedForAfterTheLastWayOut) {
  std::vector<Mode> asked;
  HOOK_METHOD(lastOnly, AnyDDraw(), &IDirectDraw7::SetDisplayMode,
              [&](auto, IDirectDraw7*, DWORD width, DWORD height, DWORD bits, DWORD, DWORD) {
                asked.push_back({width, height, bits});
                return asked.size() == 3 ? DD_OK : DDERR_UNSUPPORTEDMODE;
              });
  cGraphicsLayer& layer = FullScreen();
  EXPECT_EQ(asked.back(), (Mode{640, 480, 16}));
  EXPECT_EQ(layer.GetWidth(), screenWidth);
  EXPECT_EQ(layer.GetHeight(), screenHeight);
}

TEST_F(GraphicsLayer, FullScreenHasAFlipChainOfTheScreensSize) {
  std::vector<DWORD> levels;
  HOOK_METHOD(level, AnyDDraw(), &IDirectDraw7::SetCooperativeLevel,
              [&](auto real, IDirectDraw7* self, HWND hwnd, DWORD flags) {
                EXPECT_EQ(hwnd, window);
                levels.push_back(flags);
                return real(self, hwnd, flags);
              });
  cGraphicsLayer& layer = FullScreen();
  EXPECT_THAT(levels, ElementsAre(DDSCL_EXCLUSIVE | DDSCL_FULLSCREEN | DDSCL_ALLOWREBOOT));
  const DDSURFACEDESC2 front = DescriptionOf(layer.GetPrimary());
  const DDSURFACEDESC2 back = DescriptionOf(layer.GetBackBuffer());
  EXPECT_TRUE(front.ddsCaps.dwCaps & DDSCAPS_FLIP);
  EXPECT_TRUE(back.ddsCaps.dwCaps & DDSCAPS_BACKBUFFER);
  EXPECT_EQ(back.dwWidth, static_cast<DWORD>(screenWidth));
  EXPECT_EQ(back.dwHeight, static_cast<DWORD>(screenHeight));
  const RECT whole{0, 0, screenWidth, screenHeight};
  EXPECT_TRUE(EqualRect(&layer.GetScreenRect(), &whole));
  EXPECT_TRUE(EqualRect(&layer.GetClientRect(), &whole));
  EXPECT_EQ(layer.GetZBuffer(), nullptr);
}

TEST_F(GraphicsLayer, FullScreenNamesWhatFailed) {
  {
    HOOK_IMPORT(none, "ddraw.dll", DirectDrawCreateEx,
                [](GUID*, void**, REFIID, IUnknown*) { return DDERR_GENERIC; });
    EXPECT_EQ(FullScreenError(), "Could not create DirectDraw");
  }
  {
    HOOK_METHOD(level, AnyDDraw(), &IDirectDraw7::SetCooperativeLevel,
                [](auto, IDirectDraw7*, HWND, DWORD) { return DDERR_EXCLUSIVEMODEALREADYSET; });
    EXPECT_EQ(FullScreenError(), "Couldn't set coop level");
  }
  {
    HOOK_METHOD(surface, AnyDDraw(), &IDirectDraw7::CreateSurface,
                [](auto, IDirectDraw7*, DDSURFACEDESC2*, IDirectDrawSurface7**, IUnknown*) {
                  return DDERR_OUTOFVIDEOMEMORY;
                });
    EXPECT_EQ(FullScreenError(), "Error: Can't create primary surface");
  }
  {
    HOOK_METHOD(attached, AnySurface(), &IDirectDrawSurface7::GetAttachedSurface,
                [](auto, IDirectDrawSurface7*, DDSCAPS2*, IDirectDrawSurface7**) {
                  return DDERR_NOTFOUND;
                });
    EXPECT_EQ(FullScreenError(), "Error: Can't get the backbuffer");
  }
  EXPECT_EQ(FullScreenError(), "nothing thrown");
}

// --- In a window ---

TEST_F(GraphicsLayer, AWindowGivesItsClientAreaOnTheScreen) {
  cGraphicsLayer& layer = Windowed();
  EXPECT_FALSE(layer.IsFullScreen());
  EXPECT_EQ(layer.GetWidth(), graphics_test::kWindowWidth);
  EXPECT_EQ(layer.GetHeight(), graphics_test::kWindowHeight);
  const RECT onScreen{16, 24, 16 + graphics_test::kWindowWidth, 24 + graphics_test::kWindowHeight};
  EXPECT_TRUE(EqualRect(&layer.GetScreenRect(), &onScreen));
  const DDSURFACEDESC2 back = DescriptionOf(layer.GetBackBuffer());
  EXPECT_EQ(back.dwWidth, static_cast<DWORD>(graphics_test::kWindowWidth));
  EXPECT_TRUE(back.ddsCaps.dwCaps & DDSCAPS_OFFSCREENPLAIN);
  ComRef<IDirectDrawClipper> clipper;
  ASSERT_EQ(layer.GetPrimary()->GetClipper(clipper.put()), DD_OK);
  HWND clippedTo = nullptr;
  clipper->GetHWnd(&clippedTo);
  EXPECT_EQ(clippedTo, window);
}

TEST_F(GraphicsLayer, AWindowNamesWhatFailed) {
  {
    HOOK_IMPORT(none, "ddraw.dll", DirectDrawCreateEx,
                [](GUID*, void**, REFIID, IUnknown*) { return DDERR_GENERIC; });
    EXPECT_EQ(WindowedError(), "DirectDrawCreateEx failed");
  }
  {
    HOOK_METHOD(level, AnyDDraw(), &IDirectDraw7::SetCooperativeLevel,
                [](auto, IDirectDraw7*, HWND, DWORD) { return DDERR_GENERIC; });
    EXPECT_EQ(WindowedError(), "SetCooperativeLevel failed");
  }
  for (const auto& [failing, text] : {std::pair{1, "Primary surface creation failed"},
                                      std::pair{2, "back buffer creation failed"}}) {
    int calls = 0;
    HOOK_METHOD(surface, AnyDDraw(), &IDirectDraw7::CreateSurface,
                [&, fails = failing](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                                     IDirectDrawSurface7** made, IUnknown* outer) {
                  return ++calls == fails ? DDERR_OUTOFVIDEOMEMORY
                                          : real(self, description, made, outer);
                });
    EXPECT_EQ(WindowedError(), text);
  }
  {
    HOOK_METHOD(clipper, AnyDDraw(), &IDirectDraw7::CreateClipper,
                [](auto, IDirectDraw7*, DWORD, IDirectDrawClipper**, IUnknown*) {
                  return DDERR_GENERIC;
                });
    EXPECT_EQ(WindowedError(), "Clipper creation failed");
  }
  {
    HOOK_METHOD(set, AnySurface(), &IDirectDrawSurface7::SetClipper,
                [](auto, IDirectDrawSurface7*, IDirectDrawClipper*) { return DDERR_GENERIC; });
    EXPECT_EQ(WindowedError(), "Clipper creation failed");
  }
  {
    ComRef<IDirectDrawClipper> anyClipper;
    ASSERT_EQ(AnyDDraw()->CreateClipper(0, anyClipper.put(), nullptr), DD_OK);
    HOOK_METHOD(window_, anyClipper.get(), &IDirectDrawClipper::SetHWnd,
                [](auto, IDirectDrawClipper*, DWORD, HWND) { return DDERR_GENERIC; });
    EXPECT_EQ(WindowedError(), "Clipper creation failed");
  }
  EXPECT_EQ(WindowedError(), "nothing thrown");
}

// --- Device ---

// A device enumeration that knows these devices, in this order.
class FakeDevices {
 public:
  FakeDevices(IDirect3D7* d3d, std::vector<GUID> devices)
      : devices_(std::move(devices)), hook_(d3d, &IDirect3D7::EnumDevices, Enumerate{this}) {}
  int Passes() const { return passes_; }

 private:
  struct Enumerate {
    FakeDevices* fake;
    template <class Real>
    HRESULT operator()(Real, IDirect3D7*, LPD3DENUMDEVICESCALLBACK7 callback, void* context) const {
      ++fake->passes_;
      for (const GUID& guid : fake->devices_) {
        D3DDEVICEDESC7 description{};
        description.deviceGUID = guid;
        char text[] = "fake";
        if (callback(text, text, &description, context) == D3DENUMRET_CANCEL) break;
      }
      return D3D_OK;
    }
  };

  std::vector<GUID> devices_;
  int passes_ = 0;
  support::MethodHook<IDirect3D7, Enumerate, HRESULT, LPD3DENUMDEVICESCALLBACK7, void*> hook_;
};

std::vector<GUID> gChecked;  // devices that the check was asked about

bool RefuseAndNote(const D3DDEVICEDESC7& description) {
  gChecked.push_back(description.deviceGUID);
  return false;
}

bool RefuseTnL(const D3DDEVICEDESC7& description) {
  return !IsEqualGUID(description.deviceGUID, IID_IDirect3DTnLHalDevice);
}

class GraphicsLayerDevices : public GraphicsLayer {
 protected:
  void SetUp() override { gChecked.clear(); }
  // Reversed, and with a device that is listed twice.
  const std::vector<GUID> all{IID_IDirect3DRefDevice, IID_IDirect3DRGBDevice,
                              IID_IDirect3DHALDevice, IID_IDirect3DHALDevice,
                              IID_IDirect3DTnLHalDevice};
};

TEST_F(GraphicsLayerDevices, AreAskedForFromTheBestToTheSlowest) {
  const FakeDevices devices(AnyD3D(), all);
  EXPECT_EQ(ErrorOf([&] { Windowed(0, RefuseAndNote); }), "No valid devices were found");
  EXPECT_THAT(gChecked, ElementsAre(IID_IDirect3DTnLHalDevice, IID_IDirect3DHALDevice,
                                    IID_IDirect3DRGBDevice, IID_IDirect3DRefDevice));
  EXPECT_EQ(devices.Passes(), 4);
}

TEST_F(GraphicsLayerDevices, NoSoftwareMeansHardwareAlone) {
  const FakeDevices devices(AnyD3D(), all);
  ErrorOf([&] { Windowed(cGraphicsLayer::kNoSoftware, RefuseAndNote); });
  EXPECT_THAT(gChecked, ElementsAre(IID_IDirect3DTnLHalDevice, IID_IDirect3DHALDevice));
}

TEST_F(GraphicsLayerDevices, NoHardwareMeansSoftwareAlone) {
  const FakeDevices devices(AnyD3D(), all);
  ErrorOf([&] { Windowed(cGraphicsLayer::kNoHardware, RefuseAndNote); });
  EXPECT_THAT(gChecked, ElementsAre(IID_IDirect3DRGBDevice, IID_IDirect3DRefDevice));
}

TEST_F(GraphicsLayerDevices, TheFirstAcceptedIsTaken) {
  EXPECT_TRUE(IsEqualGUID(Windowed().GetDeviceDesc().deviceGUID, IID_IDirect3DTnLHalDevice));
  EXPECT_TRUE(gGraphicsLayer->IsHardware());
  EXPECT_TRUE(
      IsEqualGUID(Windowed(0, RefuseTnL).GetDeviceDesc().deviceGUID, IID_IDirect3DHALDevice));
  EXPECT_TRUE(gGraphicsLayer->IsHardware());
}

TEST_F(GraphicsLayerDevices, ASoftwareDeviceIsNotHardware) {
  cGraphicsLayer& layer = Windowed(cGraphicsLayer::kNoHardware);
  EXPECT_TRUE(IsEqualGUID(layer.GetDeviceDesc().deviceGUID, IID_IDirect3DRGBDevice));
  EXPECT_FALSE(layer.IsHardware());
  EXPECT_NE(layer.GetDevice(), nullptr);
}

TEST_F(GraphicsLayerDevices, NoneAtAllThrows) {
  EXPECT_EQ(WindowedError(cGraphicsLayer::kNoHardware | cGraphicsLayer::kNoSoftware),
            "No valid devices were found");
}

TEST_F(GraphicsLayer, Direct3DNamesWhatFailed) {
  {
    HOOK_METHOD(query, AnyDDraw(), &IDirectDraw7::QueryInterface,
                [](auto real, IDirectDraw7* self, REFIID iid, void** object) {
                  return IsEqualGUID(iid, IID_IDirect3D7) ? E_NOINTERFACE : real(self, iid, object);
                });
    EXPECT_EQ(WindowedError(), "D3D QI failed");
  }
  {
    HOOK_METHOD(device, AnyD3D(), &IDirect3D7::CreateDevice,
                [](auto, IDirect3D7*, REFCLSID, IDirectDrawSurface7*, IDirect3DDevice7**) {
                  return D3DERR_INVALID_DEVICE;
                });
    EXPECT_EQ(WindowedError(), "CreateDevice failed");
  }
  {
    HOOK_METHOD(viewport, AnyDevice(), &IDirect3DDevice7::SetViewport,
                [](auto, IDirect3DDevice7*, D3DVIEWPORT7*) { return DDERR_INVALIDPARAMS; });
    EXPECT_EQ(WindowedError(), "viewport setting failed.");
  }
  EXPECT_EQ(WindowedError(), "nothing thrown");
}

TEST_F(GraphicsLayer, TheViewportIsTheWholeBackBuffer) {
  D3DVIEWPORT7 viewport{};
  Windowed().GetDevice()->GetViewport(&viewport);
  EXPECT_EQ(viewport.dwX, 0u);
  EXPECT_EQ(viewport.dwY, 0u);
  EXPECT_EQ(viewport.dwWidth, static_cast<DWORD>(graphics_test::kWindowWidth));
  EXPECT_EQ(viewport.dwHeight, static_cast<DWORD>(graphics_test::kWindowHeight));
  EXPECT_EQ(viewport.dvMinZ, 0.0f);
  EXPECT_EQ(viewport.dvMaxZ, 1.0f);
}

TEST_F(GraphicsLayer, StartsWithAPerspectiveOfAQuarterTurn) {
  D3DMATRIX projection{};
  Windowed().GetProjectionMatrix(projection);
  EXPECT_FLOAT_EQ(projection._11, 0.75f);
  EXPECT_FLOAT_EQ(projection._22, 1.0f);
  EXPECT_FLOAT_EQ(projection._33, 1000.0f / 999.0f);
  EXPECT_FLOAT_EQ(projection._34, 1.0f);
  EXPECT_FLOAT_EQ(projection._43, -1000.0f / 999.0f);
}

// --- Z-buffer ---

TEST_F(GraphicsLayer, AZBufferComesOnlyIfAskedFor) {
  EXPECT_EQ(Windowed().GetZBuffer(), nullptr);
  EXPECT_FALSE(gGraphicsLayer->HasZBuffer());
  cGraphicsLayer& layer = Windowed(cGraphicsLayer::kZBuffer);
  ASSERT_NE(layer.GetZBuffer(), nullptr);
  EXPECT_TRUE(layer.HasZBuffer());
  const DDSURFACEDESC2 description = DescriptionOf(layer.GetZBuffer());
  EXPECT_TRUE(description.ddsCaps.dwCaps & DDSCAPS_ZBUFFER);
  EXPECT_EQ(description.dwWidth, static_cast<DWORD>(graphics_test::kWindowWidth));
  EXPECT_EQ(description.dwHeight, static_cast<DWORD>(graphics_test::kWindowHeight));
}

TEST_F(GraphicsLayer, AZBufferLiesWhereTheDeviceCanUseIt) {
  const auto memoryFor = [&](std::uint32_t flags) {
    DWORD asked = 0;
    HOOK_METHOD(surface, AnyDDraw(), &IDirectDraw7::CreateSurface,
                [&](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                    IDirectDrawSurface7** made, IUnknown* outer) {
                  if (description->ddsCaps.dwCaps & DDSCAPS_ZBUFFER)
                    asked = description->ddsCaps.dwCaps;
                  return real(self, description, made, outer);
                });
    Windowed(flags);
    return asked;
  };
  EXPECT_EQ(memoryFor(cGraphicsLayer::kZBuffer), DWORD{DDSCAPS_ZBUFFER | DDSCAPS_VIDEOMEMORY});
  EXPECT_EQ(memoryFor(cGraphicsLayer::kZBuffer | cGraphicsLayer::kNoHardware),
            DWORD{DDSCAPS_ZBUFFER | DDSCAPS_SYSTEMMEMORY});
}

TEST_F(GraphicsLayer, AZBufferMadeAnewServesTheDevice) {
  cGraphicsLayer& layer = Windowed(cGraphicsLayer::kZBuffer);
  layer.GetDevice()->SetRenderState(D3DRENDERSTATE_ZENABLE, FALSE);
  layer.MakeZBuffer();
  DWORD enabled = 0;
  layer.GetDevice()->GetRenderState(D3DRENDERSTATE_ZENABLE, &enabled);
  EXPECT_EQ(enabled, DWORD{TRUE});
  HOOK_METHOD(target, AnyDevice(), &IDirect3DDevice7::SetRenderTarget,
              [](auto, IDirect3DDevice7*, IDirectDrawSurface7*, DWORD) { return DDERR_GENERIC; });
  EXPECT_EQ(ErrorOf([&] { layer.MakeZBuffer(); }), "[MakeZBuffer]: SetRenderTarget failed!\n");
  EXPECT_TRUE(layer.HasFailed());
}

TEST_F(GraphicsLayer, AZBufferNamesWhatFailed) {
  {
    HOOK_METHOD(formats, AnyD3D(), &IDirect3D7::EnumZBufferFormats,
                [](auto, IDirect3D7*, REFCLSID, LPD3DENUMPIXELFORMATSCALLBACK callback,
                   void* context) {
                  DDPIXELFORMAT shallow = ZFormat(8);
                  callback(&shallow, context);
                  DDPIXELFORMAT notDepth = ZFormat(32);
                  notDepth.dwFlags = DDPF_RGB;
                  callback(&notDepth, context);
                  return D3D_OK;
                });
    EXPECT_EQ(WindowedError(cGraphicsLayer::kZBuffer), "[InitD3D]: No good z-buffer format!\n");
    EXPECT_EQ(WindowedError(), "nothing thrown");
    DropLayer();
  }
  {
    HOOK_METHOD(surface, AnyDDraw(), &IDirectDraw7::CreateSurface,
                [](auto real, IDirectDraw7* self, DDSURFACEDESC2* description,
                   IDirectDrawSurface7** made, IUnknown* outer) {
                  return description->ddsCaps.dwCaps & DDSCAPS_ZBUFFER
                             ? DDERR_OUTOFVIDEOMEMORY
                             : real(self, description, made, outer);
                });
    EXPECT_EQ(
        WindowedError(cGraphicsLayer::kZBuffer),
        "Failed to create a Z-Buffer surface.\nMost likely the application ran out of memory");
  }
  {
    HOOK_METHOD(attach, AnySurface(), &IDirectDrawSurface7::AddAttachedSurface,
                [](auto, IDirectDrawSurface7*, IDirectDrawSurface7*) { return DDERR_GENERIC; });
    EXPECT_EQ(WindowedError(cGraphicsLayer::kZBuffer),
              "[MakeZBuffer]: AddAttachedSurface failed!\n");
  }
}

// --- Per frame ---

TEST_F(GraphicsLayer, ClearPaintsTheWholeTarget) {
  cGraphicsLayer& layer = Windowed();
  layer.Clear(true, false, 0x00204060, 1.0f);
  EXPECT_TRUE(support::PixelsNear(
      ReadSurface(layer.GetBackBuffer()),
      support::Render(layer.GetWidth(), layer.GetHeight(), support::Flat(0x204060))));
}

TEST_F(GraphicsLayer, ClearClearsWhatItIsTold) {
  cGraphicsLayer& layer = Windowed(cGraphicsLayer::kZBuffer);
  std::vector<DWORD> cleared;
  HOOK_METHOD(clear, AnyDevice(), &IDirect3DDevice7::Clear,
              [&](auto, IDirect3DDevice7*, DWORD count, D3DRECT*, DWORD what, D3DCOLOR, D3DVALUE z,
                  DWORD) {
                EXPECT_EQ(count, 0u);
                EXPECT_EQ(z, 0.5f);
                cleared.push_back(what);
                return D3D_OK;
              });
  layer.Clear(true, false, 0, 0.5f);
  layer.Clear(false, true, 0, 0.5f);
  layer.Clear(true, true, 0, 0.5f);
  EXPECT_THAT(cleared, ElementsAre(D3DCLEAR_TARGET, D3DCLEAR_ZBUFFER,
                                   D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER));
}

TEST_F(GraphicsLayer, AFailedClearIsOnlyToldToTheDebugger) {
  cGraphicsLayer& layer = Windowed();
  HOOK_METHOD(clear, AnyDevice(), &IDirect3DDevice7::Clear,
              [](auto, IDirect3DDevice7*, DWORD, D3DRECT*, DWORD, D3DCOLOR, D3DVALUE, DWORD) {
                return DDERR_GENERIC;
              });
  const DebugOutput output;
  layer.Clear(true, false, 0, 1.0f);
  EXPECT_EQ(output.Text(), "[cGraphicsLayer::Clear]: Clear failed\n");
  EXPECT_FALSE(layer.IsLost());
}

TEST_F(GraphicsLayer, ClearWithoutABackBufferDoesNothing) {
  const std::unique_ptr<cGraphicsLayer> layer(cGraphicsLayer::CreateDDrawOnly(window));
  const DebugOutput output;
  layer->Clear(true, true, 0, 1.0f);
  EXPECT_EQ(output.Text(), "");
}

TEST_F(GraphicsLayer, AFailedSceneCallSetsLostAndIsHandedBack) {
  cGraphicsLayer& layer = Windowed();
  ASSERT_EQ(layer.BeginScene(), D3D_OK);
  ASSERT_EQ(layer.EndScene(), D3D_OK);
  ASSERT_FALSE(layer.IsLost());
  EXPECT_TRUE(FAILED(layer.EndScene()));  // no scene is open
  EXPECT_TRUE(layer.IsLost());
  layer.ClearLost();
  HOOK_METHOD(begin, AnyDevice(), &IDirect3DDevice7::BeginScene,
              [](auto, IDirect3DDevice7*) { return DDERR_SURFACELOST; });
  EXPECT_EQ(layer.BeginScene(), DDERR_SURFACELOST);
  EXPECT_TRUE(layer.IsLost());
}

TEST_F(GraphicsLayer, AFlipOfALostSurfaceSetsLostAndThrowsNothing) {
  cGraphicsLayer& layer = FullScreen();
  HRESULT result = DDERR_SURFACELOST;
  HOOK_METHOD(flip, AnySurface(), &IDirectDrawSurface7::Flip,
              [&](auto, IDirectDrawSurface7*, IDirectDrawSurface7*, DWORD) { return result; });
  {
    const DebugOutput output;
    layer.Flip(false);
    EXPECT_EQ(output.Text(), "[cGraphicsLayer::Flip]: Flip failed\n");
  }
  EXPECT_TRUE(layer.IsLost());
  layer.ClearLost();
  result = DDERR_GENERIC;
  layer.Flip(false);
  EXPECT_FALSE(layer.IsLost());
}

TEST_F(GraphicsLayer, AWindowedFlipOfALostSurfaceSetsLostAndThrowsNothing) {
  cGraphicsLayer& layer = Windowed();
  HRESULT result = DDERR_SURFACELOST;
  HOOK_METHOD(blt, AnySurface(), &IDirectDrawSurface7::Blt,
              [&](auto, IDirectDrawSurface7*, RECT*, IDirectDrawSurface7*, RECT*, DWORD, DDBLTFX*) {
                return result;
              });
  {
    const DebugOutput output;
    layer.Flip(false);
    EXPECT_EQ(output.Text(), "[cGraphicsLayer::Flip]: Blt failed\n");
  }
  EXPECT_TRUE(layer.IsLost());
  layer.ClearLost();
  result = DDERR_GENERIC;
  layer.Flip(false);
  EXPECT_FALSE(layer.IsLost());
}

TEST_F(GraphicsLayer, AFlipWaitsForTheRefreshUnlessToldNotTo) {
  cGraphicsLayer& layer = FullScreen();
  std::vector<DWORD> flags;
  HOOK_METHOD(flip, AnySurface(), &IDirectDrawSurface7::Flip,
              [&](auto, IDirectDrawSurface7*, IDirectDrawSurface7* override_, DWORD flag) {
                EXPECT_EQ(override_, nullptr);
                flags.push_back(flag);
                return DD_OK;
              });
  layer.Flip(false);
  layer.Flip(true);
  EXPECT_THAT(flags, ElementsAre(DDFLIP_WAIT, DDFLIP_NOVSYNC));
}

TEST_F(GraphicsLayer, AWindowedFlipWaitsForTheRefreshUnlessToldNotTo) {
  cGraphicsLayer& layer = Windowed();
  int waits = 0;
  HOOK_METHOD(wait, AnyDDraw(), &IDirectDraw7::WaitForVerticalBlank,
              [&](auto, IDirectDraw7*, DWORD flags, HANDLE) {
                EXPECT_EQ(flags, DWORD{DDWAITVB_BLOCKBEGIN});
                ++waits;
                return DD_OK;
              });
  layer.Flip(false);
  EXPECT_EQ(waits, 1);
  layer.Flip(true);
  EXPECT_EQ(waits, 1);
}

TEST_F(GraphicsLayer, AFlippedPictureReachesTheScreen) {
  for (const bool fullScreen : {false, true}) {
    cGraphicsLayer& layer = fullScreen ? FullScreen() : Windowed();
    layer.Clear(true, false, 0x0030A050, 1.0f);
    layer.Flip(false);
    EXPECT_TRUE(
        support::PixelsNear(ReadSurface(layer.GetPrimary())
                                .Cut(layer.GetScreenRect().left, layer.GetScreenRect().top, 64, 64),
                            support::Render(64, 64, support::Flat(0x30A050))))
        << (fullScreen ? "full screen" : "window");
  }
}

TEST_F(GraphicsLayer, EachMatrixGoesToItsOwnTransform) {
  cGraphicsLayer& layer = Windowed();
  D3DMATRIX world{}, view{}, projection{};
  world._11 = 2;
  view._11 = 3;
  projection._11 = 4;
  layer.SetWorldMatrix(world);
  layer.SetViewMatrix(view);
  layer.SetProjectionMatrix(projection);
  D3DMATRIX got{};
  layer.GetWorldMatrix(got);
  EXPECT_EQ(got._11, 2);
  layer.GetViewMatrix(got);
  EXPECT_EQ(got._11, 3);
  layer.GetProjectionMatrix(got);
  EXPECT_EQ(got._11, 4);
  layer.GetDevice()->GetTransform(static_cast<D3DTRANSFORMSTATETYPE>(1), &got);
  EXPECT_EQ(got._11, 2);
  layer.GetDevice()->GetTransform(static_cast<D3DTRANSFORMSTATETYPE>(2), &got);
  EXPECT_EQ(got._11, 3);
  layer.GetDevice()->GetTransform(static_cast<D3DTRANSFORMSTATETYPE>(3), &got);
  EXPECT_EQ(got._11, 4);
}

}  // namespace

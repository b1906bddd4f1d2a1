// The device and the fixed state of a session, step by step.

#include "app/Direct3DSession.h"

#include "settings/Settings.h"
#include "support/GdiGauge.h"
#include "support/TestLog.h"
#include "ui/Skin.h"
#include "unit/app/Direct3DFixture.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

// The saver window, as DoSaver makes it before the set-up.
class Device : public Direct3DMachine {
 protected:
  Device() {
    hScrWindow = CreateWindowExA(WS_EX_TOPMOST, "STATIC", "", WS_POPUP | WS_VISIBLE, 0, 0,
                                 kTestWidth, kTestHeight, nullptr, nullptr, nullptr, nullptr);
    ss->hWnd = hScrWindow;
  }
  static bool Make() { return CreateGraphicsDevice(kTestWidth, kTestHeight); }
  static bool MakeAndSet() { return Make() && initD3D(kTestWidth, kTestHeight); }

  support::RegistrySandbox machine{HKEY_LOCAL_MACHINE, kMachineKey};
};

// --- Device ---

TEST_F(Device, IsMadeFullScreenForTheSaverWindow) {
  ASSERT_TRUE(Make());
  EXPECT_TRUE(gGraphicsLayer->IsFullScreen());
  EXPECT_EQ(gGraphicsLayer->GetWidth(), kTestWidth);
  EXPECT_EQ(gGraphicsLayer->GetHeight(), kTestHeight);
  EXPECT_FALSE(gGraphicsLayer->IsLost());
}

TEST_F(Device, OfAPreviewStaysInItsWindow) {
  RunMode = RUNMODE_PREVIEW;
  ASSERT_TRUE(Make());
  EXPECT_FALSE(gGraphicsLayer->IsFullScreen());
  EXPECT_THAT(depthsAsked, IsEmpty());
}

TEST_F(Device, AsksForTheSessionsDepth) {
  ASSERT_TRUE(Make());
  delete gGraphicsLayer;
  RequestedMode.bits = 16;
  ASSERT_TRUE(Make());
  delete gGraphicsLayer;
  RequestedMode.bits = 8;
  ASSERT_TRUE(Make());
  EXPECT_THAT(depthsAsked, ElementsAre(32u, 16u, 32u));
}

TEST_F(Device, TheScreensDepthBecomesTheSessions) {
  RequestedMode.bits = 16;
  ASSERT_TRUE(Make());
  EXPECT_EQ(RequestedMode.bits, 32) << "the mode was granted, but this screen has 32 bits";
}

TEST_F(Device, TellsOfTheCardAndItsLimitInTheLog) {
  const support::TestLog log;
  ASSERT_TRUE(Make());
  ASSERT_EQ(log.Texts().size(), 2u);
  EXPECT_THAT(log.Texts()[0], testing::MatchesRegex("Video card: .+ rev: \\d+"));
  EXPECT_THAT(log.Texts()[1], testing::MatchesRegex("Max texture size: \\d+"));
  EXPECT_EQ(log.Lines()[0].source, "Minimal");
}

// The first device found has textures of that size.
class TextureLimits {
 public:
  TextureLimits(IDirect3D7* d3d, DWORD width, DWORD height)
      : hook_(d3d, &IDirect3D7::EnumDevices, Enumerate{width, height}) {}

 private:
  struct Limits {
    DWORD width, height;
    LPD3DENUMDEVICESCALLBACK7 callback;
    void* context;
  };
  static HRESULT CALLBACK Change(char* text, char* name, D3DDEVICEDESC7* device, void* context) {
    const auto& limits = *static_cast<Limits*>(context);
    D3DDEVICEDESC7 changed = *device;
    changed.dwMaxTextureWidth = limits.width;
    changed.dwMaxTextureHeight = limits.height;
    return limits.callback(text, name, &changed, limits.context);
  }
  struct Enumerate {
    DWORD width, height;
    template <class Real>
    HRESULT operator()(Real real, IDirect3D7* self, LPD3DENUMDEVICESCALLBACK7 callback,
                       void* context) const {
      Limits limits{width, height, callback, context};
      return real(self, &Change, &limits);
    }
  };
  support::MethodHook<IDirect3D7, Enumerate, HRESULT, LPD3DENUMDEVICESCALLBACK7, void*> hook_;
};

struct LimitCase {
  DWORD width, height;
  std::int32_t limit;
  const char* logged;
};

class TextureLimit : public Device, public testing::WithParamInterface<LimitCase> {};

TEST_P(TextureLimit, IsTheSmallerSideAndAtMost256) {
  ComRef<IDirect3D7> d3d;
  ASSERT_EQ(AnyDDraw()->QueryInterface(IID_IDirect3D7, d3d.put_void()), DD_OK);
  const TextureLimits limits(d3d.get(), GetParam().width, GetParam().height);
  const support::TestLog log;
  ASSERT_TRUE(Make());
  EXPECT_EQ(MaxTextureSize, GetParam().limit);
  EXPECT_THAT(log.Texts(), Contains(std::string("Max texture size: ") + GetParam().logged));
}

INSTANTIATE_TEST_SUITE_P(Cards, TextureLimit,
                         testing::Values(LimitCase{2048, 2048, 256, "2048"},
                                         LimitCase{256, 256, 256, "256"},
                                         LimitCase{255, 4096, 255, "255"},
                                         LimitCase{4096, 128, 128, "128"},
                                         LimitCase{0, 4096, 256, "0"}));

TEST_F(Device, ACardThatIsNewIsRememberedForTheMachine) {
  ASSERT_TRUE(Make());
  DDDEVICEIDENTIFIER2 card{};
  ASSERT_EQ(gGraphicsLayer->GetDDraw()->GetDeviceIdentifier(&card, 0), DD_OK);
  const auto stored = machine.Get("VideoGUID");
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->type, static_cast<DWORD>(REG_BINARY));
  ASSERT_EQ(stored->data.size(), sizeof(GUID));
  EXPECT_EQ(std::memcmp(stored->data.data(), &card.guidDeviceIdentifier, sizeof(GUID)), 0);
}

TEST_F(Device, ACardThatIsKnownIsNotStoredAgain) {
  DDDEVICEIDENTIFIER2 card{};
  ASSERT_EQ(AnyDDraw()->GetDeviceIdentifier(&card, 0), DD_OK);
  ss->VideoGUID = card.guidDeviceIdentifier;
  ASSERT_TRUE(Make());
  EXPECT_FALSE(machine.Get("VideoGUID"));
}

TEST_F(Device, ACardWithoutAnIdentifierServesAllTheSame) {
  HOOK_METHOD(identifier, AnyDDraw(), &IDirectDraw7::GetDeviceIdentifier,
              [](auto, IDirectDraw7*, DDDEVICEIDENTIFIER2*, DWORD) { return DDERR_GENERIC; });
  const support::TestLog log;
  ASSERT_TRUE(Make());
  EXPECT_THAT(log.Texts(), ElementsAre("Couldn't get the video card type",
                                       StartsWith("Max texture size: ")));
  EXPECT_THAT(log.Errors(), IsEmpty());
  EXPECT_FALSE(machine.Get("VideoGUID"));
}

TEST_F(Device, WithoutDirectDrawIsNone) {
  HOOK_IMPORT(create, "ddraw.dll", DirectDrawCreateEx,
              [](GUID*, void**, const IID&, IUnknown*) -> HRESULT { return DDERR_GENERIC; });
  const support::TestLog log;
  EXPECT_FALSE(Make());
  EXPECT_THAT(log.Texts(), ElementsAre("Could not create DirectDraw"));
  EXPECT_THAT(log.Errors(), ElementsAre("Could not create DirectDraw"));
  EXPECT_EQ(gGraphicsLayer, nullptr);
}

TEST_F(Device, OfAModeThatCannotBeSetIsNone) {
  modeRefused = true;
  const support::TestLog log;
  EXPECT_FALSE(Make());
  EXPECT_THAT(log.Errors(), ElementsAre("Can't set display mode"));
  EXPECT_THAT(depthsAsked, ElementsAre(32u, 16u, 16u));
  EXPECT_EQ(gGraphicsLayer, nullptr);
}

TEST_F(Device, OfNoKnownKindIsNone) {
  ComRef<IDirect3D7> d3d;
  ASSERT_EQ(AnyDDraw()->QueryInterface(IID_IDirect3D7, d3d.put_void()), DD_OK);
  HOOK_METHOD(none, d3d.get(), &IDirect3D7::EnumDevices,
              [](auto, IDirect3D7*, LPD3DENUMDEVICESCALLBACK7, void*) { return D3D_OK; });
  const support::TestLog log;
  EXPECT_FALSE(Make());
  EXPECT_THAT(log.Errors(), ElementsAre("No valid devices were found"));
}

TEST_F(Device, ThatWasMadeAndIsNotThereIsNone) {
  ComRef<IDirect3D7> d3d;
  ASSERT_EQ(AnyDDraw()->QueryInterface(IID_IDirect3D7, d3d.put_void()), DD_OK);
  HOOK_METHOD(nothing, d3d.get(), &IDirect3D7::CreateDevice,
              [](auto, IDirect3D7*, const IID&, IDirectDrawSurface7*, IDirect3DDevice7** device) {
                *device = nullptr;
                return D3D_OK;
              });
  const support::TestLog log;
  EXPECT_FALSE(Make());
  EXPECT_THAT(log.Errors(), ElementsAre("Error creating Direct3D"));
}

// --- Fixed state ---

TEST_F(Device, WithoutALayerThereIsNoState) {
  const support::TestLog log;
  EXPECT_FALSE(initD3D(kTestWidth, kTestHeight));
  EXPECT_THAT(log.Errors(), ElementsAre("Received a null graphics object pointer"));
}

TEST_F(Device, TheStateIsSetForTheWholeScreen) {
  ASSERT_TRUE(MakeAndSet());
  D3DMATRIX projection{};
  gGraphicsLayer->GetProjectionMatrix(projection);
  EXPECT_FLOAT_EQ(projection._11, 1.0f);
  EXPECT_FLOAT_EQ(projection._22, 2.0f / (2.0f * kTestHeight / kTestWidth));
  DWORD lighting = FALSE;
  gGraphicsLayer->GetDevice()->GetRenderState(D3DRENDERSTATE_LIGHTING, &lighting);
  EXPECT_EQ(lighting, static_cast<DWORD>(TRUE));
}

TEST_F(Device, TheStepsAreLogged) {
  ASSERT_TRUE(Make());
  const support::TestLog log;
  ASSERT_TRUE(initD3D(kTestWidth, kTestHeight));
  EXPECT_THAT(log.Texts(),
              ElementsAre("+- Enter function: initD3D()", "+- Exit function: initD3D()",
                          "Successfully exiting initD3D()"));
}

TEST_F(Device, TheMemoryOfTheDialogsPicturesIsGivenBack) {
  ASSERT_TRUE(gSkinBundle.OpenAndReadAll(BundlePath.c_str()));
  ASSERT_NE(gSkinBundle.GetFileData("slide0"), nullptr);
  ASSERT_TRUE(MakeAndSet());
  EXPECT_EQ(gSkinBundle.GetFileData("slide0"), nullptr);
  gSkinBundle.Close();
}

// --- The copy of the desktop ---

constexpr std::uint32_t kDesktopColour = 0x3366CC;

// A screen that is all of one colour.
class DesktopCopy : public Device {
 protected:
  static support::Pixels Copied() {
    return support::ReadDc(DesktopCopyDC, 0, 0, kTestWidth, kTestHeight);
  }

  int taken = 0;

 private:
  std::unique_ptr<support::Canvas> screen_ =
      std::make_unique<support::Canvas>(kTestWidth, kTestHeight, kDesktopColour);
  std::vector<support::AnyHook> hooks_{
      ANY_HOOK("user32.dll", GetWindowDC,
               [this](HWND window) -> HDC {
                 EXPECT_EQ(window, nullptr);
                 ++taken;
                 return screen_->Dc();
               }),
      ANY_HOOK("user32.dll", ReleaseDC,
               [this](HWND window, HDC dc) -> int {
                 if (dc != screen_->Dc()) return REAL_IMPORT("user32.dll", ReleaseDC)(window, dc);
                 --taken;
                 return 1;
               }),
  };
};

TEST_F(DesktopCopy, IsTakenOfTheWholeScreen) {
  ASSERT_TRUE(MakeAndSet());
  EXPECT_TRUE(support::PixelsNear(Copied(), Flat(kDesktopColour)));
  EXPECT_EQ(taken, 0) << "the screen's context is given back";
}

TEST_F(DesktopCopy, IsNotTakenOfAStillShow) {
  ss->Animate = 0;
  ASSERT_TRUE(MakeAndSet());
  EXPECT_EQ(DesktopCopyDC, nullptr);
}

TEST_F(DesktopCopy, IsNotTakenAfterAChangeOfTheMode) {
  ModeChanged = true;
  ASSERT_TRUE(MakeAndSet());
  EXPECT_EQ(DesktopCopyDC, nullptr);
}

TEST_F(DesktopCopy, IsNotTakenInFastMode) {
  ss->FastMode = 1;
  ASSERT_TRUE(MakeAndSet());
  EXPECT_EQ(DesktopCopyDC, nullptr);
}

TEST_F(DesktopCopy, ThatFailsIsBlack) {
  {
    HOOK_IMPORT(blit, "gdi32.dll", BitBlt,
                [](HDC, int, int, int, int, HDC, int, int, DWORD) -> BOOL { return FALSE; });
    ASSERT_TRUE(MakeAndSet());
  }
  EXPECT_TRUE(support::PixelsNear(Copied(), Flat(0)));
}

// Runs the whole opening; true if every frame of it was black.
bool OpensInBlack() {
  bool black = true;
  for (int frame = 0; frame < 100 && !OpeningDone; ++frame) {
    RenderDirect3DFrame(900);
    const auto shown = graphics_test::ReadSurface(gGraphicsLayer->GetPrimary());
    black = black && shown.At(kTestWidth / 2, kTestHeight / 2) == 0;
  }
  return black && OpeningDone;
}

TEST_F(DesktopCopy, WithoutMemoryTheOpeningIsBlackAndDoesNoHarm) {
  HOOK_IMPORT(bitmap, "gdi32.dll", CreateCompatibleBitmap,
              [](HDC, int, int) -> HBITMAP { return nullptr; });
  ASSERT_TRUE(MakeAndSet());
  EXPECT_EQ(DesktopCopyDC, nullptr);
  EXPECT_EQ(taken, 0);
  EXPECT_TRUE(OpensInBlack());
}

TEST_F(Device, OfASessionWithoutADesktopOpensInBlack) {
  HOOK_IMPORT(noDesktop, "user32.dll", GetWindowDC, [](HWND) -> HDC { return nullptr; });
  ASSERT_TRUE(MakeAndSet());
  EXPECT_TRUE(OpensInBlack());
}

TEST_F(DesktopCopy, GoesWithTheGraphicsIfTheOpeningDidNotEnd) {
  ASSERT_TRUE(MakeAndSet());
  DeleteGraphics();  // what is made at first use and kept isn't a leak
  const support::GdiGauge gauge;
  for (int n = 0; n < 3; ++n) {
    ASSERT_TRUE(MakeAndSet());
    RenderDirect3DFrame(10);
    DeleteGraphics();
  }
  EXPECT_EQ(DesktopCopyDC, nullptr);
  EXPECT_EQ(gauge.Leaked(), 0);
}

// --- End ---

TEST_F(Device, IsDeletedInOrder) {
  ASSERT_TRUE(MakeAndSet());
  const support::TestLog log;
  std::vector<std::string> order;
  HOOK_METHOD(texture, gGraphicsLayer->GetDevice(), &IDirect3DDevice7::SetTexture,
              [&](auto real, IDirect3DDevice7* self, DWORD stage, IDirectDrawSurface7* surface) {
                EXPECT_EQ(surface, nullptr);
                order.push_back("texture " + std::to_string(stage));
                return real(self, stage, surface);
              });
  DeleteGraphics();
  EXPECT_EQ(gGraphicsLayer, nullptr);
  ASSERT_FALSE(order.empty());
  EXPECT_EQ(order.front(), "texture 0");
  EXPECT_EQ(std::count(order.begin(), order.end(), "texture 0"), 2)
      << "once by itself, once with all stages";
  EXPECT_THAT(log.Texts(),
              ElementsAre("Setting current texture to NULL", "Deleting graphics object"));
}

TEST_F(Device, DeletingNoneIsHarmless) {
  DeleteGraphics();
  EXPECT_EQ(gGraphicsLayer, nullptr);
}

}  // namespace

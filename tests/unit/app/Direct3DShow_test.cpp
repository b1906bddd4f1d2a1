// The show on Direct3D as the session runs it: its frames, and whole runs.

#include "bundle/VFBundle.h"
#include "graphics/cGameError.h"
#include "settings/Settings.h"
#include "support/AllocationCount.h"
#include "support/GdiGauge.h"
#include "support/TestLog.h"
#include "unit/app/DesktopKeySandbox.h"
#include "unit/app/Direct3DFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <utility>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

namespace {

constexpr char kLost[] = "Screensaver terminated due to graphics subsystem invalidation";

// --- Frames ---

// A session set up by its steps, without a main loop.
class Direct3DFrames : public Direct3DMachine {
 protected:
  Direct3DFrames() {
    hScrWindow = CreateWindowExA(WS_EX_TOPMOST, "STATIC", "", WS_POPUP | WS_VISIBLE, 0, 0,
                                 kTestWidth, kTestHeight, nullptr, nullptr, nullptr, nullptr);
    ss->hWnd = hScrWindow;
    FpsFrames = FpsMs = RunMs = FpsSamples = 0;
    FpsNow = FpsSum = 0;
    AverageFps = 100.0f;
  }
  ~Direct3DFrames() override { TakeDown(); }

  void Start() {
    ASSERT_TRUE(initStates(kTestWidth, kTestHeight));
    ASSERT_TRUE(initD3D(kTestWidth, kTestHeight));
    FrameTimer.ElapsedMs();
  }
  static void TakeDown() {
    if (gSlideshow) CleanUp();
  }
  // One turn of the main loop after `ms`.
  void Frame(double ms) {
    clock.Advance(ms);
    RenderFrame();
  }
  void FinishOpening() {
    for (int frame = 0; frame < 100 && !OpeningDone; ++frame) Frame(1400);
    ASSERT_TRUE(OpeningDone);
  }
  // To a slide in full light, with the next one decoded and all its tiles made.
  void ShowFirstSlide() {
    if (ss->Animate) FinishOpening();
    Frame(1);
    ASSERT_TRUE(WaitForLoader());
    Frame(1);
    Frame(2000);
    ASSERT_NE(gSlideshow->GetCurrent(), nullptr);
    ASSERT_TRUE(WaitForLoader());
    for (int tile = 0; tile < 4; ++tile) Frame(1);
  }
  bool CloseAsked() const { return ss->CloseRequested != 0; }
};

TEST_F(Direct3DFrames, TheDesktopSinksBeforeTheShowBegins) {
  Start();
  Frame(10);
  EXPECT_FALSE(OpeningDone);
  EXPECT_EQ(gSlideshow->GetLoader(), nullptr);
  EXPECT_NE(DesktopCopyDC, nullptr);
  FinishOpening();
  EXPECT_EQ(DesktopCopyDC, nullptr);
  EXPECT_EQ(gSlideshow->GetLoader(), nullptr);
  Frame(10);
  EXPECT_NE(gSlideshow->GetLoader(), nullptr);
}

TEST_F(Direct3DFrames, AStillShowBeginsAtTheFirstFrame) {
  ss->Animate = 0;
  Start();
  Frame(10);
  EXPECT_NE(gSlideshow->GetLoader(), nullptr);
}

TEST_F(Direct3DFrames, AShowInAnotherModeBeginsAtTheFirstFrame) {
  ModeChanged = true;
  Start();
  Frame(10);
  EXPECT_NE(gSlideshow->GetLoader(), nullptr);
}

TEST_F(Direct3DFrames, SlidesComeToTheScreen) {
  Start();
  ShowFirstSlide();
  EXPECT_LE(support::ColourDistance(ShownColour(), kTestColours[0]), 2);
  Frame(5000);
  EXPECT_TRUE(gSlideshow->IsInTransition());
  for (int step = 0; step < 5; ++step) Frame(1000);
  EXPECT_FALSE(gSlideshow->IsInTransition());
  EXPECT_LE(support::ColourDistance(ShownColour(), kTestColours[1]), 2);
}

// Its zoom has no bounds: nothing need be seen, but nothing may break.
TEST_F(Direct3DFrames, ADelayOfZeroIsHarmless) {
  ss->ImageDelay = 0;
  Start();
  FinishOpening();
  for (int frame = 0; frame < 12; ++frame) {
    Frame(1500);
    ASSERT_TRUE(!gSlideshow->GetLoader() || WaitForLoader());
  }
  EXPECT_NE(gSlideshow->GetCurrent(), nullptr);
  EXPECT_FALSE(gGraphicsLayer->IsLost());
}

TEST_F(Direct3DFrames, ADelayBeyondAllMeasureLetsTheSlideStand) {
  for (const float seconds : {3e6f, std::numeric_limits<float>::infinity()}) {
    ss->ImageDelay = seconds;
    Start();
    ShowFirstSlide();
    Frame(100000);
    EXPECT_FALSE(gSlideshow->IsInTransition()) << seconds;
    TakeDown();
  }
}

TEST_F(Direct3DFrames, TheShowMovesByWholeMilliseconds) {
  ss->Animate = 0;
  Start();
  ShowFirstSlide();
  const std::int32_t before = gSlideshow->GetDisplayClock();
  for (int frame = 0; frame < 10; ++frame) Frame(1.9);
  EXPECT_EQ(gSlideshow->GetDisplayClock() - before, 10);
}

TEST_F(Direct3DFrames, EachClearsDrawsWaitsForTheCardAndFlips) {
  Start();
  ShowFirstSlide();
  IDirect3DDevice7* device = gGraphicsLayer->GetDevice();
  IDirectDrawSurface7* back = gGraphicsLayer->GetBackBuffer();
  std::vector<std::string> steps;
  HOOK_METHOD(clear, device, &IDirect3DDevice7::Clear,
              [&](auto real, IDirect3DDevice7* self, DWORD count, D3DRECT* rects, DWORD what,
                  D3DCOLOR colour, D3DVALUE z, DWORD stencil) {
                EXPECT_TRUE(what & D3DCLEAR_TARGET);
                EXPECT_EQ(colour & 0xFFFFFF, 0u);
                EXPECT_EQ(z, 1.0f);
                steps.push_back("clear");
                return real(self, count, rects, what, colour, z, stencil);
              });
  HOOK_METHOD(transform, device, &IDirect3DDevice7::SetTransform,
              [&](auto real, IDirect3DDevice7* self, D3DTRANSFORMSTATETYPE which,
                  D3DMATRIX* matrix) {
                EXPECT_EQ(which, D3DTRANSFORMSTATE_WORLD);
                EXPECT_EQ(matrix->_11, 1.0f);
                EXPECT_EQ(matrix->_41, 0.0f);
                EXPECT_EQ(matrix->_43, 2.0f);
                steps.push_back("world");
                return real(self, which, matrix);
              });
  HOOK_METHOD(scene, device, &IDirect3DDevice7::BeginScene, [&](auto real, IDirect3DDevice7* self) {
    steps.push_back("scene");
    return real(self);
  });
  HOOK_METHOD(getDc, back, &IDirectDrawSurface7::GetDC,
              [&](auto real, IDirectDrawSurface7* self, HDC* dc) {
                steps.push_back("dc");
                return real(self, dc);
              });
  HOOK_METHOD(releaseDc, back, &IDirectDrawSurface7::ReleaseDC,
              [&](auto real, IDirectDrawSurface7* self, HDC dc) {
                steps.push_back("no dc");
                return real(self, dc);
              });
  HOOK_METHOD(lock, back, &IDirectDrawSurface7::Lock,
              [&](auto real, IDirectDrawSurface7* self, RECT* part, DDSURFACEDESC2* description,
                  DWORD flags, HANDLE event) {
                EXPECT_EQ(flags, static_cast<DWORD>(DDLOCK_WAIT));
                steps.push_back("lock");
                return real(self, part, description, flags, event);
              });
  HOOK_METHOD(unlock, back, &IDirectDrawSurface7::Unlock,
              [&](auto real, IDirectDrawSurface7* self, RECT* part) {
                steps.push_back("unlock");
                return real(self, part);
              });
  HOOK_METHOD(flip, back, &IDirectDrawSurface7::Flip,
              [&](auto real, IDirectDrawSurface7* self, IDirectDrawSurface7* target, DWORD flags) {
                EXPECT_EQ(flags, static_cast<DWORD>(DDFLIP_WAIT));
                steps.push_back("flip");
                return real(self, target, flags);
              });
  Frame(10);
  EXPECT_THAT(steps,
              ElementsAre("clear", "world", "scene", "dc", "no dc", "lock", "unlock", "flip"));
}

// --- What it can't do without ---

HRESULT NoTexture(HRESULT(STDMETHODCALLTYPE* real)(IDirectDraw7*, DDSURFACEDESC2*,
                                                   IDirectDrawSurface7**, IUnknown*),
                  IDirectDraw7* self, DDSURFACEDESC2* description, IDirectDrawSurface7** surface,
                  IUnknown* outer) {
  if (description->ddsCaps.dwCaps & DDSCAPS_TEXTURE) return DDERR_OUTOFVIDEOMEMORY;
  return real(self, description, surface, outer);
}

TEST_F(Direct3DFrames, CaptionsThatHaveNoSurfacesEndTheSetUpByAnException) {
  ss->ShowCaptions = 1;
  HOOK_METHOD(create, AnyDDraw(), &IDirectDraw7::CreateSurface, NoTexture);
  EXPECT_THROW(initStates(kTestWidth, kTestHeight), cGameError);
}

// --- The wallpaper ---

class Direct3DWallpaper : public Direct3DFrames {
 protected:
  Direct3DWallpaper() { WallpaperPath = temp.File("wall.bmp"); }

  // What the session leaves behind if it ends now.
  std::uint32_t ColourLeft() {
    ss->SetAsWallpaper = 1;
    TakeDown();
    const auto bitmap = static_cast<HBITMAP>(LoadImageA(
        nullptr, WallpaperPath.c_str(), IMAGE_BITMAP, 0, 0, LR_LOADFROMFILE | LR_CREATEDIBSECTION));
    const support::Pixels left = support::ReadBitmap(bitmap);
    DeleteObject(bitmap);
    EXPECT_EQ(left.width, kTestWidth);
    EXPECT_EQ(left.height, kTestHeight);
    return left.At(kTestWidth / 2, kTestHeight / 2);
  }

 private:
  const DesktopKeySandbox desktopKey_;
};

// The next picture is decoded by then, and the cursor of the list stands on it.
TEST_F(Direct3DWallpaper, IsThePictureThatShows) {
  Start();
  ShowFirstSlide();
  EXPECT_EQ(ColourLeft(), kTestColours[0]);
}

TEST_F(Direct3DWallpaper, IsThePictureThatComesOnceItsCrossfadeHasBegun) {
  Start();
  ShowFirstSlide();
  Frame(5000);
  ASSERT_TRUE(gSlideshow->IsInTransition());
  EXPECT_EQ(ColourLeft(), kTestColours[1]);
}

// --- What a frame costs ---

TEST_F(Direct3DFrames, ASteadyFrameAllocatesNothing) {
  Start();
  ShowFirstSlide();
  const support::AllocationCount allocations;
  delete new std::string(100, 'x');
  ASSERT_GT(support::AllocationCount::Count(), 0) << "the counter must see what is allocated";
  const long before = support::AllocationCount::Count();
  for (int frame = 0; frame < 20; ++frame) Frame(16);
  EXPECT_EQ(support::AllocationCount::Count() - before, 0);
}

TEST_F(Direct3DFrames, AFrameOfTheOpeningAllocatesNothing) {
  Start();
  Frame(10);
  const support::AllocationCount allocations;
  for (int frame = 0; frame < 10; ++frame) Frame(10);
  EXPECT_FALSE(OpeningDone);
  EXPECT_EQ(support::AllocationCount::Count(), 0);
}

TEST_F(Direct3DFrames, AFrameOfACrossfadeAllocatesNothing) {
  Start();
  ShowFirstSlide();
  Frame(5000);
  ASSERT_TRUE(gSlideshow->IsInTransition());
  const support::AllocationCount allocations;
  for (int frame = 0; frame < 20; ++frame) Frame(16);
  EXPECT_TRUE(gSlideshow->IsInTransition());
  EXPECT_EQ(support::AllocationCount::Count(), 0);
}

// --- The frame rate ---

TEST_F(Direct3DFrames, AreCounted) {
  ss->Animate = 0;
  Start();
  for (int frame = 0; frame < 10; ++frame) Frame(50);
  EXPECT_EQ(FpsSamples, 2);
  EXPECT_NEAR(AverageFps, 20.0f, 0.1f);
  EXPECT_EQ(RunMs, 500);
}

// A slow frame is judged by the samples before it.
TEST_F(Direct3DFrames, TheQualityIsAdjustedBeforeTheSampleIsTaken) {
  constexpr int kLarge = 2048;
  support::TestSlide large;
  large.name = "large";
  large.picture = support::MakeBmp(kLarge, 256, support::Flat(0x808080));
  large.width = kLarge;
  large.height = 256;
  support::WriteWholeFile(BundlePath, support::MakeSlideBundle({large}));
  ss->Animate = 0;
  ss->AutoPerformance = 1;
  ss->CramSize = 4096;
  Start();
  Frame(5100);
  EXPECT_LT(AverageFps, 1.0f);
  ASSERT_TRUE(WaitForLoader());
  EXPECT_EQ(gSlideshow->GetLoader()->GetSlide()->columns, kLarge / 256);
  Frame(100);
  ASSERT_TRUE(WaitForLoader());
  EXPECT_EQ(gSlideshow->GetLoader()->GetSlide()->columns, 1536 / 256);
}

// --- A lost surface ---

class LostSurface : public Direct3DFrames {
 protected:
  // One frame whose flip reports the loss.
  void LoseInFrame() {
    HOOK_METHOD(flip, gGraphicsLayer->GetPrimary(), &IDirectDrawSurface7::Flip,
                [](auto, IDirectDrawSurface7*, IDirectDrawSurface7*, DWORD) {
                  return DDERR_SURFACELOST;
                });
    Frame(10);
  }
  void ExpectOrdinaryClose(const support::TestLog& log) {
    EXPECT_THAT(log.Errors(), ElementsAre(kLost));
    EXPECT_TRUE(CloseAsked());
    EXPECT_EQ(ss->CriticalError, 0);
    EXPECT_THAT(boxes, IsEmpty());
  }
};

TEST_F(LostSurface, EndsTheShowAsAKeyDoes) {
  Start();
  ShowFirstSlide();
  const support::TestLog log;
  LoseInFrame();
  ExpectOrdinaryClose(log);
}

TEST_F(LostSurface, EndsTheOpeningAsAKeyDoes) {
  Start();
  Frame(10);
  const support::TestLog log;
  LoseInFrame();
  ExpectOrdinaryClose(log);
  EXPECT_FALSE(OpeningDone);
}

TEST_F(LostSurface, IsNeverDrawnOnAgain) {
  Start();
  ShowFirstSlide();
  LoseInFrame();
  const std::int32_t clockBefore = gSlideshow->GetClock();
  int flips = 0;
  HOOK_METHOD(flip, gGraphicsLayer->GetPrimary(), &IDirectDrawSurface7::Flip,
              [&](auto real, IDirectDrawSurface7* self, IDirectDrawSurface7* target, DWORD flags) {
                ++flips;
                return real(self, target, flags);
              });
  Frame(10);
  EXPECT_EQ(flips, 0);
  EXPECT_EQ(gSlideshow->GetClock(), clockBefore);
}

TEST_F(LostSurface, InTheOpeningIsNeverDrawnOnAgain) {
  Start();
  Frame(10);
  LoseInFrame();
  for (int frame = 0; frame < 20; ++frame) Frame(500);
  EXPECT_FALSE(OpeningDone);
}

TEST_F(LostSurface, ASceneThatFailsCountsAsOne) {
  Start();
  ShowFirstSlide();
  const support::TestLog log;
  HOOK_METHOD(scene, gGraphicsLayer->GetDevice(), &IDirect3DDevice7::BeginScene,
              [](auto, IDirect3DDevice7*) { return DDERR_SURFACELOST; });
  Frame(10);
  ExpectOrdinaryClose(log);
}

// --- Whole sessions ---

class Direct3DRun : public Direct3DMachine {
 protected:
  // Ends the session once a slide stands.
  void CloseOnceASlideStands() {
    onFrame = [this](int) {
      clock.Advance(1400);
      if (gSlideshow->GetLoader()) WaitForLoader();
      if (gSlideshow->GetCurrent() && !gSlideshow->IsOpening()) CloseSaver();
    };
  }
};

TEST_F(Direct3DRun, GoesThroughItsStepsInOrder) {
  const support::TestLog log;
  CloseOnceASlideStands();
  DoSaver(nullptr, SW_SHOW);
  std::vector<std::string> texts = log.Texts();
  const auto begin = std::find(texts.begin(), texts.end(), "+- Enter function: initStates");
  ASSERT_NE(begin, texts.end());
  texts.erase(texts.begin(), begin);
  ASSERT_GT(texts.size(), 4u);
  EXPECT_EQ(texts[2].rfind("Video card: ", 0), 0u);
  EXPECT_EQ(texts[3].rfind("Max texture size: ", 0), 0u);
  texts.erase(texts.begin() + 2, texts.begin() + 4);
  EXPECT_THAT(
      texts,
      ElementsAre("+- Enter function: initStates", "+- Exit function: initStates",
                  "+- Enter function: initD3D()", "+- Exit function: initD3D()",
                  "Successfully exiting initD3D()", "Showing window via ShowWindow()",
                  "Entering main loop...", "WM_CLOSE: Checking PasswordDelay",
                  "WM_CLOSE: CanClose == true, Calling DestroyWindow()", "PostQuitMessage(0)",
                  "Exited main loop.", "ReleaseDC(hScrWindow,hDC)", "SystemParametersInfo()",
                  "Hiding child windows, if any", "+- Enter function: ShutdownSound()",
                  "+- Exit function: ShutdownSound()", "Successfully exiting ShutdownSound()",
                  "+- Enter function: CleanUp()", "+- Exit function: CleanUp()",
                  "Deleting slideshow object", "Setting current texture to NULL",
                  "Deleting graphics object", "Deleting slide bundles", "Deleting dimension list",
                  "Successfully exiting CleanUp()", "DestroyWindow(hparwnd)", "UnregisterClass()"));
  EXPECT_THAT(log.Errors(), IsEmpty());
}

TEST_F(Direct3DRun, LeavesNothingBehind) {
  const auto run = [this] {
    CloseOnceASlideStands();
    DoSaver(nullptr, SW_SHOW);
  };
  run();  // what is made at first use and kept isn't a leak
  const support::GdiGauge gauge;
  for (int n = 0; n < 2; ++n) run();
  EXPECT_EQ(gauge.Leaked(), 0);
  EXPECT_EQ(gGraphicsLayer, nullptr);
  EXPECT_EQ(gSlideshow, nullptr);
  EXPECT_EQ(SlideBundle, nullptr);
  EXPECT_EQ(DesktopCopyDC, nullptr);
  EXPECT_FALSE(IsWindow(hScrWindow));
  EXPECT_THAT(boxes, IsEmpty());
}

TEST_F(Direct3DRun, WithoutADeviceEndsWithABoxAndACriticalError) {
  modeRefused = true;
  const support::TestLog log;
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 0);
  EXPECT_THAT(log.Errors(), ElementsAre("Can't set display mode", "initStates() failed!"));
  EXPECT_EQ(ss->CriticalError, 1);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "Problem encountered in initStates().");
  EXPECT_EQ(boxes[0].title, "ERROR");
  EXPECT_TRUE(boxes[0].activationSuppressed);
  EXPECT_EQ(ss->FastMode, 0) << "there is no way back to fast mode by itself";
}

// The layer is gone by then: it is put away while the slides are shuffled.
TEST_F(Direct3DRun, AFixedStateThatCannotBeSetEndsItWithABoxAndACriticalError) {
  const support::TestLog log;
  ss->RandomOrder = 1;
  cGraphicsLayer* putAway = nullptr;
  {
    HOOK_IMPORT(shuffle, "msvcrt.dll", srand, [&](unsigned) {
      if (gGraphicsLayer) putAway = std::exchange(gGraphicsLayer, nullptr);
    });
    DoSaver(nullptr, SW_SHOW);
  }
  EXPECT_EQ(frames, 0);
  EXPECT_THAT(log.Errors(),
              ElementsAre("Received a null graphics object pointer", "initD3D() failed!"));
  EXPECT_EQ(ss->CriticalError, 1);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "Problem encountered in initD3D().");
  EXPECT_EQ(boxes[0].title, "ERROR");
  EXPECT_TRUE(boxes[0].activationSuppressed);
  gGraphicsLayer = putAway;
  CleanUp();
}

TEST_F(Direct3DRun, ASurfaceThatCannotBeMadeEndsItWithACriticalError) {
  const support::TestLog log;
  HOOK_METHOD(create, AnyDDraw(), &IDirectDraw7::CreateSurface, NoTexture);
  CloseOnceASlideStands();
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(log.Errors(), ElementsAre("Couldn't create surface"));
  EXPECT_EQ(ss->CriticalError, 2);
  EXPECT_EQ(user.Dword("CriticalError"), 2u);
  EXPECT_TRUE(Done);
  EXPECT_EQ(gGraphicsLayer, nullptr);
  EXPECT_EQ(gSlideshow, nullptr);
  EXPECT_THAT(log.Texts(), Contains("UnregisterClass()"));
  EXPECT_THAT(boxes, IsEmpty());
}

TEST_F(Direct3DRun, ALostSurfaceEndsItInOrder) {
  const support::TestLog log;
  HOOK_METHOD(flip, ([this] {
                DDSURFACEDESC2 description{};
                description.dwSize = sizeof description;
                description.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT;
                description.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN;
                description.dwWidth = description.dwHeight = 8;
                AnyDDraw()->SetCooperativeLevel(nullptr, DDSCL_NORMAL);
                static ComRef<IDirectDrawSurface7> any;
                AnyDDraw()->CreateSurface(&description, any.put(), nullptr);
                return any.get();
              })(),
              &IDirectDrawSurface7::Flip,
              [this](auto real, IDirectDrawSurface7* self, IDirectDrawSurface7* target,
                     DWORD flags) {
                return frames < 5 ? real(self, target, flags) : DDERR_SURFACELOST;
              });
  onFrame = [this](int) { clock.Advance(100); };
  mostFrames = 50;
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(log.Errors(), ElementsAre(kLost));
  EXPECT_EQ(frames, 6) << "the close comes before the next frame";
  EXPECT_EQ(ss->CriticalError, 0);
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_THAT(log.Texts(), IsSupersetOf({"WM_CLOSE: CanClose == true, Calling DestroyWindow()",
                                         "Successfully exiting CleanUp()"}));
}

TEST_F(Direct3DRun, AFirstPictureThatFailsLeavesTheScreenBlackUntilItEnds) {
  WriteBundle("bgg");
  const support::TestLog log;
  ss->Animate = 0;
  bool black = true;
  onFrame = [&](int frame) {
    clock.Advance(1000);
    if (gSlideshow->GetLoader()) WaitForLoader();
    black = black && ShownColour() == 0;
    if (frame == 8) CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_TRUE(black);
  EXPECT_EQ(frames, 8);
  EXPECT_THAT(log.Errors(), IsEmpty());
  EXPECT_EQ(ss->CriticalError, 0);
}

TEST_F(Direct3DRun, APictureThatFailsInMidShowIsLeftOut) {
  WriteBundle("gbg");
  ss->Animate = 0;
  bool seen[3] = {};
  onFrame = [&](int frame) {
    clock.Advance(1500);
    if (gSlideshow->GetLoader()) WaitForLoader();
    const CSlideImage* current = gSlideshow->GetCurrent();
    if (current && !gSlideshow->IsInTransition())
      for (std::size_t n = 0; n < 3; ++n)
        seen[n] = seen[n] || support::ColourDistance(ShownColour(), kTestColours[n]) <= 2;
    if ((seen[0] && seen[2]) || frame == 500) CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_TRUE(seen[0]);
  EXPECT_FALSE(seen[1]);
  EXPECT_TRUE(seen[2]);
}

// What the loader is at when the saver ends is waited for and taken down.
TEST_F(Direct3DRun, ALoaderStillDecodingIsWaitedForAtTheEnd) {
  constexpr int kLarge = 2000;
  support::TestSlide large;
  large.name = "large";
  large.picture = support::MakeBmp(kLarge, kLarge, support::Gradient());
  large.width = large.height = kLarge;
  support::WriteWholeFile(BundlePath, support::MakeSlideBundle({large}));
  ss->Animate = 0;
  std::vector<HANDLE> held;  // loaders whose thread begins with the tear-down
  HOOK_IMPORT(resume, "kernel32.dll", ResumeThread, [&](HANDLE thread) -> DWORD {
    held.push_back(thread);
    return 1;
  });
  HOOK_IMPORT(release, "user32.dll", ReleaseDC, [&](HWND window, HDC dc) -> int {
    for (const HANDLE thread : std::exchange(held, {}))
      REAL_IMPORT("kernel32.dll", ResumeThread)(thread);
    return REAL_IMPORT("user32.dll", ReleaseDC)(window, dc);
  });
  bool wasAtWork = false;
  onFrame = [&](int) {
    wasAtWork = !held.empty();
    CloseSaver();
  };
  const support::GdiGauge gauge;
  DoSaver(nullptr, SW_SHOW);
  EXPECT_TRUE(wasAtWork);
  EXPECT_TRUE(held.empty());
  EXPECT_EQ(frames, 1);
  EXPECT_EQ(gSlideshow, nullptr);
  EXPECT_EQ(gGraphicsLayer, nullptr);
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST_F(Direct3DRun, ItsDisplayModeIsGivenBackByTheLayer) {
  std::vector<DWORD> levels;
  HOOK_METHOD(level, AnyDDraw(), &IDirectDraw7::SetCooperativeLevel,
              [&](auto real, IDirectDraw7* self, HWND window, DWORD flags) {
                levels.push_back(flags);
                return real(self, window, flags);
              });
  CloseOnceASlideStands();
  DoSaver(nullptr, SW_SHOW);
  ASSERT_GE(levels.size(), 2u);
  EXPECT_EQ(levels.front(),
            static_cast<DWORD>(DDSCL_EXCLUSIVE | DDSCL_FULLSCREEN | DDSCL_ALLOWREBOOT));
  EXPECT_EQ(levels.back(), static_cast<DWORD>(DDSCL_NORMAL));
}

}  // namespace

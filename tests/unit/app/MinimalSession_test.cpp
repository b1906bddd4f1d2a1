// Whole sessions: DoSaver from its window classes to its tear-down.

#include "graphics/cGameError.h"
#include "support/TestLog.h"
#include "unit/app/SaverFixture.h"

#include <gmock/gmock.h>

using support::PixelsNear;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

namespace {

constexpr UINT kScreenSaverRunning = 97;

class Session : public SaverMachine {
 protected:
  void SetUp() override {
    BeginRun(settings_, true);
    WriteBundle("ggg");
  }
  void TearDown() override {
    ss->SetAsWallpaper = 0;
    CleanUp();
    CloseSession();
    ss = nullptr;
  }

 private:
  SaverSettings settings_;
};

// --- A run ---

TEST_F(Session, GoesThroughItsStepsInOrder) {
  const support::TestLog log;
  desktop.dmDriverVersion = 1025;
  std::strcpy(reinterpret_cast<char*>(desktop.dmDeviceName), "Some card");
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(log.Texts(),
              ElementsAre(
                  "+- Enter function: DoSaver()", "+- Exit function: DoSaver()",
                  "+- Begin block: currentMode settings:", "+- End block: currentMode settings:",
                  "DeviceName: Some card", "Driver version: 1025", "BitsPerPel: 32",
                  "Resolution: 64x48", "Freq: 60Hz", "Requested mode:", "NO CHANGE",
                  "+- Begin block: Screensaver settings:", "+- End block: Screensaver settings:",
                  "Fast mode: 1", "Play Music: 0", "Custom Music: 0", "Default Music: 1",
                  "Shuffle playlist: 1", "Set as wallpaper: 0", "Random images: 0", "Animate: 1",
                  "Crossfade: 1", "Cram images: 1", "Image cram size: 1024", "Mipmap: 1",
                  "Calling CreateWindow()", "Num Monitors: 1", "AdjustChildWindows() successful",
                  "+- Enter function: initStates", "+- Exit function: initStates",
                  "Running in fast mode", "Showing window via ShowWindow()",
                  "Entering main loop...", "WM_CLOSE: Checking PasswordDelay",
                  "WM_CLOSE: CanClose == true, Calling DestroyWindow()", "PostQuitMessage(0)",
                  "Exited main loop.", "ReleaseDC(hScrWindow,hDC)", "SystemParametersInfo()",
                  "Hiding child windows, if any", "+- Enter function: ShutdownSound()",
                  "+- Exit function: ShutdownSound()", "Successfully exiting ShutdownSound()",
                  "+- Enter function: CleanUp()", "+- Exit function: CleanUp()",
                  "Deleting slideshow object", "Deleting fast mode device contexts",
                  "Deleting slide bundles", "Deleting dimension list",
                  "Successfully exiting CleanUp()", "DestroyWindow(hparwnd)", "UnregisterClass()"));
  EXPECT_THAT(log.Errors(), IsEmpty());
  for (const support::LogLine& line : log.Lines()) {
    if (line.text.compare(0, 2, "+-") == 0) continue;
    EXPECT_EQ(line.mark, "I") << line.text;
    EXPECT_EQ(line.source, "Minimal") << line.text;
  }
}

TEST_F(Session, LeavesNothingBehind) {
  DoSaver(nullptr, SW_SHOW);
  EXPECT_FALSE(IsWindow(hScrWindow));
  EXPECT_EQ(gSlideshow, nullptr);
  EXPECT_EQ(SlideBundle, nullptr);
  EXPECT_EQ(FastCanvasDC, nullptr);
  WNDCLASSA windowClass{};
  EXPECT_FALSE(GetClassInfoA(InstanceHandle, "VelmoraSaver", &windowClass));
  EXPECT_FALSE(GetClassInfoA(InstanceHandle, "VelmoraChildClass", &windowClass));
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_EQ(ss->CriticalError, 0);
}

TEST_F(Session, WithTheLogOffWritesNone) {
  ASSERT_EQ(gLogger, nullptr);
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 1);
}

TEST_F(Session, ShowsATopmostPopupOverThePrimaryScreen) {
  bool seen = false;
  onFrame = [&](int) {
    seen = true;
    EXPECT_TRUE(IsWindowVisible(hScrWindow));
    EXPECT_EQ(ss->hWnd, hScrWindow);
    EXPECT_EQ(GetWindowLongA(hScrWindow, GWL_STYLE) & (WS_POPUP | WS_CHILD | WS_CAPTION),
              static_cast<LONG>(WS_POPUP));
    EXPECT_TRUE(GetWindowLongA(hScrWindow, GWL_EXSTYLE) & WS_EX_TOPMOST);
    char title[32] = "";
    GetWindowTextA(hScrWindow, title, sizeof title);
    EXPECT_STREQ(title, "Velmora 2");
    RECT place{};
    GetWindowRect(hScrWindow, &place);
    EXPECT_EQ(place.left, 0);
    EXPECT_EQ(place.top, 0);
    EXPECT_EQ(place.right, kTestWidth);
    EXPECT_EQ(place.bottom, kTestHeight);
    EXPECT_EQ(GetParent(hScrWindow), nullptr);
    EXPECT_EQ(ScreenWidth, kTestWidth);
    EXPECT_EQ(ScreenHeight, kTestHeight);
    EXPECT_EQ(ss->SaverActive, 1);
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_TRUE(seen);
}

TEST_F(Session, ItsWindowClassesAreBare) {
  onFrame = [&](int) {
    for (const char* name : {"VelmoraSaver", "VelmoraChildClass"}) {
      WNDCLASSA windowClass{};
      ASSERT_TRUE(GetClassInfoA(InstanceHandle, name, &windowClass)) << name;
      EXPECT_EQ(windowClass.style, static_cast<UINT>(CS_HREDRAW | CS_VREDRAW));
      EXPECT_EQ(windowClass.cbClsExtra, 0);
      EXPECT_EQ(windowClass.cbWndExtra, 0);
      EXPECT_EQ(windowClass.hIcon, nullptr);
      EXPECT_EQ(windowClass.hCursor, nullptr);
      EXPECT_EQ(windowClass.lpszMenuName, nullptr);
      const bool child = name[7] == 'C';
      EXPECT_EQ(windowClass.hbrBackground,
                child ? static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)) : nullptr);
      EXPECT_EQ(windowClass.lpfnWndProc, child ? ChildWindowProc : ScreenSaverProc);
    }
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 1);
}

TEST_F(Session, PassesOnHowToShowItsWindow) {
  std::vector<std::pair<HWND, int>> shown;
  HOOK_IMPORT(show, "user32.dll", ShowWindow, [&](HWND window, int how) -> BOOL {
    shown.emplace_back(window, how);
    return REAL_IMPORT("user32.dll", ShowWindow)(window, how);
  });
  HWND window = nullptr;
  onFrame = [&](int) {
    window = hScrWindow;
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOWNOACTIVATE);
  EXPECT_THAT(shown, ElementsAre(std::pair(window, SW_SHOWNOACTIVATE),
                                 std::pair(HWND{nullptr}, SW_HIDE)));
}

// What stood in the window before it was shown may be lost.
TEST_F(Session, TheFirstPictureIsOnTheScreenAtOnce) {
  bool seen = false;
  HOOK_IMPORT(show, "user32.dll", ShowWindow, [&](HWND window, int how) -> BOOL {
    PatBlt(hDC, 0, 0, kTestWidth, kTestHeight, WHITENESS);
    return REAL_IMPORT("user32.dll", ShowWindow)(window, how);
  });
  onFrame = [&](int) {
    seen = true;
    EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_TRUE(seen);
}

TEST_F(Session, TheFirstFrameDoesNotCountTheSetUp) {
  double firstFrame = -1;
  onFrame = [&](int) {
    firstFrame = FrameMs;
    CloseSaver();
  };
  const double start = clock.NowMs();
  DoSaver(nullptr, SW_SHOW);
  EXPECT_GT(clock.NowMs() - start, 1000) << "the first wipe takes its time";
  EXPECT_GE(firstFrame, 0);
  EXPECT_LT(firstFrame, 5);
}

TEST_F(Session, MotionDuringTheSetUpDoesNotCount) {
  POINT cursor{10, 10};
  HOOK_IMPORT(position, "user32.dll", GetCursorPos, [&](POINT* to) -> BOOL {
    *to = cursor;
    cursor = {700, 500};  // after the window's creation has asked
    return TRUE;
  });
  onFrame = [&](int frame) {
    EXPECT_EQ(ss->InitCursorPos.x, 700);
    EXPECT_EQ(ss->InitCursorPos.y, 500);
    if (frame == 1) PostMessageA(hScrWindow, WM_MOUSEMOVE, 0, 0);
    if (frame < 3) return;
    EXPECT_EQ(ss->CloseRequested, 0);
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 3);
}

TEST_F(Session, TheCrashFlagIsDownInTheLoopAndUpInTheTearDown) {
  onFrame = [&](int) {
    EXPECT_EQ(user.Dword("CrashFlag"), 0u);
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(WrittenTo("CrashFlag"), ElementsAre(0u, 1u, 0u));
}

TEST_F(Session, TheSystemKnowsThatASaverIsRunning) {
  onFrame = [&](int) {
    EXPECT_THAT(systemParameters, ElementsAre(std::pair(kScreenSaverRunning, 1u)));
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(systemParameters,
              ElementsAre(std::pair(kScreenSaverRunning, 1u), std::pair(kScreenSaverRunning, 0u)));
}

// --- The main loop ---

TEST_F(Session, AQuitEndsTheLoopAfterTheFrame) {
  onFrame = [](int frame) {
    if (frame == 4) PostQuitMessage(0);
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 4);
  EXPECT_TRUE(Done);
}

TEST_F(Session, AQuitDuringTheFirstWipeEndsItBeforeAnyFrame) {
  WriteBundle("g");
  bool windowMade = false;
  HOOK_IMPORT(window, "user32.dll", GetCursorPos, [&](POINT* to) -> BOOL {
    if (!std::exchange(windowMade, true)) PostQuitMessage(0);  // at the window's creation
    *to = {};
    return TRUE;
  });
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 0);
}

TEST_F(Session, AllWaitingMessagesComeBeforeTheNextFrame) {
  int dispatched = 0;
  HOOK_IMPORT(dispatch, "user32.dll", DispatchMessageA, [&](const MSG* message) -> LRESULT {
    dispatched += message->message == WM_USER;
    return REAL_IMPORT("user32.dll", DispatchMessageA)(message);
  });
  onFrame = [&](int frame) {
    if (frame == 1)
      for (int n = 0; n < 50; ++n) PostMessageA(hScrWindow, WM_USER, 0, 0);
    if (frame != 2) return;
    EXPECT_EQ(dispatched, 50);
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 2);
}

TEST_F(Session, AKeyInTheQueueEndsIt) {
  const support::TestLog log;
  onFrame = [](int frame) {
    if (frame == 2) PostMessageA(hScrWindow, WM_KEYDOWN, VK_SPACE, 1);
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(log.Texts(), Contains("Key pressed -- Quitting screensaver"));
}

// What happens within a frame happens as it reads the counter, which is its first act.
class SessionFrame : public Session {
 protected:
  SessionFrame() { mostFrames = 10; }

  // Has `act` happen once, within the fourth frame; `after` is called after that one.
  void WithinTheFourth(std::function<void()> act, std::function<void()> after = [] {}) {
    onFrame = [this, act = std::move(act), after = std::move(after)](int frame) {
      if (frame == 3) atReading_ = act;
      if (frame == 4) after();
    };
  }

 private:
  std::function<void()> atReading_;
  support::AnyHook counter_ = ANY_HOOK(
      "kernel32.dll", QueryPerformanceCounter, [this](LARGE_INTEGER* now) -> BOOL {
        clock.Advance(0.01);
        now->QuadPart = static_cast<std::int64_t>(clock.NowMs() * 10000);
        if (const auto act = std::exchange(atReading_, nullptr)) act();
        return TRUE;
      });
};

TEST_F(SessionFrame, AQuitWithinItEndsTheLoopAfterIt) {
  WithinTheFourth([] { PostQuitMessage(0); });
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 4);
  EXPECT_TRUE(Done);
}

// The wipe takes the quit out of the queue itself, and goes on to its end.
TEST_F(SessionFrame, AQuitWithinAWipeEndsTheLoopAfterTheWholePicture) {
  WithinTheFourth(
      [] {
        SlideMs = 1000000;
        PostQuitMessage(0);
      },
      [] {
        EXPECT_TRUE(Done);
        EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[1])));
      });
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 4);
}

TEST_F(SessionFrame, AnErrorOfTheGraphicsEndsTheSessionInOrder) {
  const support::TestLog log;
  WithinTheFourth([] { throw cGameError("The device is gone"); });
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 4);
  EXPECT_THAT(log.Errors(), ElementsAre("The device is gone"));
  EXPECT_EQ(ss->CriticalError, 2);
  EXPECT_EQ(user.Dword("CriticalError"), 2u);
  EXPECT_THAT(systemParameters, Contains(std::pair(kScreenSaverRunning, 0u)));
  EXPECT_EQ(gSlideshow, nullptr);
  EXPECT_THAT(boxes, IsEmpty());
}

// --- The display mode ---

struct Mode {
  int width, height, bits;
};

class DisplayMode : public Session {
 protected:
  void Request(Mode mode) {
    ss->DispModeWidth = mode.width;
    ss->DispModeHeight = mode.height;
    ss->DispModeBits = mode.bits;
  }
  void SetDesktop(Mode mode) {
    desktop.dmPelsWidth = static_cast<DWORD>(mode.width);
    desktop.dmPelsHeight = static_cast<DWORD>(mode.height);
    desktop.dmBitsPerPel = static_cast<DWORD>(mode.bits);
  }
  // The mode was changed to this one once, and back at the end.
  void ExpectChangedTo(Mode mode) {
    ASSERT_EQ(modeChanges.size(), 2u);
    const DEVMODEA& to = modeChanges[0].mode;
    EXPECT_FALSE(modeChanges[0].back);
    EXPECT_EQ(to.dmSize, 156);
    EXPECT_EQ(to.dmFields, 0x1c0000u);
    EXPECT_EQ(to.dmPelsWidth, static_cast<DWORD>(mode.width));
    EXPECT_EQ(to.dmPelsHeight, static_cast<DWORD>(mode.height));
    EXPECT_EQ(to.dmBitsPerPel, static_cast<DWORD>(mode.bits));
    EXPECT_EQ(modeChanges[0].flags, static_cast<DWORD>(CDS_FULLSCREEN));
    EXPECT_TRUE(modeChanges[1].back);
    EXPECT_EQ(modeChanges[1].flags, 0u);
    EXPECT_TRUE(ModeChanged);
  }
};

TEST_F(DisplayMode, StaysUnlessAnotherIsAskedFor) {
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(modeChanges, IsEmpty());
  EXPECT_FALSE(ModeChanged);
  EXPECT_EQ(RequestedMode.width, kTestWidth);
  EXPECT_EQ(RequestedMode.height, kTestHeight);
  EXPECT_EQ(RequestedMode.bits, 32);
}

TEST_F(DisplayMode, StaysIfThePresentOneIsAskedFor) {
  SetDesktop({1024, 768, 32});
  Request({1024, 768, 32});
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(modeChanges, IsEmpty());
  EXPECT_EQ(RequestedMode.width, 1024);
}

TEST_F(DisplayMode, ChangesIfAnyNumberDiffers) {
  for (const Mode mode : {Mode{800, 768, 32}, {1024, 600, 32}, {1024, 768, 16}}) {
    modeChanges.clear();
    SetDesktop({1024, 768, 32});
    Request(mode);
    ss->CloseRequested = 0;
    DoSaver(nullptr, SW_SHOW);
    ExpectChangedTo(mode);
  }
}

TEST_F(DisplayMode, OfADesktopAt24BitsBecomes16) {
  SetDesktop({1024, 768, 24});
  DoSaver(nullptr, SW_SHOW);
  ExpectChangedTo({1024, 768, 16});
  EXPECT_EQ(RequestedMode.bits, 16);
  EXPECT_EQ(DesktopMode.bits, 24);
}

TEST_F(DisplayMode, OfADesktopAt24BitsBecomesTheOneAskedFor) {
  SetDesktop({1024, 768, 24});
  Request({640, 480, 32});
  DoSaver(nullptr, SW_SHOW);
  ExpectChangedTo({640, 480, 32});
}

TEST_F(DisplayMode, OfTheDesktopIsRemembered) {
  SetDesktop({1024, 768, 32});
  Request({640, 480, 16});
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(DesktopMode.width, 1024);
  EXPECT_EQ(DesktopMode.height, 768);
  EXPECT_EQ(DesktopMode.bits, 32);
}

TEST_F(DisplayMode, ChangesAreLogged) {
  const support::TestLog log;
  Request({640, 480, 16});
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(log.Texts(),
              IsSupersetOf({"Requested mode:", "640x480x16", "Calling ChangeDisplaySettings()",
                            "Changing back display settings", "ChangeDisplaySettings(NULL,0)"}));
  EXPECT_THAT(log.Texts(), testing::Not(Contains("NO CHANGE")));
}

// The window takes the new mode's size, and the wallpaper the desktop's.
TEST_F(DisplayMode, ChangesBeforeTheWindowAndIsBackBeforeTheShowGoes) {
  Request({640, 480, 16});
  bool windowAtChange = true;
  bool showAtReturn = false;
  HOOK_IMPORT(change, "user32.dll", ChangeDisplaySettingsA, [&](DEVMODEA* mode, DWORD) -> LONG {
    if (mode)
      windowAtChange = hScrWindow != nullptr;
    else
      showAtReturn = gSlideshow != nullptr;
    return DISP_CHANGE_SUCCESSFUL;
  });
  DoSaver(nullptr, SW_SHOW);
  EXPECT_FALSE(windowAtChange);
  EXPECT_TRUE(showAtReturn);
}

TEST_F(DisplayMode, ThatTheCardRefusesEndsTheSession) {
  const support::TestLog log;
  Request({640, 480, 16});
  modeChangeResult = DISP_CHANGE_BADMODE;
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 0);
  EXPECT_EQ(hScrWindow, nullptr);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "The Requested Display Mode Is Not Supported By\nYour Video Card.");
  EXPECT_EQ(boxes[0].title, "Error");
  EXPECT_EQ(boxes[0].owner, nullptr);
  EXPECT_TRUE(boxes[0].activationSuppressed);
  EXPECT_THAT(log.Errors(), ElementsAre("Call to ChangeDisplaySettings() failed."));
  EXPECT_EQ(modeChanges.size(), 1u);
  EXPECT_TRUE(ModeChanged);
  WNDCLASSA windowClass{};
  EXPECT_TRUE(GetClassInfoA(InstanceHandle, "VelmoraSaver", &windowClass));
  EXPECT_EQ(ss->CriticalError, 0);
}

// --- Other monitors ---

// A second monitor, which is a place on the one real screen.
class OtherMonitors : public Session {
 protected:
  support::AnyHook devices = ANY_HOOK(
      "user32.dll", EnumDisplayDevicesA,
      [](LPCSTR device, DWORD index, DISPLAY_DEVICEA* to, DWORD) -> BOOL {
        if (device || index > 1) return FALSE;
        std::strcpy(to->DeviceName, index == 0 ? "A" : "B");
        to->StateFlags = DISPLAY_DEVICE_ATTACHED_TO_DESKTOP |
                         (index == 0 ? DISPLAY_DEVICE_PRIMARY_DEVICE : 0);
        return TRUE;
      });
  support::AnyHook settings = ANY_HOOK(
      "user32.dll", EnumDisplaySettingsA,
      [this](LPCSTR device, DWORD, DEVMODEA* mode) -> BOOL {
        *mode = desktop;
        if (device && *device == 'B') mode->dmPosition.x = 200;
        return TRUE;
      });
  support::AnyHook monitor =
      ANY_HOOK("user32.dll", MonitorFromRect,
               [](const RECT*, DWORD) -> HMONITOR { return reinterpret_cast<HMONITOR>(0x77); });

  static HWND FindChildWindow() {
    return FindWindowA("VelmoraChildClass", "Velmora Multimonitor window");
  }
};

TEST_F(OtherMonitors, AreCoveredAndShowThePicture) {
  const support::TestLog log;
  HWND child = nullptr;
  onFrame = [&](int) {
    child = FindChildWindow();
    ASSERT_NE(child, nullptr);
    EXPECT_TRUE(IsWindowVisible(child));
    EXPECT_TRUE(GetWindowLongA(child, GWL_EXSTYLE) & WS_EX_TOPMOST);
    EXPECT_EQ(GetWindow(child, GW_OWNER), hScrWindow);
    const HDC dc = GetWindowDC(child);
    EXPECT_TRUE(PixelsNear(support::ReadDc(dc, 0, 0, kTestWidth, kTestHeight),
                           Flat(kTestColours[0])));
    ReleaseDC(child, dc);
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  ASSERT_NE(child, nullptr);
  EXPECT_FALSE(IsWindow(child));
  EXPECT_THAT(log.Texts(), IsSupersetOf({"Num Monitors: 2", "AdjustChildWindows() successful"}));
}

TEST_F(OtherMonitors, KeepShowingTheDesktopIfTheSettingIsOff) {
  const support::TestLog log;
  ss->BlankAllScreens = 0;
  onFrame = [&](int) {
    EXPECT_EQ(FindChildWindow(), nullptr);
    EXPECT_EQ(ChildWindows.Count(), 0);
    CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 1);
  EXPECT_THAT(log.Texts(), testing::Not(Contains("Num Monitors: 2")));
}

// --- Failures of the set-up ---

TEST_F(Session, AClassThatCannotBeRegisteredEndsIt) {
  const support::TestLog log;
  HOOK_IMPORT(noClass, "user32.dll", RegisterClassA, [](const WNDCLASSA*) -> ATOM { return 0; });
  DoSaver(nullptr, SW_SHOW);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "RegisterClass() failed:  Cannot register window class.");
  EXPECT_EQ(boxes[0].title, "Error");
  EXPECT_EQ(boxes[0].owner, nullptr);
  EXPECT_TRUE(boxes[0].activationSuppressed);
  EXPECT_THAT(log.Errors(), ElementsAre("RegisterClass() failed!"));
  EXPECT_THAT(modeChanges, IsEmpty());
  EXPECT_THAT(systemParameters, IsEmpty());
  EXPECT_EQ(hScrWindow, nullptr);
  EXPECT_EQ(ss->CriticalError, 0);
}

TEST_F(Session, AWindowThatCannotBeMadeEndsItWithACriticalError) {
  const support::TestLog log;
  HOOK_IMPORT(noWindow, "user32.dll", CreateWindowExA,
              [](DWORD, LPCSTR, LPCSTR, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE,
                 void*) -> HWND { return nullptr; });
  DoSaver(nullptr, SW_SHOW);
  EXPECT_THAT(log.Errors(), ElementsAre("Call to CreateWindow() failed!"));
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_EQ(ss->CriticalError, 1);
  EXPECT_EQ(user.Dword("CriticalError"), 1u);
  EXPECT_THAT(systemParameters, IsEmpty());
  EXPECT_THAT(log.Texts(), Contains("Num Monitors: 1")) << "the other monitors come first";
}

TEST_F(Session, AShowThatCannotBeBuiltEndsItWithACriticalError) {
  const support::TestLog log;
  DeleteFileA(BundlePath.c_str());
  ss->DispModeWidth = 640;
  ss->DispModeHeight = 480;
  ss->DispModeBits = 16;
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 0);
  EXPECT_THAT(log.Errors(),
              ElementsAre("Could not open the image bundle!", "initStates() failed!"));
  EXPECT_EQ(ss->CriticalError, 1);
  EXPECT_EQ(user.Dword("CriticalError"), 1u);
  ASSERT_EQ(boxes.size(), 2u);
  EXPECT_EQ(boxes[1].text, "Problem encountered in initStates().");
  EXPECT_EQ(boxes[1].title, "ERROR");
  EXPECT_EQ(boxes[1].owner, ss->hWnd);
  EXPECT_TRUE(boxes[1].activationSuppressed);
  ASSERT_EQ(modeChanges.size(), 2u);
  EXPECT_TRUE(modeChanges[1].back);
  EXPECT_EQ(modeChanges[1].flags, 0u);
  EXPECT_THAT(systemParameters,
              ElementsAre(std::pair(kScreenSaverRunning, 1u), std::pair(kScreenSaverRunning, 0u)));
  const std::vector<std::string> texts = log.Texts();
  EXPECT_THAT(std::vector<std::string>(texts.end() - 4, texts.end()),
              ElementsAre("initStates() failed!", "Changing back to original display settings...",
                          "Calling ChangeDisplaySettings()", "Calling SystemParametersInfo()"));
}

TEST_F(Session, AFailureOfTheSetUpLeavesTheWindowToTheProcesssEnd) {
  DeleteFileA(BundlePath.c_str());
  DoSaver(nullptr, SW_SHOW);
  EXPECT_TRUE(IsWindow(hScrWindow));
}

TEST_F(OtherMonitors, AreUncoveredIfTheSetUpFails) {
  DeleteFileA(BundlePath.c_str());
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(ChildWindows.Count(), 2);
  EXPECT_EQ(FindChildWindow(), nullptr);
  WNDCLASSA windowClass{};
  EXPECT_FALSE(GetClassInfoA(InstanceHandle, "VelmoraChildClass", &windowClass));
}

// --- Preview ---

class Preview : public Session {
 protected:
  void SetUp() override {
    Session::SetUp();
    RunMode = RUNMODE_PREVIEW;
    ss->PlayMusic = ss->SetAsWallpaper = ss->ShowCaptions = 1;
    ss->FastMode = 0;
    ss->DispModeWidth = 640;
    ss->DispModeHeight = 480;
    ss->DispModeBits = 16;
    parent = CreateWindowExA(0, "STATIC", "", WS_POPUP | WS_VISIBLE, 20, 30, kTestWidth,
                             kTestHeight, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(parent, nullptr);
    ParentWindow = parent;
    onFrame = [this](int) { DestroyWindow(parent); };
  }
  void TearDown() override {
    if (IsWindow(parent)) DestroyWindow(parent);
    Session::TearDown();
  }

  HWND parent = nullptr;
};

TEST_F(Preview, FillsItsParentsClientArea) {
  bool seen = false;
  onFrame = [&](int) {
    seen = true;
    EXPECT_EQ(GetParent(hScrWindow), parent);
    EXPECT_EQ(GetWindowLongA(hScrWindow, GWL_STYLE) & (WS_CHILD | WS_VISIBLE | WS_POPUP),
              static_cast<LONG>(WS_CHILD | WS_VISIBLE));
    EXPECT_FALSE(GetWindowLongA(hScrWindow, GWL_EXSTYLE) & WS_EX_TOPMOST);
    RECT place{};
    GetWindowRect(hScrWindow, &place);
    EXPECT_EQ(place.left, 20);
    EXPECT_EQ(place.top, 30);
    EXPECT_EQ(ScreenWidth, kTestWidth);
    EXPECT_EQ(ScreenHeight, kTestHeight);
    EXPECT_TRUE(PixelsNear(Screen(), Flat(kTestColours[0])));
    DestroyWindow(parent);
  };
  DoSaver(parent, SW_SHOW);
  EXPECT_TRUE(seen);
}

TEST_F(Preview, IsSilentPlainAndWithoutATrace) {
  onFrame = [&](int) {
    EXPECT_EQ(ss->PlayMusic, 0);
    EXPECT_EQ(ss->SetAsWallpaper, 0);
    EXPECT_EQ(ss->ShowCaptions, 0);
    EXPECT_EQ(ss->FastMode, 1);
    EXPECT_FALSE(ModeChanged);
    DestroyWindow(parent);
  };
  DoSaver(parent, SW_SHOW);
  EXPECT_EQ(frames, 1);
  EXPECT_THAT(modeChanges, IsEmpty());
  EXPECT_THAT(systemParameters, IsEmpty());
  EXPECT_EQ(ChildWindows.Count(), 0);
  EXPECT_THAT(WrittenTo("CrashFlag"), ElementsAre(0u, 0u));
  EXPECT_EQ(user.ValueNames(), std::vector<std::string>{"CrashFlag"});
}

TEST_F(Preview, EndsWithItsParent) {
  onFrame = [&](int frame) {
    if (frame == 5) DestroyWindow(parent);
  };
  DoSaver(parent, SW_SHOW);
  EXPECT_EQ(frames, 5);
}

// What it does to its parent has an effect here, where that is a window of this
// process.
TEST_F(Preview, EndsWithAClose) {
  std::vector<std::pair<HWND, int>> shown;
  HOOK_IMPORT(show, "user32.dll", ShowWindow, [&](HWND window, int how) -> BOOL {
    shown.emplace_back(window, how);
    return REAL_IMPORT("user32.dll", ShowWindow)(window, how);
  });
  onFrame = [](int frame) {
    if (frame == 2) PostMessageA(hScrWindow, WM_CLOSE, 0, 0);
  };
  DoSaver(parent, SW_SHOW);
  EXPECT_EQ(frames, 2);
  EXPECT_THAT(shown, Contains(std::pair(parent, SW_HIDE)));
  EXPECT_FALSE(IsWindow(parent));
}

TEST_F(Preview, WithoutABundleEndsItsParent) {
  DeleteFileA(BundlePath.c_str());
  DoSaver(parent, SW_SHOW);
  EXPECT_EQ(frames, 0);
  EXPECT_EQ(ss->CriticalError, 1);
  EXPECT_FALSE(IsWindow(parent));
}

TEST_F(Preview, KeysAndMotionDoNothing) {
  HOOK_IMPORT(position, "user32.dll", GetCursorPos, [this](POINT* to) -> BOOL {
    *to = {frames * 300, 0};
    return TRUE;
  });
  onFrame = [&](int frame) {
    PostMessageA(hScrWindow, WM_KEYDOWN, VK_SPACE, 1);
    PostMessageA(hScrWindow, WM_MOUSEMOVE, 0, 0);
    PostMessageA(hScrWindow, WM_LBUTTONDOWN, MK_LBUTTON, 0);
    EXPECT_EQ(ss->CloseRequested, 0);
    if (frame == 5) DestroyWindow(parent);
  };
  DoSaver(parent, SW_SHOW);
  EXPECT_EQ(frames, 5);
}

TEST_F(Preview, TellsOfItsWindowInTheLog) {
  const support::TestLog log;
  DoSaver(parent, SW_SHOW);
  EXPECT_THAT(log.Texts(), IsSupersetOf({"Creating preview window via CreateWindow()",
                                         "Running in fast mode", "PostQuitMessage(0)"}));
  for (const char* text : {"Calling CreateWindow()", "SystemParametersInfo()", "NO CHANGE"})
    EXPECT_THAT(log.Texts(), testing::Not(Contains(text)));
}

TEST_F(Preview, InAnEmptyAreaIsHarmless) {
  SetWindowPos(parent, nullptr, 0, 0, 0, 0, SWP_NOZORDER);
  onFrame = [&](int frame) {
    if (frame == 3) DestroyWindow(parent);
  };
  DoSaver(parent, SW_SHOW);
  EXPECT_EQ(frames, 3);
  EXPECT_EQ(ScreenWidth, 0);
}

TEST_F(Preview, WithoutAParentEndsWithACriticalError) {
  DestroyWindow(parent);
  DoSaver(parent, SW_SHOW);
  EXPECT_EQ(frames, 0);
  EXPECT_EQ(ss->CriticalError, 1);
}

}  // namespace

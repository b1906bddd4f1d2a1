#pragma once
// A machine for a whole saver session within one test: a small screen, a
// bundle, a settings key of its own, and a clock that nobody has to wait for.
// What the session asks of the system is noted.

#include "app/FastSession.h"
#include "app/Minimal.h"
#include "app/Monitors.h"
#include "slideshow/FastRenderer.h"
#include "slideshow/Slideshow.h"
#include "support/BundleWriter.h"
#include "support/ImportHook.h"
#include "support/MovingClock.h"
#include "support/PixelHelpers.h"
#include "support/RegistrySandbox.h"
#include "support/SessionState.h"
#include "support/TempFolder.h"
#include "support/TestPictures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

constexpr int kTestWidth = 64;
constexpr int kTestHeight = 48;
constexpr std::uint32_t kTestColours[] = {0xCC1122, 0x11CC22, 0x1122CC, 0xCCCC11};

struct Box {
  HWND owner;
  std::string text, title;
  UINT style;
  bool activationSuppressed;  // at the time the box stood
};

struct ModeChange {
  bool back;  // to the desktop's own mode
  DEVMODEA mode;
  DWORD flags;
};

class SaverMachine : public testing::Test {
 protected:
  SaverMachine() {
    support::ResetSessionGlobals();
    desktop.dmPelsWidth = kTestWidth;
    desktop.dmPelsHeight = kTestHeight;
    desktop.dmBitsPerPel = 32;
    desktop.dmDisplayFrequency = 60;
    ChildWindows = ChildWindowSet{};
    SlideMs = 0;
    BundlePath = temp.File("images.bdl");
  }

  ~SaverMachine() override { support::ResetSessionGlobals(); }

  // Takes away what a failed session leaves to the process's end. The window's
  // procedure still needs the settings.
  static void CloseSession() {
    if (IsWindow(hScrWindow)) DestroyWindow(hScrWindow);
    hScrWindow = nullptr;
    UnregisterClassA("VelmoraSaver", GetModuleHandleA(nullptr));
    UnregisterClassA("VelmoraChildClass", GetModuleHandleA(nullptr));
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    }
  }

  // `settings` as the run's, for a silent saver that shows its bundle in order.
  static void BeginRun(SaverSettings& settings, bool fastMode) {
    ss = &settings;
    RunMode = RUNMODE_SAVER;
    ss->FastMode = fastMode;
    ss->PlayMusic = 0;
    ss->RandomOrder = 0;
  }
  // What a session knows of the screen once it has its window.
  static void TellScreen() {
    ScreenWidth = kTestWidth;
    ScreenHeight = kTestHeight;
    RequestedMode = DesktopMode = {kTestWidth, kTestHeight, 32};
  }

  // A bundle of flat pictures of the screen's size, one a letter of `slides`:
  // "g" a good one, "b" one that is no picture.
  void WriteBundle(const std::string& slides) {
    std::vector<support::TestSlide> list;
    for (std::size_t n = 0; n < slides.size(); ++n)
      list.push_back({"slide" + std::to_string(n),
                      slides[n] == 'g' ? support::MakeBmp(kTestWidth, kTestHeight,
                                                          support::Flat(kTestColours[n]))
                                       : support::BytesOf("no picture"),
                      kTestWidth, kTestHeight, "Caption " + std::to_string(n)});
    support::WriteWholeFile(BundlePath, MakeSlideBundle(list));
  }

  static support::Pixels Screen() { return support::ReadDc(hDC, 0, 0, kTestWidth, kTestHeight); }
  static support::Pixels Flat(std::uint32_t colour) {
    return support::Pixels(kTestWidth, kTestHeight, colour);
  }
  // The values that were written under `name`, in order.
  std::vector<std::uint32_t> WrittenTo(const std::string& name) const {
    std::vector<std::uint32_t> values;
    for (const auto& [written, value] : numbersWritten)
      if (written == name) values.push_back(value);
    return values;
  }

  support::TempFolder temp;
  support::RegistrySandbox user{HKEY_CURRENT_USER, "Software\\Tarnwick\\TarnwickSaver\\Velmora2"};
  support::MovingClock clock;

  // What the machine is like.
  DEVMODEA desktop{};
  LONG modeChangeResult = DISP_CHANGE_SUCCESSFUL;
  // Called after each turn of the main loop, with its number.
  std::function<void(int frame)> onFrame = [](int) { CloseSaver(); };
  int mostFrames = 10000;  // a session that goes on longer is ended

  // What was asked of it.
  int frames = 0;
  std::vector<Box> boxes;
  std::vector<ModeChange> modeChanges;
  std::vector<std::pair<UINT, UINT>> systemParameters;  // action and parameter
  std::vector<std::pair<std::string, std::uint32_t>> numbersWritten;

 private:
  void EndTurn(DWORD ms) {
    constexpr DWORD kMainLoopSleepMs = 5;
    clock.Advance(ms);
    if (ms != kMainLoopSleepMs) return;
    ++frames;
    if (frames > mostFrames) {
      ADD_FAILURE() << "the session doesn't end";
      Done = true;  // a quit may be what it doesn't heed
    } else {
      onFrame(frames);
    }
  }

  std::vector<support::AnyHook> hooks_{
      ANY_HOOK("kernel32.dll", Sleep, [this](DWORD ms) { EndTurn(ms); }),
      ANY_HOOK("user32.dll", GetSystemMetrics,
               [](int which) {
                 if (which == SM_CXSCREEN) return kTestWidth;
                 if (which == SM_CYSCREEN) return kTestHeight;
                 return REAL_IMPORT("user32.dll", GetSystemMetrics)(which);
               }),
      ANY_HOOK("user32.dll", EnumDisplaySettingsA,
               [this](LPCSTR device, DWORD which, DEVMODEA* mode) -> BOOL {
                 if (device)
                   return REAL_IMPORT("user32.dll", EnumDisplaySettingsA)(device, which, mode);
                 EXPECT_EQ(which, ENUM_CURRENT_SETTINGS);
                 *mode = desktop;
                 return TRUE;
               }),
      ANY_HOOK("user32.dll", ChangeDisplaySettingsA,
               [this](DEVMODEA* mode, DWORD flags) -> LONG {
                 modeChanges.push_back({mode == nullptr, mode ? *mode : DEVMODEA{}, flags});
                 return modeChangeResult;
               }),
      ANY_HOOK("user32.dll", MessageBoxA,
               [this](HWND owner, LPCSTR text, LPCSTR title, UINT style) {
                 boxes.push_back({owner, text, title, style, ss && ss->SuppressActivateClose != 0});
                 return IDOK;
               }),
      ANY_HOOK("user32.dll", SystemParametersInfoA,
               [this](UINT action, UINT parameter, void*, UINT) -> BOOL {
                 systemParameters.emplace_back(action, parameter);
                 return TRUE;
               }),
      ANY_HOOK("advapi32.dll", RegSetValueExA,
               [this](HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                      DWORD size) -> LSTATUS {
                 std::uint32_t number = 0;
                 if (type == REG_DWORD && size == sizeof number) {
                   std::memcpy(&number, data, sizeof number);
                   numbersWritten.emplace_back(name, number);
                 }
                 return REAL_IMPORT("advapi32.dll", RegSetValueExA)(key, name, reserved, type, data,
                                                                    size);
               }),
  };
};

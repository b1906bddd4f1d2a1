#pragma once
// The configuration window as it really is, over a test skin: the real resource,
// real windows, the real registry. What would leave the program (browser, help,
// message boxes, other dialogs) is noted instead.

#include "ControlHost.h"
#include "TestSkin.h"
#include "settings/Settings.h"
#include "support/ImportHook.h"
#include "support/MethodHook.h"
#include "support/RegistrySandbox.h"
#include "support/SessionState.h"
#include "support/TempFolder.h"
#include "ui/ConfigDialog.h"
#include "ui/ConfigTooltips.h"
#include "ui/KeyboardHook.h"
#include "ui/Skin.h"
#include "ui/resource.h"

#include <gmock/gmock.h>

#include <cstring>
#include <ddraw.h>
#include <functional>
#include <optional>
#include <shellapi.h>
#include <string>
#include <vector>

struct Box {
  HWND owner;
  std::string text, title;
  UINT flags;
};

struct OpenedDialog {
  HINSTANCE instance;
  LPCSTR resource;
  HWND owner;
  DLGPROC procedure;
};

struct Mode {
  DWORD width, height, bits;
};

class DialogTest : public testing::Test {
 protected:
  DialogTest() { WriteProgram(support::ProgramWith(members)); }
  ~DialogTest() override { Close(); }

  // The program file that the skin stands behind.
  void WriteProgram(const support::Bytes& bytes) {
    const std::string path = temp.Write("Program.exe", bytes);
    std::strcpy(ModulePath, path.c_str());
  }
  void WriteMembers() { WriteProgram(support::ProgramWith(members)); }

  HWND Open() {
    dialog = CreateDialogParamA(InstanceHandle, MAKEINTRESOURCEA(IDD_CONFIG), nullptr,
                                ConfigDialogProc, 0);
    support::PumpMessages();
    return dialog;
  }
  void Close() {
    if (dialog) DestroyWindow(dialog);
    dialog = nullptr;
    support::PumpMessages();
  }
  HWND Control(int id) const { return GetDlgItem(dialog, id); }
  void Command(int id, int notification = 0) const {
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, notification),
                 reinterpret_cast<LPARAM>(Control(id)));
  }
  void ClickControl(int id, int x = 5, int y = 5) const { support::Click(Control(id), x, y); }
  void PressOk() const { ClickControl(IDOK); }

  // What the window shows, controls and all.
  support::Pixels Shown() const {
    const HDC dc = GetDC(dialog);
    support::Pixels pixels = support::ReadDc(dc, 0, 0, 640, 458);
    ReleaseDC(dialog, dc);
    return pixels;
  }
  support::Pixels Shown(int x, int y, int width, int height) const {
    return Shown().Cut(x, y, width, height);
  }
  static support::Pixels Skin(int x, int y, int width, int height) {
    static const support::Pixels skin =
        support::Render(support::kSkinWidth, support::kSkinHeight, support::SkinColour);
    return skin.Cut(x, y, width, height);
  }
  RECT PlaceOf(int id) const {
    RECT rect{};
    GetWindowRect(Control(id), &rect);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
  }

  support::SessionState session;
  SaverSettings& settings = session.settings;
  support::RegistrySandbox user{HKEY_CURRENT_USER, kSettingsKey};
  support::TempFolder temp;
  support::SkinMembers members = support::TestSkinMembers();
  HWND dialog = nullptr;

  std::vector<Box> boxes;
  int boxAnswer = IDOK;
  std::function<void()> duringBox = [] {};
  std::vector<OpenedDialog> dialogs;
  std::function<void()> duringDialog = [] {};
  std::vector<std::string> pages;   // addresses that ShellExecuteA was given
  std::vector<std::string> helps;   // files that WinHelpA was given
  std::vector<INT_PTR> results;     // of EndDialog
  std::optional<std::vector<Mode>> modes = std::vector<Mode>{};  // of the card; nothing: no card
  bool asksCard = false;            // the real one instead

 private:
  HRESULT OfferModes(void* context, LPDDENUMMODESCALLBACK2 callback) const {
    for (const Mode& mode : *modes) {
      DDSURFACEDESC2 description{};
      description.dwSize = sizeof description;
      description.dwWidth = mode.width;
      description.dwHeight = mode.height;
      description.ddpfPixelFormat.dwRGBBitCount = mode.bits;
      if (callback(&description, context) != DDENUMRET_OK) break;
    }
    return DD_OK;
  }

  // A live object leads to the table of methods that all of them share.
  static IDirectDraw7* AnyDirectDraw() {
    static IDirectDraw7* directDraw = [] {
      void* made = nullptr;
      REAL_IMPORT("ddraw.dll", DirectDrawCreateEx)(nullptr, &made, IID_IDirectDraw7, nullptr);
      return static_cast<IDirectDraw7*>(made);
    }();
    return directDraw;
  }

  std::vector<support::AnyHook> hooks_{
      ANY_HOOK("ddraw.dll", DirectDrawCreateEx,
               [this](GUID* driver, LPVOID* made, REFIID id, IUnknown* outer) -> HRESULT {
                 if (!modes) return DDERR_NODIRECTDRAWHW;
                 if (asksCard)
                   return REAL_IMPORT("ddraw.dll", DirectDrawCreateEx)(driver, made, id, outer);
                 // Making one takes half a second, so all windows share it.
                 AnyDirectDraw()->AddRef();
                 *made = AnyDirectDraw();
                 return DD_OK;
               }),
      ANY_HOOK("user32.dll", MessageBoxA,
               [this](HWND owner, LPCSTR text, LPCSTR title, UINT flags) -> int {
                 boxes.push_back({owner, text, title, flags});
                 duringBox();
                 return boxAnswer;
               }),
      ANY_HOOK("user32.dll", DialogBoxParamA,
               [this](HINSTANCE instance, LPCSTR resource, HWND owner, DLGPROC procedure,
                      LPARAM parameter) -> INT_PTR {
                 EXPECT_EQ(parameter, 0);
                 dialogs.push_back({instance, resource, owner, procedure});
                 duringDialog();
                 return IDOK;
               }),
      ANY_HOOK("shell32.dll", ShellExecuteA,
               [this](HWND owner, LPCSTR verb, LPCSTR file, LPCSTR arguments, LPCSTR folder,
                      INT show) -> HINSTANCE {
                 EXPECT_EQ(owner, nullptr);
                 EXPECT_EQ(verb, nullptr);
                 EXPECT_EQ(arguments, nullptr);
                 EXPECT_EQ(folder, nullptr);
                 EXPECT_EQ(show, SW_MAXIMIZE);
                 pages.push_back(file);
                 return nullptr;
               }),
      ANY_HOOK("user32.dll", WinHelpA,
               [this](HWND owner, LPCSTR file, UINT command, ULONG_PTR data) -> BOOL {
                 EXPECT_EQ(owner, dialog);
                 EXPECT_EQ(command, 3u);
                 EXPECT_EQ(data, 0u);
                 helps.push_back(file);
                 return TRUE;
               }),
      ANY_HOOK("user32.dll", EndDialog,
               [this](HWND hwnd, INT_PTR result) -> BOOL {
                 results.push_back(result);
                 return REAL_IMPORT("user32.dll", EndDialog)(hwnd, result);
               }),
      MakeModesHook()};

  support::AnyHook MakeModesHook() {
    const auto offer = [this](auto real, IDirectDraw7* self, DWORD flags, LPDDSURFACEDESC2 filter,
                              LPVOID context, LPDDENUMMODESCALLBACK2 callback) -> HRESULT {
      EXPECT_EQ(flags, 0u);
      EXPECT_EQ(filter, nullptr);
      return asksCard ? real(self, flags, filter, context, callback)
                      : OfferModes(context, callback);
    };
    using Hook = decltype(support::HookMethod(AnyDirectDraw(), &IDirectDraw7::EnumDisplayModes,
                                              offer));
    struct Holder {
      explicit Holder(decltype(offer) lambda)
          : hook(AnyDirectDraw(), &IDirectDraw7::EnumDisplayModes, lambda) {}
      Hook hook;
    };
    return std::make_shared<Holder>(offer);
  }
};

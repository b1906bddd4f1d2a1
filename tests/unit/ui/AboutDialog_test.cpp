#include "ui/AboutDialog.h"

#include "ControlHost.h"
#include "support/FakeClock.h"
#include "support/GdiGauge.h"
#include "support/ModalDialog.h"
#include "support/SessionState.h"
#include "ui/Skin.h"
#include "ui/WebSite.h"
#include "ui/resource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <commctrl.h>
#include <optional>
#include <shellapi.h>
#include <string>
#include <vector>

using namespace support;
using testing::ElementsAre;

namespace {

constexpr char kTitle[] = "About Velmora 2  v 1.0";

class AboutDialogTest : public testing::Test {
 protected:
  AboutDialogTest() { gSkinDC = skin.Dc(); }
  ~AboutDialogTest() override { gSkinDC = nullptr; }

  void Run(const ModalScript::Action& act, int end = IDOK) {
    ModalScript script;
    script.When(kTitle, [&](HWND dialog) {
      act(dialog);
      PostCommand(dialog, end);
    });
    EXPECT_EQ(script.Run(IDD_ABOUT, AboutDialogProc), end);
  }
  static Pixels Roll(HWND dialog) { return ReadControl(GetDlgItem(dialog, IDC_CREDITS)); }

  SessionState session;
  Picture skin{640, 458, Gradient()};
  std::vector<std::string> opened;
  AnyHook shell = ANY_HOOK("shell32.dll", ShellExecuteA,
                           [this](HWND owner, LPCSTR verb, LPCSTR file, LPCSTR parameters, LPCSTR,
                                  INT show) -> HINSTANCE {
                             EXPECT_EQ(owner, nullptr);
                             EXPECT_EQ(verb, nullptr);
                             EXPECT_EQ(parameters, nullptr);
                             EXPECT_EQ(show, SW_MAXIMIZE);
                             opened.push_back(file);
                             return nullptr;
                           });
};

TEST_F(AboutDialogTest, HasItsControlsInTheirPlaces) {
  Run([](HWND dialog) {
    ExpectFrame(dialog, kTitle, 310, 208);
    ExpectControl(dialog, 1, "Button", "OK", 271, 192, 34, 13);
    ExpectControl(dialog, 1073, "Static", kWebSite, 207, 17, 100, 10);
    ExpectControl(dialog, 1011, "Button", "Credits", 6, 63, 298, 96);
    ExpectText(dialog, "Credits:");
    RECT button{};
    GetWindowRect(GetDlgItem(dialog, 1012), &button);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&button), 2);
    EXPECT_EQ(button.left, 456);
    EXPECT_EQ(button.top, 330);
    EXPECT_EQ(button.right - button.left, 154);
    EXPECT_EQ(button.bottom - button.top, 28);
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongA(GetDlgItem(dialog, 1012), GWL_STYLE)),
              0x5000000Bu);
  });
}

TEST_F(AboutDialogTest, BothButtonsCloseIt) {
  Run([](HWND) {}, IDOK);
  Run([](HWND) {}, IDCANCEL);
}

TEST_F(AboutDialogTest, TheLinkAndTheButtonOpenTheMakersSite) {
  Run([](HWND dialog) {
    Press(GetDlgItem(dialog, 1073), 5, 5);
    Release(GetDlgItem(dialog, 1073), 5, 5);
    ClickButton(dialog, 1012);
  });
  const std::string site = std::string(kWebSite) + "/";
  EXPECT_THAT(opened, ElementsAre(site, site));
}

TEST_F(AboutDialogTest, TheLinkIsBlue) {
  Run([](HWND dialog) {
    EXPECT_EQ(GetPropA(GetDlgItem(dialog, 1073), "_Hyperlink_Color_"),
              reinterpret_cast<HANDLE>(0x00C00000));
  });
}

TEST_F(AboutDialogTest, TheButtonShowsItsPieceOfTheSkin) {
  const Pixels piece = Render(640, 458, Gradient()).Cut(14, 94, 154, 28);
  for (int opening = 0; opening < 2; ++opening)
    Run([&](HWND dialog) {
      UpdateWindow(GetDlgItem(dialog, 1012));
      EXPECT_TRUE(PixelsNear(ReadControl(GetDlgItem(dialog, 1012)), piece));
    });
}

TEST_F(AboutDialogTest, WithoutASkinTheButtonIsBlank) {
  gSkinDC = nullptr;
  Run([this](HWND dialog) {
    UpdateWindow(GetDlgItem(dialog, 1012));
    EXPECT_TRUE(PixelsNear(ReadControl(GetDlgItem(dialog, 1012)), Pixels(154, 28, 0)));
    ClickButton(dialog, 1012);
    EXPECT_EQ(opened.size(), 1u);
  });
}

TEST_F(AboutDialogTest, TheButtonHasATooltip) {
  Run([](HWND) {
    int found = 0;
    for (const HWND window : WindowsOfThread()) {
      if (ClassOf(window) != TOOLTIPS_CLASSA) continue;
      char text[256] = "";
      TOOLINFOA tool{};
      tool.cbSize = TTTOOLINFOA_V2_SIZE;
      tool.lpszText = text;
      SendMessageA(window, TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool));
      SendMessageA(window, TTM_GETTEXTA, 0, reinterpret_cast<LPARAM>(&tool));
      EXPECT_STREQ(text, "Click to visit Tarnwick's website");
      ++found;
    }
    EXPECT_EQ(found, 1);
  });
  for (const HWND window : WindowsOfThread()) EXPECT_NE(ClassOf(window), TOOLTIPS_CLASSA);
}

TEST_F(AboutDialogTest, TheTimerMovesTheRoll) {
  std::optional<Pixels> first;
  ModalScript script;
  script.When(kTitle, [&](HWND dialog) { first = Roll(dialog); })
      .When(
          [&]() -> HWND {
            const HWND dialog = FindVisible(kTitle);
            return dialog && !PixelsNear(Roll(dialog), *first) ? dialog : nullptr;
          },
          [](HWND dialog) { PostCommand(dialog, IDOK); });
  EXPECT_EQ(script.Run(IDD_ABOUT, AboutDialogProc), IDOK);
}

// Collects what is drawn in the roll, each line once.
class DrawnTexts {
 public:
  std::vector<std::string> texts;
  std::vector<int> widths;  // px

 private:
  AnyHook hook_ = ANY_HOOK("user32.dll", DrawTextA,
                           [this](HDC dc, LPCSTR text, int length, LPRECT place,
                                  UINT format) -> int {
                             EXPECT_EQ(format, static_cast<UINT>(DT_CENTER));
                             Note(dc, text);
                             return REAL_IMPORT("user32.dll", DrawTextA)(dc, text, length, place,
                                                                         format);
                           });
  void Note(HDC dc, LPCSTR text) {
    if (std::find(texts.begin(), texts.end(), text) != texts.end()) return;
    texts.push_back(text);
    SIZE size{};
    GetTextExtentPoint32A(dc, text, lstrlenA(text), &size);
    widths.push_back(size.cx);
  }
};

TEST_F(AboutDialogTest, TheRollTellsWhoMadeWhatUnderWhichLicence) {
  FakeClock clock;
  DrawnTexts drawn;
  LONG room = 0;
  Run([&](HWND dialog) {
    RECT rect{};
    GetClientRect(GetDlgItem(dialog, IDC_CREDITS), &rect);
    room = rect.right;
    for (int frame = 0; frame < 300; ++frame) {
      clock.Advance(500);
      SendMessageA(dialog, WM_TIMER, 123, 0);
    }
  });
  const auto shows = [&](const char* line) {
    return std::find(drawn.texts.begin(), drawn.texts.end(), line) != drawn.texts.end();
  };
  ASSERT_GE(drawn.texts.size(), 2u);
  EXPECT_EQ(drawn.texts[0], "Velmora 2");
  EXPECT_EQ(drawn.texts[1], "Version 1.0");
  std::size_t place = 0;
  for (const char* heading :
       {"Written by:", "Music composed by:", "Image Library:", "Audio Library:", "Installer:",
        "Timing Code:", "String search code:", "Window skin utility", "&&",
        "networking framework:", "Logging class:", "Hyperlink code:", "Special thanks to:",
        "~~~"}) {
    const auto found = std::find(drawn.texts.begin(), drawn.texts.end(), heading);
    ASSERT_NE(found, drawn.texts.end()) << heading;
    const auto here = static_cast<std::size_t>(found - drawn.texts.begin());
    EXPECT_GT(here, place) << heading;
    place = here;
  }
  for (const char* library : {"libjpeg-turbo (IJG and BSD licences)",
                              "libpng and zlib (libpng and zlib licences)",
                              "libwebp (BSD licence)", "giflib (MIT licence)",
                              "libmpg123 (LGPL 2.1),", "libogg and libvorbis (BSD licence)",
                              "folder \"licences\" beside the program."})
    EXPECT_TRUE(shows(library)) << library;
  for (std::size_t n = 0; n < drawn.texts.size(); ++n)
    EXPECT_LE(drawn.widths[n], room) << drawn.texts[n];
}

TEST_F(AboutDialogTest, LeavesNothingBehind) {
  Run([](HWND) {});
  const GdiGauge gauge;
  for (int n = 0; n < 3; ++n) Run([](HWND) {});
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace

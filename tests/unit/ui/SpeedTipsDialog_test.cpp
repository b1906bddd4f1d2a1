#include "ui/SpeedTipsDialog.h"

#include "support/ModalDialog.h"
#include "support/RegistrySandbox.h"
#include "support/SessionState.h"
#include "ui/resource.h"

#include <gtest/gtest.h>

using namespace support;

namespace {

constexpr char kTitle[] = "Speed-Up Tips!";

constexpr const char* kTexts[] = {
    "The screensaver appears to be running slowly.",
    "Here are some helpful tips to improve the performance of the screensaver:",
    "--  Make sure the \"High Quality\" option is disabled.",
    "--  Try using a smaller \"Display Mode\" and/or disable crossfading.",
    "--  If you're still not satisfied with the screensaver's performance, you might try turning "
    "off animation.  When animation is disabled, slower performance is less noticable.",
    "--  If all else fails to achieve the desired performance, turn on the \"Run in 'fast' mode\" "
    "option.  This mode should work well on ANY type of PC.  What's more, this should work well "
    "even at high display modes so you don't sacrifice image quality!",
    "  Detailed help is also always available by clicking the \"Help!\" button on the main "
    "configuration window.",
};

class SpeedTipsTest : public testing::Test {
 protected:
  void Run(const ModalScript::Action& act, int end) {
    ModalScript script;
    script.When(kTitle, [&](HWND dialog) {
      act(dialog);
      ClickButton(dialog, end);
    });
    EXPECT_EQ(script.Run(IDD_SPEED_TIPS, SpeedTipsDialogProc), end);
  }
  static SaverSettings Stored() {
    SaverSettings settings;
    settings.ReadRegistry();
    return settings;
  }

  RegistrySandbox registry{HKEY_CURRENT_USER, kSettingsKey};
  SessionState session;
};

TEST_F(SpeedTipsTest, HasItsControlsInTheirPlaces) {
  Run(
      [](HWND dialog) {
        ExpectFrame(dialog, kTitle, 249, 170);
        ExpectControl(dialog, 1, "Button", "Continue", 191, 149, 42, 14);
        ExpectControl(dialog, 2, "Button", "Never show this window again!", 73, 149, 104, 14);
        const auto styleOf = [&](int id) {
          return GetWindowLongA(GetDlgItem(dialog, id), GWL_STYLE);
        };
        EXPECT_EQ(styleOf(1) & BS_TYPEMASK, BS_DEFPUSHBUTTON);
        EXPECT_EQ(styleOf(2) & BS_TYPEMASK, BS_PUSHBUTTON);
        EXPECT_TRUE(styleOf(2) & BS_MULTILINE);
        for (const char* text : kTexts) ExpectText(dialog, text);
      },
      IDOK);
}

TEST_F(SpeedTipsTest, ContinueLeavesTheTipsOn) {
  Run([](HWND) {}, IDOK);
  EXPECT_EQ(session.settings.ShowSpeedtip, 1);
  EXPECT_EQ(Stored().ShowSpeedtip, 1);
}

TEST_F(SpeedTipsTest, NeverAgainIsSavedAtOnceWithTheWholeRecord) {
  session.settings.MusicVol = 77;
  Run([](HWND) {}, IDC_NO_MORE_TIPS);
  EXPECT_EQ(session.settings.ShowSpeedtip, 0);
  EXPECT_EQ(Stored().ShowSpeedtip, 0);
  EXPECT_EQ(Stored().MusicVol, 77);
}

}  // namespace

#include "ui/SpeedTipsDialog.h"

#include "support/ModalDialog.h"
#include "support/RegistrySandbox.h"
#include "support/SessionState.h"
#include "ui/resource.h"

#include <gtest/gtest.h>

using namespace support;

namespace {

constexpr char kTitle[] = "Speed-Up Tips!";

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
        EXPECT_TRUE(GetWindowLongA(GetDlgItem(dialog, 2), GWL_STYLE) & BS_MULTILINE);
        ExpectText(dialog, "The screensaver appears to be running slowly.");
        ExpectText(dialog,
                   "Here are some helpful tips to improve the performance of the screensaver:");
        ExpectText(dialog, "--  Make sure the \"High Quality\" option is disabled.");
        ExpectText(dialog,
                   "--  Try using a smaller \"Display Mode\" and/or disable crossfading.");
        ExpectText(dialog,
                   "  Detailed help is also always available by clicking the \"Help!\" button on "
                   "the main configuration window.");
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

#include "ui/CaptionOptionsDialog.h"

#include "support/GdiGauge.h"
#include "support/ModalDialog.h"
#include "support/SessionState.h"
#include "ui/resource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using namespace support;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace {

constexpr char kTitle[] = "Caption Options";
constexpr int kFollowers[] = {1110, 1111, 1112, 1113, 1114};  // grey with captions off

LRESULT Ask(HWND dialog, int id, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
  return SendDlgItemMessageA(dialog, id, message, wParam, lParam);
}

std::string RowText(HWND dialog, int id, WPARAM row) {
  char text[256] = "";
  Ask(dialog, id, CB_GETLBTEXT, row, reinterpret_cast<LPARAM>(text));
  return text;
}

std::vector<std::string> Rows(HWND dialog, int id) {
  std::vector<std::string> rows;
  for (WPARAM row = 0; row < static_cast<WPARAM>(Ask(dialog, id, CB_GETCOUNT)); ++row)
    rows.push_back(RowText(dialog, id, row));
  return rows;
}

std::string Selected(HWND dialog, int id) {
  const LRESULT row = Ask(dialog, id, CB_GETCURSEL);
  return row == CB_ERR ? "(none)" : RowText(dialog, id, static_cast<WPARAM>(row));
}

// As the user chooses a row.
void Choose(HWND dialog, int id, const char* text) {
  const LRESULT row = Ask(dialog, id, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                          reinterpret_cast<LPARAM>(text));
  ASSERT_NE(row, CB_ERR) << text;
  Ask(dialog, id, CB_SETCURSEL, static_cast<WPARAM>(row));
  SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE),
               reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

LOGFONTA SampleFont(HWND dialog) {
  LOGFONTA font{};
  GetObjectA(reinterpret_cast<HFONT>(Ask(dialog, 1111, WM_GETFONT)), sizeof font, &font);
  return font;
}

LONG SampleAlignment(HWND dialog) {
  return GetWindowLongA(GetDlgItem(dialog, 1111), GWL_STYLE) & SS_TYPEMASK;
}

bool Enabled(HWND dialog, int id) { return IsWindowEnabled(GetDlgItem(dialog, id)) != FALSE; }

class CaptionOptionsTest : public testing::Test {
 protected:
  CaptionOptionsTest() {
    OsVersionCode = 8;
    session.settings.ShowCaptions = 1;
  }
  // Opens the dialog, acts, and leaves it by the button `end`.
  void Run(const ModalScript::Action& act, int end = IDCANCEL) {
    ModalScript script;
    script.When(kTitle, [&](HWND dialog) {
      act(dialog);
      ClickButton(dialog, end);
    });
    EXPECT_EQ(script.Run(IDD_CAPTION_OPTIONS, CaptionOptionsDialogProc), end);
  }
  void SetOtherCaptions() {
    session.settings.CaptionFont = "Courier New";
    session.settings.CaptionFontSize = -30;
    session.settings.CaptionItalic = 0;
    session.settings.CaptionBold = 0;
    session.settings.CaptionOrientation = 2;
  }

  SessionState session;
};

TEST_F(CaptionOptionsTest, HasItsControlsInTheirPlaces) {
  Run([](HWND dialog) {
    ExpectFrame(dialog, kTitle, 207, 110);
    ExpectControl(dialog, IDOK, "Button", "OK", 146, 73, 54, 14);
    ExpectControl(dialog, IDCANCEL, "Button", "Cancel", 146, 89, 54, 14);
    ExpectControl(dialog, 1109, "Button", "Show Captions", 7, 7, 62, 11);
    ExpectControl(dialog, 1110, "ComboBox", "22", 106, 31, 33, 12);
    ExpectControl(dialog, 1111, "Static", "AaBbCc XxYyZz", 14, 56, 117, 41);
    ExpectControl(dialog, 1112, "ComboBox", Selected(dialog, 1112).c_str(), 7, 31, 92, 13);
    ExpectControl(dialog, 1113, "ComboBox", "Left", 146, 31, 54, 12);
    ExpectControl(dialog, 1114, "Button", "Italic", 146, 49, 30, 10);
    ExpectControl(dialog, 1117, "Button", "Bold", 146, 60, 30, 10);
    for (const char* text : {"Font Size:", "Sample:", "Font:", "Orientation:"})
      ExpectText(dialog, text);
  });
}

TEST_F(CaptionOptionsTest, ShowsWhatTheRecordHolds) {
  SetOtherCaptions();
  Run([](HWND dialog) {
    EXPECT_EQ(Ask(dialog, 1109, BM_GETCHECK), BST_CHECKED);
    EXPECT_EQ(Ask(dialog, 1114, BM_GETCHECK), BST_UNCHECKED);
    EXPECT_EQ(Ask(dialog, 1117, BM_GETCHECK), BST_UNCHECKED);
    EXPECT_EQ(Selected(dialog, 1110), "30");
    EXPECT_EQ(Selected(dialog, 1113), "Right");
    EXPECT_EQ(SampleAlignment(dialog), SS_RIGHT);
    const LOGFONTA font = SampleFont(dialog);
    EXPECT_STREQ(font.lfFaceName, "Courier New");
    EXPECT_EQ(font.lfHeight, -30);
    EXPECT_EQ(font.lfWeight, 400);
    EXPECT_EQ(font.lfItalic, 0);
    EXPECT_EQ(font.lfCharSet, DEFAULT_CHARSET);
    EXPECT_EQ(font.lfQuality, CLEARTYPE_QUALITY);
    EXPECT_EQ(font.lfPitchAndFamily, 0);
  });
}

TEST_F(CaptionOptionsTest, AnOldSystemSmoothsTheSampleAnotherWay) {
  OsVersionCode = 5;
  Run([](HWND dialog) { EXPECT_EQ(SampleFont(dialog).lfQuality, ANTIALIASED_QUALITY); });
}

TEST_F(CaptionOptionsTest, SizesRunFrom10To32AsNegativeHeights) {
  Run([](HWND dialog) {
    ASSERT_EQ(Ask(dialog, 1110, CB_GETCOUNT), 23);
    for (int row = 0; row < 23; ++row) {
      EXPECT_EQ(RowText(dialog, 1110, static_cast<WPARAM>(row)), std::to_string(10 + row));
      EXPECT_EQ(Ask(dialog, 1110, CB_GETITEMDATA, static_cast<WPARAM>(row)), -10 - row);
    }
  });
}

TEST_F(CaptionOptionsTest, OrientationsAreSortedAndKeepTheirValues) {
  Run([](HWND dialog) {
    EXPECT_THAT(Rows(dialog, 1113), ElementsAre("Center", "Left", "Right"));
    EXPECT_EQ(Ask(dialog, 1113, CB_GETITEMDATA, 0), 1);
    EXPECT_EQ(Ask(dialog, 1113, CB_GETITEMDATA, 1), 0);
    EXPECT_EQ(Ask(dialog, 1113, CB_GETITEMDATA, 2), 2);
  });
}

TEST_F(CaptionOptionsTest, AnUnknownOrientationCountsAsCentred) {
  session.settings.CaptionOrientation = 77;
  Run([](HWND dialog) {
    EXPECT_EQ(Selected(dialog, 1113), "Center");
    EXPECT_EQ(SampleAlignment(dialog), SS_CENTER);
  });
}

TEST_F(CaptionOptionsTest, EachOrientationAlignsTheSample) {
  Run([](HWND dialog) {
    Choose(dialog, 1113, "Right");
    EXPECT_EQ(SampleAlignment(dialog), SS_RIGHT);
    Choose(dialog, 1113, "Center");
    EXPECT_EQ(SampleAlignment(dialog), SS_CENTER);
    Choose(dialog, 1113, "Left");
    EXPECT_EQ(SampleAlignment(dialog), SS_LEFT);
  });
}

TEST_F(CaptionOptionsTest, OrientationCountsOnceItIsChosen) {
  Run([](HWND dialog) {
    Ask(dialog, 1113, CB_SETCURSEL, 2);
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(1113, CBN_CLOSEUP), 0);
    EXPECT_EQ(SampleAlignment(dialog), SS_LEFT);
  });
}

TEST_F(CaptionOptionsTest, WithCaptionsOffAllIsGreyButBold) {
  session.settings.ShowCaptions = 0;
  Run([](HWND dialog) {
    for (const int id : kFollowers) EXPECT_FALSE(Enabled(dialog, id)) << id;
    EXPECT_TRUE(Enabled(dialog, 1117));
    EXPECT_TRUE(Enabled(dialog, 1109));
  });
}

TEST_F(CaptionOptionsTest, CheckingShowCaptionsEnablesThemAtOnce) {
  session.settings.ShowCaptions = 0;
  Run([](HWND dialog) {
    ClickButton(dialog, 1109);
    for (const int id : kFollowers) EXPECT_TRUE(Enabled(dialog, id)) << id;
    ClickButton(dialog, 1109);
    for (const int id : kFollowers) EXPECT_FALSE(Enabled(dialog, id)) << id;
    EXPECT_TRUE(Enabled(dialog, 1117));
  });
}

TEST_F(CaptionOptionsTest, TheSampleFollowsEachChoiceWithoutOk) {
  Run([](HWND dialog) {
    EXPECT_EQ(SampleFont(dialog).lfHeight, -22);
    Choose(dialog, 1110, "31");
    EXPECT_EQ(SampleFont(dialog).lfHeight, -31);
    ClickButton(dialog, 1114);
    EXPECT_EQ(SampleFont(dialog).lfItalic, 0);
    ClickButton(dialog, 1117);
    EXPECT_EQ(SampleFont(dialog).lfWeight, 400);
    ClickButton(dialog, 1117);
    EXPECT_EQ(SampleFont(dialog).lfWeight, 700);
    const std::vector<std::string> families = Rows(dialog, 1112);
    for (const std::string& family : {families.front(), families.back()}) {
      Choose(dialog, 1112, family.c_str());
      EXPECT_EQ(SampleFont(dialog).lfFaceName, family.substr(0, LF_FACESIZE - 1));
    }
  });
}

TEST_F(CaptionOptionsTest, OkStoresEveryChoiceInTheRecord) {
  std::string family;
  Run(
      [&](HWND dialog) {
        ClickButton(dialog, 1114);
        ClickButton(dialog, 1117);
        Choose(dialog, 1110, "14");
        Choose(dialog, 1113, "Right");
        family = RowText(dialog, 1112, 0);
        Choose(dialog, 1112, family.c_str());
        ClickButton(dialog, 1109);
      },
      IDOK);
  const SaverSettings& settings = session.settings;
  EXPECT_EQ(settings.ShowCaptions, 0);
  EXPECT_EQ(settings.CaptionItalic, 0);
  EXPECT_EQ(settings.CaptionBold, 0);
  EXPECT_EQ(settings.CaptionFontSize, -14);
  EXPECT_EQ(settings.CaptionOrientation, 2);
  EXPECT_EQ(settings.CaptionFont, family);
}

TEST_F(CaptionOptionsTest, CancelAfterChangingEverythingLeavesTheRecordUntouched) {
  Run([](HWND dialog) {
    ClickButton(dialog, 1114);
    ClickButton(dialog, 1117);
    Choose(dialog, 1110, "14");
    Choose(dialog, 1113, "Right");
    Choose(dialog, 1112, RowText(dialog, 1112, 0).c_str());
    ClickButton(dialog, 1109);
  });
  const SaverSettings& settings = session.settings;
  EXPECT_EQ(settings.ShowCaptions, 1);
  EXPECT_EQ(settings.CaptionItalic, 1);
  EXPECT_EQ(settings.CaptionBold, 1);
  EXPECT_EQ(settings.CaptionFontSize, -22);
  EXPECT_EQ(settings.CaptionOrientation, 0);
  EXPECT_EQ(settings.CaptionFont, "Arial");
}

TEST_F(CaptionOptionsTest, ASizeThatIsntListedIsLostByOk) {
  session.settings.CaptionFontSize = -50;
  Run(
      [](HWND dialog) {
        EXPECT_EQ(Selected(dialog, 1110), "(none)");
        EXPECT_EQ(SampleFont(dialog).lfHeight, -50);
      },
      IDOK);
  EXPECT_EQ(session.settings.CaptionFontSize, -1);
}

TEST_F(CaptionOptionsTest, AFontThatIsntInstalledKeepsItsNameUntilAnotherIsChosen) {
  session.settings.CaptionFont = "No such family";
  Run(
      [](HWND dialog) {
        EXPECT_EQ(Selected(dialog, 1112), "(none)");
        EXPECT_STREQ(SampleFont(dialog).lfFaceName, "No such family");
        SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(1112, CBN_DROPDOWN), 0);
        EXPECT_STREQ(SampleFont(dialog).lfFaceName, "No such family");
      },
      IDOK);
  EXPECT_EQ(session.settings.CaptionFont, "No such family");
}

TEST_F(CaptionOptionsTest, AFontNameOfAnyLengthIsCutForTheSample) {
  session.settings.CaptionFont = std::string(500, 'F');
  Run([](HWND dialog) { EXPECT_EQ(std::strlen(SampleFont(dialog).lfFaceName), 31u); }, IDOK);
  EXPECT_EQ(session.settings.CaptionFont, std::string(500, 'F'));
}

TEST_F(CaptionOptionsTest, TheListHasTheInstalledFamiliesSortedAndOnce) {
  Run([](HWND dialog) {
    const std::vector<std::string> families = Rows(dialog, 1112);
    EXPECT_THAT(families, Contains("Liberation Sans"));
    EXPECT_EQ(std::count(families.begin(), families.end(), "Liberation Sans"), 1);
  });
}

TEST_F(CaptionOptionsTest, AFamilyForSeveralCharacterSetsAppearsOnceIfItsRowsArriveTogether) {
  Run([](HWND dialog) {
    Ask(dialog, 1112, CB_RESETCONTENT);
    LOGFONTA font{};
    const auto tell = [&](const char* name, BYTE set) {
      std::strcpy(font.lfFaceName, name);
      font.lfCharSet = set;
      EXPECT_EQ(AddFontFaceProc(&font, nullptr, 0, reinterpret_cast<LPARAM>(dialog)), 1);
    };
    tell("Beta", ANSI_CHARSET);
    tell("Beta", GREEK_CHARSET);
    tell("Beta", RUSSIAN_CHARSET);
    tell("Alpha", ANSI_CHARSET);
    tell("Beta", ANSI_CHARSET);
    EXPECT_THAT(Rows(dialog, 1112), ElementsAre("Alpha", "Beta", "Beta"));
  });
}

TEST_F(CaptionOptionsTest, LeavesNoFontBehind) {
  const auto change = [](HWND dialog) {
    for (const char* size : {"12", "18", "24"}) Choose(dialog, 1110, size);
  };
  Run(change);
  const GdiGauge gauge;
  for (int n = 0; n < 3; ++n) Run(change);
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace

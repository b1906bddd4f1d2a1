// The configuration window: what it shows, and what OK makes of it.

#include "DialogFixture.h"
#include "support/GdiGauge.h"
#include "support/LiveAllocations.h"
#include "support/TestLog.h"
#include "support/WaitFor.h"
#include "ui/AboutDialog.h"
#include "ui/CaptionOptionsDialog.h"
#include "ui/ConfigControls.h"
#include "ui/CustomMusicDialog.h"
#include "ui/SpeedTipsDialog.h"
#include "ui/Tooltips.h"
#include "ui/UpdateDialog.h"
#include "ui/WebSite.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <thread>

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Toggle {
  int id;
  RECT place;  // x, y, width, height
  std::int32_t SaverSettings::* setting;
  bool inverted;
  const char* value;  // in the registry
};

const std::vector<Toggle> kToggles{
    {1090, {359, 274, 160, 15}, &SaverSettings::SetAsWallpaper, false, "SetAsWallpaper"},
    {1091, {364, 294, 155, 15}, &SaverSettings::RandomOrder, false, "RandomOrder"},
    {1092, {426, 314, 93, 15}, &SaverSettings::Animate, false, "Animate"},
    {1094, {412, 334, 107, 15}, &SaverSettings::Crossfade, false, "Crossfade"},
    {1096, {391, 354, 128, 15}, &SaverSettings::CramImages, true, "CramImages"},
    {1059, {394, 94, 111, 15}, &SaverSettings::PlayMusic, false, "PlayMusic"},
    {1011, {419, 127, 85, 15}, &SaverSettings::DefaultMusic, false, "DefaultMusic"},
    {1013, {418, 147, 86, 15}, &SaverSettings::CustomMusic, false, "CustomMusic"},
    {1060, {391, 185, 146, 15}, &SaverSettings::ShuffleMusic, false, "ShuffleMusic"},
    {1061, {14, 295, 102, 34}, &SaverSettings::FastMode, false, "FastMode"},
};

struct Button {
  int id;
  RECT place;  // x, y, width, height
};

const std::vector<Button> kButtons{
    {1087, {513, 124, 83, 44}},  {1048, {171, 404, 60, 33}},  {1034, {27, 352, 71, 37}},
    {1035, {539, 218, 71, 37}},  {1049, {104, 387, 60, 33}},  {1088, {17, 100, 150, 21}},
    {1089, {17, 128, 150, 21}},  {1095, {17, 156, 150, 21}},  {1, {476, 387, 62, 32}},
    {2, {408, 404, 62, 32}},
};

Pixels Cut(const Pixels& all, const RECT& place) {
  return all.Cut(place.left, place.top, place.right, place.bottom);
}

class ConfigDialogTest : public DialogTest {
 protected:
  static Pixels SkinAt(const RECT& place) {
    return Skin(place.left, place.top, place.right, place.bottom);
  }
  // A toggle's row with the sample of its state behind the mask.
  static Pixels ToggleAt(const RECT& place, bool on) {
    Pixels row = SkinAt(place);
    const Pixels sample = Skin(499, on ? 334 : 314, 20, 15);
    for (int y = 0; y < 15; ++y)
      for (int x = 0; x < 20; ++x)
        if (!MaskIsWhite(x, y))
          row.Set(place.right - 20 + x, place.bottom / 2 - 7 + y, sample.At(x, y));
    return row;
  }
  static const Pixels& Part(const char* name) { return SkinParts().at(name); }

  // The sliders at a knob's place, worked out from the pictures alone.
  static Pixels DelaySliderAt(float position) {
    const int border = static_cast<int>(position);
    Pixels shown = Part("SliderBG_108_18_1.jpg").Cut(0, 0, 108, 17);
    shown = Lay(shown, Skin(367, 245, border, 17), 0, 0);
    return Lay(shown, Part("slide_knob_7_18_1.jpg"), static_cast<int>(position - 3.5f), -1);
  }
  static Pixels VolumeSliderAt(float position) {
    const int border = static_cast<int>(position);
    Pixels shown = Part("VSliderBG_108_18_1.jpg");
    shown = Lay(shown, Skin(601, 94 + border, 18, 108 - border), 0, border);
    return Lay(shown, Part("slide_knob_18_7_1.jpg"), 1, static_cast<int>(position - 3.5f));
  }
  static Pixels ModeKnobAt(float position) {
    return Lay(Skin(614, 275, 15, 94), Part("slide_knob_13_13_1.jpg"), 1,
               static_cast<int>(position - 6.5f));
  }
  // The skin with the words that belong into the label.
  static Pixels LabelSaying(const char* text) {
    const Picture surface(640, 458, SkinColour);
    const HFONT font = CreateFontA(-13, 0, 0, 0, 700, TRUE, FALSE, FALSE, 0, 4, 0, 4, 0, "Arial");
    const HGDIOBJ former = SelectObject(surface.Dc(), font);
    SetBkMode(surface.Dc(), TRANSPARENT);
    SetTextColor(surface.Dc(), RGB(0xF8, 0xF0, 0xD4));
    RECT place{477, 245, 519, 262};
    DrawTextA(surface.Dc(), text, -1, &place, 0);
    SelectObject(surface.Dc(), former);
    DeleteObject(font);
    return surface.Read().Cut(477, 245, 42, 17);
  }
  Pixels ShownLabel() const { return Shown(477, 245, 42, 17); }

  bool IsOn(const Toggle& toggle) const {
    const Pixels shown = Cut(Shown(), toggle.place);
    const bool on = PixelsNear(shown, ToggleAt(toggle.place, true));
    if (!on) {
      EXPECT_TRUE(PixelsNear(shown, ToggleAt(toggle.place, false))) << toggle.id;
    }
    return on;
  }
};

// --- What it shows ---

TEST_F(ConfigDialogTest, ItIs640By458PixelsInTheMiddleOfItsTemplatesPlace) {
  Open();
  RECT rect{};
  GetWindowRect(dialog, &rect);
  EXPECT_EQ(rect.right - rect.left, 640);
  EXPECT_EQ(rect.bottom - rect.top, 458);
  EXPECT_NEAR((rect.left + rect.right) / 2, GetSystemMetrics(SM_CXSCREEN) / 2, 2);
  EXPECT_NEAR((rect.top + rect.bottom) / 2, GetSystemMetrics(SM_CYSCREEN) / 2, 2);
  EXPECT_TRUE(IsWindowVisible(dialog));
}

TEST_F(ConfigDialogTest, ItHasNoCaptionButATitle) {
  Open();
  std::array<char, 64> title{};
  GetWindowTextA(dialog, title.data(), title.size());
  EXPECT_STREQ(title.data(), "Velmora 2  v 1.0");
  EXPECT_FALSE(GetWindowLongA(dialog, GWL_STYLE) & WS_CAPTION);
  EXPECT_TRUE(GetWindowLongA(dialog, GWL_STYLE) & static_cast<LONG>(WS_POPUP));
}

TEST_F(ConfigDialogTest, ItIsCutToTheOutline) {
  Open();
  const HRGN region = CreateRectRgn(0, 0, 0, 0);
  ASSERT_EQ(GetWindowRgn(dialog, region), COMPLEXREGION);
  RECT bounds{};
  GetRgnBox(region, &bounds);
  EXPECT_EQ(bounds.right, 640);
  EXPECT_EQ(bounds.bottom, 458);
  const struct {
    int y, left, right;
  } rows[] = {{0, 309, 327}, {1, 274, 362}, {2, 262, 374},  {3, 249, 387}, {4, 237, 399},
              {5, 228, 408}, {77, 0, 636},  {78, 0, 637},   {79, 0, 639},  {80, 0, 640},
              {377, 0, 640}, {378, 0, 639}, {457, 309, 327}};
  for (const auto& [y, left, right] : rows) {
    EXPECT_TRUE(PtInRegion(region, left, y)) << y;
    EXPECT_TRUE(PtInRegion(region, right - 1, y)) << y;
    EXPECT_FALSE(PtInRegion(region, left - 1, y)) << y;
    EXPECT_FALSE(PtInRegion(region, right, y)) << y;
  }
  DeleteObject(region);
}

TEST_F(ConfigDialogTest, EveryPixelIsTheSkinButForTheControlsThatChange) {
  Open();
  const Pixels shown = Shown();
  Pixels expected = Skin(0, 0, 640, 458);
  for (const Toggle& toggle : kToggles)
    expected = Lay(expected,
                   ToggleAt(toggle.place, (settings.*toggle.setting != 0) != toggle.inverted),
                   toggle.place.left, toggle.place.top);
  expected = Lay(expected, Cut(shown, {522, 275, 92, 94}), 522, 275);  // the list box
  expected = Lay(expected, DelaySliderAt((10.0f - 4) / 26 * 104.5f), 367, 245);
  expected = Lay(expected, VolumeSliderAt(3.5f), 601, 94);
  expected = Lay(expected, ModeKnobAt(6.5f), 614, 275);
  expected = Lay(expected, LabelSaying("10 sec"), 477, 245);
  const HRGN region = CreateRectRgn(0, 0, 0, 0);
  GetWindowRgn(dialog, region);
  for (int y = 0; y < 458; ++y)
    for (int x = 0; x < 640; ++x)
      if (!PtInRegion(region, x, y)) expected.Set(x, y, shown.At(x, y));
  DeleteObject(region);
  EXPECT_TRUE(PixelsNear(shown, expected));
}

TEST_F(ConfigDialogTest, EachButtonStandsAtItsPixelsAndShowsTheSkin) {
  Open();
  for (const auto& [id, place] : kButtons) {
    const RECT at = PlaceOf(id);
    EXPECT_EQ(at.left, place.left) << id;
    EXPECT_EQ(at.top, place.top) << id;
    EXPECT_EQ(at.right - at.left, place.right) << id;
    EXPECT_EQ(at.bottom - at.top, place.bottom) << id;
    EXPECT_TRUE(PixelsNear(ReadControl(Control(id)), SkinAt(place))) << id;
  }
}

TEST_F(ConfigDialogTest, APressedButtonShowsNoChange) {
  Open();
  for (const auto& [id, place] : kButtons) {
    Press(Control(id), 5, 5);
    EXPECT_TRUE(PixelsNear(ReadControl(Control(id)), SkinAt(place))) << id;
    DragTo(Control(id), -9, -9);  // let go outside, it isn't a click
    Release(Control(id), -9, -9);
    EXPECT_TRUE(PixelsNear(ReadControl(Control(id)), SkinAt(place))) << id;
  }
  EXPECT_THAT(results, IsEmpty());
}

TEST_F(ConfigDialogTest, ButtonsAndTogglesShowTheHand) {
  Open();
  std::vector<int> ids;
  for (const Button& button : kButtons) ids.push_back(button.id);
  for (const Toggle& toggle : kToggles) ids.push_back(toggle.id);
  for (const int id : ids) {
    SetCursor(nullptr);
    SendMessageA(Control(id), WM_SETCURSOR, reinterpret_cast<WPARAM>(Control(id)),
                 MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
    EXPECT_EQ(GetCursor(), LoadCursorA(nullptr, IDC_HAND)) << id;
  }
}

TEST_F(ConfigDialogTest, SlidersAndListStandAtTheirPixels) {
  Open();
  const std::map<int, RECT> places{{1020, {367, 245, 108, 17}},
                                   {1033, {601, 94, 18, 108}},
                                   {1024, {522, 275, 92, 94}},
                                   {1052, {614, 275, 15, 94}}};
  for (const auto& [id, place] : places) {
    const RECT at = PlaceOf(id);
    EXPECT_EQ(at.left, place.left) << id;
    EXPECT_EQ(at.top, place.top) << id;
    EXPECT_EQ(at.right - at.left, place.right) << id;
    EXPECT_EQ(at.bottom - at.top, place.bottom) << id;
  }
}

// --- Toggles ---

TEST_F(ConfigDialogTest, EachToggleShowsItsSetting) {
  for (const bool stored : {false, true}) {
    for (const Toggle& toggle : kToggles) settings.*toggle.setting = stored;
    Open();
    for (const Toggle& toggle : kToggles) EXPECT_EQ(IsOn(toggle), stored != toggle.inverted);
    Close();
  }
}

TEST_F(ConfigDialogTest, EachToggleShowsNoOthersSetting) {
  for (const Toggle& lone : kToggles) {
    for (const Toggle& toggle : kToggles) settings.*toggle.setting = toggle.inverted;
    settings.*lone.setting = !lone.inverted;
    Open();
    for (const Toggle& toggle : kToggles)
      EXPECT_EQ(IsOn(toggle), toggle.id == lone.id) << lone.id << " " << toggle.id;
    Close();
  }
}

TEST_F(ConfigDialogTest, AClickFlipsEachToggleAndAnotherFlipsItBack) {
  for (const Toggle& toggle : kToggles) settings.*toggle.setting = toggle.inverted;
  Open();
  for (const Toggle& toggle : kToggles) {
    ClickControl(toggle.id);
    EXPECT_TRUE(IsOn(toggle)) << toggle.id;
    ClickControl(toggle.id);
    EXPECT_FALSE(IsOn(toggle)) << toggle.id;
  }
}

TEST_F(ConfigDialogTest, APressedToggleStillShowsTheOldPicture) {
  for (const Toggle& toggle : kToggles) settings.*toggle.setting = toggle.inverted;
  Open();
  for (const Toggle& toggle : kToggles) {
    Press(Control(toggle.id), 5, 5);
    EXPECT_FALSE(IsOn(toggle)) << toggle.id;
    Release(Control(toggle.id), 5, 5);
    EXPECT_TRUE(IsOn(toggle)) << toggle.id;
  }
}

TEST_F(ConfigDialogTest, OkWritesEachToggleInItsSense) {
  for (const Toggle& lone : kToggles) {
    for (const Toggle& toggle : kToggles) settings.*toggle.setting = toggle.inverted;
    Open();
    ClickControl(lone.id);
    PressOk();
    for (const Toggle& toggle : kToggles) {
      const bool expected = (toggle.id == lone.id) != toggle.inverted;
      EXPECT_EQ(settings.*toggle.setting != 0, expected) << lone.id << " " << toggle.id;
      EXPECT_EQ(user.Dword(toggle.value), static_cast<std::uint32_t>(expected)) << toggle.value;
    }
    Close();
  }
}

TEST_F(ConfigDialogTest, BuiltInAndCustomMusicAreIndependent) {
  settings.DefaultMusic = settings.CustomMusic = 1;
  Open();
  ClickControl(1011);
  ClickControl(1013);
  PressOk();
  EXPECT_EQ(settings.DefaultMusic, 0);
  EXPECT_EQ(settings.CustomMusic, 0);
}

// The note is asked for by the button's release, which the toggle has passed on.
TEST_F(ConfigDialogTest, TheFastModeNoteStandsBehindTheToggle) {
  std::vector<WNDPROC> procedures;
  HOOK_IMPORT(spy, "user32.dll", SetWindowLongA, [&](HWND hwnd, int index, LONG value) -> LONG {
    if (index == GWLP_WNDPROC && GetDlgCtrlID(hwnd) == 1061)
      procedures.push_back(reinterpret_cast<WNDPROC>(value));
    return REAL_IMPORT("user32.dll", SetWindowLongA)(hwnd, index, value);
  });
  Open();
  ASSERT_EQ(procedures.size(), 2u);
  EXPECT_EQ(procedures[0], &FastModeButtonProc);
  EXPECT_NE(procedures[1], &FastModeButtonProc);
}

// --- The delay ---

TEST_F(ConfigDialogTest, TheDelaysKnobAndLabelShowTheSetting) {
  for (const float delay : {4.0f, 5.0f, 10.0f, 17.0f, 29.5f, 30.0f}) {
    settings.ImageDelay = delay;
    Open();
    const float position = std::max(3.5f, (delay - 4) / 26 * 104.5f);
    EXPECT_TRUE(PixelsNear(Shown(367, 245, 108, 17), DelaySliderAt(position))) << delay;
    const int seconds = static_cast<int>(position / 104.5f * 26 + 4);
    EXPECT_TRUE(PixelsNear(ShownLabel(), LabelSaying((std::to_string(seconds) + " sec").c_str())))
        << delay;
    Close();
  }
}

TEST_F(ConfigDialogTest, ADelayOfFourSecondsStaysFour) {
  settings.ImageDelay = 4.0f;
  Open();
  EXPECT_TRUE(PixelsNear(ShownLabel(), LabelSaying("4 sec")));
  PressOk();
  EXPECT_EQ(settings.ImageDelay, 4.0f);
  EXPECT_EQ(user.Text("ImageDelay"), "4.000000");
}

TEST_F(ConfigDialogTest, EveryDelayComesBackWholeAndAtMostOneLess) {
  for (const int delay : {4, 5, 7, 11, 16, 23, 29, 30}) {
    settings.ImageDelay = static_cast<float>(delay);
    Open();
    PressOk();
    Close();
    EXPECT_EQ(settings.ImageDelay, std::floor(settings.ImageDelay)) << delay;
    EXPECT_GE(settings.ImageDelay, static_cast<float>(delay - 1));
    EXPECT_LE(settings.ImageDelay, static_cast<float>(delay));
  }
}

TEST_F(ConfigDialogTest, TheDefaultDelayComesBackAsItIs) {
  Open();
  PressOk();
  EXPECT_EQ(settings.ImageDelay, 10.0f);
}

TEST_F(ConfigDialogTest, ADelayBetweenTwoSecondsIsCut) {
  settings.ImageDelay = 17.9f;
  Open();
  PressOk();
  EXPECT_EQ(settings.ImageDelay, 17.0f);
}

TEST_F(ConfigDialogTest, DelaysOutsideTheScaleStandAtItsEnds) {
  for (const float delay : {-1e30f, 3.0f, 0.0f / 0.0f}) {
    settings.ImageDelay = delay;
    Open();
    PressOk();
    Close();
    EXPECT_EQ(settings.ImageDelay, 4.0f) << delay;
  }
  for (const float delay : {31.0f, 1e30f}) {
    settings.ImageDelay = delay;
    Open();
    PressOk();
    Close();
    EXPECT_EQ(settings.ImageDelay, 30.0f) << delay;
  }
}

TEST_F(ConfigDialogTest, DraggingTheDelayMovesTheKnobAndRefreshesTheLabel) {
  Open();
  const HWND slider = Control(1020);
  Press(slider, 24, 8);
  for (const int x : {30, 60, 104, 200, 2, -40, 52}) {
    DragTo(slider, x, 8);
    PumpMessages();
    const float position = std::clamp(static_cast<float>(x), 3.5f, 104.5f);
    EXPECT_TRUE(PixelsNear(Shown(367, 245, 108, 17), DelaySliderAt(position))) << x;
    const int seconds = static_cast<int>(position / 104.5f * 26 + 4);
    EXPECT_TRUE(PixelsNear(ShownLabel(), LabelSaying((std::to_string(seconds) + " sec").c_str())))
        << x;
  }
  Release(slider, 52, 8);
  PressOk();
  EXPECT_EQ(settings.ImageDelay, 16.0f);  // 52 / 104.5 of 26, and 4
}

TEST_F(ConfigDialogTest, APressBesideTheDelaysKnobPagesByTenPixels) {
  settings.ImageDelay = 4.0f;
  Open();
  ClickControl(1020, 100, 8);
  EXPECT_TRUE(PixelsNear(Shown(367, 245, 108, 17), DelaySliderAt(13.5f)));
  ClickControl(1020, 100, 8);
  EXPECT_TRUE(PixelsNear(Shown(367, 245, 108, 17), DelaySliderAt(23.5f)));
  ClickControl(1020, 1, 8);
  EXPECT_TRUE(PixelsNear(Shown(367, 245, 108, 17), DelaySliderAt(13.5f)));
  PressOk();
  EXPECT_EQ(settings.ImageDelay, 7.0f);
}

TEST_F(ConfigDialogTest, TheWheelMovesNeitherDelayNorVolume) {
  Open();
  for (const int id : {1020, 1033}) TurnWheel(Control(id), -120);
  PressOk();
  EXPECT_EQ(settings.ImageDelay, 10.0f);
  EXPECT_EQ(settings.MusicVol, 246);
}

// --- The volume ---

TEST_F(ConfigDialogTest, FullVolumeComesBackAs246AndSilenceAsSilence) {
  settings.MusicVol = 255;
  Open();
  EXPECT_TRUE(PixelsNear(Shown(601, 94, 18, 108), VolumeSliderAt(3.5f)));
  PressOk();
  Close();
  EXPECT_EQ(settings.MusicVol, 246);
  EXPECT_EQ(user.Text("MusicVol"), "246");
  settings.MusicVol = 0;
  Open();
  EXPECT_TRUE(PixelsNear(Shown(601, 94, 18, 108), VolumeSliderAt(104.5f)));
  PressOk();
  EXPECT_EQ(settings.MusicVol, 0);
  EXPECT_EQ(user.Text("MusicVol"), "0");
}

TEST_F(ConfigDialogTest, AVolumeLosesAtMostOneUnit) {
  for (const int volume : {1, 64, 128, 245, 246, 247}) {
    settings.MusicVol = volume;
    Open();
    PressOk();
    Close();
    EXPECT_LE(settings.MusicVol, std::min(volume, 246)) << volume;
    EXPECT_GE(settings.MusicVol, std::min(volume, 246) - 1) << volume;
  }
}

TEST_F(ConfigDialogTest, VolumesOutsideTheScaleStandAtItsEnds) {
  for (const auto& [stored, kept] : std::map<int, int>{{-300, 0}, {256, 246}, {100000, 246}}) {
    settings.MusicVol = stored;
    Open();
    PressOk();
    Close();
    EXPECT_EQ(settings.MusicVol, kept) << stored;
  }
}

TEST_F(ConfigDialogTest, TheTopOfTheVolumeIsLoud) {
  settings.MusicVol = 128;
  Open();
  const HWND slider = Control(1033);
  Press(slider, 9, 52);
  DragTo(slider, 9, 20);
  PumpMessages();
  EXPECT_TRUE(PixelsNear(Shown(601, 94, 18, 108), VolumeSliderAt(20.0f)));
  Release(slider, 9, 20);
  PressOk();
  EXPECT_EQ(settings.MusicVol, static_cast<int>(255 - 20.0f / 104.5f * 255));
}

TEST_F(ConfigDialogTest, APressBesideTheVolumesKnobPagesByTenPixels) {
  settings.MusicVol = 0;
  Open();
  ClickControl(1033, 9, 3);
  EXPECT_TRUE(PixelsNear(Shown(601, 94, 18, 108), VolumeSliderAt(94.5f)));
  ClickControl(1033, 9, 107);
  EXPECT_TRUE(PixelsNear(Shown(601, 94, 18, 108), VolumeSliderAt(104.5f)));
}

// --- Display modes ---

class ModesTest : public ConfigDialogTest {
 protected:
  ModesTest() {
    modes = {{640, 480, 16},  {800, 600, 16},   {1024, 768, 16}, {640, 480, 24}, {320, 200, 32},
             {640, 480, 32},  {800, 600, 32},   {1024, 768, 32}, {1280, 1024, 32},
             {1600, 1200, 32}, {1920, 1080, 32}, {640, 480, 8}};
  }
  std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    const LRESULT count = SendMessageA(Control(1024), LB_GETCOUNT, 0, 0);
    for (LRESULT row = 0; row < count; ++row) {
      std::array<char, 64> text{};
      SendMessageA(Control(1024), LB_GETTEXT, static_cast<WPARAM>(row),
                   reinterpret_cast<LPARAM>(text.data()));
      rows.push_back(text.data());
    }
    return rows;
  }
  int Selected() const {
    return static_cast<int>(SendMessageA(Control(1024), LB_GETCURSEL, 0, 0));
  }
  int Top() const { return static_cast<int>(SendMessageA(Control(1024), LB_GETTOPINDEX, 0, 0)); }
  void Store(int width, int height, int bits) {
    settings.DispModeWidth = width;
    settings.DispModeHeight = height;
    settings.DispModeBits = bits;
  }
  testing::AssertionResult Stored(int width, int height, int bits) const {
    if (settings.DispModeWidth == width && settings.DispModeHeight == height &&
        settings.DispModeBits == bits)
      return testing::AssertionSuccess();
    return testing::AssertionFailure() << settings.DispModeWidth << "x" << settings.DispModeHeight
                                       << "x" << settings.DispModeBits;
  }
  void Select(int row) const {
    SendMessageA(Control(1024), LB_SETCURSEL, static_cast<WPARAM>(row), 0);
    Command(1024, LBN_SELCHANGE);
  }
  void ClickRow(int row) const {
    RECT rect{};
    SendMessageA(Control(1024), LB_GETITEMRECT, static_cast<WPARAM>(row),
                 reinterpret_cast<LPARAM>(&rect));
    Click(Control(1024), 10, (rect.top + rect.bottom) / 2);
  }
  // Pixel row of the knob's centre.
  float KnobFor(int row, int rows) const {
    return std::max(6.5f, 87.5f * static_cast<float>(row) / static_cast<float>(rows - 1));
  }
};

TEST_F(ModesTest, TheListOffersTheFilteredAndSortedModesBehindNoChange) {
  Open();
  EXPECT_THAT(Rows(), ElementsAre("No change", "640x480x16", "800x600x16", "1024x768x16",
                                  "640x480x32", "800x600x32", "1024x768x32", "1280x1024x32",
                                  "1600x1200x32", "1920x1080x32"));
  EXPECT_EQ(Selected(), 0);
}

TEST_F(ModesTest, TheCardItselfIsAsked) {
  asksCard = true;
  Open();
  DEVMODEA screen{};
  screen.dmSize = sizeof screen;
  EnumDisplaySettingsA(nullptr, ENUM_CURRENT_SETTINGS, &screen);
  const std::string present =
      std::to_string(screen.dmPelsWidth) + "x" + std::to_string(screen.dmPelsHeight) + "x32";
  EXPECT_THAT(Rows(), testing::Contains("No change"));
  EXPECT_THAT(Rows(), testing::Contains(present));
}

TEST_F(ModesTest, TheStoredModeIsSelectedAndTheKnobStandsThere) {
  Store(1280, 1024, 32);
  Open();
  EXPECT_EQ(Selected(), 7);
  EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(KnobFor(7, 10))));
}

TEST_F(ModesTest, ADepthAloneMakesAnotherMode) {
  Store(800, 600, 16);
  Open();
  EXPECT_EQ(Selected(), 2);
}

TEST_F(ModesTest, AStoredModeThatIsNotOfferedStaysUntilARowIsPicked) {
  Store(1366, 768, 32);
  Open();
  EXPECT_EQ(Selected(), 0);
  PressOk();
  EXPECT_TRUE(Stored(1366, 768, 32));
  EXPECT_EQ(user.Text("DispModeWidth"), "1366");
}

TEST_F(ModesTest, AClickOnARowTakesItsMode) {
  Open();
  ClickRow(2);
  EXPECT_EQ(Selected(), 2);
  EXPECT_TRUE(Stored(800, 600, 16));
  EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(KnobFor(2, 10))));
  PressOk();
  EXPECT_EQ(user.Text("DispModeWidth"), "800");
  EXPECT_EQ(user.Text("DispModeHeight"), "600");
  EXPECT_EQ(user.Text("DispModeBits"), "16");
}

TEST_F(ModesTest, NoChangeWritesZeros) {
  Store(800, 600, 32);
  Open();
  Select(0);
  EXPECT_TRUE(Stored(0, 0, 0));
  PressOk();
  EXPECT_EQ(user.Text("DispModeWidth"), "0");
  EXPECT_EQ(user.Text("DispModeHeight"), "0");
  EXPECT_EQ(user.Text("DispModeBits"), "0");
}

TEST_F(ModesTest, OtherNotificationsOfTheListChangeNothing) {
  Open();
  SendMessageA(Control(1024), LB_SETCURSEL, 3, 0);
  for (const int notification : {LBN_DBLCLK, LBN_SETFOCUS, LBN_KILLFOCUS, 0})
    Command(1024, notification);
  EXPECT_TRUE(Stored(0, 0, 0));
}

TEST_F(ModesTest, KeysMoveTheSelectionAndTheKnobFollowsOneBehind) {
  Open();
  SetFocus(Control(1024));
  for (int n = 0; n < 3; ++n) PressKey(Control(1024), VK_DOWN);
  EXPECT_EQ(Selected(), 3);
  EXPECT_TRUE(Stored(1024, 768, 16));
  EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(KnobFor(2, 10))));
}

TEST_F(ModesTest, TheWheelOverListOrKnobScrollsBoth) {
  for (const int id : {1024, 1052}) {
    Open();
    for (int n = 0; n < 5; ++n) TurnWheel(Control(id), -120);
    // Each notch goes 17 px on from the knob's edge.
    EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(6.5f + 5 * 10.5f))) << id;
    EXPECT_EQ(Top(), 3) << id;  // 52.5 / 81 of 5
    TurnWheel(Control(id), 120);
    EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(59.0f - 23.5f))) << id;
    EXPECT_EQ(Top(), 1) << id;
    Close();
  }
}

TEST_F(ModesTest, DraggingTheKnobScrollsTheListAndSelectsNothing) {
  Open();
  Press(Control(1052), 7, 6);
  DragTo(Control(1052), 7, 90);
  Release(Control(1052), 7, 90);
  PumpMessages();
  EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(87.5f)));
  EXPECT_GE(Top(), 3);
  EXPECT_EQ(Selected(), 0);
  EXPECT_TRUE(Stored(0, 0, 0));
}

TEST_F(ModesTest, APressBesideTheKnobPagesBy35Pixels) {
  Open();
  ClickControl(1052, 7, 90);
  EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(41.5f)));
  EXPECT_EQ(Top(), 2);
}

TEST_F(ModesTest, AListWithOnlyNoChangeLeavesTheKnobWhereItStarts) {
  modes = std::vector<Mode>{};
  Store(800, 600, 32);
  Open();
  EXPECT_THAT(Rows(), ElementsAre("No change"));
  EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(6.5f)));
}

TEST_F(ModesTest, WithoutAGraphicsLayerOnlyNoChangeIsOffered) {
  modes.reset();
  Store(800, 600, 32);
  Open();
  EXPECT_THAT(Rows(), ElementsAre("No change"));
  EXPECT_THAT(boxes, IsEmpty());
  PressOk();
  EXPECT_TRUE(Stored(800, 600, 32));
}

TEST_F(ModesTest, AnotherOpeningStartsAtTheStoredModeAgain) {
  Store(1920, 1080, 32);
  Open();
  EXPECT_EQ(Selected(), 9);
  Close();
  Store(0, 0, 0);
  Open();
  EXPECT_EQ(Rows().size(), 10u);
  EXPECT_EQ(Selected(), 0);
  EXPECT_TRUE(PixelsNear(Shown(614, 275, 15, 94), ModeKnobAt(6.5f)));
}

// --- What the buttons do ---

TEST_F(ConfigDialogTest, WebButtonsOpenTheirPages) {
  Open();
  ClickControl(1034);
  ClickControl(1088);
  ClickControl(1089);
  const std::string site = kWebSite;
  EXPECT_TRUE(site.starts_with("http://") && !site.ends_with("/")) << site;
  EXPECT_THAT(pages, ElementsAre(site + "/support/", site + "/",
                                 site + "/specials.htm?appName=Velmora 2&version=1.0"));
}

TEST_F(ConfigDialogTest, OtherButtonsOpenTheirDialogs) {
  Open();
  for (const int id : {1035, 1049, 1087, 1095}) ClickControl(id);
  ASSERT_EQ(dialogs.size(), 4u);
  const struct {
    int resource;
    DLGPROC procedure;
  } expected[] = {{165, CaptionOptionsDialogProc},
                  {140, AboutDialogProc},
                  {154, CustomMusicDialogProc},
                  {167, UpdateDialogProc}};
  for (std::size_t n = 0; n < 4; ++n) {
    EXPECT_EQ(dialogs[n].resource, MAKEINTRESOURCEA(expected[n].resource));
    EXPECT_EQ(dialogs[n].procedure, expected[n].procedure);
    EXPECT_EQ(dialogs[n].owner, dialog);
    EXPECT_EQ(dialogs[n].instance, InstanceHandle);
  }
}

TEST_F(ConfigDialogTest, TheResourceOfEachDialogIsThere) {
  for (const int id : {104, 140, 141, 154, 165, 167})
    EXPECT_NE(FindResourceA(InstanceHandle, MAKEINTRESOURCEA(id),
                            reinterpret_cast<LPCSTR>(RT_DIALOG)), nullptr) << id;
}

TEST_F(ConfigDialogTest, HelpOpensTheHelpFile) {
  HelpPath = "C:\\Velmora\\VELMORA2.HLP";
  Open();
  ClickControl(1048);
  EXPECT_THAT(helps, ElementsAre("C:\\Velmora\\VELMORA2.HLP"));
}

TEST_F(ConfigDialogTest, SwitchingTheWallpaperOnAsksAboutStretchingEachTime) {
  Open();
  boxAnswer = IDYES;
  ClickControl(1090);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "Would you like to stretch the image to fit your desktop?");
  EXPECT_EQ(boxes[0].title, "Stretch Wallpaper?");
  EXPECT_EQ(boxes[0].flags, static_cast<UINT>(MB_YESNO));
  EXPECT_EQ(boxes[0].owner, dialog);
  EXPECT_NE(settings.StretchWallpaper, 0);
  ClickControl(1090);
  EXPECT_EQ(boxes.size(), 1u) << "switching it off asks nothing";
  EXPECT_NE(settings.StretchWallpaper, 0) << "and keeps the answer";
  boxAnswer = IDNO;
  ClickControl(1090);
  EXPECT_EQ(boxes.size(), 2u);
  EXPECT_EQ(settings.StretchWallpaper, 0);
}

TEST_F(ConfigDialogTest, SwitchingFastModeOnShowsANoteAndOffShowsNone) {
  Open();
  ClickControl(1061);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text,
            "NOTE: This mode is only recommended for slower computers\n"
            "or if you are having problems running in normal mode.");
  EXPECT_EQ(boxes[0].title, "NOTE");
  EXPECT_EQ(boxes[0].flags, 64u);
  EXPECT_EQ(boxes[0].owner, Control(1061));
  ClickControl(1061);
  EXPECT_EQ(boxes.size(), 1u);
  ClickControl(1061);
  EXPECT_EQ(boxes.size(), 2u);
}

TEST_F(ConfigDialogTest, TheNoteThatCoversTheFastModeToggleDoesNotFlipItBack) {
  Open();
  duringBox = [&] {
    InvalidateRect(Control(1061), nullptr, FALSE);
    UpdateWindow(Control(1061));
  };
  ClickControl(1061);
  EXPECT_EQ(boxes.size(), 1u);
  PressOk();
  EXPECT_EQ(settings.FastMode, 1);
}

TEST_F(ConfigDialogTest, APressOnABarePartOfThePictureDragsTheWindow) {
  Open();
  std::vector<std::pair<UINT, WPARAM>> sent;
  HOOK_IMPORT(note, "user32.dll", SendMessageA,
              [&](HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                if (hwnd == dialog && message == WM_NCLBUTTONDOWN) {
                  sent.emplace_back(message, wParam);
                  return 0;  // the system would follow the mouse until its button is up
                }
                return REAL_IMPORT("user32.dll", SendMessageA)(hwnd, message, wParam, lParam);
              });
  REAL_IMPORT("user32.dll", SendMessageA)
  (dialog, WM_LBUTTONDOWN, MK_LBUTTON, MousePoint(300, 200));
  EXPECT_THAT(sent, ElementsAre(std::pair<UINT, WPARAM>(WM_NCLBUTTONDOWN, HTCAPTION)));
}

// --- OK and Cancel ---

TEST_F(ConfigDialogTest, OkEndsWithOneAndLogsTheWriting) {
  const TestLog log;
  Open();
  PressOk();
  EXPECT_THAT(results, ElementsAre(1));
  EXPECT_EQ(log.Texts().back(), "Writing registry settings");
  EXPECT_TRUE(user.KeyExists());
}

TEST_F(ConfigDialogTest, CancelEndsWithTwoAndWritesNothing) {
  Open();
  for (const Toggle& toggle : kToggles) ClickControl(toggle.id);
  ClickControl(1020, 100, 8);
  ClickControl(2);
  EXPECT_THAT(results, ElementsAre(2));
  EXPECT_FALSE(user.KeyExists());
  EXPECT_EQ(settings.ImageDelay, 10.0f);
  EXPECT_EQ(settings.PlayMusic, 1);
}

TEST_F(ConfigDialogTest, WhatTheSubDialogsChangedSurvivesACancelInMemoryAlone) {
  Open();
  duringDialog = [&] { settings.ShowCaptions = 1; };
  ClickControl(1035);
  ClickControl(2);
  EXPECT_EQ(settings.ShowCaptions, 1);
  EXPECT_FALSE(user.KeyExists());
}

TEST_F(ConfigDialogTest, WhatOkWroteIsWhatTheNextRunReads) {
  settings.CaptionFont = "Verdana";
  modes = {{800, 600, 32}};
  Open();
  for (const Toggle& toggle : kToggles) ClickControl(toggle.id);
  ClickControl(1020, 100, 8);
  Press(Control(1033), 9, 3);
  DragTo(Control(1033), 9, 60);
  Release(Control(1033), 9, 60);
  SendMessageA(Control(1024), LB_SETCURSEL, 1, 0);
  Command(1024, LBN_SELCHANGE);
  PressOk();
  SaverSettings next;
  next.ReadRegistry();
  for (const Toggle& toggle : kToggles)
    EXPECT_EQ(next.*toggle.setting != 0, SaverSettings().*toggle.setting == 0) << toggle.value;
  EXPECT_EQ(next.ImageDelay, 12.0f);  // (24.1 + 10) / 104.5 of 26, and 4
  EXPECT_EQ(next.MusicVol, 108);      // 255 less 60 / 104.5 of it
  EXPECT_EQ(next.DispModeWidth, 800);
  EXPECT_EQ(next.DispModeBits, 32);
  EXPECT_EQ(next.CaptionFont, "Verdana");
}

// Runs the dialog as WinMain does; `use` drives it from another thread.
INT_PTR RunModally(const std::function<void(HWND)>& use) {
  const DWORD dialogThread = GetCurrentThreadId();
  std::thread user([&] {
    HWND window = nullptr;
    WaitFor([&] {
      window = FindWindowA("#32770", "Velmora 2  v 1.0");
      return window && IsWindowVisible(window) &&
             GetWindowThreadProcessId(window, nullptr) == dialogThread;
    });
    use(window);
  });
  const INT_PTR result = REAL_IMPORT("user32.dll", DialogBoxParamA)(
      InstanceHandle, MAKEINTRESOURCEA(IDD_CONFIG), nullptr, ConfigDialogProc, 0);
  user.join();
  return result;
}

TEST_F(ConfigDialogTest, ItsResultIsOneForOkAndTwoForCancel) {
  const auto click = [](int id) {
    return RunModally([=](HWND window) { PostMessageA(GetDlgItem(window, id), BM_CLICK, 0, 0); });
  };
  EXPECT_EQ(click(1), 1);
  EXPECT_TRUE(user.KeyExists());
  EXPECT_EQ(click(2), 2);
}

// --- Keys ---

void Strike(BYTE key) {
  keybd_event(key, 0, 0, 0);
  keybd_event(key, 0, KEYEVENTF_KEYUP, 0);
}

class KeysTest : public ConfigDialogTest {
 protected:
  // A key from the keyboard, up to the moment when its messages are through.
  template <class Happened>
  bool StrikeAndWait(BYTE key, Happened happened) {
    Strike(key);
    return WaitFor([&] {
      MSG message;
      while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
        if (!dialog || !IsDialogMessageA(dialog, &message)) {
          TranslateMessage(&message);
          DispatchMessageA(&message);
        }
      return happened();
    });
  }
};

TEST_F(KeysTest, F1OpensTheHelpWhicheverControlHasTheFocus) {
  HelpPath = "help";
  Open();
  SetForegroundWindow(dialog);
  std::vector<int> ids{1020, 1024, 1033, 1052};
  for (const Button& button : kButtons) ids.push_back(button.id);
  for (const Toggle& toggle : kToggles) ids.push_back(toggle.id);
  for (const int id : ids) {
    helps.clear();
    SetFocus(Control(id));
    ASSERT_EQ(GetFocus(), Control(id));
    EXPECT_TRUE(StrikeAndWait(VK_F1, [&] { return !helps.empty(); })) << id;
    EXPECT_EQ(helps.size(), 1u) << id;
  }
}

TEST_F(KeysTest, EscapeCancels) {
  Open();
  SetForegroundWindow(dialog);
  SetFocus(Control(1024));
  EXPECT_TRUE(StrikeAndWait(VK_ESCAPE, [&] { return !results.empty(); }));
  EXPECT_THAT(results, ElementsAre(2));
  EXPECT_FALSE(user.KeyExists());
}

TEST_F(KeysTest, DeleteAndOtherKeysReachTheDialogAndDoNothing) {
  Open();
  for (const WPARAM key : {VK_DELETE, VK_F2, VK_F10})
    EXPECT_EQ(SendMessageA(dialog, WM_KEYDOWN, key, 1), 0);
  EXPECT_THAT(helps, IsEmpty());
  EXPECT_THAT(results, IsEmpty());
}

TEST(KeyboardForwardHook, SendsPressesAndReleasesToTheTarget) {
  ControlHost host;
  std::vector<std::pair<UINT, WPARAM>> got;
  host.onMessage = [&](UINT message, WPARAM wParam, LPARAM) {
    if (message == WM_KEYDOWN || message == WM_KEYUP) got.emplace_back(message, wParam);
    return false;
  };
  gKeyTargetWindow = host.Window();
  KeyboardForwardHook(0, VK_DELETE, 1);
  KeyboardForwardHook(3, VK_F1, static_cast<LPARAM>(0xC0000001));
  KeyboardForwardHook(-1, VK_F2, 1);
  EXPECT_EQ(got, (std::vector<std::pair<UINT, WPARAM>>{{WM_KEYDOWN, VK_DELETE},
                                                       {WM_KEYUP, VK_F1}}));
  gKeyTargetWindow = nullptr;
}

TEST_F(ConfigDialogTest, TheHookIsOutOfForceWhileCustomMusicIsChosen) {
  std::vector<std::string> calls;
  HOOK_IMPORT(unhook, "user32.dll", UnhookWindowsHookEx, [&](HHOOK hook) -> BOOL {
    calls.push_back("unhook");
    return REAL_IMPORT("user32.dll", UnhookWindowsHookEx)(hook);
  });
  HOOK_IMPORT(install, "user32.dll", SetWindowsHookExA,
              [&](int kind, HOOKPROC procedure, HINSTANCE module, DWORD thread) -> HHOOK {
                EXPECT_EQ(kind, WH_KEYBOARD);
                EXPECT_EQ(procedure, KeyboardForwardHook);
                EXPECT_EQ(module, nullptr);
                EXPECT_EQ(thread, GetCurrentThreadId());
                calls.push_back("hook");
                return REAL_IMPORT("user32.dll", SetWindowsHookExA)(kind, procedure, module,
                                                                    thread);
              });
  Open();
  EXPECT_THAT(calls, ElementsAre("hook"));
  EXPECT_EQ(gKeyTargetWindow, dialog);
  duringDialog = [&] {
    calls.push_back("dialog");
    gKeyTargetWindow = nullptr;  // that dialog takes the keys for itself
  };
  ClickControl(1087);
  EXPECT_THAT(calls, ElementsAre("hook", "unhook", "dialog", "hook"));
  EXPECT_EQ(gKeyTargetWindow, dialog);
  calls.clear();
  for (const int id : {1035, 1049, 1095}) ClickControl(id);
  EXPECT_THAT(calls, ElementsAre("dialog", "dialog", "dialog")) << "the others leave it in force";
  calls.clear();
  Close();
  EXPECT_THAT(calls, ElementsAre("unhook"));
}

// --- Tooltips ---

TEST_F(ConfigDialogTest, EachTooltipSaysWhatItsControlDoes) {
  Open();
  constexpr char kModes[] =
      "Display modes (smaller numbers are faster, higher numbers look better)";
  const std::vector<std::pair<int, std::string>> expected{
      {1087, "Click here to select custom music"},
      {1059, "Play music when the screensaver runs"},
      {1060, "Randomly shuffle the order of the music"},
      {1033, "Adjusts music volume"},
      {1061, "Enables sure-fire mode that will work well on almost any computer."},
      {1024, kModes},
      {1052, kModes},
      {1048, "View help on configuring this screensaver"},
      {1034, "Click to obtain support for this product"},
      {1035, "Click to enable/disable and configure captions"},
      {1049, "About Velmora 21.0"},
      {1088, "Click to visit Tarnwick's website"},
      {1089, "Click to see Tarnwick's current special offers!"},
      {1095, "Click to check for updates to this product"},
      {1011, "Play built-in music"},
      {1013, "Play your own custom music list"},
      {1090, "Use the last displayed picture as your wallpaper"},
      {1091, "Display images in a random order"},
      {1092, "Animate the images"},
      {1094, "Crossfade transition between images"},
      {1020, "Adjusts how long images will display before changing (4 seconds - 30 seconds)"},
      {1096, "Use highest detail images (only noticable at 1024x768 or above)"},
      {1, "Click to save your settings and exit"},
      {2, "Click to discard your changes and exit"}};
  std::vector<std::pair<int, std::string>> shown;
  ASSERT_TRUE(gTooltips.First());
  do {
    std::array<char, 512> text{};
    TOOLINFOA tool{};
    tool.cbSize = TTTOOLINFOA_V2_SIZE;
    tool.lpszText = text.data();
    SendMessageA(gTooltips.Current(), TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool));
    shown.emplace_back(GetDlgCtrlID(tool.hwnd), text.data());
    EXPECT_EQ(SendMessageA(gTooltips.Current(), TTM_GETMAXTIPWIDTH, 0, 0), 250);
  } while (gTooltips.Next());
  EXPECT_EQ(shown, expected);
}

// --- Start and end ---

TEST_F(ConfigDialogTest, ItsStartIsLogged) {
  const TestLog log;
  Open();
  EXPECT_THAT(log.Texts(),
              ElementsAre("+- Enter function: WM_INITDIALOG", "+- Exit function: WM_INITDIALOG",
                          "Initializing config dialog (WM_INITDIALOG)",
                          "Opening bundled menu graphic", "Reading bundled menu graphic",
                          "Checking OS", "Acquiring bitmap object from image data"));
}

TEST_F(ConfigDialogTest, ASlowSaverBringsTheSpeedTipsBeforeTheWindowShows) {
  settings.AvgFps = 9.9f;
  bool visible = true;
  duringDialog = [&] { visible = IsWindowVisible(dialogs.back().owner); };
  Open();
  ASSERT_EQ(dialogs.size(), 1u);
  EXPECT_EQ(dialogs[0].resource, MAKEINTRESOURCEA(141));
  EXPECT_EQ(dialogs[0].procedure, SpeedTipsDialogProc);
  EXPECT_EQ(dialogs[0].owner, dialog);
  EXPECT_FALSE(visible);
}

TEST_F(ConfigDialogTest, ASaverThatWasFastEnoughBringsNoTips) {
  settings.AvgFps = 10.0f;
  Open();
  EXPECT_THAT(dialogs, IsEmpty());
}

TEST_F(ConfigDialogTest, TipsThatAreTurnedOffStayAway) {
  settings.AvgFps = 1.0f;
  settings.ShowSpeedtip = 0;
  Open();
  EXPECT_THAT(dialogs, IsEmpty());
}

TEST_F(ConfigDialogTest, AfterItsEndNothingIsLeft) {
  Open();
  EXPECT_FALSE(gSkinBundle.IsOpen());
  EXPECT_NE(gSkinDC, nullptr);
  Close();
  EXPECT_EQ(gSkinDC, nullptr);
  EXPECT_EQ(gTooltips.Count(), 0);
  EXPECT_EQ(gKeyboardHook, nullptr);
}

// --- Leaks ---

// Bytes in use on all heaps of the process.
std::size_t HeapBytes() {
  std::array<HANDLE, 64> heaps{};
  const DWORD count = GetProcessHeaps(heaps.size(), heaps.data());
  std::size_t bytes = 0;
  for (DWORD n = 0; n < std::min<DWORD>(count, heaps.size()); ++n) {
    HeapLock(heaps[n]);
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[n], &entry))
      if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
    HeapUnlock(heaps[n]);
  }
  return bytes;
}

int ThreadWindows() {
  int count = 0;
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND, LPARAM to) WINAPI -> BOOL {
        ++*reinterpret_cast<int*>(to);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&count));
  return count;
}

TEST_F(ConfigDialogTest, TwoHundredOpeningsLeaveNothingBehind) {
  modes = {{800, 600, 32}, {1024, 768, 32}};
  const auto openAndClose = [&] {
    Open();
    ClickControl(1091);
    PressOk();
    Close();
  };
  for (int n = 0; n < 5; ++n) openAndClose();
  results.reserve(1000);
  const GdiGauge gauge;
  const int windows = ThreadWindows();
  const std::size_t bytes = HeapBytes();
  {
    const support::LiveAllocations ours;
    for (int n = 0; n < 200; ++n) openAndClose();
    EXPECT_EQ(ours.Count(), 0) << "blocks of our own after 200 openings";
  }
  EXPECT_EQ(gauge.Leaked(), 0);
  EXPECT_EQ(ThreadWindows(), windows);
  // Wine's DirectDraw keeps 16 bytes of each window that it was ever told of by
  // SetCooperativeLevel. A block forgotten at each opening would be more.
  const auto grown = static_cast<long>(HeapBytes()) - static_cast<long>(bytes);
  EXPECT_LT(grown, 200 * 24L) << "bytes on all heaps after 200 openings";
}

}  // namespace

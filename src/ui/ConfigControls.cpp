#include "ui/ConfigControls.h"

#include "base/win_owned.h"
#include "settings/Settings.h"
#include "ui/CButtonControl.h"
#include "ui/CFilledSlider.h"
#include "ui/CListBoxSlider.h"
#include "ui/CToggleButton.h"
#include "ui/Skin.h"
#include "ui/Subclass.h"
#include "ui/resource.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>

const RECT kDelayLabel{477, 245, 519, 262};

namespace {

HCURSOR HandCursor() { return LoadCursorA(nullptr, IDC_HAND); }

HWND MoveControl(HWND dialog, int id, const Place& place) {
  const HWND control = GetDlgItem(dialog, id);
  MoveWindow(control, place.x, place.y, place.width, place.height, TRUE);
  return control;
}

HWND MakeButton(HWND dialog, int id, const Place& place) {
  constexpr DWORD kStyle = WS_CHILD | WS_VISIBLE | BS_OWNERDRAW;
  static_assert(kStyle == 0x5000000B);
  return CreateWindowExA(0, "BUTTON", "", kStyle, place.x, place.y, place.width, place.height,
                         dialog, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                         reinterpret_cast<HINSTANCE>(GetWindowLongPtrA(dialog, GWLP_HINSTANCE)),
                         nullptr);
}

}  // namespace

// --- Image buttons ---

namespace {

struct ButtonRow {
  int id;
  Place place;
};

// In the order of their making; the last five come behind the toggles.
constexpr std::array<ButtonRow, 10> kButtons{{
    {IDC_CUSTOM_MUSIC_LIST, {513, 124, 83, 44}},
    {IDC_HELP_BUTTON, {171, 404, 60, 33}},
    {IDC_SUPPORT, {27, 352, 71, 37}},
    {IDC_CAPTION_OPTIONS, {539, 218, 71, 37}},
    {IDC_ABOUT, {104, 387, 60, 33}},
    {IDC_WEB_SITE, {17, 100, 150, 21}},
    {IDC_SPECIALS, {17, 128, 150, 21}},
    {IDC_UPDATES, {17, 156, 150, 21}},
    {IDOK, {476, 387, 62, 32}},
    {IDCANCEL, {408, 404, 62, 32}},
}};
constexpr std::size_t kButtonsBeforeToggles = 5;

struct ImageButton {
  MemDc picture;
  CButtonControl control;
};

std::array<ImageButton, kButtons.size()> imageButtons;

// A press shows no change: both states are the same piece of the skin.
void CreateButton(HWND dialog, HDC windowDc, std::size_t index) {
  const auto& [id, place] = kButtons[index];
  ImageButton& button = imageButtons[index];
  const HWND control = MoveControl(dialog, id, place);
  button.picture = CaptureSkin(windowDc, place);
  button.control.Attach(button.picture.get(), button.picture.get(), place.width, place.height,
                        control, HandCursor());
}

CButtonControl* FindButton(unsigned id) {
  for (std::size_t n = 0; n < kButtons.size(); ++n)
    if (kButtons[n].id == static_cast<int>(id)) return &imageButtons[n].control;
  return nullptr;
}

}  // namespace

// --- Toggles ---

namespace {

struct ToggleRow {
  unsigned id;
  Place place;
  std::int32_t SaverSettings::* setting;
  bool inverted;  // on shows a setting that is off
};

// In the order of their making.
constexpr std::array<ToggleRow, 10> kToggles{{
    {IDC_WALLPAPER, {359, 274, 160, 15}, &SaverSettings::SetAsWallpaper, false},
    {IDC_RANDOM_ORDER, {364, 294, 155, 15}, &SaverSettings::RandomOrder, false},
    {IDC_ANIMATE, {426, 314, 93, 15}, &SaverSettings::Animate, false},
    {IDC_CROSSFADE, {412, 334, 107, 15}, &SaverSettings::Crossfade, false},
    {IDC_HIGH_QUALITY, {391, 354, 128, 15}, &SaverSettings::CramImages, true},
    {IDC_PLAY_MUSIC, {394, 94, 111, 15}, &SaverSettings::PlayMusic, false},
    {IDC_DEFAULT_MUSIC, {419, 127, 85, 15}, &SaverSettings::DefaultMusic, false},
    {IDC_CUSTOM_MUSIC, {418, 147, 86, 15}, &SaverSettings::CustomMusic, false},
    {IDC_SHUFFLE_MUSIC, {391, 185, 146, 15}, &SaverSettings::ShuffleMusic, false},
    {IDC_FAST_MODE, {14, 295, 102, 34}, &SaverSettings::FastMode, false},
}};

// In the order in which the list holds them.
constexpr std::array<unsigned, kToggles.size()> kToggleOrder{
    IDC_WALLPAPER,     IDC_RANDOM_ORDER, IDC_ANIMATE,       IDC_CROSSFADE,    IDC_PLAY_MUSIC,
    IDC_DEFAULT_MUSIC, IDC_CUSTOM_MUSIC, IDC_SHUFFLE_MUSIC, IDC_HIGH_QUALITY, IDC_FAST_MODE};

// Where the skin shows an indicator that is off, and one that is on.
constexpr Place kOffSample{499, 314, 20, 15};
constexpr Place kOnSample{499, 334, 20, 15};

std::unique_ptr<ToggleButtonList> toggles;  // from WM_INITDIALOG to WM_DESTROY
std::array<HWND, kToggles.size()> toggleWindows{};
WNDPROC formerFastModeProc = nullptr;
MemDc offIndicator;
MemDc onIndicator;
SkinPicture indicatorMask;

void LoadIndicators(HDC windowDc) {
  offIndicator = CaptureSkin(windowDc, kOffSample);
  onIndicator = CaptureSkin(windowDc, kOnSample);
  indicatorMask = LoadSkinPicture("toggle_mask_3.bmp");
  const HDC mask = indicatorMask.dc.get();
  toggles->SetPictures(onIndicator.get(), offIndicator.get(), mask, mask);
}

void MakeToggleWindows(HWND dialog) {
  for (std::size_t n = 0; n < kToggles.size(); ++n)
    toggleWindows[n] = MakeButton(dialog, static_cast<int>(kToggles[n].id), kToggles[n].place);
}

void AddTogglesToList(HWND dialog) {
  for (const unsigned id : kToggleOrder)
    toggles->Add(id, indicatorMask.width, indicatorMask.height,
                 GetDlgItem(dialog, static_cast<int>(id)), dialog, HandCursor());
}

void ShowSettingsInToggles() {
  for (const ToggleRow& row : kToggles)
    toggles->SetState(row.id, (ss->*row.setting != 0) != row.inverted);
}

void CreateToggles(HWND dialog, HDC windowDc) {
  LoadIndicators(windowDc);
  MakeToggleWindows(dialog);
  formerFastModeProc = ReplaceProc(GetDlgItem(dialog, IDC_FAST_MODE), FastModeButtonProc);
  AddTogglesToList(dialog);
  ShowSettingsInToggles();
}

// The windows go first: their last messages still pass through all procedures that
// stand in a row there, and none has to be taken out of it.
void DestroyToggles() {
  for (HWND& window : toggleWindows) {
    if (window) DestroyWindow(window);
    window = nullptr;
  }
  formerFastModeProc = nullptr;
  toggles.reset();
  offIndicator.reset();
  onIndicator.reset();
  indicatorMask = {};
}

}  // namespace

bool ToggleIsOn(unsigned id) {
  const CToggleButton* toggle = toggles ? toggles->Find(id) : nullptr;
  return toggle && toggle->on;
}

namespace {

void ShowFastModeNote(HWND toggle) {
  // The button still counts as pressed, and a pressed toggle would flip back
  // when the box uncovers it.
  if (GetCapture() == toggle) ReleaseCapture();
  MessageBoxA(toggle,
              "NOTE: This mode is only recommended for slower computers\n"
              "or if you are having problems running in normal mode.",
              "NOTE", MB_ICONINFORMATION);
}

}  // namespace

LRESULT CALLBACK FastModeButtonProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_LBUTTONUP && ToggleIsOn(IDC_FAST_MODE)) ShowFastModeNote(hwnd);
  return CallFormerProc(formerFastModeProc, hwnd, message, wParam, lParam);
}

void CreateSkinControls(HWND hwnd) {
  toggles = std::make_unique<ToggleButtonList>();
  const ClientDc windowDc(hwnd);
  for (std::size_t n = 0; n < kButtonsBeforeToggles; ++n) CreateButton(hwnd, windowDc.get(), n);
  CreateToggles(hwnd, windowDc.get());
  for (std::size_t n = kButtonsBeforeToggles; n < kButtons.size(); ++n)
    CreateButton(hwnd, windowDc.get(), n);
}

void DestroySkinControls() {
  DestroyToggles();
  for (ImageButton& button : imageButtons) button.picture.reset();
}

// --- Sliders ---

namespace {

constexpr Place kDelayPlace{367, 245, 108, 17};
constexpr Place kVolumePlace{601, 94, 18, 108};
constexpr Place kListPlace{522, 275, 92, 94};
constexpr Place kModeKnobPlace{614, 275, 15, 94};
constexpr Place kDelayFill{367, 245, 108, 18};  // a row higher than the control
constexpr int kVisibleRows = 6;
constexpr int kListPageStep = 35;  // px

// The delay in seconds runs from 4 to 30, the volume from 0 to 255, loud at the
// top of the track. Going back both are cut to whole numbers.
constexpr int kShortestDelay = 4;
constexpr int kDelayRange = 26;
constexpr int kLoudest = 255;

CFilledSlider delaySlider;
CFilledSlider volumeSlider;
CListBoxSlider modeKnob;

struct SliderPictures {
  MemDc delayFill;
  MemDc volumeFill;
  MemDc modeTrack;
  SkinPicture delayTrack;
  SkinPicture volumeTrack;
  SkinPicture delayKnob;
  SkinPicture modeKnob;
  SkinPicture volumeKnob;
};
SliderPictures sliderPictures;

HWND volumeWindow = nullptr;
HWND modeKnobWindow = nullptr;

void LoadSliderPictures(HDC windowDc) {
  SliderPictures& pictures = sliderPictures;
  pictures.delayFill = CaptureSkin(windowDc, kDelayFill);
  pictures.delayKnob = LoadSkinPicture("slide_knob_7_18_1.jpg");
  pictures.volumeFill = CaptureSkin(windowDc, kVolumePlace);
  pictures.volumeTrack = LoadSkinPicture("VSliderBG_108_18_1.jpg");
  pictures.delayTrack = LoadSkinPicture("SliderBG_108_18_1.jpg");
  pictures.modeTrack = CaptureSkin(windowDc, kModeKnobPlace);
  pictures.modeKnob = LoadSkinPicture("slide_knob_13_13_1.jpg");
  pictures.volumeKnob = LoadSkinPicture("slide_knob_18_7_1.jpg");
}

void SetUpVolumeSlider() {
  volumeSlider.SetHorizontal(false);
  volumeSlider.SetKnobSize(18, 7);
  volumeSlider.SetBackground(sliderPictures.volumeTrack.dc.get());
  volumeSlider.SetKnob(sliderPictures.volumeKnob.dc.get());
  volumeSlider.SetFill(sliderPictures.volumeFill.get());
  volumeSlider.Attach(volumeWindow);
  volumeSlider.SetPercent(1.0f - static_cast<float>(ss->MusicVol) / kLoudest);
}

void SetUpModeKnob(HWND list) {
  modeKnob.SetBackground(sliderPictures.modeTrack.get());
  modeKnob.SetKnob(sliderPictures.modeKnob.dc.get());
  modeKnob.BindList(list);
  modeKnob.SetVisibleRows(kVisibleRows);
  modeKnob.SetHorizontal(false);
  modeKnob.SetKnobSize(13, 13);
  modeKnob.SetPageStep(kListPageStep);
  modeKnob.SetPosition(0.0f);
  modeKnob.Attach(modeKnobWindow);
}

void SetUpDelaySlider(HWND dialog, HWND control) {
  delaySlider.SetBackground(sliderPictures.delayTrack.dc.get());
  delaySlider.SetKnob(sliderPictures.delayKnob.dc.get());
  delaySlider.SetFill(sliderPictures.delayFill.get());
  delaySlider.Attach(control);
  delaySlider.SetPercent((ss->ImageDelay - kShortestDelay) / kDelayRange);
  delaySlider.SetNotifyWindow(dialog);
  delaySlider.SetInvalidRect(kDelayLabel.left, kDelayLabel.top, kDelayLabel.right,
                             kDelayLabel.bottom);
}

int ShownVolume() { return static_cast<int>(kLoudest - volumeSlider.GetValue() * kLoudest); }

}  // namespace

void CreateSliderControls(HWND hwnd) {
  {
    const ClientDc windowDc(hwnd);
    LoadSliderPictures(windowDc.get());
  }
  volumeWindow = MakeButton(hwnd, IDC_MUSIC_VOLUME, kVolumePlace);
  modeKnobWindow = MakeButton(hwnd, IDC_MODE_KNOB, kModeKnobPlace);
  const HWND list = MoveControl(hwnd, IDC_MODE_LIST, kListPlace);
  const HWND delay = MoveControl(hwnd, IDC_IMAGE_DELAY, kDelayPlace);
  SetUpVolumeSlider();
  SetUpModeKnob(list);
  SetUpDelaySlider(hwnd, delay);
}

void DestroySliderControls() {
  sliderPictures = {};
  for (HWND* window : {&volumeWindow, &modeKnobWindow}) {
    if (*window) DestroyWindow(*window);
    *window = nullptr;
  }
}

int ShownDelay() {
  return static_cast<int>(delaySlider.GetValue() * kDelayRange + kShortestDelay);
}

void MoveModeKnob(int selected, int rows) {
  modeKnob.SetPercent(static_cast<float>(selected) / static_cast<float>(rows - 1));
}

// --- All of them ---

void ApplyControlsToSettings() {
  if (!toggles) return;
  for (const ToggleRow& row : kToggles) ss->*row.setting = ToggleIsOn(row.id) != row.inverted;
  ss->ImageDelay = static_cast<float>(ShownDelay());
  ss->MusicVol = ShownVolume();
}

void DrawControl(unsigned id, const DRAWITEMSTRUCT* item) {
  if (id == IDC_IMAGE_DELAY)
    delaySlider.Paint(item);
  else if (id == IDC_MUSIC_VOLUME)
    volumeSlider.Paint(item);
  else if (id == IDC_MODE_KNOB)
    modeKnob.Paint(item);
  else if (const CButtonControl* button = FindButton(id))
    button->Paint(item);
  else if (toggles)
    toggles->Draw(id, gSkinDC, item);
}

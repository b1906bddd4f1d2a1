#include "ui/CaptionOptionsDialog.h"

#include "base/win_owned.h"
#include "settings/Session.h"
#include "settings/Settings.h"
#include "ui/resource.h"

#include <cstdint>
#include <iterator>
#include <string>

namespace {

constexpr int kSmallest = 10;  // px
constexpr int kLargest = 32;
constexpr LONG kAlignmentBits = 3;  // of a static text's style: its values are the orientations'
constexpr int kRowsShown = 10;      // of an open list

struct Orientation {
  const char* text;
  std::int32_t value;
};

constexpr Orientation kOrientations[] = {{"Left", 0}, {"Center", 1}, {"Right", 2}};

// Grey while captions are off. Bold isn't among them.
constexpr int kCaptionControls[] = {IDC_CAPTION_SIZE, IDC_CAPTION_ORIENTATION, IDC_CAPTION_SAMPLE,
                                    IDC_CAPTION_ITALIC, IDC_CAPTION_FONT};

LOGFONTA gSample{};  // follows the choices
HFONT gSampleFont = nullptr;

// --- Controls ---

LRESULT Ask(HWND dialog, int control, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
  return SendDlgItemMessageA(dialog, control, message, wParam, lParam);
}

bool IsChecked(HWND dialog, int control) {
  return Ask(dialog, control, BM_GETCHECK) == BST_CHECKED;
}

void Check(HWND dialog, int control, bool yes) {
  Ask(dialog, control, BM_SETCHECK, yes ? BST_CHECKED : BST_UNCHECKED);
}

void AddChoice(HWND dialog, int box, const char* text, std::int32_t value) {
  const LRESULT row = Ask(dialog, box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
  Ask(dialog, box, CB_SETITEMDATA, static_cast<WPARAM>(row), value);
}

// The value behind the selected row; CB_ERR if none is selected.
std::int32_t ChosenValue(HWND dialog, int box) {
  const LRESULT row = Ask(dialog, box, CB_GETCURSEL);
  return static_cast<std::int32_t>(Ask(dialog, box, CB_GETITEMDATA, static_cast<WPARAM>(row)));
}

// Empty if no row is selected.
std::string ChosenText(HWND dialog, int box) {
  const auto row = static_cast<WPARAM>(Ask(dialog, box, CB_GETCURSEL));
  const LRESULT length = Ask(dialog, box, CB_GETLBTEXTLEN, row);
  if (length <= 0) return {};
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  Ask(dialog, box, CB_GETLBTEXT, row, reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

void SelectValue(HWND dialog, int box, std::int32_t value) {
  const LRESULT rows = Ask(dialog, box, CB_GETCOUNT);
  for (LRESULT row = 0; row < rows; ++row)
    if (Ask(dialog, box, CB_GETITEMDATA, static_cast<WPARAM>(row)) == value)
      Ask(dialog, box, CB_SETCURSEL, static_cast<WPARAM>(row));
}

void SelectText(HWND dialog, int box, const char* text) {
  Ask(dialog, box, CB_SELECTSTRING, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(text));
}

// An old Windows opens a list as high as its window was made.
void GiveListRoom(HWND dialog, int box) {
  const HWND window = GetDlgItem(dialog, box);
  RECT rect{};
  GetWindowRect(window, &rect);
  const auto rowHeight = static_cast<int>(Ask(dialog, box, CB_GETITEMHEIGHT));
  SetWindowPos(window, nullptr, 0, 0, rect.right - rect.left,
               rect.bottom - rect.top + rowHeight * kRowsShown,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void EnableCaptionControls(HWND dialog, bool yes) {
  for (const int control : kCaptionControls) EnableWindow(GetDlgItem(dialog, control), yes);
}

// --- The sample ---

void RefreshSample(HWND dialog) {
  InvalidateRect(GetDlgItem(dialog, IDC_CAPTION_SAMPLE), nullptr, TRUE);
}

void ShowSampleFont(HWND dialog) {
  Ask(dialog, IDC_CAPTION_SAMPLE, WM_SETFONT, reinterpret_cast<WPARAM>(gSampleFont), FALSE);
  RefreshSample(dialog);
}

void DeleteSampleFont() {
  if (gSampleFont) DeleteObject(gSampleFont);
  gSampleFont = nullptr;
}

void RebuildSampleFont(HWND dialog) {
  DeleteSampleFont();
  gSampleFont = CreateFontIndirectA(&gSample);
  ShowSampleFont(dialog);
}

void AlignSample(HWND dialog, std::int32_t orientation) {
  const HWND sample = GetDlgItem(dialog, IDC_CAPTION_SAMPLE);
  const LONG style = GetWindowLongA(sample, GWL_STYLE) & ~kAlignmentBits;
  SetWindowLongA(sample, GWL_STYLE, style | (orientation & kAlignmentBits));
  RefreshSample(dialog);
}

void SetFace(const std::string& name) {
  const std::size_t length = name.copy(gSample.lfFaceName, LF_FACESIZE - 1);
  gSample.lfFaceName[length] = '\0';
}

LONG WeightOf(bool bold) { return bold ? FW_BOLD : FW_NORMAL; }

// --- Opening ---

void FillSizes(HWND dialog) {
  for (int size = kSmallest; size <= kLargest; ++size)
    AddChoice(dialog, IDC_CAPTION_SIZE, std::to_string(size).c_str(), -size);
  SelectValue(dialog, IDC_CAPTION_SIZE, ss->CaptionFontSize);
}

// Any value but those of left and right means centred.
const Orientation& StoredOrientation() {
  for (const Orientation& orientation : kOrientations)
    if (orientation.value == ss->CaptionOrientation) return orientation;
  return kOrientations[1];
}

void FillOrientations(HWND dialog) {
  for (const Orientation& orientation : kOrientations)
    AddChoice(dialog, IDC_CAPTION_ORIENTATION, orientation.text, orientation.value);
}

void StartSample() {
  gSample = {};
  gSample.lfCharSet = DEFAULT_CHARSET;
  gSample.lfQuality = static_cast<BYTE>(CaptionQuality());
  gSample.lfWeight = WeightOf(ss->CaptionBold != 0);
  gSample.lfItalic = ss->CaptionItalic;
  gSample.lfHeight = ss->CaptionFontSize;
}

void FillFonts(HWND dialog) {
  const WindowDc dc(dialog);
  EnumFontFamiliesExA(dc.get(), &gSample, AddFontFaceProc, reinterpret_cast<LPARAM>(dialog), 0);
  SelectText(dialog, IDC_CAPTION_FONT, ss->CaptionFont.c_str());
}

void OnInit(HWND dialog) {
  Check(dialog, IDC_SHOW_CAPTIONS, ss->ShowCaptions != 0);
  FillSizes(dialog);
  Check(dialog, IDC_CAPTION_ITALIC, ss->CaptionItalic != 0);
  Check(dialog, IDC_CAPTION_BOLD, ss->CaptionBold != 0);
  FillOrientations(dialog);
  StartSample();
  FillFonts(dialog);
  SetFace(ss->CaptionFont);
  gSampleFont = CreateFontIndirectA(&gSample);
  const Orientation& orientation = StoredOrientation();
  SelectText(dialog, IDC_CAPTION_ORIENTATION, orientation.text);
  ShowSampleFont(dialog);
  AlignSample(dialog, orientation.value);
  for (const int box : {IDC_CAPTION_SIZE, IDC_CAPTION_FONT, IDC_CAPTION_ORIENTATION})
    GiveListRoom(dialog, box);
  EnableCaptionControls(dialog, ss->ShowCaptions != 0);
}

// --- Choices ---

// A font that isn't installed has no row: its name stays until another is
// chosen.
void TakeChosenFace(HWND dialog) {
  if (const std::string name = ChosenText(dialog, IDC_CAPTION_FONT); !name.empty()) SetFace(name);
}

void StoreChoices(HWND dialog) {
  ss->ShowCaptions = IsChecked(dialog, IDC_SHOW_CAPTIONS);
  ss->CaptionItalic = IsChecked(dialog, IDC_CAPTION_ITALIC);
  ss->CaptionBold = IsChecked(dialog, IDC_CAPTION_BOLD);
  ss->CaptionFontSize = ChosenValue(dialog, IDC_CAPTION_SIZE);
  ss->CaptionOrientation = ChosenValue(dialog, IDC_CAPTION_ORIENTATION);
  TakeChosenFace(dialog);
  if (const std::string name = ChosenText(dialog, IDC_CAPTION_FONT); !name.empty())
    ss->CaptionFont = name;
}

// True if the command was one of this dialog's.
bool OnCommand(HWND dialog, int id, int notification) {
  switch (id) {
    case IDOK:
      StoreChoices(dialog);
      EndDialog(dialog, IDOK);
      return true;
    case IDCANCEL:
      EndDialog(dialog, IDCANCEL);
      return true;
    case IDC_SHOW_CAPTIONS:
      EnableCaptionControls(dialog, IsChecked(dialog, IDC_SHOW_CAPTIONS));
      return true;
    case IDC_CAPTION_SIZE:
      gSample.lfHeight = ChosenValue(dialog, IDC_CAPTION_SIZE);
      break;
    case IDC_CAPTION_FONT:
      TakeChosenFace(dialog);
      break;
    case IDC_CAPTION_ORIENTATION:
      if (notification == CBN_SELCHANGE)
        AlignSample(dialog, ChosenValue(dialog, IDC_CAPTION_ORIENTATION));
      return true;
    case IDC_CAPTION_ITALIC:
      gSample.lfItalic = IsChecked(dialog, IDC_CAPTION_ITALIC);
      break;
    case IDC_CAPTION_BOLD:
      gSample.lfWeight = WeightOf(IsChecked(dialog, IDC_CAPTION_BOLD));
      break;
    default:
      return false;
  }
  RebuildSampleFont(dialog);
  return true;
}

}  // namespace

int CALLBACK AddFontFaceProc(const LOGFONTA* logFont, const TEXTMETRICA*, DWORD, LPARAM lParam) {
  static std::string lastSeen;
  if (lastSeen == logFont->lfFaceName) return 1;
  lastSeen = logFont->lfFaceName;
  Ask(reinterpret_cast<HWND>(lParam), IDC_CAPTION_FONT, CB_ADDSTRING, 0,
      reinterpret_cast<LPARAM>(logFont->lfFaceName));
  return 1;
}

INT_PTR CALLBACK CaptionOptionsDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      OnInit(hwnd);
      return TRUE;
    case WM_COMMAND:
      return OnCommand(hwnd, LOWORD(wParam), HIWORD(wParam));
    case WM_DESTROY:
      DeleteSampleFont();
      return FALSE;
    default:
      return FALSE;
  }
}

#define LOG_SOURCE "ConfigDialog"
#include "ui/ConfigDialog.h"

#include "base/Logger.h"
#include "base/Product.h"
#include "base/win_owned.h"
#include "settings/Session.h"
#include "settings/Settings.h"
#include "ui/AboutDialog.h"
#include "ui/CaptionOptionsDialog.h"
#include "ui/ConfigControls.h"
#include "ui/ConfigTooltips.h"
#include "ui/CustomMusicDialog.h"
#include "ui/KeyboardHook.h"
#include "ui/ModeListBox.h"
#include "ui/Skin.h"
#include "ui/SpeedTipsDialog.h"
#include "ui/UpdateDialog.h"
#include "ui/WebSite.h"
#include "ui/resource.h"

#include <string>

namespace {

constexpr int kWindowWidth = 640;  // px, whatever the template's units are
constexpr int kWindowHeight = 458;
constexpr COLORREF kLabelColour = RGB(0xF8, 0xF0, 0xD4);
constexpr float kSlowFps = 10.0f;

GdiFont labelFont;

// --- Start ---

// The controls are made for a picture, even where the region is missing. False
// if the picture is broken.
bool PutOnSkin(HWND hwnd) {
  gSkinned = true;
  const SkinResult result = LoadSkin(hwnd);
  if (result == SkinResult::Loaded) {
    CreateSkinControls(hwnd);
    CreateSliderControls(hwnd);
    CreateDialogTooltips(hwnd);
  }
  gSkinBundle.Close();
  return result != SkinResult::Undecoded;
}

// The window keeps the centre that the template gave it.
void GiveWindowItsSize(HWND hwnd) {
  RECT rect{};
  GetWindowRect(hwnd, &rect);
  POINT corner{(rect.right - rect.left) / 2 - kWindowWidth / 2,
               (rect.bottom - rect.top) / 2 - kWindowHeight / 2};
  ClientToScreen(hwnd, &corner);
  MoveWindow(hwnd, corner.x, corner.y, kWindowWidth, kWindowHeight, FALSE);
}

void PrepareLabel() {
  labelFont.reset(CreateFontA(-13, 0, 0, 0, FW_BOLD, TRUE, FALSE, FALSE, ANSI_CHARSET,
                              OUT_TT_PRECIS, CLIP_DEFAULT_PRECIS, ANTIALIASED_QUALITY,
                              DEFAULT_PITCH, "Arial"));
}

void OfferModes(HWND hwnd) {
  const HWND list = GetDlgItem(hwnd, IDC_MODE_LIST);
  const int selected = FillModeList(hwnd, list);
  const auto rows = static_cast<int>(SendMessageA(list, LB_GETCOUNT, 0, 0));
  if (rows > 1) MoveModeKnob(selected, rows);
}

void OpenDialog(HWND owner, int id, DLGPROC procedure) {
  DialogBoxParamA(InstanceHandle, MAKEINTRESOURCEA(id), owner, procedure, 0);
}

bool OnInitDialog(HWND hwnd, WPARAM wParam) {
  InstallKeyboardHook(hwnd);
  LOG_FUNCTION("WM_INITDIALOG");
  LOG_INFO("Initializing config dialog (WM_INITDIALOG)");
  if (!PutOnSkin(hwnd)) {
    EndDialog(hwnd, LOWORD(wParam));
    return false;
  }
  GiveWindowItsSize(hwnd);
  SetWindowTextA(hwnd, (std::string(kProductName) + "  v " + kVersionText).c_str());
  PrepareLabel();
  OfferModes(hwnd);
  if (ss->ShowSpeedtip && ss->AvgFps < kSlowFps)
    OpenDialog(hwnd, IDD_SPEED_TIPS, SpeedTipsDialogProc);
  return true;
}

// --- Picture ---

void DrawLabel(HDC dc) {
  const std::string text = std::to_string(ShownDelay()) + " sec";
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, kLabelColour);
  const SelectGuard font(dc, labelFont.get());
  RECT place = kDelayLabel;
  DrawTextA(dc, text.c_str(), -1, &place, 0);
}

void OnPaint(HWND hwnd) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(hwnd, &paint);
  BitBlt(dc, 0, 0, gSkinWidth, gSkinHeight, gSkinDC, 0, 0, SRCCOPY);
  DrawLabel(dc);
  EndPaint(hwnd, &paint);
}

void OnDrawItem(HWND hwnd, unsigned id, const DRAWITEMSTRUCT* item) {
  DrawControl(id, item);
  if (id == IDC_IMAGE_DELAY) InvalidateRect(hwnd, &kDelayLabel, FALSE);
}

// --- What the user asks for ---

// A window without its skin has the list of modes and the other dialogs to set up.
void SaveAndClose(HWND hwnd) {
  ApplyControlsToSettings();
  LOG_INFO("Writing registry settings");
  ss->WriteRegistry();
  EndDialog(hwnd, IDOK);
}

void OpenHelp(HWND hwnd) { WinHelpA(hwnd, HelpPath.c_str(), HELP_CONTENTS, 0); }

// The custom music dialog has the keys for itself.
void OpenCustomMusic(HWND hwnd) {
  RemoveKeyboardHook();
  OpenDialog(hwnd, IDD_CUSTOM_MUSIC, CustomMusicDialogProc);
  InstallKeyboardHook(hwnd);
}

void AskAboutStretching(HWND hwnd) {
  if (!ToggleIsOn(IDC_WALLPAPER)) return;
  ss->StretchWallpaper =
      MessageBoxA(hwnd, "Would you like to stretch the image to fit your desktop?",
                  "Stretch Wallpaper?", MB_YESNO) == IDYES;
}

bool OnCommand(HWND hwnd, int id, int notification) {
  switch (id) {
    case IDOK:
      SaveAndClose(hwnd);
      return true;
    case IDCANCEL:
      EndDialog(hwnd, IDCANCEL);
      return true;
    case IDC_MODE_LIST:
      if (notification == LBN_SELCHANGE) TakeSelectedMode(GetDlgItem(hwnd, IDC_MODE_LIST));
      return true;
    case IDC_SUPPORT:
      OpenSupportPage();
      return true;
    case IDC_CAPTION_OPTIONS:
      OpenDialog(hwnd, IDD_CAPTION_OPTIONS, CaptionOptionsDialogProc);
      return true;
    case IDC_HELP_BUTTON:
      OpenHelp(hwnd);
      return true;
    case IDC_ABOUT:
      OpenDialog(hwnd, IDD_ABOUT, AboutDialogProc);
      return true;
    case IDC_CUSTOM_MUSIC_LIST:
      OpenCustomMusic(hwnd);
      return true;
    case IDC_WEB_SITE:
      OpenWebSiteRoot();
      return true;
    case IDC_SPECIALS:
      OpenSpecialsPage();
      return true;
    case IDC_WALLPAPER:
      AskAboutStretching(hwnd);
      return true;
    case IDC_UPDATES:
      OpenDialog(hwnd, IDD_UPDATE, UpdateDialogProc);
      return true;
    default:
      return false;
  }
}

// A press on a bare part of the picture drags the window.
void OnBarePress(HWND hwnd, LPARAM lParam) {
  SendMessageA(hwnd, WM_NCLBUTTONDOWN, HTCAPTION, lParam);
}

// --- End ---

// What exists goes, also where a failure left the window without its outline;
// the tooltips go before the controls that they watch.
void OnDestroy() {
  DestroyTooltips();
  DestroySkinControls();
  DestroySliderControls();
  DeleteSkin();
  RemoveKeyboardHook();
  labelFont.reset();
  ReleaseModeList();
}

}  // namespace

INT_PTR CALLBACK ConfigDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      return OnInitDialog(hwnd, wParam);
    case WM_DRAWITEM:
      OnDrawItem(hwnd, static_cast<unsigned>(wParam),
                 reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
      return TRUE;
    case WM_PAINT:
      if (!gSkinned) return FALSE;
      OnPaint(hwnd);
      return TRUE;
    case WM_LBUTTONDOWN:
      if (!gSkinned) return FALSE;
      OnBarePress(hwnd, lParam);
      return TRUE;
    case WM_KEYDOWN:
      if (wParam != VK_F1) return FALSE;
      OpenHelp(hwnd);
      return TRUE;
    case WM_COMMAND:
      return OnCommand(hwnd, LOWORD(wParam), HIWORD(wParam));
    case WM_DESTROY:
      OnDestroy();
      return TRUE;
    default:
      return FALSE;
  }
}

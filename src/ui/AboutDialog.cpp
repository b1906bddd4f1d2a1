#include "ui/AboutDialog.h"

#include "base/Product.h"
#include "base/win_owned.h"
#include "settings/Session.h"
#include "ui/CButtonControl.h"
#include "ui/CreditScroller.h"
#include "ui/LinkStatics.h"
#include "ui/Skin.h"
#include "ui/Tooltips.h"
#include "ui/WebSite.h"
#include "ui/resource.h"

#include <memory>
#include <string>

namespace {

constexpr UINT_PTR kFrameTimer = 123;
constexpr UINT kFrameTimerMs = 1;  // as many frames as the system will give
constexpr Place kButtonPicture{14, 94, 154, 28};  // on the skin
constexpr POINT kButtonCorner{456, 330};          // in the dialog

// Headings end in a colon. Two empty lines part the groups; the product's name
// and version come before them. An "&&" shows as "&".
constexpr const char* kCredits[] = {
    "", "",
    "Sample pictures painted by:",
    "Programs of Tarnwick's, from numbers alone",
    "", "",
    "Written by:",
    "Tarnwick",
    "", "",
    "Music composed by:",
    "Tarnwick",
    "", "",
    "Image Library:",
    "libjpeg-turbo (IJG and BSD licences)",
    "libpng and zlib (libpng and zlib licences)",
    "libwebp (BSD licence)",
    "giflib (MIT licence)",
    "", "",
    "Audio Library:",
    "FMOD, built by Tarnwick with",
    "libmpg123 (LGPL 2.1),",
    "libogg and libvorbis (BSD licence)",
    kWebSite,
    "", "",
    "Installer:",
    "The system's own \"Install\" command",
    "", "",
    "Timing Code:",
    "Tarnwick",
    "", "",
    "String search code:",
    "Tarnwick",
    "", "",
    "Window skin utility",
    "&&",
    "networking framework:",
    "Tarnwick",
    "", "",
    "Logging class:",
    "Tarnwick",
    "", "",
    "Hyperlink code:",
    "Tarnwick",
    "", "",
    "Special thanks to:",
    "GCC (run time: GPL 3 with its exception)",
    "~~~",
    "MinGW-w64 (run time: ZPL, MIT licence)",
    "~~~",
    "Debian, Wine and GoogleTest",
    "", "",
    "Velmora 2 is made by Tarnwick.",
    "The full texts of all licences lie in the",
    "folder \"licences\" beside the program.",
};

// What lives as long as the window.
struct Contents {
  CreditScroller scroller;
  MemDc buttonPicture;
  HWND button = nullptr;
  HWND tooltip = nullptr;
};

std::unique_ptr<Contents> gContents;
DRAWITEMSTRUCT gItem{};  // the roll's latest, reused by the timer

// Kept for later openings of the dialog.
CButtonControl& MakerButton() {
  static CButtonControl button;
  return button;
}

// --- Opening ---

void CreateMakerButton(HWND dialog) {
  gContents->buttonPicture = CaptureSkin(ClientDc(dialog).get(), kButtonPicture);
  gContents->button = CreateWindowExA(
      0, "BUTTON", "", WS_CHILD | WS_VISIBLE | BS_OWNERDRAW, kButtonCorner.x, kButtonCorner.y,
      kButtonPicture.width, kButtonPicture.height, dialog,
      reinterpret_cast<HMENU>(INT_PTR{IDC_MAKER_BUTTON}), InstanceHandle, nullptr);
  const HDC picture = gContents->buttonPicture.get();
  MakerButton().Attach(picture, picture, kButtonPicture.width, kButtonPicture.height,
                       gContents->button, nullptr);
  gContents->tooltip = CreateTooltip(gContents->button, "Click to visit Tarnwick's website");
}

// The lines follow each other without a gap.
void StartRoll(HWND dialog) {
  CreditScroller& scroller = gContents->scroller;
  scroller.SetFont(CreateFontA(-20, 0, 0, 0, FW_BOLD, TRUE, FALSE, FALSE, ANSI_CHARSET,
                               OUT_TT_PRECIS, CLIP_DEFAULT_PRECIS, ANTIALIASED_QUALITY,
                               DEFAULT_PITCH, "Arial"));
  scroller.AttachTo(GetDlgItem(dialog, IDC_CREDITS));
  scroller.SetLineGap(0);
  scroller.AddLine(kProductName);
  scroller.AddLine(std::string("Version ") + kVersionText);
  for (const char* line : kCredits) scroller.AddLine(line);
  scroller.Start();
}

void OnInit(HWND dialog) {
  gContents = std::make_unique<Contents>();
  SetDlgItemTextA(dialog, IDC_MAKER_LINK, kWebSite);
  AttachHyperlink(dialog, IDC_MAKER_LINK, kLinkColour);
  SetTimer(dialog, kFrameTimer, kFrameTimerMs, nullptr);
  CreateMakerButton(dialog);
  StartRoll(dialog);
  SetWindowTextA(dialog,
                 (std::string("About ") + kProductName + "  v " + kVersionText).c_str());
}

// --- Drawing ---

void DrawNextFrame(HWND dialog) {
  const WindowDc dc(GetDlgItem(dialog, IDC_CREDITS));
  gItem.hDC = dc.get();
  gContents->scroller.Frame(&gItem);
}

void OnDrawItem(const DRAWITEMSTRUCT& item) {
  gItem = item;
  if (item.CtlID == IDC_CREDITS) gContents->scroller.Frame(&gItem);
  if (item.CtlID == IDC_MAKER_BUTTON) MakerButton().Paint(&item);
}

// --- The rest ---

void OnCommand(HWND dialog, int id) {
  if (id == IDOK || id == IDCANCEL) EndDialog(dialog, id);
  if (id == IDC_MAKER_BUTTON || id == IDC_MAKER_LINK) OpenWebSiteRoot();
}

void OnDestroy(HWND dialog) {
  gContents->scroller.Stop();
  KillTimer(dialog, kFrameTimer);
  MakerButton().Detach();
  DestroyWindow(gContents->button);
  DestroyWindow(gContents->tooltip);
  gContents.reset();
}

}  // namespace

INT_PTR CALLBACK AboutDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      OnInit(hwnd);
      return TRUE;
    case WM_TIMER:
      DrawNextFrame(hwnd);
      return TRUE;
    case WM_DRAWITEM:
      OnDrawItem(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
      return TRUE;
    case WM_COMMAND:
      OnCommand(hwnd, LOWORD(wParam));
      return TRUE;
    case WM_DESTROY:
      OnDestroy(hwnd);
      return FALSE;
    default:
      return FALSE;
  }
}

#include "ui/LinkStatics.h"

#include "ui/Subclass.h"

#include <cstdint>

namespace {

// What tells one kind of static from the other.
struct StaticKind {
  const char* originalProc;  // names of properties
  const char* originalFont;
  const char* hoverFont;
  const char* mark;
  BYTE hoverUnderline;
  bool marksHover;  // keeps kMouseOver
  WNDPROC staticProc;
  WNDPROC parentProc;
};

constexpr char kMouseOver[] = "_Mouse_Over_";

const StaticKind kHyperlink{"_Hyperlink_Original_Proc_",  "_Hyperlink_Original_Font_",
                            "_Hyperlink_Underline_Font_", "_Hyperlink_From_Static_",
                            TRUE,                         false,
                            HyperlinkProc,                HyperlinkParentProc};
const StaticKind kClickable{"_Clickable_Original_Proc_", "_Clickable_Original_Font_",
                            "_Clickable_Font_",          "_Clickable_From_Static_",
                            FALSE,                       true,
                            ClickableProc,               ClickableParentProc};

constexpr char kHyperlinkColor[] = "_Hyperlink_Color_";
constexpr char kNormalColor[] = "_Clickable_Norm_Color_";
constexpr char kOverColor[] = "_Clickable_Over_Color_";

HANDLE AsProperty(std::uintptr_t value) { return reinterpret_cast<HANDLE>(value); }

HANDLE AsProperty(WNDPROC procedure) { return reinterpret_cast<HANDLE>(procedure); }

COLORREF ColorOf(HWND hwnd, const char* property) {
  return static_cast<COLORREF>(reinterpret_cast<std::uintptr_t>(GetPropA(hwnd, property)));
}

WNDPROC FormerProc(HWND hwnd, const StaticKind& kind) {
  return reinterpret_cast<WNDPROC>(GetPropA(hwnd, kind.originalProc));
}

void SubclassParent(HWND hwnd, const StaticKind& kind) {
  const HWND parent = GetParent(hwnd);
  if (!parent) return;
  const auto present = reinterpret_cast<WNDPROC>(GetWindowLongPtrA(parent, GWLP_WNDPROC));
  // The other kind's procedure may stand in front of this one's.
  if (present == kind.parentProc || FormerProc(parent, kind)) return;
  SetPropA(parent, kind.originalProc, AsProperty(present));
  ReplaceProc(parent, kind.parentProc);
}

// The static's own font with or without an underline.
HFONT MakeHoverFont(HFONT font, BYTE underline) {
  LOGFONTA description{};
  GetObjectA(font, sizeof description, &description);
  description.lfUnderline = underline;
  return CreateFontIndirectA(&description);
}

// A static that has been attached before keeps its procedure and its fonts.
void SubclassStatic(HWND hwnd, const StaticKind& kind) {
  SubclassParent(hwnd, kind);
  // Without SS_NOTIFY a static lets the mouse through to its parent.
  SetWindowLongPtrA(hwnd, GWL_STYLE, GetWindowLongPtrA(hwnd, GWL_STYLE) | SS_NOTIFY);
  if (GetPropA(hwnd, kind.mark)) return;
  const auto former = reinterpret_cast<WNDPROC>(GetWindowLongPtrA(hwnd, GWLP_WNDPROC));
  SetPropA(hwnd, kind.originalProc, AsProperty(former));
  ReplaceProc(hwnd, kind.staticProc);
  const auto font = reinterpret_cast<HFONT>(SendMessageA(hwnd, WM_GETFONT, 0, 0));
  SetPropA(hwnd, kind.originalFont, font);
  SetPropA(hwnd, kind.hoverFont, MakeHoverFont(font, kind.hoverUnderline));
  SetPropA(hwnd, kind.mark, AsProperty(1));
}

// A window without any procedure would crash at its next message.
void RestoreProc(HWND hwnd, const StaticKind& kind, WNDPROC former) {
  if (former) ReplaceProc(hwnd, former);
  RemovePropA(hwnd, kind.originalProc);
}

void RestoreStatic(HWND hwnd, const StaticKind& kind, WNDPROC former) {
  RestoreProc(hwnd, kind, former);
  SendMessageA(hwnd, WM_SETFONT, reinterpret_cast<WPARAM>(GetPropA(hwnd, kind.originalFont)), 0);
  RemovePropA(hwnd, kind.originalFont);
  DeleteObject(GetPropA(hwnd, kind.hoverFont));
  RemovePropA(hwnd, kind.hoverFont);
  RemovePropA(hwnd, kind.mark);
}

bool ContainsPoint(HWND hwnd, LPARAM lParam) {
  RECT rect{};
  GetWindowRect(hwnd, &rect);
  POINT point{LOWORD(lParam), HIWORD(lParam)};
  ClientToScreen(hwnd, &point);
  return PtInRect(&rect, point) != 0;
}

void ShowFont(HWND hwnd, const char* font) {
  SendMessageA(hwnd, WM_SETFONT, reinterpret_cast<WPARAM>(GetPropA(hwnd, font)), FALSE);
  InvalidateRect(hwnd, nullptr, TRUE);
}

// The mouse capture stands in for a message that the pointer has left: with it
// the static sees every move anywhere on the screen.
void FollowPointer(HWND hwnd, const StaticKind& kind, LPARAM lParam) {
  if (GetCapture() != hwnd) {
    ShowFont(hwnd, kind.hoverFont);
    SetCapture(hwnd);
    if (kind.marksHover) SetPropA(hwnd, kMouseOver, AsProperty(1));
  } else if (!ContainsPoint(hwnd, lParam)) {
    ShowFont(hwnd, kind.originalFont);
    ReleaseCapture();
    if (kind.marksHover) SetPropA(hwnd, kMouseOver, nullptr);
  }
}

void ShowHand() {
  const HCURSOR hand = LoadCursorA(nullptr, IDC_HAND);
  SetCursor(hand ? hand : LoadCursorA(nullptr, IDC_ARROW));
}

LRESULT StaticProc(const StaticKind& kind, HWND hwnd, UINT message, WPARAM wParam,
                   LPARAM lParam) {
  const WNDPROC former = FormerProc(hwnd, kind);
  switch (message) {
    case WM_DESTROY:
      RestoreStatic(hwnd, kind, former);
      break;
    case WM_SETCURSOR:
      ShowHand();
      return TRUE;
    case WM_MOUSEMOVE:
      FollowPointer(hwnd, kind, lParam);
      break;
    default:
      break;
  }
  return CallFormerProc(former, hwnd, message, wParam, lParam);
}

template <class ColorOfStatic>
LRESULT ParentProc(const StaticKind& kind, ColorOfStatic colorOfStatic, HWND hwnd, UINT message,
                   WPARAM wParam, LPARAM lParam) {
  const WNDPROC former = FormerProc(hwnd, kind);
  if (message == WM_DESTROY) RestoreProc(hwnd, kind, former);
  const auto control = reinterpret_cast<HWND>(lParam);
  if (message != WM_CTLCOLORSTATIC || !GetPropA(control, kind.mark))
    return CallFormerProc(former, hwnd, message, wParam, lParam);
  const LRESULT brush = former ? CallWindowProcA(former, hwnd, message, wParam, lParam)
                               : static_cast<LRESULT>(wParam);
  SetTextColor(reinterpret_cast<HDC>(wParam), colorOfStatic(control));
  return brush;
}

}  // namespace

int AttachHyperlink(HWND hwnd, COLORREF color) {
  SubclassStatic(hwnd, kHyperlink);
  SetPropA(hwnd, kHyperlinkColor, AsProperty(color));
  return 1;
}

int AttachHyperlink(HWND dialog, int id, COLORREF color) {
  return AttachHyperlink(GetDlgItem(dialog, id), color);
}

int AttachClickable(HWND hwnd, COLORREF normalColor, COLORREF overColor) {
  SubclassStatic(hwnd, kClickable);
  SetPropA(hwnd, kNormalColor, AsProperty(normalColor));
  SetPropA(hwnd, kOverColor, AsProperty(overColor));
  SetPropA(hwnd, kMouseOver, nullptr);
  return 1;
}

int AttachClickable(HWND dialog, int id, COLORREF normalColor, COLORREF overColor) {
  return AttachClickable(GetDlgItem(dialog, id), normalColor, overColor);
}

LRESULT CALLBACK HyperlinkParentProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto color = [](HWND control) { return ColorOf(control, kHyperlinkColor); };
  return ParentProc(kHyperlink, color, hwnd, message, wParam, lParam);
}

LRESULT CALLBACK HyperlinkProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  return StaticProc(kHyperlink, hwnd, message, wParam, lParam);
}

LRESULT CALLBACK ClickableParentProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto color = [](HWND control) {
    return ColorOf(control, GetPropA(control, kMouseOver) ? kOverColor : kNormalColor);
  };
  return ParentProc(kClickable, color, hwnd, message, wParam, lParam);
}

LRESULT CALLBACK ClickableProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  return StaticProc(kClickable, hwnd, message, wParam, lParam);
}

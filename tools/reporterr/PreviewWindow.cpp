#include "reporterr/PreviewWindow.h"

#include "reporterr/Look.h"
#include "reporterr/Resources.h"

namespace {

constexpr int kTypeHeight = 12;  // px

struct Preview {
  const std::string& report;
  Look* look = nullptr;
  HFONT type = nullptr;
};

// An edit control knows lines by CR and LF alone; neither the log of another
// system nor a dump's text need have both.
std::string WithWindowsLines(const std::string& text) {
  std::string lines;
  lines.reserve(text.size() + text.size() / 32);
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\n' && (at == 0 || text[at - 1] != '\r')) lines += '\r';
    lines += text[at];
  }
  return lines;
}

Preview& Of(HWND dialog) {
  return *reinterpret_cast<Preview*>(GetWindowLongPtrA(dialog, GWLP_USERDATA));
}

void Open(HWND dialog, LPARAM parameter) {
  SetWindowLongPtrA(dialog, GWLP_USERDATA, parameter);
  const Preview& preview = Of(dialog);
  SendDlgItemMessageA(dialog, CONTROL_PREVIEW, WM_SETFONT,
                      reinterpret_cast<WPARAM>(preview.type), TRUE);
  SetDlgItemTextA(dialog, CONTROL_PREVIEW, WithWindowsLines(preview.report).c_str());
  SendMessageA(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(dialog, IDCANCEL)), TRUE);
}

INT_PTR CALLBACK PreviewProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      Open(dialog, lParam);
      return FALSE;  // the focus is set
    case WM_CTLCOLORDLG:
      return reinterpret_cast<INT_PTR>(Of(dialog).look->PageBrush());
    case WM_CTLCOLORSTATIC:  // a read-only edit control asks so, too
      return reinterpret_cast<INT_PTR>(Of(dialog).look->CardBrush());
    case WM_DRAWITEM:
      Of(dialog).look->PaintButton(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam),
                                   ButtonLook::Plain, colours::kPage);
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) == IDCANCEL || LOWORD(wParam) == IDOK) EndDialog(dialog, 0);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace

void ShowPreview(HWND owner, const std::string& report) {
  Look look(owner);
  const GdiFont type(CreateFontA(-look.Px(kTypeHeight), 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE,
                                 DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                                 CLEARTYPE_QUALITY, FIXED_PITCH | FF_MODERN, "Courier New"));
  Preview preview{report, &look, type.get()};
  DialogBoxParamA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(DIALOG_PREVIEW), owner, PreviewProc,
                  reinterpret_cast<LPARAM>(&preview));
}

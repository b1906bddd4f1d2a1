#include "app/PreviewDialog.h"

#include "app/Minimal.h"
#include "base/win_owned.h"
#include "settings/Session.h"
#include "ui/Subclass.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace {

constexpr int kMessageLine = 2;
constexpr int kFrame = 3;
constexpr UINT kCloseLimitMs = 5000;

struct Item {
  WORD id;
  WORD windowClass;  // number of a system class
  DWORD style;
  short x, y, width, height;  // dialog units
};

constexpr WORD kButtonClass = 0x80;
constexpr WORD kStaticClass = 0x82;
constexpr DWORD kChild = WS_CHILD | WS_VISIBLE;
constexpr Item kItems[] = {
    {IDOK, kButtonClass, kChild | BS_DEFPUSHBUTTON, 113, 175, 50, 14},
    {kFrame, kStaticClass, kChild | SS_BLACKRECT, 7, 7, 264, 152},
    {kMessageLine, kStaticClass, kChild | SS_CENTER, 7, 162, 264, 8},
};

// A dialog template in the making: a run of words, to be read in place.
class TemplateWriter {
 public:
  void Word(WORD word) { words_.at(used_++) = word; }
  void Long(DWORD value) {
    Word(LOWORD(value));
    Word(HIWORD(value));
  }
  void Place(short x, short y, short width, short height) {
    for (const short number : {x, y, width, height}) Word(static_cast<WORD>(number));
  }
  void Text(const wchar_t* text) {
    do Word(*text);
    while (*text++);
  }
  // Each item begins at a multiple of four bytes.
  void Align() {
    if (used_ % 2) Word(0);
  }
  const DLGTEMPLATE* Template() const {
    return reinterpret_cast<const DLGTEMPLATE*>(words_.data());
  }

 private:
  alignas(4) std::array<WORD, 128> words_{};
  std::size_t used_ = 0;
};

void WriteHead(TemplateWriter& to) {
  to.Long(WS_POPUP | WS_VISIBLE | WS_CAPTION | WS_SYSMENU | DS_CENTER | DS_MODALFRAME |
          DS_SETFONT | DS_3DLOOK);
  to.Long(0);
  to.Word(static_cast<WORD>(std::size(kItems)));
  to.Place(0, 0, 278, 196);
  to.Word(0);  // no menu
  to.Word(0);  // the class of all dialogs
  to.Text(L"Preview");
  to.Word(8);
  to.Text(L"MS Sans Serif");
}

void WriteItem(TemplateWriter& to, const Item& item) {
  to.Align();
  to.Long(item.style);
  to.Long(0);
  to.Place(item.x, item.y, item.width, item.height);
  to.Word(item.id);
  to.Word(0xFFFF);
  to.Word(item.windowClass);
  to.Word(0);  // no text
  to.Word(0);  // no data
}

// The frame becomes the parent of the saver's window, and as black as the windows
// of further monitors. The procedure it had stays with it in GWL_USERDATA, where
// whoever takes the frame over finds it; nobody here does, it goes with the dialog.
void MakeFrameBlack(HWND frame) {
  const WNDPROC former = ReplaceProc(frame, ChildWindowProc);
  SetWindowLongPtrA(frame, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(former));
}

void StartSaver(const char* path, HWND frame) {
  const auto number = static_cast<int>(reinterpret_cast<std::intptr_t>(frame));
  std::string commandLine = "\"" + std::string(path) + "\" /p " + std::to_string(number);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  static_assert(sizeof startup == 68);
  PROCESS_INFORMATION process{};
  CreateProcessA(path, commandLine.data(), nullptr, nullptr, TRUE, IDLE_PRIORITY_CLASS, nullptr,
                 nullptr, &startup, &process);
  const KernelHandle processHandle(process.hProcess);
  const KernelHandle threadHandle(process.hThread);
}

void OpenPreview(HWND hwnd, const char* path) {
  SetDlgItemTextA(hwnd, IDOK, "OK");
  SetDlgItemTextA(hwnd, kMessageLine, "Screen saver succesfully installed!");
  const HWND frame = GetDlgItem(hwnd, kFrame);
  MakeFrameBlack(frame);
  StartSaver(path, frame);
}

// The window belongs to another program, which may hang.
void ClosePreview(HWND hwnd) {
  const HWND frame = GetDlgItem(hwnd, kFrame);
  if (const HWND saver = GetWindow(frame, GW_CHILD))
    SendMessageTimeoutA(saver, WM_CLOSE, 0, 0, SMTO_ABORTIFHUNG, kCloseLimitMs, nullptr);
  if (const HWND left = GetWindow(frame, GW_CHILD)) DestroyWindow(left);
}

}  // namespace

void ShowPreviewDialog(HWND parent, const char* path) {
  TemplateWriter dialog;
  WriteHead(dialog);
  for (const Item& item : kItems) WriteItem(dialog, item);
  DialogBoxIndirectParamA(InstanceHandle, dialog.Template(), parent, PreviewDialogProc,
                          reinterpret_cast<LPARAM>(path));
}

INT_PTR CALLBACK PreviewDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  const int id = LOWORD(wParam);
  switch (message) {
    case WM_INITDIALOG:
      OpenPreview(hwnd, reinterpret_cast<const char*>(lParam));
      return 1;
    case WM_COMMAND:
      if (id != IDOK && id != IDCANCEL) return 0;
      ClosePreview(hwnd);
      ::EndDialog(hwnd, id);
      return 1;
    default:
      return 0;
  }
}

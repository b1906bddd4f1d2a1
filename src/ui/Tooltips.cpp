#include "ui/Tooltips.h"

namespace {

// A record as every system knows it, 44 bytes, for the tool of `control`.
TOOLINFOA MakeTool(HWND control, HINSTANCE instance, const char* text, UINT flags) {
  TOOLINFOA tool{};
  tool.cbSize = TTTOOLINFOA_V2_SIZE;
  tool.uFlags = flags;
  tool.hwnd = control;
  tool.hinst = instance;
  tool.lpszText = const_cast<char*>(text);
  if (control) GetClientRect(control, &tool.rect);
  return tool;
}

HWND MakeTooltipWindow(HWND owner, HINSTANCE instance, DWORD style) {
  INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
  static_assert(sizeof controls == 8);
  InitCommonControlsEx(&controls);
  const HWND window = CreateWindowExA(
      WS_EX_TOPMOST, TOOLTIPS_CLASSA, nullptr,
      style | WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
      CW_USEDEFAULT, owner, nullptr, instance, nullptr);
  SetWindowPos(window, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  return window;
}

void AddTool(HWND tip, TOOLINFOA& tool, int maxWidth, int titleIcon, const char* title) {
  SendMessageA(tip, TTM_ADDTOOLA, 0, reinterpret_cast<LPARAM>(&tool));
  SendMessageA(tip, TTM_SETMAXTIPWIDTH, 0, maxWidth);
  if (title)
    SendMessageA(tip, TTM_SETTITLEA, static_cast<WPARAM>(titleIcon),
                 reinterpret_cast<LPARAM>(title));
}

}  // namespace

HWND CreateTooltip(HWND control, const char* text, int maxWidth, DWORD style, UINT flags,
                   int titleIcon, const char* title, int autoPopTime) {
  const auto instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrA(control, GWLP_HINSTANCE));
  const HWND tip = MakeTooltipWindow(control, instance, style);
  TOOLINFOA tool = MakeTool(control, instance, text, flags | TTF_SUBCLASS);
  AddTool(tip, tool, maxWidth, titleIcon, title);
  if (autoPopTime != -1)
    SendMessageA(tip, TTM_SETDELAYTIME, TTDT_AUTOPOP, MAKELPARAM(autoPopTime, 0));
  return tip;
}

HWND CreateTooltip(HWND control, const char* text) {
  constexpr int kWidth = 250;
  return CreateTooltip(control, text, kWidth, 0, 0, 0, nullptr, -1);
}

void TrackingTooltip::Create(const char* text, int maxWidth, DWORD style, int titleIcon,
                             const char* title) {
  Destroy();
  const HINSTANCE instance = GetModuleHandleA(nullptr);
  window = MakeTooltipWindow(nullptr, instance, style);
  tool = MakeTool(nullptr, instance, text, TTF_TRACK);
  AddTool(window, tool, maxWidth, titleIcon, title);
}

void TrackingTooltip::ShowAt(int x, int y) {
  MoveTo(x, y);
  Show();
}

void TrackingTooltip::MoveTo(int x, int y) {
  SendMessageA(window, TTM_TRACKPOSITION, 0, MAKELPARAM(x, y));
}

void TrackingTooltip::Show() { Activate(TRUE); }

void TrackingTooltip::Hide() { Activate(FALSE); }

void TrackingTooltip::Activate(BOOL yes) {
  SendMessageA(window, TTM_TRACKACTIVATE, static_cast<WPARAM>(yes),
               reinterpret_cast<LPARAM>(&tool));
}

void TrackingTooltip::Destroy() {
  if (window) DestroyWindow(window);
  window = nullptr;
}

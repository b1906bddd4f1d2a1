#include "ui/KeyboardHook.h"

#include <cstdint>

HHOOK gKeyboardHook = nullptr;
HWND gKeyTargetWindow = nullptr;

namespace {

constexpr std::uint32_t kKeyIsGoingUp = 0x80000000;

}  // namespace

LRESULT CALLBACK KeyboardForwardHook(int code, WPARAM wParam, LPARAM lParam) {
  if (code >= 0) {
    const bool up = (static_cast<std::uint32_t>(lParam) & kKeyIsGoingUp) != 0;
    SendMessageA(gKeyTargetWindow, up ? WM_KEYUP : WM_KEYDOWN, wParam, lParam);
  }
  return CallNextHookEx(gKeyboardHook, code, wParam, lParam);
}

void InstallKeyboardHook(HWND target) {
  gKeyboardHook =
      SetWindowsHookExA(WH_KEYBOARD, KeyboardForwardHook, nullptr, GetCurrentThreadId());
  gKeyTargetWindow = target;
}

void RemoveKeyboardHook() {
  UnhookWindowsHookEx(gKeyboardHook);
  gKeyboardHook = nullptr;
}

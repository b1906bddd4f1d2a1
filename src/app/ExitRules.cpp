#include "app/ExitRules.h"

#include "app/OsVersion.h"
#include "base/win_owned.h"

#include <cstdlib>

bool MouseLeftThreshold(POINT cursor, POINT reference, std::int32_t threshold) {
  return std::abs(cursor.x - reference.x) > threshold ||
         std::abs(cursor.y - reference.y) > threshold;
}

KeyAction ActionOfKey(WPARAM key) {
  switch (key) {
    case VK_RIGHT: return KeyAction::NextTrack;
    case VK_LEFT: return KeyAction::PreviousTrack;
    case VK_UP: return KeyAction::RestartTrack;
    case VK_DOWN: return KeyAction::TogglePause;
    default: return KeyAction::EndSaver;
  }
}

bool PasswordIsDue(std::uint32_t nowTick, std::uint32_t startTick, std::uint32_t delaySeconds) {
  return nowTick - startTick > std::uint64_t{1000} * delaySeconds;
}

bool IsSwallowedSystemCommand(WPARAM command) {
  switch (command & 0xFFF0) {  // the lowest four bits are the system's own
    case SC_CLOSE:
    case SC_NEXTWINDOW:
    case SC_PREVWINDOW:
    case SC_SCREENSAVE: return true;
    default: return false;
  }
}

bool VerifyPassword(HWND window) {
  if (IsWindowsNT()) return true;  // the system asks by itself
  const Library library(LoadLibraryA("PASSWORD.CPL"));
  if (!library) return true;
  const auto verify =
      ProcAddress<BOOL(WINAPI*)(HWND)>(library.get(), "VerifyScreenSavePwd");
  return verify ? verify(window) != 0 : true;
}

#include "app/DpiAwareness.h"

#include "base/win.h"
#include "base/win_owned.h"

#include <cstdint>

namespace {

const auto kPerMonitor = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-3));

}  // namespace

void UseRealPixels() {
  const HMODULE user = GetModuleHandleA("user32.dll");
  // With monitors of different densities the former sees each as it is.
  const auto setContext =
      ProcAddress<BOOL(WINAPI*)(HANDLE)>(user, "SetProcessDpiAwarenessContext");
  if (setContext && setContext(kPerMonitor)) return;
  const auto setAware = ProcAddress<BOOL(WINAPI*)()>(user, "SetProcessDPIAware");
  if (setAware) setAware();
}

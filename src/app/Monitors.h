#pragma once
// The desktop's monitors, and one black window on each beside the primary one,
// so that nothing of the desktop shows there during a saver run. Main thread.

#include "base/win.h"

#include <array>
#include <cstdint>

// One display device.
struct ChildMonitor {
  char adapterName[128];
  char monitorName[128];      // of the first monitor on the adapter
  HMONITOR monitor;           // null if the device isn't part of the desktop, or nobody
                              // knows of which part
  std::int32_t left, top, right, bottom;  // its rectangle on the desktop, px
  std::int32_t reserved;      // -1
  HWND window;                // the black window, or null
  std::uint8_t primary;       // this is the primary device
  std::uint8_t padding[27];   // keeps the record at 312 bytes
};
static_assert(sizeof(ChildMonitor) == 312);

class ChildWindowSet {
 public:
  static constexpr std::int32_t kMaxMonitors = 9;  // a further device is dropped

  // Fills the table with the devices that the system names, mirror drivers
  // left out.
  void EnumerateMonitors();

  // A window of class `className` on each further monitor, children of
  // `parent`. 0, or E_FAIL at the first window that can't be made.
  HRESULT CreateChildWindows(HWND parent, HINSTANCE instance, const char* className,
                             const char* title);
  // Brings each window to its monitor's present rectangle.
  void AdjustChildWindows();
  void ShowChildWindows(int show);
  void DestroyChildWindows();

  // Repeats what `source` shows, `width` by `height` px, on each window.
  void CopyToMonitors(HDC source, std::int32_t width, std::int32_t height);

  std::int32_t Count() const { return count; }
  const ChildMonitor& operator[](std::int32_t index) const {
    return monitors[static_cast<std::size_t>(index)];
  }

 private:
  template <class Use>
  void ForEachFurtherMonitor(Use use);
  template <class Use>
  void ForEachWindow(Use use);

  std::array<ChildMonitor, kMaxMonitors> monitors{};
  std::int32_t count = 0;
};

// The session's set; stays empty unless BlankAllScreens is on.
extern ChildWindowSet ChildWindows;

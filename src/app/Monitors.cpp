#include "app/Monitors.h"

#include "base/win_owned.h"

#include <cstring>

ChildWindowSet ChildWindows;

namespace {

DISPLAY_DEVICEA EmptyDevice() {
  DISPLAY_DEVICEA device{};
  device.cb = sizeof device;
  return device;
}

void CopyName(char (&to)[128], const char (&from)[128]) {
  std::memcpy(to, from, sizeof to);
  to[sizeof to - 1] = '\0';
}

// False if the system can't tell, or tells of no size.
bool ReadMode(const DISPLAY_DEVICEA& device, DEVMODEA& mode) {
  mode.dmSize = sizeof mode;
  return EnumDisplaySettingsA(device.DeviceName, ENUM_CURRENT_SETTINGS, &mode) &&
         mode.dmPelsWidth > 0 && mode.dmPelsHeight > 0;
}

// Where the device's part of the desktop lies. The primary device's begins at
// the origin, whatever its settings say. A device whose place isn't known keeps no
// monitor: its empty rectangle at the origin would be found on the primary one.
void ReadPlace(const DISPLAY_DEVICEA& device, ChildMonitor& record) {
  record.primary = (device.StateFlags & DISPLAY_DEVICE_PRIMARY_DEVICE) != 0;
  DEVMODEA mode{};
  if (!ReadMode(device, mode)) return;
  if (!record.primary) {
    record.left = mode.dmPosition.x;
    record.top = mode.dmPosition.y;
  }
  record.right = record.left + static_cast<std::int32_t>(mode.dmPelsWidth);
  record.bottom = record.top + static_cast<std::int32_t>(mode.dmPelsHeight);
  const RECT place{record.left, record.top, record.right, record.bottom};
  record.monitor = MonitorFromRect(&place, MONITOR_DEFAULTTONULL);
}

ChildMonitor Describe(const DISPLAY_DEVICEA& device) {
  DISPLAY_DEVICEA monitor = EmptyDevice();
  EnumDisplayDevicesA(device.DeviceName, 0, &monitor, 0);
  ChildMonitor record{};
  CopyName(record.adapterName, device.DeviceString);
  CopyName(record.monitorName, monitor.DeviceString);
  record.reserved = -1;
  if (device.StateFlags & DISPLAY_DEVICE_ATTACHED_TO_DESKTOP) ReadPlace(device, record);
  return record;
}

}  // namespace

// Calls `use` on each record that has a monitor and isn't the primary one, and
// stops at the first false.
template <class Use>
void ChildWindowSet::ForEachFurtherMonitor(Use use) {
  for (std::int32_t index = 0; index < count; ++index) {
    ChildMonitor& record = monitors[static_cast<std::size_t>(index)];
    if (!record.primary && record.monitor && !use(record)) return;
  }
}

// The same for those of them that have a window: behind one that couldn't be made
// there are none.
template <class Use>
void ChildWindowSet::ForEachWindow(Use use) {
  ForEachFurtherMonitor([&](ChildMonitor& record) {
    if (record.window) use(record);
    return true;
  });
}

void ChildWindowSet::EnumerateMonitors() {
  count = 0;
  DISPLAY_DEVICEA device = EmptyDevice();
  for (DWORD index = 0; count < kMaxMonitors && EnumDisplayDevicesA(nullptr, index, &device, 0);
       ++index) {
    if (!(device.StateFlags & DISPLAY_DEVICE_MIRRORING_DRIVER))
      monitors[static_cast<std::size_t>(count++)] = Describe(device);
    device = EmptyDevice();
  }
}

HRESULT ChildWindowSet::CreateChildWindows(HWND parent, HINSTANCE instance, const char* className,
                                           const char* title) {
  HRESULT result = 0;
  ForEachFurtherMonitor([&](ChildMonitor& record) {
    record.window = CreateWindowExA(WS_EX_TOPMOST, className, title, WS_POPUP | WS_VISIBLE,
                                    record.left, record.top, record.right - record.left,
                                    record.bottom - record.top, parent, nullptr, instance, this);
    if (!record.window) result = E_FAIL;
    return record.window != nullptr;
  });
  return result;
}

void ChildWindowSet::AdjustChildWindows() {
  ForEachWindow([](ChildMonitor& record) {
    MONITORINFO info{};
    static_assert(sizeof info == 40);
    info.cbSize = sizeof info;
    if (GetMonitorInfoA(record.monitor, &info)) {
      record.left = info.rcMonitor.left;
      record.top = info.rcMonitor.top;
      record.right = info.rcMonitor.right;
      record.bottom = info.rcMonitor.bottom;
    }
    SetWindowPos(record.window, HWND_TOPMOST, record.left, record.top, record.right - record.left,
                 record.bottom - record.top, SWP_NOACTIVATE);
  });
}

void ChildWindowSet::ShowChildWindows(int show) {
  ForEachWindow([show](const ChildMonitor& record) { ShowWindow(record.window, show); });
}

// From the second record on: the first is taken to be the primary device.
void ChildWindowSet::DestroyChildWindows() {
  for (std::int32_t index = 1; index < count; ++index) {
    ChildMonitor& record = monitors[static_cast<std::size_t>(index)];
    if (!record.window || record.primary) continue;
    DestroyWindow(record.window);
    record.window = nullptr;
  }
}

void ChildWindowSet::CopyToMonitors(HDC source, std::int32_t width, std::int32_t height) {
  ForEachWindow([&](const ChildMonitor& record) {
    const WindowDc window(record.window);
    RECT size{};
    GetWindowRect(record.window, &size);
    SetStretchBltMode(window.get(), HALFTONE);
    StretchBlt(window.get(), 0, 0, size.right - size.left, size.bottom - size.top, source, 0, 0,
               width, height, SRCCOPY);
  });
}

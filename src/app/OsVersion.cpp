#include "app/OsVersion.h"

#include "base/win.h"

const char* const OSVersionNames[11] = {
    "Unsupported", "Windows 3.1",  "Windows 95", "Windows 98",   "Windows Me",    "Windows NT",
    "Windows 2000", "Windows XP", "Windows 2003", "Windows Vista", "Unknown",
};

namespace {

OSVERSIONINFOA AskVersion() {
  OSVERSIONINFOA version{};
  static_assert(sizeof version == 148);
  version.dwOSVersionInfoSize = sizeof version;
  GetVersionExA(&version);
  return version;
}

std::int32_t ClassifyWindows9x(std::uint32_t minor) {
  if (minor == 0) return 2;
  return minor == 90 ? 4 : 3;
}

// Version 6 has an entry of its own in the table and yet counts as unknown.
std::int32_t ClassifyWindowsNT(std::uint32_t major, std::uint32_t minor) {
  if (major <= 4) return 5;
  if (major >= 6) return 10;
  if (minor == 0) return 6;
  return minor == 1 ? 7 : 8;
}

}  // namespace

std::int32_t ClassifyOSVersion(std::uint32_t platform, std::uint32_t major, std::uint32_t minor) {
  switch (platform) {
    case VER_PLATFORM_WIN32s: return 1;
    case VER_PLATFORM_WIN32_WINDOWS: return ClassifyWindows9x(minor);
    case VER_PLATFORM_WIN32_NT: return ClassifyWindowsNT(major, minor);
    default: return 10;
  }
}

std::int32_t GetOSVersionCode() {
  const OSVERSIONINFOA version = AskVersion();
  return ClassifyOSVersion(version.dwPlatformId, version.dwMajorVersion, version.dwMinorVersion);
}

bool IsWindowsNT() { return AskVersion().dwPlatformId == VER_PLATFORM_WIN32_NT; }

bool IsWindowsNT5OrLater(bool* isPlainWin95) {
  const OSVERSIONINFOA version = AskVersion();
  const bool nt5 = version.dwPlatformId == VER_PLATFORM_WIN32_NT && version.dwMajorVersion >= 5;
  if (isPlainWin95) *isPlainWin95 = !nt5 && version.dwMinorVersion == 0;
  return nt5;
}

#include "app/OsVersion.h"

#include "base/win.h"
#include "settings/Session.h"

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
  if (minor == 0) return OSVERSION_95;
  return minor == 90 ? OSVERSION_ME : OSVERSION_98;
}

// Version 6 has an entry of its own in the table and yet counts as unknown.
std::int32_t ClassifyWindowsNT(std::uint32_t major, std::uint32_t minor) {
  if (major <= 4) return OSVERSION_NT;
  if (major >= 6) return OSVERSION_UNKNOWN;
  if (minor == 0) return OSVERSION_2000;
  return minor == 1 ? OSVERSION_XP : OSVERSION_2003;
}

}  // namespace

std::int32_t ClassifyOSVersion(std::uint32_t platform, std::uint32_t major, std::uint32_t minor) {
  switch (platform) {
    case VER_PLATFORM_WIN32s: return OSVERSION_31;
    case VER_PLATFORM_WIN32_WINDOWS: return ClassifyWindows9x(minor);
    case VER_PLATFORM_WIN32_NT: return ClassifyWindowsNT(major, minor);
    default: return OSVERSION_UNKNOWN;
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

#pragma once
// Has GetVersionExA tell of another Windows, for the length of one object:
//
//   const auto windows98 = support::PretendWindows(1, 4, 10);

#include "support/ImportHook.h"

#include <cstdint>

namespace support {

inline auto PretendWindows(std::uint32_t platform, std::uint32_t major, std::uint32_t minor) {
  return HookImport<decltype(&GetVersionExA)>(
      "kernel32.dll", "GetVersionExA", [=](OSVERSIONINFOA* version) -> BOOL {
        if (version->dwOSVersionInfoSize != 148) return FALSE;
        version->dwPlatformId = platform;
        version->dwMajorVersion = major;
        version->dwMinorVersion = minor;
        return TRUE;
      });
}

}  // namespace support

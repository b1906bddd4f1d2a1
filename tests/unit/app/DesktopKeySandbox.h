#pragma once
// The user's desktop settings, in a key of the tests' own: what is written to
// the real key's path goes there.

#include "support/ImportHook.h"
#include "support/RegistrySandbox.h"

class DesktopKeySandbox : public support::RegistrySandbox {
 public:
  DesktopKeySandbox() : RegistrySandbox(HKEY_CURRENT_USER, kPath) {}

 private:
  static constexpr char kPath[] = "Software\\VelmoraTests\\Desktop";

  support::AnyHook redirect_ = ANY_HOOK(
      "advapi32.dll", RegCreateKeyExA,
      [](HKEY root, LPCSTR path, DWORD reserved, LPSTR type, DWORD options, REGSAM access,
         SECURITY_ATTRIBUTES* security, PHKEY key, LPDWORD disposition) -> LSTATUS {
        const bool redirected =
            root == HKEY_CURRENT_USER && !lstrcmpiA(path, "Control Panel\\Desktop");
        return REAL_IMPORT("advapi32.dll", RegCreateKeyExA)(root, redirected ? kPath : path,
                                                            reserved, type, options, access,
                                                            security, key, disposition);
      });
};

#include "base/StackReserve.h"

#include "base/win_owned.h"

namespace {

constexpr ULONG kKeptBytes = 16 * 1024;

using Keep = BOOL(WINAPI*)(ULONG* bytes);

}  // namespace

void KeepStackForItsOverflow() {
  const auto keep =
      ProcAddress<Keep>(GetModuleHandleA("kernel32.dll"), "SetThreadStackGuarantee");
  ULONG bytes = kKeptBytes;
  if (keep) keep(&bytes);
}

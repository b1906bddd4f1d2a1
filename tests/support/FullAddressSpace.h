#pragma once
// An address space that is nearly full: while an object lives, large reservations by
// VirtualAlloc fail. `onRefusal` is called at each of them.

#include "support/ImportHook.h"

#include <functional>

namespace support {

inline AnyHook FullAddressSpace(std::function<void()> onRefusal = [] {}) {
  constexpr SIZE_T kLarge = 256u << 20;  // bytes
  return ANY_HOOK("kernel32.dll", VirtualAlloc,
                  [onRefusal](void* at, SIZE_T size, DWORD type, DWORD protection) -> void* {
                    if (size < kLarge)
                      return REAL_IMPORT("kernel32.dll", VirtualAlloc)(at, size, type, protection);
                    onRefusal();
                    return nullptr;
                  });
}

}  // namespace support

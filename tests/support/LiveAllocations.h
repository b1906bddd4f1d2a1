#pragma once
// Tells what this program's own code has allocated and not freed while an object
// lives. What the system's DLLs allocate for themselves doesn't count.

#include "support/ImportHook.h"

#include <cstddef>
#include <cstdlib>

namespace support {

class LiveAllocations {
 public:
  LiveAllocations() { live_ = 0; }
  // Blocks allocated, on any thread, less blocks freed.
  static long Count() { return live_; }

 private:
  static void* Counted(void* memory) {
    if (memory) InterlockedIncrement(&live_);
    return memory;
  }
  static void* __cdecl CountedMalloc(std::size_t size) {
    return Counted(REAL_IMPORT("msvcrt.dll", malloc)(size));
  }
  static void* __cdecl CountedCalloc(std::size_t number, std::size_t size) {
    return Counted(REAL_IMPORT("msvcrt.dll", calloc)(number, size));
  }
  // A block that grows stays one block.
  static void* __cdecl CountedRealloc(void* memory, std::size_t size) {
    void* const changed = REAL_IMPORT("msvcrt.dll", realloc)(memory, size);
    if (!memory) return Counted(changed);
    if (!changed && size == 0) InterlockedDecrement(&live_);
    return changed;
  }
  static void __cdecl CountedFree(void* memory) {
    if (memory) InterlockedDecrement(&live_);
    REAL_IMPORT("msvcrt.dll", free)(memory);
  }

  inline static LONG live_ = 0;
  ImportHook malloc_{"msvcrt.dll", "malloc", &CountedMalloc};
  ImportHook calloc_{"msvcrt.dll", "calloc", &CountedCalloc};
  ImportHook realloc_{"msvcrt.dll", "realloc", &CountedRealloc};
  ImportHook free_{"msvcrt.dll", "free", &CountedFree};
};

}  // namespace support

#pragma once
// Counts every allocation of this program's own code, on any thread, while an
// object lives. What the system's DLLs allocate for themselves doesn't count.

#include "support/ImportHook.h"

#include <cstddef>
#include <cstdlib>

namespace support {

class AllocationCount {
 public:
  AllocationCount() { count_ = 0; }
  static long Count() { return count_; }

 private:
  static void* __cdecl CountedMalloc(std::size_t size) {
    InterlockedIncrement(&count_);
    return REAL_IMPORT("msvcrt.dll", malloc)(size);
  }
  static void* __cdecl CountedCalloc(std::size_t number, std::size_t size) {
    InterlockedIncrement(&count_);
    return REAL_IMPORT("msvcrt.dll", calloc)(number, size);
  }
  static void* __cdecl CountedRealloc(void* memory, std::size_t size) {
    InterlockedIncrement(&count_);
    return REAL_IMPORT("msvcrt.dll", realloc)(memory, size);
  }

  inline static LONG count_ = 0;
  ImportHook malloc_{"msvcrt.dll", "malloc", &CountedMalloc};
  ImportHook calloc_{"msvcrt.dll", "calloc", &CountedCalloc};
  ImportHook realloc_{"msvcrt.dll", "realloc", &CountedRealloc};
};

}  // namespace support

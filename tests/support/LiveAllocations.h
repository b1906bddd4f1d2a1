#pragma once
// Tells what this program's own code has allocated and not freed while an object
// lives, and lets memory run out at any of its allocations. What the system's
// DLLs allocate for themselves doesn't count and doesn't fail.

#include "support/ImportHook.h"

#include <cstddef>
#include <cstdlib>

namespace support {

class LiveAllocations {
 public:
  LiveAllocations() { live_ = 0; }
  ~LiveAllocations() { RunOut(0, 0); }
  // Blocks allocated, on any thread, less blocks freed.
  static long Count() { return live_; }

  // Of the allocations from now on, the first `goodOnes` succeed, and the
  // `badOnes` after them fail.
  static void RunOut(long goodOnes, long badOnes) {
    asked_ = failed_ = 0;
    goodOnes_ = goodOnes;
    badOnes_ = badOnes;
  }
  // How many have failed.
  static long Failed() { return failed_; }

 private:
  static bool Fails() {
    const long number = InterlockedIncrement(&asked_);
    const bool fails = number > goodOnes_ && number - goodOnes_ <= badOnes_;
    if (fails) InterlockedIncrement(&failed_);
    return fails;
  }
  static void* Counted(void* memory) {
    if (memory) InterlockedIncrement(&live_);
    return memory;
  }
  static void* __cdecl CountedMalloc(std::size_t size) {
    return Fails() ? nullptr : Counted(REAL_IMPORT("msvcrt.dll", malloc)(size));
  }
  static void* __cdecl CountedCalloc(std::size_t number, std::size_t size) {
    return Fails() ? nullptr : Counted(REAL_IMPORT("msvcrt.dll", calloc)(number, size));
  }
  // A block that grows stays one block, and stays if it can't grow.
  static void* __cdecl CountedRealloc(void* memory, std::size_t size) {
    if (size > 0 && Fails()) return nullptr;
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
  inline static LONG asked_ = 0;
  inline static LONG failed_ = 0;
  inline static LONG goodOnes_ = 0;
  inline static LONG badOnes_ = 0;
  ImportHook malloc_{"msvcrt.dll", "malloc", &CountedMalloc};
  ImportHook calloc_{"msvcrt.dll", "calloc", &CountedCalloc};
  ImportHook realloc_{"msvcrt.dll", "realloc", &CountedRealloc};
  ImportHook free_{"msvcrt.dll", "free", &CountedFree};
};

}  // namespace support

// A program that makes a FailingNew has this file among its sources, and with it
// these operators in place of the library's.

#include "support/FailingNew.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr int kNoLimit = -1;
thread_local int successesLeft = kNoLimit;
std::atomic<int> successesLeftElsewhere = kNoLimit;
thread_local bool isElsewhere = true;

bool TakeSuccess() {
  if (successesLeft == 0) return false;
  if (successesLeft > 0) --successesLeft;
  if (!isElsewhere) return true;
  int left = successesLeftElsewhere;
  while (left > 0 && !successesLeftElsewhere.compare_exchange_weak(left, left - 1)) {
  }
  return left != 0;
}

void* Allocate(std::size_t size) {
  return TakeSuccess() ? std::malloc(size ? size : 1) : nullptr;
}

void* AllocateOrThrow(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace support {

FailingNew::FailingNew(int successes) { successesLeft = successes; }
FailingNew::~FailingNew() { successesLeft = kNoLimit; }

FailingNewElsewhere::FailingNewElsewhere(int successes) {
  isElsewhere = false;
  successesLeftElsewhere = successes;
}
FailingNewElsewhere::~FailingNewElsewhere() {
  successesLeftElsewhere = kNoLimit;
  isElsewhere = true;
}

}  // namespace support

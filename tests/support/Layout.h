#pragma once
// For classes whose order of fields and of virtual operations is fixed.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace support {

// True if the objects lie in memory in the order in which they are named.
template <class... Fields>
bool StandInOrder(const Fields&... fields) {
  const std::uintptr_t places[] = {reinterpret_cast<std::uintptr_t>(&fields)...};
  for (std::size_t n = 1; n < sizeof...(Fields); ++n)
    if (places[n - 1] >= places[n]) return false;
  return true;
}

// Number of a virtual operation's slot, from 0. A virtual destructor takes two
// slots with our compilers. -1 for an operation that isn't virtual.
template <class Operation>
int SlotOf(Operation operation) {
  // A pointer to a virtual operation holds 1 plus the slot's offset in bytes.
  std::uintptr_t coded = 0;
  std::memcpy(&coded, &operation, sizeof coded);
  return coded & 1 ? static_cast<int>((coded - 1) / sizeof(void*)) : -1;
}

}  // namespace support

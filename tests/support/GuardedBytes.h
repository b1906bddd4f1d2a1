#pragma once
// A copy of bytes that ends where a page without access begins: who reads
// behind its end crashes, as under a memory checker.

#include "base/win.h"

#include <cstddef>
#include <cstring>
#include <new>
#include <span>

namespace support {

class GuardedBytes {
 public:
  explicit GuardedBytes(std::span<const unsigned char> bytes) {
    const std::size_t page = 4096;
    const std::size_t room = (bytes.size() + page - 1) / page * page;
    memory_ = static_cast<unsigned char*>(
        VirtualAlloc(nullptr, room + page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD former = 0;
    if (!memory_ || !VirtualProtect(memory_ + room, page, PAGE_NOACCESS, &former))
      throw std::bad_alloc();
    bytes_ = {memory_ + room - bytes.size(), bytes.size()};
    if (!bytes.empty()) std::memcpy(bytes_.data(), bytes.data(), bytes.size());
  }
  ~GuardedBytes() { VirtualFree(memory_, 0, MEM_RELEASE); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  unsigned char* data() const { return bytes_.data(); }
  std::size_t size() const { return bytes_.size(); }

 private:
  unsigned char* memory_ = nullptr;
  std::span<unsigned char> bytes_;
};

}  // namespace support

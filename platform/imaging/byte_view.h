#pragma once
// Little-endian numbers out of bytes that came from outside. Portable.

#include "imaging/picture.h"

namespace imaging {

class ByteView {
 public:
  explicit ByteView(Bytes bytes) : bytes_(bytes) {}

  std::uint64_t size() const { return bytes_.size(); }
  bool Has(std::uint64_t offset, std::uint64_t size) const {
    return offset <= bytes_.size() && size <= bytes_.size() - offset;
  }
  // The `size` bytes at `offset`; all of them have to be there.
  const std::uint8_t* At(std::uint64_t offset) const { return bytes_.data() + offset; }

  // Numbers at `offset`; 0 where the bytes end before.
  std::uint8_t U8(std::uint64_t offset) const {
    return Has(offset, 1) ? *At(offset) : std::uint8_t{0};
  }
  std::uint16_t U16(std::uint64_t offset) const {
    return static_cast<std::uint16_t>(U8(offset) | (U8(offset + 1) << 8));
  }
  std::uint32_t U32(std::uint64_t offset) const {
    return U16(offset) | (static_cast<std::uint32_t>(U16(offset + 2)) << 16);
  }

 private:
  Bytes bytes_;
};

}  // namespace imaging

#pragma once
// Numbers as they stand in files, the lowest byte first. All of their bytes have
// to be there.

#include <cstdint>

inline std::uint16_t LittleEndian16(const unsigned char* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline std::uint32_t LittleEndian32(const unsigned char* bytes) {
  return LittleEndian16(bytes) | static_cast<std::uint32_t>(LittleEndian16(bytes + 2)) << 16;
}

#include "support/Bytes.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace support {

Bytes BytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

std::string TextOf(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

void AppendU16(Bytes& to, std::uint16_t value) {
  to.push_back(static_cast<unsigned char>(value & 0xFF));
  to.push_back(static_cast<unsigned char>(value >> 8));
}

void AppendU32(Bytes& to, std::uint32_t value) {
  AppendU16(to, static_cast<std::uint16_t>(value & 0xFFFF));
  AppendU16(to, static_cast<std::uint16_t>(value >> 16));
}

void AppendZ(Bytes& to, std::string_view text) {
  to.insert(to.end(), text.begin(), text.end());
  to.push_back(0);
}

void Append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

Bytes PatternBytes(std::size_t count, std::uint32_t seed) {
  Bytes bytes(count);
  std::uint32_t state = seed * 2654435761u + 12345u;
  for (unsigned char& byte : bytes) {
    state = state * 1664525u + 1013904223u;
    byte = static_cast<unsigned char>(state >> 24);
  }
  return bytes;
}

void WriteWholeFile(const std::string& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.flush();
  if (!file) throw std::runtime_error("can't write " + path);
}

Bytes ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("can't read " + path);
  return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace support

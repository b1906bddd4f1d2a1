#pragma once
// Byte strings and whole files, as the tests make and compare them.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace support {

using Bytes = std::vector<unsigned char>;

Bytes BytesOf(std::string_view text);  // without a terminator
std::string TextOf(const Bytes& bytes);

void AppendU16(Bytes& to, std::uint16_t value);  // little-endian
void AppendU32(Bytes& to, std::uint32_t value);
void AppendZ(Bytes& to, std::string_view text);  // the text and a NUL
void Append(Bytes& to, const Bytes& more);

// `count` bytes that no other `seed` gives, the same on every run.
Bytes PatternBytes(std::size_t count, std::uint32_t seed = 1);

// Both throw std::runtime_error with the path if the file can't be opened.
void WriteWholeFile(const std::string& path, const Bytes& bytes);
Bytes ReadWholeFile(const std::string& path);

}  // namespace support

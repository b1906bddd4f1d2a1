#pragma once
// Reading numbers and pieces out of bytes that came from outside. Nothing here
// reads past the end of what it was given: a piece that isn't there whole is
// no piece.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

using Bytes = std::span<const unsigned char>;

enum class ByteOrder { kLittleEndian, kBigEndian };

// The `size` bytes at `offset`, if they lie within `all`.
inline std::optional<Bytes> Piece(Bytes all, std::uint64_t offset, std::uint64_t size) {
  if (offset > all.size() || size > all.size() - offset) return std::nullopt;
  return all.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
}

// What lies behind the first `offset` bytes; empty if they aren't there.
inline Bytes Behind(Bytes all, std::uint64_t offset) {
  return offset > all.size() ? Bytes{} : all.subspan(static_cast<std::size_t>(offset));
}

inline std::optional<std::uint32_t> NumberAt(Bytes all, std::uint64_t offset, unsigned bytes,
                                             ByteOrder order) {
  const std::optional<Bytes> piece = Piece(all, offset, bytes);
  if (!piece) return std::nullopt;
  std::uint32_t value = 0;
  for (unsigned n = 0; n < bytes; ++n)
    value = value << 8 | (*piece)[order == ByteOrder::kBigEndian ? n : bytes - 1 - n];
  return value;
}

inline std::string_view AsText(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
inline Bytes AsBytes(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

inline bool StartsWith(Bytes bytes, std::string_view start) {
  return AsText(bytes).starts_with(start);
}

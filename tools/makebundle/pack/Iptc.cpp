#include "makebundle/pack/Iptc.h"

namespace {

constexpr std::uint32_t kIptcResource = 0x0404;
constexpr unsigned char kDataSetMark = 0x1C;
constexpr unsigned char kApplicationRecord = 2;
constexpr unsigned char kCaption = 120;
constexpr std::uint32_t kExtended =
    0x8000;  // the low bits then tell how many bytes the length takes

constexpr std::uint64_t RoundedToEven(std::uint64_t size) { return size + (size & 1); }

}  // namespace

Bytes FindIptcInPhotoshop(Bytes resources) {
  // Each resource: "8BIM", number, name (a length byte, then the text, padded
  // to an even size together), size, bytes padded to an even size.
  while (StartsWith(resources, "8BIM")) {
    const std::optional<std::uint32_t> id = NumberAt(resources, 4, 2, ByteOrder::kBigEndian);
    const std::optional<std::uint32_t> nameLength =
        NumberAt(resources, 6, 1, ByteOrder::kBigEndian);
    if (!id || !nameLength) return {};
    const std::uint64_t sizeAt = 6 + RoundedToEven(1 + std::uint64_t{*nameLength});
    const std::optional<std::uint32_t> size = NumberAt(resources, sizeAt, 4, ByteOrder::kBigEndian);
    if (!size) return {};
    if (*id == kIptcResource) return Piece(resources, sizeAt + 4, *size).value_or(Bytes{});
    resources = Behind(resources, sizeAt + 4 + RoundedToEven(*size));
  }
  return {};
}

std::string ReadIptcCaption(Bytes iptc) {
  // Each data set: mark, record, number, length, bytes.
  while (iptc.size() >= 5 && iptc[0] == kDataSetMark) {
    std::uint64_t start = 5;
    std::uint32_t length = NumberAt(iptc, 3, 2, ByteOrder::kBigEndian).value_or(0);
    if (length & kExtended) {
      const unsigned lengthBytes = length & ~kExtended;
      const std::optional<std::uint32_t> extended =
          lengthBytes <= 4 ? NumberAt(iptc, 5, lengthBytes, ByteOrder::kBigEndian) : std::nullopt;
      if (!extended) return {};
      start += lengthBytes;
      length = *extended;
    }
    const std::optional<Bytes> value = Piece(iptc, start, length);
    if (!value) return {};
    if (iptc[1] == kApplicationRecord && iptc[2] == kCaption) return std::string(AsText(*value));
    iptc = Behind(iptc, start + length);
  }
  return {};
}

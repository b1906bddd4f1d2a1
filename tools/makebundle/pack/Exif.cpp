// The reader of EXIF blocks. Only the first directory and the EXIF directory
// that it points to are read, never a chain, so hostile offsets can't make it
// run in circles.

#include "makebundle/pack/Exif.h"

#include "makebundle/pack/Text.h"

namespace {

constexpr std::uint32_t kImageDescription = 0x010E;
constexpr std::uint32_t kOrientation = 0x0112;
constexpr std::uint32_t kIptc = 0x83BB;
constexpr std::uint32_t kPhotoshop = 0x8649;
constexpr std::uint32_t kExifDirectory = 0x8769;
constexpr std::uint32_t kDateTimeOriginal = 0x9003;
constexpr std::uint32_t kUserComment = 0x9286;

constexpr std::uint32_t kTypeShort = 3;
constexpr std::uint32_t kTypeLong = 4;
constexpr std::uint32_t kEntrySize = 12;
constexpr std::uint32_t kInlineSize = 4;  // a value of up to four bytes stands in the entry itself

// Bytes an element of each TIFF type takes; 0 for types that don't exist.
std::uint32_t ElementSize(std::uint32_t type) {
  constexpr std::uint32_t kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
  return type < std::size(kSizes) ? kSizes[type] : 0;
}

// One directory of a TIFF block.
class Directory {
 public:
  Directory(Bytes tiff, ByteOrder order, std::uint32_t offset)
      : tiff_(tiff),
        order_(order),
        entries_(std::uint64_t{offset} + 2),
        count_(Number(offset, 2).value_or(0)) {}

  // The value's bytes of the first entry with this tag that is there whole;
  // empty if there is none.
  Bytes Value(std::uint32_t tag) const {
    const std::optional<std::uint64_t> entry = Find(tag);
    return entry ? ValueOf(*entry) : Bytes{};
  }

  // The first element of a value of short or long numbers.
  std::optional<std::uint32_t> FirstNumber(std::uint32_t tag) const {
    const std::optional<std::uint64_t> entry = Find(tag);
    if (!entry) return std::nullopt;
    const std::uint32_t type = Number(*entry + 2, 2).value_or(0);
    if (type != kTypeShort && type != kTypeLong) return std::nullopt;
    return NumberAt(ValueOf(*entry), 0, ElementSize(type), order_);
  }

 private:
  std::optional<std::uint32_t> Number(std::uint64_t offset, unsigned bytes) const {
    return NumberAt(tiff_, offset, bytes, order_);
  }

  std::optional<std::uint64_t> Find(std::uint32_t tag) const {
    for (std::uint32_t n = 0; n < count_; ++n) {
      const std::uint64_t entry = entries_ + std::uint64_t{n} * kEntrySize;
      if (!Piece(tiff_, entry, kEntrySize)) return std::nullopt;
      if (Number(entry, 2) == tag) return entry;
    }
    return std::nullopt;
  }

  Bytes ValueOf(std::uint64_t entry) const {
    const std::uint32_t type = Number(entry + 2, 2).value_or(0);
    const std::uint64_t size = std::uint64_t{Number(entry + 4, 4).value_or(0)} * ElementSize(type);
    const std::uint64_t offset = size <= kInlineSize ? entry + 8 : Number(entry + 8, 4).value_or(0);
    return Piece(tiff_, offset, size).value_or(Bytes{});
  }

  Bytes tiff_;
  ByteOrder order_;
  std::uint64_t entries_;  // offset of the first entry
  std::uint32_t count_;
};

std::optional<ByteOrder> OrderOf(Bytes tiff) {
  if (StartsWith(tiff, {"II\x2A\0", 4})) return ByteOrder::kLittleEndian;
  if (StartsWith(tiff, {"MM\0\x2A", 4})) return ByteOrder::kBigEndian;
  return std::nullopt;
}

std::string UpToNul(Bytes value) {
  const std::string_view text = AsText(value);
  return std::string(text.substr(0, text.find('\0')));
}

// The comment opens with eight bytes that name its coding.
std::string UserComment(Bytes value, ByteOrder order) {
  constexpr std::size_t kCodingSize = 8;
  const Bytes text = Behind(value, kCodingSize);
  if (StartsWith(value, {"ASCII\0\0\0", kCodingSize})) return UpToNul(text);
  if (StartsWith(value, {"UNICODE\0", kCodingSize})) return Utf16ToUtf8(text, order);
  return {};
}

}  // namespace

ExifTags ReadExif(Bytes tiff) {
  ExifTags tags;
  const std::optional<ByteOrder> order = OrderOf(tiff);
  const std::optional<std::uint32_t> first = order ? NumberAt(tiff, 4, 4, *order) : std::nullopt;
  if (!first) return tags;
  const Directory main(tiff, *order, *first);
  tags.description = UpToNul(main.Value(kImageDescription));
  const std::uint32_t orientation = main.FirstNumber(kOrientation).value_or(1);
  if (orientation >= 1 && orientation <= 8) tags.orientation = static_cast<int>(orientation);
  tags.iptc = main.Value(kIptc);
  tags.photoshop = main.Value(kPhotoshop);
  if (const std::optional<std::uint32_t> offset = main.FirstNumber(kExifDirectory)) {
    const Directory exif(tiff, *order, *offset);
    tags.dateTaken = UpToNul(exif.Value(kDateTimeOriginal));
    tags.userComment = UserComment(exif.Value(kUserComment), *order);
  }
  return tags;
}

#include "pack/TiffBuilder.h"

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kInlineSize = 4;

std::size_t DirectorySize(std::size_t entries) { return 2 + entries * 12 + 4; }

}  // namespace

TiffBuilder::TiffBuilder(ByteOrder order) : order_(order) {}

TiffBuilder& TiffBuilder::Text(std::uint16_t tag, const std::string& text) {
  return Raw(tag, 2, static_cast<std::uint32_t>(text.size() + 1), text + '\0');
}
TiffBuilder& TiffBuilder::Short(std::uint16_t tag, std::uint16_t value) {
  return Raw(tag, 3, 1, Number(value, 2));
}
TiffBuilder& TiffBuilder::Long(std::uint16_t tag, std::uint32_t value) {
  return Raw(tag, 4, 1, Number(value, 4));
}

TiffBuilder& TiffBuilder::Raw(std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                              const std::string& value) {
  current_->push_back({tag, type, count, value});
  return *this;
}

TiffBuilder& TiffBuilder::InExifDirectory() {
  current_ = &exif_;
  return *this;
}

std::string TiffBuilder::Number(std::uint64_t value, unsigned bytes) const {
  std::string text;
  for (unsigned n = 0; n < bytes; ++n) {
    const unsigned shift = 8 * (order_ == ByteOrder::kLittleEndian ? n : bytes - 1 - n);
    text += static_cast<char>(value >> shift & 0xFF);
  }
  return text;
}

// The directory at `offset`, with the values that don't fit into their entries
// right behind it.
std::string TiffBuilder::Directory(const std::vector<Entry>& entries, std::size_t offset) const {
  std::string directory = Number(entries.size(), 2);
  std::string values;
  for (const Entry& entry : entries) {
    directory += Number(entry.tag, 2) + Number(entry.type, 2) + Number(entry.count, 4);
    if (entry.value.size() <= kInlineSize) {
      directory += entry.value + std::string(kInlineSize - entry.value.size(), '\0');
    } else {
      directory += Number(offset + DirectorySize(entries.size()) + values.size(), 4);
      values += entry.value;
    }
  }
  return directory + Number(0, 4) + values;
}

std::string TiffBuilder::Build() const {
  const std::string header =
      (order_ == ByteOrder::kLittleEndian ? "II" : "MM") + Number(42, 2) + Number(kHeaderSize, 4);
  if (exif_.empty()) return header + Directory(main_, kHeaderSize);
  std::vector<Entry> entries = main_;
  entries.push_back({0x8769, 4, 1, Number(0, 4)});
  const std::size_t exifOffset = kHeaderSize + Directory(entries, kHeaderSize).size();
  entries.back().value = Number(exifOffset, 4);
  return header + Directory(entries, kHeaderSize) + Directory(exif_, exifOffset);
}

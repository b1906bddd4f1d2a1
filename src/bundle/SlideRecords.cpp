#include "bundle/SlideRecords.h"

#include <cstring>

namespace {

// Takes little-endian fields from the front of a record.
class RecordReader {
 public:
  RecordReader(const unsigned char* bytes, std::size_t size)
      : at_(bytes), left_(bytes ? size : 0) {}

  std::uint32_t U32() { return static_cast<std::uint32_t>(Number(4)); }
  std::uint16_t U16() { return static_cast<std::uint16_t>(Number(2)); }
  bool Flag() { return Number(1) != 0; }
  std::string Text() {
    if (left_ == 0) return {};
    const void* nul = std::memchr(at_, 0, left_);
    const std::size_t length =
        nul ? static_cast<std::size_t>(static_cast<const unsigned char*>(nul) - at_) : left_;
    std::string text(reinterpret_cast<const char*>(at_), length);
    Skip(nul ? length + 1 : length);
    return text;
  }

 private:
  // A number that isn't there whole counts as 0 and ends the record.
  std::uint64_t Number(std::size_t bytes) {
    if (left_ < bytes) {
      left_ = 0;
      return 0;
    }
    std::uint64_t value = 0;
    for (std::size_t n = bytes; n-- > 0;) value = value << 8 | at_[n];
    Skip(bytes);
    return value;
  }
  void Skip(std::size_t bytes) {
    at_ += bytes;
    left_ -= bytes;
  }

  const unsigned char* at_;
  std::size_t left_;
};

}  // namespace

SlideDims DecodeSlideDims(const unsigned char* bytes, std::size_t size) {
  RecordReader reader(bytes, size);
  SlideDims dims;
  dims.width = reader.U32();
  dims.height = reader.U32();
  dims.name = reader.Text();
  dims.focusXOnly = reader.Flag();
  dims.focusYOnly = reader.Flag();
  return dims;
}

SlideCaption DecodeSlideCaption(const unsigned char* bytes, std::size_t size) {
  RecordReader reader(bytes, size);
  SlideCaption caption;
  caption.value0 = reader.U16();
  caption.value1 = reader.U16();
  caption.value2 = reader.U16();
  caption.name = reader.Text();
  caption.text = reader.Text();
  return caption;
}

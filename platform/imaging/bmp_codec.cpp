// BMP: our own reader.
//
// A file is a file header, an information header whose size tells its kind,
// perhaps colour masks, perhaps a palette, and pixels at an offset of their
// own. Every one of these numbers is checked before it is used. Rows are padded
// to four bytes and run from the bottom to the top, unless the height is
// negative.

#include "imaging/byte_view.h"
#include "imaging/codecs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace imaging {

namespace {

constexpr std::uint32_t kFileHeaderSize = 14;
constexpr std::uint32_t kPixelOffsetField = 10;
constexpr std::uint32_t kCoreHeaderSize = 12;     // OS/2 1
constexpr std::uint32_t kShortestOs2Header = 16;  // OS/2 2, where fields may be left out at the end
constexpr std::uint32_t kInfoHeaderSize = 40;     // Windows 3
constexpr std::uint32_t kMasksInHeaderSize = 52;  // from here on the masks are part of the header
constexpr std::uint32_t kAlphaInHeaderSize = 56;  // and from here on that of the opacity too
constexpr std::uint32_t kOs2HeaderSize = 64;      // OS/2 2 in full: no masks, other compressions

enum Compression : std::uint32_t {
  kRgb = 0,
  kRle8 = 1,
  kRle4 = 2,
  kBitFields = 3,
  kAlphaBitFields = 6
};

// The bits of a pixel that hold one of its channels.
struct Channel {
  std::uint32_t mask = 0;
  int shift = 0;
  int bits = 0;

  // False for a mask with a gap or beyond the pixel's bits.
  bool Set(std::uint32_t newMask, unsigned bitsPerPixel);
  // The channel of `pixel` in eight bits; fewer bits are repeated to fill them,
  // so that all ones become 255.
  std::uint8_t Extract(std::uint32_t pixel) const;
};

bool Channel::Set(std::uint32_t newMask, unsigned bitsPerPixel) {
  mask = newMask;
  if (mask == 0) return true;
  shift = std::countr_zero(mask);
  bits = std::popcount(mask);
  return std::has_single_bit((std::uint64_t{mask} >> shift) + 1) &&
         (std::uint64_t{mask} >> bitsPerPixel) == 0;
}

std::uint8_t Channel::Extract(std::uint32_t pixel) const {
  if (bits == 0) return 0;
  const std::uint32_t value = (pixel & mask) >> shift;
  if (bits >= 8) return static_cast<std::uint8_t>(value >> (bits - 8));
  std::uint32_t filled = value << (8 - bits);
  for (int done = bits; done < 8; done += done) filled |= filled >> done;
  return static_cast<std::uint8_t>(filled);
}

using Colour = std::array<std::uint8_t, kBytesPerPixel>;
constexpr Colour kBlack = {0, 0, 0, 255};

class BmpReader {
 public:
  explicit BmpReader(Bytes file) : file_(file) {}

  bool Decode(Picture& picture);

 private:
  bool ReadHeader();
  bool ReadSize();
  bool IsKindKnown() const;
  bool ReadMasks();
  bool ReadPalette();
  bool HasAllRows() const;
  void ReadRows(const Picture& picture) const;
  bool ReadRuns(const Picture& picture) const;
  void CompositeUnlessAllClear(const Picture& picture) const;

  void ReadIndexedRow(const std::uint8_t* source, std::uint8_t* target) const;
  void ReadMaskedRow(const std::uint8_t* source, std::uint8_t* target) const;
  void ReadTrueColourRow(const std::uint8_t* source, std::uint8_t* target) const;

  bool IsCore() const { return headerSize_ == kCoreHeaderSize; }
  bool IsIndexed() const { return bits_ <= 8; }
  bool HasMasks() const { return compression_ == kBitFields || compression_ == kAlphaBitFields; }
  bool IsRunLength() const { return compression_ == kRle8 || compression_ == kRle4; }
  std::uint32_t MasksBehindHeader() const;
  std::uint64_t RowSize() const {
    return (static_cast<std::uint64_t>(width_) * bits_ + 31) / 32 * 4;
  }
  // Number `row` of the file, counted from where its pixels begin.
  std::uint8_t* TargetRow(const Picture& picture, int row) const {
    return picture.row(topDown_ ? row : height_ - 1 - row);
  }

  ByteView file_;
  std::uint32_t headerSize_ = 0;
  int width_ = 0;
  int height_ = 0;
  bool topDown_ = false;
  unsigned bits_ = 0;  // a pixel
  std::uint32_t compression_ = kRgb;
  std::uint32_t coloursUsed_ = 0;  // 0: as many as the bits allow
  std::uint32_t pixelOffset_ = 0;
  Channel blue_, green_, red_, alpha_;
  std::array<Colour, 256> palette_;
};

// Sides are signed: a negative height says that rows run downwards. The oldest
// header has them in 16 bits without a sign.
bool BmpReader::ReadSize() {
  std::int64_t width, height;
  if (IsCore()) {
    width = file_.U16(kFileHeaderSize + 4);
    height = file_.U16(kFileHeaderSize + 6);
  } else {
    width = static_cast<std::int32_t>(file_.U32(kFileHeaderSize + 4));
    height = static_cast<std::int32_t>(file_.U32(kFileHeaderSize + 8));
  }
  topDown_ = height < 0;
  if (topDown_) height = -height;
  if (!IsSizeAllowed(width, height)) return false;
  width_ = static_cast<int>(width);
  height_ = static_cast<int>(height);
  return true;
}

bool BmpReader::ReadHeader() {
  if (!file_.Has(0, kFileHeaderSize + 4)) return false;
  pixelOffset_ = file_.U32(kPixelOffsetField);
  headerSize_ = file_.U32(kFileHeaderSize);
  if (!IsCore() && headerSize_ < kShortestOs2Header) return false;
  if (!file_.Has(kFileHeaderSize, headerSize_) || !ReadSize()) return false;

  // Offsets of fields within the header. One that the header is too short for
  // counts as 0.
  const auto field = [&](std::uint32_t offset) {
    return headerSize_ >= offset + 4 ? file_.U32(kFileHeaderSize + offset) : 0;
  };
  const std::uint32_t planesAndBits = IsCore() ? field(8) : field(12);
  bits_ = planesAndBits >> 16;
  compression_ = field(16);
  coloursUsed_ = field(32);
  return (planesAndBits & 0xffff) == 1;
}

bool BmpReader::IsKindKnown() const {
  switch (compression_) {
    case kRgb:
      return bits_ == 1 || bits_ == 4 || bits_ == 8 || bits_ == 16 || bits_ == 24 || bits_ == 32;
    case kRle8:
      return bits_ == 8 && !topDown_;
    case kRle4:
      return bits_ == 4 && !topDown_;
    case kBitFields:
    case kAlphaBitFields:
      return (bits_ == 16 || bits_ == 32) && headerSize_ >= kInfoHeaderSize &&
             headerSize_ != kOs2HeaderSize;
    default:
      return false;
  }
}

std::uint32_t BmpReader::MasksBehindHeader() const {
  if (!HasMasks() || headerSize_ >= kMasksInHeaderSize) return 0;
  return compression_ == kAlphaBitFields ? 16 : 12;
}

bool BmpReader::ReadMasks() {
  if (!HasMasks()) {
    const bool fiveEach = bits_ == 16;  // the other kinds have whole bytes or indices
    return !fiveEach ||
           (red_.Set(0x7c00, bits_) && green_.Set(0x03e0, bits_) && blue_.Set(0x001f, bits_));
  }
  constexpr std::uint64_t kMasks = kFileHeaderSize + kInfoHeaderSize;
  if (!file_.Has(kFileHeaderSize, std::uint64_t{headerSize_} + MasksBehindHeader())) return false;
  const bool hasAlpha = headerSize_ >= kAlphaInHeaderSize || MasksBehindHeader() == 16;
  return red_.Set(file_.U32(kMasks), bits_) && green_.Set(file_.U32(kMasks + 4), bits_) &&
         blue_.Set(file_.U32(kMasks + 8), bits_) &&
         alpha_.Set(hasAlpha ? file_.U32(kMasks + 12) : 0, bits_);
}

// A palette may be shorter than its header says: then the pixels begin where it
// ends. Colours that it lacks are black.
bool BmpReader::ReadPalette() {
  const std::uint64_t start = std::uint64_t{kFileHeaderSize} + headerSize_ + MasksBehindHeader();
  if (pixelOffset_ < start || pixelOffset_ > file_.size()) return false;
  if (!IsIndexed()) return true;
  const std::uint64_t entrySize = IsCore() ? 3 : 4;
  const std::uint32_t most = 1u << bits_;
  const std::uint32_t wanted = coloursUsed_ == 0 ? most : std::min(coloursUsed_, most);
  const auto count = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(wanted, (pixelOffset_ - start) / entrySize));
  palette_.fill(kBlack);
  for (std::uint32_t i = 0; i < count; ++i)
    std::memcpy(palette_[i].data(), file_.At(start + i * entrySize), 3);
  return count > 0;
}

void BmpReader::ReadIndexedRow(const std::uint8_t* source, std::uint8_t* target) const {
  const unsigned perByte = 8 / bits_;
  const unsigned mask = (1u << bits_) - 1;
  for (unsigned x = 0; x < static_cast<unsigned>(width_); ++x, target += kBytesPerPixel) {
    const unsigned shift = 8 - bits_ * (x % perByte + 1);
    std::memcpy(target, palette_[(source[x / perByte] >> shift) & mask].data(), kBytesPerPixel);
  }
}

void BmpReader::ReadMaskedRow(const std::uint8_t* source, std::uint8_t* target) const {
  const unsigned bytes = bits_ / 8;
  for (int x = 0; x < width_; ++x, source += bytes, target += kBytesPerPixel) {
    std::uint32_t pixel = 0;
    for (unsigned i = 0; i < bytes; ++i) pixel |= static_cast<std::uint32_t>(source[i]) << (8 * i);
    target[0] = blue_.Extract(pixel);
    target[1] = green_.Extract(pixel);
    target[2] = red_.Extract(pixel);
    target[3] = alpha_.mask ? alpha_.Extract(pixel) : std::uint8_t{255};
  }
}

void BmpReader::ReadTrueColourRow(const std::uint8_t* source, std::uint8_t* target) const {
  const unsigned bytes = bits_ / 8;
  for (int x = 0; x < width_; ++x, source += bytes, target += kBytesPerPixel) {
    std::memcpy(target, source, 3);
    target[3] = 255;
  }
}

bool BmpReader::HasAllRows() const {
  return file_.Has(pixelOffset_, RowSize() * static_cast<std::uint64_t>(height_));
}

void BmpReader::ReadRows(const Picture& picture) const {
  const bool plainBytes = bits_ == 24 || (bits_ == 32 && !HasMasks());
  const auto readRow = IsIndexed()   ? &BmpReader::ReadIndexedRow
                        : plainBytes ? &BmpReader::ReadTrueColourRow
                                      : &BmpReader::ReadMaskedRow;
  for (int y = 0; y < height_; ++y)
    (this->*readRow)(file_.At(pixelOffset_ + RowSize() * static_cast<std::uint64_t>(y)),
                     TargetRow(picture, y));
}

// Programs that write the mask of the opacity often leave the opacity itself at
// zero everywhere, and mean a picture that can be seen.
void BmpReader::CompositeUnlessAllClear(const Picture& picture) const {
  const std::size_t pixels = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
  bool any = false;
  for (std::size_t i = 0; i < pixels && !any; ++i)
    any = picture.bits()[i * kBytesPerPixel + 3] != 0;
  if (any) return CompositeOnBlack(picture.bits(), pixels);
  for (std::size_t i = 0; i < pixels; ++i) picture.bits()[i * kBytesPerPixel + 3] = 255;
}

// Reads the run-length codes of RLE8 and RLE4 one after the other.
class RunReader {
 public:
  RunReader(ByteView file, std::uint64_t offset, unsigned bits, int width, int height)
      : file_(file), next_(offset), bits_(bits), width_(width), height_(height) {}

  // Calls `put(x, row, index)` for each pixel that the codes name within the
  // picture. False if they leave the picture or break off before the code for
  // the end of the bitmap.
  template <class Put>
  bool Read(Put put);

 private:
  enum Escape : std::uint8_t { kEndOfRow = 0, kEndOfBitmap = 1, kMove = 2 };

  // Number `i` of the indices that are packed from the byte at `offset` on.
  unsigned IndexAt(std::uint64_t offset, unsigned i) const {
    if (bits_ == 8) return file_.U8(offset + i);
    return (file_.U8(offset + i / 2) >> (i % 2 ? 0 : 4)) & 15u;
  }
  bool Move();
  template <class Put>
  bool ReadRun(unsigned count, Put put);
  template <class Put>
  bool ReadLiteral(unsigned count, Put put);
  template <class Put>
  bool PutPixel(unsigned index, Put put);

  ByteView file_;
  std::uint64_t next_;  // the code that is read next
  unsigned bits_;
  int width_, height_;
  int x_ = 0, row_ = 0;
};

// Encoders round odd runs up, so pixels behind the end of a row are dropped.
template <class Put>
bool RunReader::PutPixel(unsigned index, Put put) {
  if (row_ >= height_) return false;
  if (x_ < width_) put(x_++, row_, index);
  return true;
}

template <class Put>
bool RunReader::ReadRun(unsigned count, Put put) {
  for (unsigned i = 0; i < count; ++i)
    if (!PutPixel(IndexAt(next_ + 1, bits_ == 8 ? 0 : i % 2), put)) return false;
  next_ += 2;
  return true;
}

// `count` indices as they stand, padded to an even number of bytes.
template <class Put>
bool RunReader::ReadLiteral(unsigned count, Put put) {
  const std::uint64_t bytes = (count * bits_ + 7) / 8;
  if (!file_.Has(next_ + 2, bytes)) return false;
  for (unsigned i = 0; i < count; ++i)
    if (!PutPixel(IndexAt(next_ + 2, i), put)) return false;
  next_ += 2 + (bytes + 1) / 2 * 2;
  return true;
}

bool RunReader::Move() {
  if (!file_.Has(next_ + 2, 2)) return false;
  x_ += file_.U8(next_ + 2);
  row_ += file_.U8(next_ + 3);
  next_ += 4;
  return x_ <= width_ && row_ < height_;
}

template <class Put>
bool RunReader::Read(Put put) {
  while (file_.Has(next_, 2)) {
    const std::uint8_t count = file_.U8(next_), value = file_.U8(next_ + 1);
    if (count > 0) {
      if (!ReadRun(count, put)) return false;
    } else if (value == kEndOfBitmap) {
      return true;
    } else if (value == kEndOfRow) {
      x_ = 0;
      ++row_;
      next_ += 2;
    } else if (value == kMove ? !Move() : !ReadLiteral(value, put)) {
      return false;
    }
  }
  return false;
}

// Pixels that the codes pass over have the first colour.
bool BmpReader::ReadRuns(const Picture& picture) const {
  for (int y = 0; y < height_; ++y)
    for (int x = 0; x < width_; ++x)
      std::memcpy(picture.row(y) + x * kBytesPerPixel, palette_[0].data(), kBytesPerPixel);
  RunReader runs(file_, pixelOffset_, bits_, width_, height_);
  return runs.Read([&](int x, int row, unsigned index) {
    std::memcpy(TargetRow(picture, row) + x * kBytesPerPixel, palette_[index].data(),
                kBytesPerPixel);
  });
}

bool BmpReader::Decode(Picture& picture) {
  if (!ReadHeader() || !IsKindKnown() || !ReadMasks() || !ReadPalette()) return false;
  if (!IsRunLength() && !HasAllRows()) return false;
  if (!picture.Create(width_, height_)) return false;
  if (IsRunLength()) return ReadRuns(picture);
  ReadRows(picture);
  if (alpha_.mask) CompositeUnlessAllClear(picture);
  return true;
}

}  // namespace

bool DecodeBmp(Bytes file, Picture& picture) {
  const ByteView view(file);
  if (view.U8(0) != 'B' || view.U8(1) != 'M') return false;
  return BmpReader(file).Decode(picture);
}

}  // namespace imaging

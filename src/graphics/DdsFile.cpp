#include "graphics/DdsFile.h"

#include "graphics/cGameError.h"

#include <algorithm>
#include <bit>

namespace {

constexpr std::uint32_t kMark = 0x20534444;  // "DDS "
constexpr std::uint32_t kMipCountHolds = 0x20000;
constexpr std::uint32_t kMaxSide = 0x7FFF;

[[noreturn]] void RefuseFile() { throw cGameError("Bad DDS file\n"); }

std::uint64_t RowBytes(std::uint32_t width, std::uint32_t bitCount) {
  return std::uint64_t{width} * bitCount / 8;
}

}  // namespace

DdsFile::DdsFile(const char* fileName, bool chainCounts) : file_(std::fopen(fileName, "rb")) {
  if (!file_) throw cGameError("Couldn't find DDS file");
  ReadMark();
  ReadHeader();
  hasChain_ = chainCounts && (header_.flags & kMipCountHolds) != 0;
  if (!IsPlausible()) RefuseFile();
}

void DdsFile::ReadMark() {
  std::uint32_t mark = 0;
  ReadWhole(&mark, sizeof mark);
  if (mark != kMark) RefuseFile();
}

void DdsFile::ReadHeader() {
  ReadWhole(&header_, sizeof header_);
  if (header_.format.fourCC != 0) throw cGameError("Compressed DDS textures are not supported");
}

std::uint64_t DdsFile::BytesLeft() {
  const long here = std::ftell(file_.get());
  std::fseek(file_.get(), 0, SEEK_END);
  const long end = std::ftell(file_.get());
  std::fseek(file_.get(), here, SEEK_SET);
  return end > here ? static_cast<std::uint64_t>(end - here) : 0;
}

bool DdsFile::IsPlausible() {
  const std::uint32_t width = header_.width;
  const std::uint32_t height = header_.height;
  if (width < 1 || width > kMaxSide || height < 1 || height > kMaxSide) return false;
  const auto halvings = static_cast<std::uint32_t>(std::bit_width(std::max(width, height)));
  if (hasChain_ && header_.mipLevels > halvings) return false;
  return RowBytes(width, header_.format.bitCount) * height <= BytesLeft();
}

void DdsFile::ReadRows(const DdsRows& rows) {
  const std::uint64_t rowBytes = RowBytes(rows.width, rows.bitCount);
  if (rows.pitch < 0 || rowBytes > static_cast<std::uint32_t>(rows.pitch)) RefuseFile();
  unsigned char* row = rows.memory;
  for (std::uint32_t y = 0; y < rows.height; ++y, row += rows.pitch)
    ReadWhole(row, static_cast<std::size_t>(rowBytes));
}

void DdsFile::ReadWhole(void* to, std::size_t size) {
  if (std::fread(to, 1, size, file_.get()) != size) RefuseFile();
}

// Any bytes at all as a DDS file, read level by level into memory of exactly
// the size that a surface of that form has.

#include "MemoryFile.h"

#include "graphics/DdsFile.h"
#include "graphics/cGameError.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kRowsStart = 4 + sizeof(DdsHeader);
constexpr std::uint32_t kMipCountHolds = 0x20000;

bool IsDepthOfSurface(std::uint32_t bits) {
  return bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

// The rows of a level are bytes of the file; what lies between two rows stays
// as it was.
std::size_t CheckLevel(DdsFile& file, std::uint32_t width, std::uint32_t height,
                       const std::uint8_t* expected) {
  const std::uint32_t bits = file.Header().format.bitCount;
  const std::size_t rowBytes = width * bits / 8;
  const std::size_t pitch = (rowBytes + 7) / 8 * 8;
  std::vector<unsigned char> memory(pitch * (height - 1) + rowBytes, 0xA5);
  file.ReadRows({memory.data(), width, height, bits, static_cast<std::int32_t>(pitch)});
  for (std::uint32_t y = 0; y < height; ++y) {
    const unsigned char* row = &memory[y * pitch];
    Require(std::memcmp(row, expected + y * rowBytes, rowBytes) == 0);
    const std::size_t gap = y + 1 < height ? pitch - rowBytes : 0;
    Require(std::all_of(row + rowBytes, row + rowBytes + gap,
                        [](unsigned char byte) { return byte == 0xA5; }));
  }
  return rowBytes * height;
}

// As long as the file reaches.
void CheckLevels(DdsFile& file, const std::uint8_t* data, std::size_t size) {
  const DdsHeader& header = file.Header();
  std::uint32_t width = header.width, height = header.height;
  std::size_t at = kRowsStart;
  const std::uint32_t levels = file.HasChain() ? std::max(header.mipLevels, 1u) : 1;
  for (std::uint32_t level = 0; level < levels; ++level) {
    at += CheckLevel(file, width, height, data + at);
    Require(at <= size);
    width = std::max(width / 2, 1u);
    height = std::max(height / 2, 1u);
  }
}

void CheckHeader(const DdsFile& file, const std::uint8_t* data, std::size_t size) {
  const DdsHeader& header = file.Header();
  Require(std::memcmp(&header, data + 4, sizeof header) == 0);
  Require(header.format.fourCC == 0);
  Require(header.width >= 1 && header.width <= 0x7FFF);
  Require(header.height >= 1 && header.height <= 0x7FFF);
  const std::uint64_t rowBytes = std::uint64_t{header.width} * header.format.bitCount / 8;
  Require(rowBytes * header.height <= size - kRowsStart);
  Require(!file.HasChain() || header.mipLevels <= 15);
}

void Check(const char* path, bool chainCounts, const std::uint8_t* data, std::size_t size) try {
  DdsFile file(path, chainCounts);
  CheckHeader(file, data, size);
  Require(file.HasChain() == (chainCounts && (file.Header().flags & kMipCountHolds)));
  if (IsDepthOfSurface(file.Header().format.bitCount)) CheckLevels(file, data, size);
} catch (const cGameError&) {
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  file.Fill(data, size);
  Check(file.Path(), true, data, size);
  Check(file.Path(), false, data, size);
  return 0;
}

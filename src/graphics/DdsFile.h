#pragma once
// Uncompressed DDS files: a mark, a description of 124 bytes, and the rows of
// each level of the mip chain. Portable; one thread. All failures throw
// cGameError.

#include "base/StdFile.h"

#include <array>
#include <cstddef>
#include <cstdint>

// The description as it stands in the file, in 32-bit words, least significant
// byte first. It is the one that DirectDraw makes surfaces from.
struct DdsHeader {
  struct PixelFormat {
    std::uint32_t size;
    std::uint32_t flags;
    std::uint32_t fourCC;    // of a compressed form
    std::uint32_t bitCount;  // a pixel
    std::uint32_t redMask;
    std::uint32_t greenMask;
    std::uint32_t blueMask;
    std::uint32_t alphaMask;
  };

  std::uint32_t size;
  std::uint32_t flags;   // which of the fields hold
  std::uint32_t height;  // px
  std::uint32_t width;   // px
  std::uint32_t pitch;
  std::uint32_t depth;
  std::uint32_t mipLevels;
  std::array<std::uint32_t, 11> reserved;
  PixelFormat format;
  std::array<std::uint32_t, 4> caps;
  std::uint32_t textureStage;
};
static_assert(sizeof(DdsHeader) == 124);

// Where the rows of a level go: `height` rows of `width` px, `pitch` bytes from
// one to the next.
struct DdsRows {
  unsigned char* memory;
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t bitCount;  // a pixel
  std::int32_t pitch;
};

class DdsFile {
 public:
  // Opens the file and reads its description. A damaged size can't pass: the
  // file holds at least the first level, and with `chainCounts` there are no
  // more levels than halvings.
  DdsFile(const char* fileName, bool chainCounts);

  const DdsHeader& Header() const { return header_; }
  // Whether the file has levels below the first, and they are asked for.
  bool HasChain() const { return hasChain_; }

  // The levels follow each other from the largest to the smallest.
  void ReadRows(const DdsRows& rows);
  void ReadWhole(void* to, std::size_t size);

 private:
  void ReadMark();
  void ReadHeader();
  std::uint64_t BytesLeft();
  bool IsPlausible();

  StdFile file_;
  DdsHeader header_{};
  bool hasChain_ = false;
};

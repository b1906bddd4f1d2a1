// What the BMP reader takes and what it refuses, field by field.

#include "imaging/codecs.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <initializer_list>

using imaging::DecodeBmp;
using imaging::Picture;
using support::AppendU16;
using support::AppendU32;
using support::Bytes;

namespace {

// A BMP file whose every field can be wrong. By itself: 3 by 2 pixels of 8 bits
// with two colours, the first blue, the second red; all pixels blue.
struct Bmp {
  std::uint32_t header_size = 40;
  std::int32_t width = 3;
  std::int32_t height = 2;
  std::uint16_t planes = 1;
  std::uint16_t bits = 8;
  std::uint32_t compression = 0;
  std::uint32_t colours_used = 2;
  std::vector<std::uint32_t> masks;
  std::vector<std::uint32_t> palette = {0x0000ff, 0xff0000};
  Bytes pixels = {0, 0, 0, 0, 0, 0, 0, 0};
  int offset_change = 0;  // of the pixels' offset

  Bytes File() const {
    Bytes header;
    AppendU32(header, header_size);
    AppendU32(header, static_cast<std::uint32_t>(width));
    AppendU32(header, static_cast<std::uint32_t>(height));
    AppendU16(header, planes);
    AppendU16(header, bits);
    for (const std::uint32_t field : {compression, 0u, 0u, 0u, colours_used, 0u})
      AppendU32(header, field);
    for (const std::uint32_t mask : masks) AppendU32(header, mask);
    if (masks.empty() && header_size > 40 && header_size < 200) header.resize(header_size);
    for (const std::uint32_t colour : palette) AppendU32(header, colour);
    Bytes file = support::BytesOf("BM");
    AppendU32(file, 0);
    AppendU32(file, 0);
    AppendU32(file,
              static_cast<std::uint32_t>(14 + static_cast<int>(header.size()) + offset_change));
    support::Append(file, header);
    support::Append(file, pixels);
    return file;
  }

  // The colours row by row from the top, or nothing.
  std::vector<std::uint32_t> Colours() const {
    Picture picture;
    const Bytes file = File();
    if (!DecodeBmp(file, picture)) return {};
    std::vector<std::uint32_t> colours;
    for (int i = 0; i < picture.width() * picture.height(); ++i) {
      const std::uint8_t* p = picture.bits() + i * 4;
      colours.push_back(static_cast<std::uint32_t>(p[0] | (p[1] << 8) | (p[2] << 16)));
    }
    return colours;
  }
  bool IsTaken() const { return !Colours().empty(); }
};

using Colours = std::vector<std::uint32_t>;
constexpr std::uint32_t B = 0x0000ff, R = 0xff0000, K = 0;

Bmp RunLength(std::initializer_list<unsigned char> codes) {
  Bmp bmp;
  bmp.compression = 1;
  bmp.pixels = codes;
  return bmp;
}

Bmp RunLength4(std::initializer_list<unsigned char> codes) {
  Bmp bmp = RunLength(codes);
  bmp.compression = 2;
  bmp.bits = 4;
  return bmp;
}

Bmp Masked(unsigned bits, std::initializer_list<std::uint32_t> masks) {
  Bmp bmp;
  bmp.bits = static_cast<std::uint16_t>(bits);
  bmp.compression = 3;
  bmp.masks = masks;
  bmp.palette.clear();
  bmp.width = bmp.height = 1;
  bmp.pixels = {0xff, 0xff, 0xff, 0xff};
  return bmp;
}

TEST(BmpReader, TakesTheFileThatTheTestsStartFrom) {
  EXPECT_EQ(Bmp().Colours(), (Colours{B, B, B, B, B, B}));
}

TEST(BmpReader, RowsRunUpwardsUnlessTheHeightIsNegative) {
  Bmp bmp;
  bmp.pixels = {1, 1, 1, 9, 0, 0, 0, 9};
  EXPECT_EQ(bmp.Colours(), (Colours{B, B, B, R, R, R}));
  bmp.height = -2;
  EXPECT_EQ(bmp.Colours(), (Colours{R, R, R, B, B, B}));
}

TEST(BmpReader, RefusesSizesWithoutPixels) {
  for (const int side : {0, -1, -3, INT32_MIN}) {
    Bmp bmp;
    bmp.width = side;
    EXPECT_FALSE(bmp.IsTaken()) << side;
  }
  Bmp bmp;
  bmp.height = 0;
  EXPECT_FALSE(bmp.IsTaken());
  bmp.height = INT32_MIN;
  EXPECT_FALSE(bmp.IsTaken());
}

TEST(BmpReader, RefusesOtherThanOnePlane) {
  for (const unsigned planes : {0u, 2u, 65535u}) {
    Bmp bmp;
    bmp.planes = static_cast<std::uint16_t>(planes);
    EXPECT_FALSE(bmp.IsTaken()) << planes;
  }
}

TEST(BmpReader, RefusesDepthsThatDoNotExist) {
  for (unsigned bits = 0; bits < 70; ++bits) {
    Bmp bmp;
    bmp.bits = static_cast<std::uint16_t>(bits);
    bmp.pixels.resize(1000);
    const bool exists =
        bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    EXPECT_EQ(bmp.IsTaken(), exists) << bits;
  }
}

TEST(BmpReader, RefusesCompressionsThatDoNotFitTheDepth) {
  for (const unsigned bits : {1u, 4u, 8u, 16u, 24u, 32u})
    for (std::uint32_t compression = 1; compression < 20; ++compression) {
      Bmp bmp;
      bmp.bits = static_cast<std::uint16_t>(bits);
      bmp.compression = compression;
      bmp.masks = {0x1f, 0x3e0, 0x7c00, 0};
      bmp.pixels = {0, 1, 0, 1, 0, 1};
      bmp.pixels.resize(1000);
      const bool fits = (compression == 1 && bits == 8) || (compression == 2 && bits == 4) ||
                        ((compression == 3 || compression == 6) && (bits == 16 || bits == 32));
      EXPECT_EQ(bmp.IsTaken(), fits) << bits << " bits, compression " << compression;
    }
}

TEST(BmpReader, RefusesRunLengthsFromTheTopDown) {
  Bmp bmp = RunLength({3, 0, 0, 0, 3, 1, 0, 1});
  EXPECT_TRUE(bmp.IsTaken());
  bmp.height = -2;
  EXPECT_FALSE(bmp.IsTaken());
}

TEST(BmpReader, RefusesHeadersOfImpossibleSize) {
  for (const std::uint32_t size : {0u, 1u, 11u, 13u, 15u, 1000u, 0x7fffffffu, 0xffffffffu}) {
    Bmp bmp;
    bmp.header_size = size;
    EXPECT_FALSE(bmp.IsTaken()) << size;
  }
}

TEST(BmpReader, RefusesPixelsWithinTheHeader) {
  Bmp bmp;
  bmp.offset_change = -9;  // one byte less than the palette leaves
  EXPECT_FALSE(bmp.IsTaken());
  bmp.offset_change = -62;
  EXPECT_FALSE(bmp.IsTaken());
}

TEST(BmpReader, RefusesPixelsBehindTheEnd) {
  for (const int change : {1, 8, 9, 1000, 0x7fff0000}) {
    Bmp bmp;
    bmp.offset_change = change;
    EXPECT_FALSE(bmp.IsTaken()) << change;
  }
}

TEST(BmpReader, RefusesAPaletteWithoutColours) {
  Bmp bmp;
  bmp.palette.clear();
  EXPECT_FALSE(bmp.IsTaken());
  bmp.palette = {B};
  EXPECT_TRUE(bmp.IsTaken());
}

TEST(BmpReader, AColourThatThePaletteLacksIsBlack) {
  Bmp bmp;
  bmp.pixels = {1, 2, 255, 0, 0, 0, 0, 0};
  EXPECT_EQ(bmp.Colours(), (Colours{B, B, B, R, K, K}));
}

TEST(BmpReader, APaletteThatClaimsTooManyColoursIsCut) {
  Bmp bmp;
  bmp.colours_used = 0xffffffff;
  EXPECT_EQ(bmp.Colours(), (Colours{B, B, B, B, B, B}));
}

TEST(BmpReader, OneMissingByteOfTheLastRowIsNoticed) {
  Bmp bmp;
  bmp.pixels.pop_back();
  EXPECT_FALSE(bmp.IsTaken());
}

TEST(BmpReader, FullMasksGiveWhite) {
  for (const Bmp& bmp :
       {Masked(16, {0x7c00, 0x3e0, 0x1f}), Masked(16, {0xf800, 0x7e0, 0x1f}), Masked(16, {1, 2, 4}),
        Masked(32, {0xff, 0xff00, 0xff0000}), Masked(32, {0x3ff, 0xffc00, 0xfff00000}),
        Masked(32, {0xffffffff, 0xffffffff, 0xffffffff})})
    EXPECT_EQ(bmp.Colours(), (Colours{0xffffff}));
}

TEST(BmpReader, AnEmptyMaskGivesNothingOfItsColour) {
  EXPECT_EQ(Masked(16, {0, 0x3e0, 0x1f}).Colours(), (Colours{0x00ffff}));
  EXPECT_EQ(Masked(32, {0, 0, 0}).Colours(), (Colours{K}));
}

TEST(BmpReader, RefusesMasksWithGaps) {
  EXPECT_FALSE(Masked(16, {0x5000, 0x3e0, 0x1f}).IsTaken());
  EXPECT_FALSE(Masked(32, {0xff, 0xff00, 0x80000001}).IsTaken());
}

TEST(BmpReader, RefusesMasksBeyondThePixel) {
  EXPECT_FALSE(Masked(16, {0x1f0000, 0x3e0, 0x1f}).IsTaken());
  EXPECT_FALSE(Masked(16, {0x18000, 0x3e0, 0x1f}).IsTaken());
}

TEST(BmpReader, RefusesMasksThatTheFileLacks) {
  Bmp bmp = Masked(32, {0xff, 0xff00});
  bmp.pixels.clear();
  EXPECT_FALSE(bmp.IsTaken());
}

TEST(BmpReader, RunLengthsGiveTheirPixels) {
  EXPECT_EQ(RunLength({3, 0, 0, 0, 3, 1, 0, 1}).Colours(), (Colours{R, R, R, B, B, B}));
  EXPECT_EQ(RunLength({0, 3, 0, 1, 0, 77, 0, 0, 1, 1, 2, 0, 0, 1}).Colours(),
            (Colours{R, B, B, B, R, B}));
  EXPECT_EQ(RunLength4({3, 0x01, 0, 0, 0, 3, 0x10, 0x10, 0, 1}).Colours(),
            (Colours{R, B, R, B, R, B}));
}

TEST(BmpReader, PixelsWithoutARunHaveTheFirstColour) {
  EXPECT_EQ(RunLength({0, 1}).Colours(), (Colours{B, B, B, B, B, B}));
  EXPECT_EQ(RunLength({0, 2, 1, 1, 1, 1, 0, 1}).Colours(), (Colours{B, R, B, B, B, B}));
}

TEST(BmpReader, ARunBeyondItsRowIsCut) {
  EXPECT_EQ(RunLength({255, 1, 0, 0, 1, 0, 0, 1}).Colours(), (Colours{B, B, B, R, R, R}));
  EXPECT_EQ(RunLength({0, 5, 1, 1, 1, 0, 0, 77, 0, 0, 0, 1}).Colours(),
            (Colours{B, B, B, R, R, R}));
}

TEST(BmpReader, RefusesRunsAboveThePicture) {
  EXPECT_FALSE(RunLength({0, 0, 0, 0, 1, 1, 0, 1}).IsTaken());
  EXPECT_FALSE(RunLength({0, 0, 0, 0, 0, 3, 1, 1, 1, 0, 0, 1}).IsTaken());
}

TEST(BmpReader, RefusesJumpsOutOfThePicture) {
  EXPECT_TRUE(RunLength({0, 2, 3, 1, 0, 1}).IsTaken());
  EXPECT_FALSE(RunLength({0, 2, 4, 0, 0, 1}).IsTaken());
  EXPECT_FALSE(RunLength({0, 2, 0, 2, 0, 1}).IsTaken());
  EXPECT_FALSE(RunLength({0, 2, 255, 255, 0, 2, 255, 255, 0, 1}).IsTaken());
}

TEST(BmpReader, RefusesRunLengthsWithoutAnEnd) {
  EXPECT_FALSE(RunLength({}).IsTaken());
  EXPECT_FALSE(RunLength({3, 0, 0, 0, 3, 0, 0, 0}).IsTaken());
  EXPECT_FALSE(RunLength({3}).IsTaken());
  EXPECT_FALSE(RunLength({0, 5, 1, 1}).IsTaken());
  EXPECT_FALSE(RunLength({0, 2, 1}).IsTaken());
}

}  // namespace

#include "support/TestPictures.h"

#include "support/PixelHelpers.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace support;

namespace {

std::uint32_t U32At(const Bytes& bytes, std::size_t at) {
  std::uint32_t value;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

// The system's own reader is the judge.
Pixels LoadThroughGdi(const Bytes& bmp) {
  const auto* info = reinterpret_cast<const BITMAPINFO*>(bmp.data() + 14);
  const Canvas canvas(info->bmiHeader.biWidth, info->bmiHeader.biHeight);
  StretchDIBits(canvas.Dc(), 0, 0, info->bmiHeader.biWidth, info->bmiHeader.biHeight, 0, 0,
                info->bmiHeader.biWidth, info->bmiHeader.biHeight, bmp.data() + U32At(bmp, 10),
                info, DIB_RGB_COLORS, SRCCOPY);
  return canvas.Read();
}

TEST(TestPictures, TheHeaderTellsTheFilesLength) {
  for (const int width : {1, 2, 3, 4, 5}) {
    const Bytes bmp = MakeBmp(width, 3, Gradient());
    EXPECT_EQ(U32At(bmp, 2), bmp.size()) << width;
    EXPECT_EQ((bmp.size() - U32At(bmp, 10)) % 12, 0u) << width;
  }
}

TEST(TestPictures, EveryPixelIsThePatternsForEveryRowPadding) {
  for (const int width : {1, 2, 3, 4, 5, 17})
    for (const int bits : {24, 32}) {
      const Pixels seen = LoadThroughGdi(MakeBmp(width, 7, Gradient(), bits));
      EXPECT_TRUE(PixelsNear(seen, Render(width, 7, Gradient()))) << width << " px, " << bits;
    }
}

TEST(TestPictures, GradientRunsFromCornerToCorner) {
  const Pixels picture = Render(100, 50, Gradient());
  EXPECT_EQ(picture.At(0, 0), 0x000000u);
  EXPECT_EQ(picture.At(99, 0), 0xFF003Fu);
  EXPECT_EQ(picture.At(0, 49), 0x00FF3Fu);
  EXPECT_EQ(picture.At(99, 49), 0xFFFF7Fu);
}

TEST(TestPictures, QuadrantsMeetInTheMiddle) {
  const Pixels picture = Render(5, 4, Quadrants(1, 2, 3, 4));
  EXPECT_EQ(picture.At(1, 1), 1u);
  EXPECT_EQ(picture.At(2, 1), 2u);
  EXPECT_EQ(picture.At(1, 2), 3u);
  EXPECT_EQ(picture.At(2, 2), 4u);
}

TEST(TestPictures, CheckersAlternateBothWays) {
  const Pixels picture = Render(4, 4, Checkers(2, 0xAAAAAA, 0x555555));
  EXPECT_EQ(picture.At(1, 1), 0xAAAAAAu);
  EXPECT_EQ(picture.At(2, 1), 0x555555u);
  EXPECT_EQ(picture.At(1, 2), 0x555555u);
  EXPECT_EQ(picture.At(2, 2), 0xAAAAAAu);
}

}  // namespace

#include "support/PixelHelpers.h"

#include "support/GdiGauge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

using namespace support;

namespace {

TEST(PixelHelpers, ACanvasShowsWhatIsDrawnIntoIt) {
  const Canvas canvas(6, 4, 0x102030);
  const RECT part{1, 2, 3, 4};
  const HBRUSH red = CreateSolidBrush(RGB(0xFF, 0x40, 0x20));
  FillRect(canvas.Dc(), &part, red);
  DeleteObject(red);
  const Pixels seen = canvas.Read();
  EXPECT_EQ(seen.At(0, 0), 0x102030u);
  EXPECT_EQ(seen.At(1, 2), 0xFF4020u);
  EXPECT_EQ(seen.At(2, 3), 0xFF4020u);
  EXPECT_EQ(seen.At(3, 3), 0x102030u);
}

TEST(PixelHelpers, ReadsARectangleOfAContext) {
  const Canvas canvas(6, 4, 0x000001);
  SetPixel(canvas.Dc(), 4, 3, RGB(1, 2, 3));
  const Pixels seen = ReadDc(canvas.Dc(), 3, 2, 3, 2);
  EXPECT_EQ(seen.width, 3);
  EXPECT_EQ(seen.height, 2);
  EXPECT_EQ(seen.At(1, 1), 0x010203u);
  EXPECT_EQ(seen.At(0, 0), 0x000001u);
}

TEST(PixelHelpers, ReadsABitmapFromTheTop) {
  const std::uint32_t bits[4] = {0x111111, 0x222222, 0x333333, 0x444444};
  const HBITMAP bitmap = CreateBitmap(2, 2, 1, 32, bits);
  const Pixels seen = ReadBitmap(bitmap);
  DeleteObject(bitmap);
  EXPECT_EQ(seen.At(0, 0), 0x111111u);
  EXPECT_EQ(seen.At(1, 0), 0x222222u);
  EXPECT_EQ(seen.At(0, 1), 0x333333u);
}

TEST(PixelHelpers, ReadsRowsWithAStrideAndDropsTheFourthByte) {
  const std::uint32_t rows[] = {0xFF000001, 0xFF000002, 0xDEAD, 0xFF000003, 0xFF000004, 0xDEAD};
  const Pixels seen = ReadBgrx(rows, 2, 2, 12);
  EXPECT_EQ(seen.At(1, 0), 2u);
  EXPECT_EQ(seen.At(0, 1), 3u);
}

TEST(PixelHelpers, NearnessLooksAtEachChannel) {
  const Pixels a(3, 2, 0x808080);
  Pixels b = a;
  b.Set(2, 1, 0x808380);
  EXPECT_TRUE(PixelsNear(a, a));
  EXPECT_FALSE(PixelsNear(b, a, 2));
  EXPECT_TRUE(PixelsNear(b, a, 3));
  EXPECT_FALSE(PixelsNear(a, Pixels(2, 3, 0x808080), 255));
  EXPECT_NE(std::string(PixelsNear(b, a).message()).find("(2, 1)"), std::string::npos);
}

TEST(PixelHelpers, MeanErrorAveragesOverAllChannels) {
  const Pixels a(2, 1, 0x000000);
  Pixels b = a;
  b.Set(0, 0, 0x000600);
  EXPECT_DOUBLE_EQ(MeanError(a, b), 1.0);
  EXPECT_DOUBLE_EQ(MeanError(a, a), 0.0);
  EXPECT_TRUE(std::isinf(MeanError(a, Pixels(1, 1))));
}

TEST(PixelHelpers, ColourDistanceIsThatOfTheWorstChannel) {
  EXPECT_EQ(ColourDistance(0x102030, 0x0F2533), 5);
  EXPECT_EQ(ColourDistance(0xFF000000, 0x00000000), 0);
}

TEST(PixelHelpers, CutsARectangle) {
  const Pixels whole = Render(10, 10, Gradient());
  EXPECT_EQ(whole.Cut(2, 3, 4, 5).At(1, 1), whole.At(3, 4));
  EXPECT_THROW(whole.Cut(8, 8, 4, 4), std::out_of_range);
  EXPECT_THROW(whole.At(10, 0), std::out_of_range);
}

TEST(PixelHelpers, ReadingLeavesNoObjectsBehind) {
  const Canvas canvas(8, 8);
  ReadDc(canvas.Dc(), 0, 0, 8, 8);
  const GdiGauge gauge;
  for (int n = 0; n < 20; ++n) ReadDc(canvas.Dc(), 0, 0, 8, 8);
  EXPECT_EQ(gauge.Leaked(), 0);
}

}  // namespace

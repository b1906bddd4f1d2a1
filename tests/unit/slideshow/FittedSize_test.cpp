#include "slideshow/FittedSize.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

void ExpectSize(PixelSize actual, std::int32_t width, std::int32_t height) {
  EXPECT_EQ(actual.width, width);
  EXPECT_EQ(actual.height, height);
}

TEST(FittedSize, APictureOfTheScreensAspectFillsItExactly) {
  ExpectSize(FitWhole(1024, 768, 1024, 768), 1024, 768);
  ExpectSize(FitWhole(2048, 1536, 1024, 768), 1024, 768);
  ExpectSize(FitWhole(4, 3, 1024, 768), 1024, 768);
  // By its height it would be 810 wide: the aspect is rounded down.
  ExpectSize(FitWhole(811, 400, 811, 400), 811, 400);
}

TEST(FittedSize, AWiderPictureTakesTheFullWidth) {
  ExpectSize(FitWhole(3000, 2000, 1024, 768), 1024, 682);
  ExpectSize(FitWhole(200, 100, 1280, 1024), 1280, 640);
}

TEST(FittedSize, ANarrowerPictureTakesTheFullHeight) {
  ExpectSize(FitWhole(2000, 3000, 1024, 768), 512, 768);
  ExpectSize(FitWhole(100, 100, 1280, 1024), 1024, 1024);
}

TEST(FittedSize, ASmallPictureIsEnlarged) {
  ExpectSize(FitWhole(1, 1, 1024, 768), 768, 768);
  ExpectSize(FitWhole(2, 1, 1024, 768), 1024, 512);
}

TEST(FittedSize, FractionsAreCutOff) {
  ExpectSize(FitWhole(3, 2, 100, 100), 100, 66);  // 66.67
  ExpectSize(FitWhole(2, 3, 100, 100), 66, 100);
}

TEST(FittedSize, AThreadStillShows) {
  ExpectSize(FitWhole(100000, 1, 1024, 768), 1024, 1);
  ExpectSize(FitWhole(1, 100000, 1024, 768), 1, 768);
}

TEST(FittedSize, APictureWithoutASizeFillsTheScreen) {
  ExpectSize(FitWhole(0, 100, 1024, 768), 1024, 768);
  ExpectSize(FitWhole(100, 0, 1024, 768), 1024, 768);
  ExpectSize(FitWhole(0, 0, 1024, 768), 1024, 768);
}

TEST(FittedSize, NeverExceedsTheScreenAndTouchesTwoOfItsSides) {
  const std::uint32_t sides[] = {1, 2, 3, 7, 100, 641, 1000, 4999, 32767, 0xFFFFFFFF};
  const PixelSize screens[] = {{1, 1}, {1, 768}, {1024, 1}, {640, 480}, {1366, 768}, {7680, 4320}};
  for (const PixelSize& screen : screens)
    for (const std::uint32_t width : sides)
      for (const std::uint32_t height : sides) {
        const PixelSize size = FitWhole(width, height, screen.width, screen.height);
        EXPECT_GE(size.width, 1);
        EXPECT_GE(size.height, 1);
        EXPECT_LE(size.width, screen.width);
        EXPECT_LE(size.height, screen.height);
        EXPECT_TRUE(size.width == screen.width || size.height == screen.height);
      }
}

}  // namespace

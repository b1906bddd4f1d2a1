#include "slideshow/TilePlan.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int32_t kNoLimit = 32767;

TilePlan Plan(std::int32_t width, std::int32_t height, std::int32_t cramSize = kNoLimit,
              std::int32_t maxTextureSize = 256) {
  return PlanTileGrid(width, height, maxTextureSize, true, cramSize);
}

TEST(PowersOfTwo, AreToldFromEverythingElse) {
  for (std::int32_t value = -2; value <= 40000; ++value) {
    const bool expected = value > 1 && (value & (value - 1)) == 0;
    ASSERT_EQ(IsPowerOfTwo(value), expected) << value;
  }
}

TEST(PowersOfTwo, BelowIsTheFirstHalvingThatIsNotAbove) {
  EXPECT_EQ(PowerBelow(100, 256), 64);
  EXPECT_EQ(PowerBelow(128, 256), 128);
  EXPECT_EQ(PowerBelow(255, 256), 128);
  EXPECT_EQ(PowerBelow(256, 256), 256);
  EXPECT_EQ(PowerBelow(1000, 256), 256);
  EXPECT_EQ(PowerBelow(1, 256), 1);
  EXPECT_EQ(PowerBelow(0, 256), 1);
}

TEST(PowersOfTwo, AboveIsTheLastHalvingThatIsNotBelow) {
  EXPECT_EQ(PowerAbove(100, 256), 128);
  EXPECT_EQ(PowerAbove(128, 256), 128);
  EXPECT_EQ(PowerAbove(129, 256), 256);
  EXPECT_EQ(PowerAbove(256, 256), 256);
  EXPECT_EQ(PowerAbove(1000, 256), 256);
  EXPECT_EQ(PowerAbove(1, 256), 1);
  EXPECT_EQ(PowerAbove(0, 256), 1);
}

TEST(TileSides, TheSmallestRemainderWins) {
  // 3000 leaves 952, 440 and 184.
  EXPECT_EQ(ChooseTileSide(3000, 1024), 256);
  // 1100 leaves 76 at both 1024 and 512, and 76 at 256.
  EXPECT_EQ(ChooseTileSide(1100, 1024), 1024);
}

TEST(TileSides, ATieKeepsTheLargerTile) { EXPECT_EQ(ChooseTileSide(2048, 1024), 1024); }

TEST(TileSides, NoTileIsSmallerThan256UnlessTheCardAsksForIt) {
  EXPECT_EQ(ChooseTileSide(640, 1024), 512);  // 128 would leave nothing
  EXPECT_EQ(ChooseTileSide(640, 256), 256);
  EXPECT_EQ(ChooseTileSide(640, 128), 128);
  EXPECT_EQ(ChooseTileSide(640, 0), 1);
}

TEST(TileGrid, ALargePictureLosesItsOddEdge) {
  const TilePlan plan = Plan(3000, 2000, 4096);
  EXPECT_FALSE(plan.crammed);
  EXPECT_EQ(plan.cramWidth, 0);
  EXPECT_EQ(plan.cramHeight, 0);
  EXPECT_TRUE(plan.needsResize);
  EXPECT_EQ(plan.fitWidth, 2816);
  EXPECT_EQ(plan.fitHeight, 1792);
  EXPECT_EQ(plan.columns, 11);
  EXPECT_EQ(plan.rows, 7);
}

TEST(TileGrid, APictureThatDividesIsNotResized) {
  const TilePlan plan = Plan(512, 256);
  EXPECT_FALSE(plan.needsResize);
  EXPECT_EQ(plan.columns, 2);
  EXPECT_EQ(plan.rows, 1);
}

TEST(TileGrid, TheLimitReplacesTheSidesWithoutAResize) {
  const TilePlan plan = Plan(3000, 2000, 1024);
  EXPECT_TRUE(plan.crammed);
  EXPECT_EQ(plan.cramWidth, 1024);
  EXPECT_EQ(plan.cramHeight, 1024);
  EXPECT_EQ(plan.columns, 4);
  EXPECT_EQ(plan.rows, 4);
  EXPECT_FALSE(plan.needsResize);
}

TEST(TileGrid, ALimitOnOneSideTakesTheOtherAsItIs) {
  const TilePlan plan = Plan(1600, 1000, 1536);
  EXPECT_TRUE(plan.crammed);
  EXPECT_EQ(plan.cramWidth, 1536);
  EXPECT_EQ(plan.cramHeight, 1000);
  EXPECT_TRUE(plan.needsResize);
  EXPECT_EQ(plan.fitWidth, 1536);
  EXPECT_EQ(plan.fitHeight, 768);
  EXPECT_EQ(plan.columns, 6);
  EXPECT_EQ(plan.rows, 3);
}

TEST(TileGrid, ASideOfExactlyTheLimitIsNotOverIt) {
  EXPECT_FALSE(Plan(1536, 1536, 1536).crammed);
  EXPECT_TRUE(Plan(1536, 1537, 1536).crammed);
}

TEST(TileGrid, WithoutTheLimitNothingIsCrammed) {
  const TilePlan plan = PlanTileGrid(3000, 2000, 256, false, 512);
  EXPECT_FALSE(plan.crammed);
  EXPECT_EQ(plan.columns, 11);
}

TEST(TileGrid, ALimitThatIsNoSizeIsNone) {
  for (const std::int32_t cramSize : {0, -1, -1536}) {
    const TilePlan plan = PlanTileGrid(3000, 2000, 256, true, cramSize);
    EXPECT_FALSE(plan.crammed) << cramSize;
    EXPECT_EQ(plan.columns, 11) << cramSize;
    EXPECT_EQ(plan.rows, 7) << cramSize;
    EXPECT_EQ(plan.fitWidth, 2816) << cramSize;
    EXPECT_EQ(plan.fitHeight, 1792) << cramSize;
  }
}

TEST(TileGrid, APictureSmallerThanATileGetsOne) {
  const TilePlan plan = Plan(100, 50);
  EXPECT_EQ(plan.columns, 1);
  EXPECT_EQ(plan.rows, 1);
  EXPECT_EQ(plan.fitWidth, 256);
  EXPECT_EQ(plan.fitHeight, 256);
  EXPECT_TRUE(plan.needsResize);
  const TilePlan strip = Plan(1000, 30);
  EXPECT_EQ(strip.columns, 3);
  EXPECT_EQ(strip.rows, 1);
}

TEST(SingleTexture, SidesThatFitBecomePowersOfTwo) {
  const TextureSize below = PlanSingleTexture(200, 64, 256, false);
  EXPECT_EQ(below.width, 128);
  EXPECT_EQ(below.height, 64);
  const TextureSize above = PlanSingleTexture(200, 64, 256, true);
  EXPECT_EQ(above.width, 256);
  EXPECT_EQ(above.height, 64);
}

TEST(SingleTexture, ASideOverTheLimitBecomesTheLimit) {
  const TextureSize below = PlanSingleTexture(3000, 200, 256, false);
  EXPECT_EQ(below.width, 256);
  EXPECT_EQ(below.height, 128);
  const TextureSize above = PlanSingleTexture(200, 3000, 256, true);
  EXPECT_EQ(above.width, 256);
  EXPECT_EQ(above.height, 256);
  const TextureSize power = PlanSingleTexture(3000, 64, 256, false);
  EXPECT_EQ(power.height, 64);
}

}  // namespace

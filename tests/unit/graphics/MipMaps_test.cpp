#include "graphics/MipMaps.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

constexpr ChannelMasks k565{0xF800, 0x7E0, 0x1F};

template <class Pixel>
PixelBlock BlockOf(std::vector<Pixel>& pixels, std::uint32_t width, std::uint32_t height) {
  return {reinterpret_cast<unsigned char*>(pixels.data()),
          static_cast<std::ptrdiff_t>(pixels.size() / height * sizeof(Pixel)), width, height};
}

std::vector<std::uint32_t> Shrunk32(std::vector<std::uint32_t> source, std::uint32_t width,
                                    std::uint32_t height, std::uint32_t toWidth,
                                    std::uint32_t toHeight) {
  std::vector<std::uint32_t> target(toWidth * toHeight);
  Shrink32(BlockOf(source, width, height), BlockOf(target, toWidth, toHeight));
  return target;
}

TEST(MipLevels, OnePixelHasOneLevel) { EXPECT_EQ(LimitMipLevels(1, 1, 4), 1u); }

TEST(MipLevels, FourFitIntoTwoTilesSide) { EXPECT_EQ(LimitMipLevels(256, 128, 4), 4u); }

TEST(MipLevels, FourPixelsHaveThreeLevels) { EXPECT_EQ(LimitMipLevels(4, 4, 4), 3u); }

TEST(MipLevels, TheSmallerSideDecides) {
  EXPECT_EQ(LimitMipLevels(4, 256, 4), 3u);
  EXPECT_EQ(LimitMipLevels(256, 4, 4), 3u);
}

TEST(MipLevels, OddSidesCountTheirHalvings) {
  EXPECT_EQ(LimitMipLevels(7, 7, 4), 3u);    // 7, 3, 1
  EXPECT_EQ(LimitMipLevels(15, 100, 4), 4u); // 15, 7, 3, 1
  EXPECT_EQ(LimitMipLevels(16, 16, 4), 4u);  // the last level has two pixels
}

TEST(MipLevels, LessThanOneCountsAsOne) {
  EXPECT_EQ(LimitMipLevels(256, 256, 0), 1u);
  EXPECT_EQ(LimitMipLevels(256, 256, -3), 1u);
}

TEST(MipLevels, AbsurdNumbersGiveTheWholeChain) {
  EXPECT_EQ(LimitMipLevels(256, 256, 33), 9u);
  EXPECT_EQ(LimitMipLevels(256, 256, 2'000'000'000), 9u);
  EXPECT_EQ(LimitMipLevels(0, 0, 4), 1u);
}

TEST(Shrink32, EachByteIsTheMeanOfFourRoundedDown) {
  EXPECT_EQ(Shrunk32({0x00000000, 0x01020304, 0xFF00FF00, 0xFFFFFFFF}, 2, 2, 1, 1),
            (std::vector<std::uint32_t>{0x7F408040}));
}

TEST(Shrink32, ChannelsDoNotSpillIntoEachOther) {
  EXPECT_EQ(Shrunk32({0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFE}, 2, 2, 1, 1),
            (std::vector<std::uint32_t>{0xFFFFFFFE}));
  EXPECT_EQ(Shrunk32({0x00FF00FF, 0x00FF00FF, 0x00FF00FF, 0x00FF00FF}, 2, 2, 1, 1),
            (std::vector<std::uint32_t>{0x00FF00FF}));
}

TEST(Shrink32, EveryBlockGoesToItsPixel) {
  EXPECT_EQ(Shrunk32({4, 4, 8, 8,      //
                      4, 4, 8, 8,      //
                      12, 12, 16, 16,  //
                      12, 12, 16, 16},
                     4, 4, 2, 2),
            (std::vector<std::uint32_t>{4, 8, 12, 16}));
}

TEST(Shrink32, AnOddLastColumnAndRowFallAway) {
  EXPECT_EQ(Shrunk32({4, 4, 99, 4, 4, 99, 99, 99, 99}, 3, 3, 1, 1),
            (std::vector<std::uint32_t>{4}));
}

TEST(Shrink32, AThinSourceRepeatsItsLastColumn) {
  EXPECT_EQ(Shrunk32({4, 8, 12, 16}, 1, 4, 1, 2), (std::vector<std::uint32_t>{6, 14}));
}

TEST(Shrink32, RowsKeepThePitchsDistance) {
  std::vector<std::uint32_t> source{4, 4, 777, 8, 8, 777};  // 2 by 2 in rows of three
  std::vector<std::uint32_t> target{0, 555};
  PixelBlock from = BlockOf(source, 2, 2);
  PixelBlock to{reinterpret_cast<unsigned char*>(target.data()), 8, 1, 1};
  Shrink32(from, to);
  EXPECT_EQ(target, (std::vector<std::uint32_t>{6, 555}));
}

TEST(Shrink16, EachChannelIsAveragedThroughItsMask) {
  std::vector<std::uint16_t> source{0xF800, 0x07E0, 0x001F, 0xFFFF};
  std::vector<std::uint16_t> target(1);
  Shrink16(BlockOf(source, 2, 2), BlockOf(target, 1, 1), k565);
  // Each channel: two of four at full strength. 31 * 2 / 4 = 15, 63 * 2 / 4 = 31.
  EXPECT_EQ(target[0], 15u << 11 | 31u << 5 | 15u);
}

TEST(Shrink16, OtherMasksAreRespected) {
  std::vector<std::uint16_t> source{0x7C00, 0x7C00, 0x03E0, 0x03E0};
  std::vector<std::uint16_t> target(1);
  Shrink16(BlockOf(source, 2, 2), BlockOf(target, 1, 1), {0x7C00, 0x3E0, 0x1F});
  EXPECT_EQ(target[0], 15u << 10 | 15u << 5);
}

TEST(Shrink16, LowBitsOfOneChannelDoNotReachTheNext) {
  std::vector<std::uint16_t> source{0x0800, 0x0800, 0x0800, 0x0000};  // red 1, 1, 1, 0
  std::vector<std::uint16_t> target(1);
  Shrink16(BlockOf(source, 2, 2), BlockOf(target, 1, 1), k565);
  EXPECT_EQ(target[0], 0);
}

}  // namespace

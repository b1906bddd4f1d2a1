// Which z-buffer formats are taken; no device is needed to tell.

#include "graphics/cGraphicsLayer.h"
#include "unit/graphics/ZFormat.h"

#include <gtest/gtest.h>

namespace {

using graphics_test::ZFormat;

TEST(ZFormats, DepthIsFifteenBitsAtLeast) {
  EXPECT_TRUE(ZFormatFits(ZFormat(16), cGraphicsLayer::kZBuffer));
  EXPECT_TRUE(ZFormatFits(ZFormat(15), cGraphicsLayer::kZBuffer));
  EXPECT_FALSE(ZFormatFits(ZFormat(14), cGraphicsLayer::kZBuffer));
}

TEST(ZFormats, DeepDepthIsTwentyFourBitsAtLeast) {
  EXPECT_TRUE(ZFormatFits(ZFormat(24), cGraphicsLayer::kDeepZBuffer));
  EXPECT_FALSE(ZFormatFits(ZFormat(16), cGraphicsLayer::kDeepZBuffer));
  EXPECT_TRUE(ZFormatFits(ZFormat(32, 8), cGraphicsLayer::kDeepZBuffer));
}

TEST(ZFormats, AStencilIsThereIfAskedFor) {
  const std::uint32_t flags = cGraphicsLayer::kZBuffer | cGraphicsLayer::kStencil;
  EXPECT_FALSE(ZFormatFits(ZFormat(24), flags));
  EXPECT_TRUE(ZFormatFits(ZFormat(16, 1), flags));
  EXPECT_FALSE(
      ZFormatFits(ZFormat(16, 1), cGraphicsLayer::kZBuffer | cGraphicsLayer::kDeepStencil));
  EXPECT_TRUE(ZFormatFits(ZFormat(32, 8), cGraphicsLayer::kZBuffer | cGraphicsLayer::kDeepStencil));
}

TEST(ZFormats, DepthCountsWithoutTheStencilIfOneIsAskedFor) {
  const std::uint32_t flags = cGraphicsLayer::kDeepZBuffer | cGraphicsLayer::kDeepStencil;
  EXPECT_TRUE(ZFormatFits(ZFormat(32, 8), flags));
  EXPECT_FALSE(ZFormatFits(ZFormat(24, 8), flags));
  EXPECT_FALSE(ZFormatFits(ZFormat(4, 8), flags));
  EXPECT_TRUE(ZFormatFits(ZFormat(24, 8), cGraphicsLayer::kDeepZBuffer));
}

}  // namespace

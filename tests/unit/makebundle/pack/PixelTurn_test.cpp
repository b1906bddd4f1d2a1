#include "makebundle/pack/PixelTurn.h"

#include <gtest/gtest.h>

#include <array>

namespace {

// Stored as   1 2 3      The first of the orientation's two words says which
//             4 5 6      edge of the picture the stored top row is, the second
// in every case.         which the stored left column is.
constexpr std::array<std::uint32_t, 6> kStored{1, 2, 3, 4, 5, 6};

struct Expectation {
  int orientation;
  std::uint32_t width, height;
  std::vector<std::uint32_t> upright;
};
const Expectation kExpectations[] = {
    {1, 3, 2, {1, 2, 3, 4, 5, 6}},  // top, left
    {2, 3, 2, {3, 2, 1, 6, 5, 4}},  // top, right
    {3, 3, 2, {6, 5, 4, 3, 2, 1}},  // bottom, right
    {4, 3, 2, {4, 5, 6, 1, 2, 3}},  // bottom, left
    {5, 2, 3, {1, 4, 2, 5, 3, 6}},  // left, top
    {6, 2, 3, {4, 1, 5, 2, 6, 3}},  // right, top
    {7, 2, 3, {6, 3, 5, 2, 4, 1}},  // right, bottom
    {8, 2, 3, {3, 6, 2, 5, 1, 4}},  // left, bottom
};

TEST(PixelTurn, EachOrientationComesOutUpright) {
  for (const Expectation& expected : kExpectations) {
    const Pixels upright = TurnedUpright(kStored.data(), 3, 2, expected.orientation);
    EXPECT_EQ(upright.width, expected.width) << expected.orientation;
    EXPECT_EQ(upright.height, expected.height) << expected.orientation;
    EXPECT_EQ(upright.values, expected.upright) << expected.orientation;
  }
}

}  // namespace

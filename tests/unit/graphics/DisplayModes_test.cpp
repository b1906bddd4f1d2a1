#include "graphics/DisplayModes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> LabelsOf(DisplayModeList& list) {
  std::vector<std::string> labels;
  if (list.modes.First()) {
    do labels.push_back(list.modes.Current()->label.str());
    while (list.modes.Next());
  }
  return labels;
}

// As the configuration dialog sets the filters.
void SetDialogFilters(DisplayModeList& list) {
  list.minWidth = 640;
  list.minHeight = 480;
  list.minDepth = 16;
  list.excludedDepth = 24;
}

TEST(DisplayModes, WithoutFiltersEveryModeIsKeptInItsOrder) {
  DisplayModeList list;
  list.Consider(320, 200, 8);
  list.Consider(640, 480, 24);
  list.Consider(1, 1, 1);
  EXPECT_THAT(LabelsOf(list), ElementsAre("320x200x8", "640x480x24", "1x1x1"));
}

TEST(DisplayModes, AModeKeepsItsNumbersBesideItsLabel) {
  DisplayModeList list;
  list.Consider(800, 600, 32);
  ASSERT_TRUE(list.modes.First());
  EXPECT_EQ(list.modes.Current()->width, 800u);
  EXPECT_EQ(list.modes.Current()->height, 600u);
  EXPECT_EQ(list.modes.Current()->depth, 32u);
}

TEST(DisplayModes, TheDialogKeeps640By480At16Bits) {
  DisplayModeList list;
  SetDialogFilters(list);
  list.Consider(640, 480, 16);
  list.Consider(1024, 768, 32);
  EXPECT_THAT(LabelsOf(list), ElementsAre("640x480x16", "1024x768x32"));
}

TEST(DisplayModes, TheDialogNeverKeeps24Bits) {
  DisplayModeList list;
  SetDialogFilters(list);
  list.Consider(640, 480, 24);
  list.Consider(1024, 768, 24);
  EXPECT_THAT(LabelsOf(list), IsEmpty());
}

TEST(DisplayModes, ASmallerModeIsSkipped) {
  DisplayModeList list;
  SetDialogFilters(list);
  list.Consider(639, 480, 16);
  list.Consider(640, 479, 16);
  list.Consider(640, 480, 15);
  list.Consider(640, 480, 8);
  EXPECT_THAT(LabelsOf(list), IsEmpty());
}

TEST(DisplayModes, EachFilterCanBeTurnedOffByItself) {
  DisplayModeList list;
  SetDialogFilters(list);
  list.minWidth = -1;
  list.Consider(1, 480, 16);
  list.minHeight = -5;
  list.Consider(1, 1, 16);
  list.minDepth = -1;
  list.Consider(1, 1, 1);
  list.excludedDepth = -1;
  list.Consider(640, 480, 24);
  EXPECT_THAT(LabelsOf(list), ElementsAre("1x480x16", "1x1x16", "1x1x1", "640x480x24"));
}

TEST(DisplayModes, AFilterOfZeroFiltersNothingBelowIt) {
  DisplayModeList list;
  list.minWidth = list.minHeight = list.minDepth = 0;
  list.excludedDepth = 0;
  list.Consider(0, 0, 0);
  list.Consider(0, 0, 1);
  EXPECT_THAT(LabelsOf(list), ElementsAre("0x0x1"));
}

TEST(DisplayModes, SortGoesByDepthThenWidthThenHeight) {
  DisplayModeList list;
  list.Consider(1024, 768, 32);
  list.Consider(800, 600, 16);
  list.Consider(640, 480, 32);
  list.Consider(800, 500, 16);
  list.Consider(1280, 1024, 16);
  list.Consider(640, 400, 32);
  list.Sort();
  EXPECT_THAT(LabelsOf(list), ElementsAre("800x500x16", "800x600x16", "1280x1024x16", "640x400x32",
                                          "640x480x32", "1024x768x32"));
}

TEST(DisplayModes, WhereTwoDepthsMeetAtOneWidthTheHeightDecides) {
  DisplayModeList list;
  list.Consider(640, 480, 16);
  list.Consider(800, 600, 16);
  list.Consider(800, 500, 32);
  list.Consider(1024, 768, 32);
  list.Sort();
  EXPECT_THAT(LabelsOf(list),
              ElementsAre("640x480x16", "800x500x32", "800x600x16", "1024x768x32"));
}

TEST(DisplayModes, EqualModesStay) {
  DisplayModeList list;
  list.Consider(640, 480, 16);
  list.Consider(640, 480, 16);
  list.Sort();
  EXPECT_EQ(list.modes.Count(), 2);
}

TEST(DisplayModes, AnEmptyListSorts) {
  DisplayModeList list;
  list.Sort();
  EXPECT_THAT(LabelsOf(list), IsEmpty());
}

// --- The card's own modes ---

HRESULT WINAPI AddLabel(DDSURFACEDESC2* mode, void* labels) {
  static_cast<std::vector<std::string>*>(labels)->push_back(
      std::to_string(mode->dwWidth) + "x" + std::to_string(mode->dwHeight) + "x" +
      std::to_string(mode->ddpfPixelFormat.dwRGBBitCount));
  return DDENUMRET_OK;
}

class CardModes : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(DirectDrawCreateEx(nullptr, reinterpret_cast<void**>(&directDraw), IID_IDirectDraw7,
                                 nullptr),
              DD_OK);
  }
  void TearDown() override {
    if (!directDraw) return;
    EXPECT_EQ(directDraw->Release(), 0u);
  }

  IDirectDraw7* directDraw = nullptr;
};

TEST_F(CardModes, AreAllCollected) {
  std::vector<std::string> expected;
  directDraw->EnumDisplayModes(0, nullptr, &expected, AddLabel);
  ASSERT_FALSE(expected.empty());

  DisplayModeList list;
  EXPECT_EQ(list.Collect(directDraw), DD_OK);
  EXPECT_EQ(LabelsOf(list), expected);
}

TEST_F(CardModes, GoThroughTheFilters) {
  DisplayModeList list;
  SetDialogFilters(list);
  list.Collect(directDraw);
  ASSERT_TRUE(list.modes.First());
  do {
    EXPECT_GE(list.modes.Current()->width, 640u);
    EXPECT_GE(list.modes.Current()->height, 480u);
    EXPECT_GE(list.modes.Current()->depth, 16u);
    EXPECT_NE(list.modes.Current()->depth, 24u);
  } while (list.modes.Next());
}

}  // namespace

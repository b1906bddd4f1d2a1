#include "slideshow/CSlideImage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

constexpr float kTop43 = 0.75f;  // of a 4:3 screen

struct Box {
  float left, bottom, right, top;
  float Width() const { return right - left; }
  float Height() const { return top - bottom; }
};

Box BoxOf(const CSlideImage& slide) {
  const Vertex_xyz& first = slide.vertices[0];
  const Vertex_xyz& last = slide.vertices[static_cast<std::size_t>(slide.vertexCount - 1)];
  return {first.x, first.y, last.x, last.y};
}

SlideMotion Motion43(bool animate = true) {
  SlideMotion motion;
  motion.animate = animate;
  motion.topEdge = kTop43;
  motion.bottomEdge = -kTop43;
  motion.imageDelay = 10000;
  motion.transitionTime = 4000;
  motion.zoomRate = 0.00024f;
  return motion;
}

void SetUpSlide(CSlideImage& slide, std::uint32_t width, std::uint32_t height, int columns = 1,
                int rows = 1) {
  slide.Setup(width, height, false, false);
  slide.MakeTiles(columns, rows);
}

// --- Vertices ---

TEST(Vertex, ScalesAndSubtractsByComponent) {
  Vertex_xyz vertex{1, -2, 3};
  vertex.Scale(2);
  EXPECT_EQ(vertex.x, 2);
  EXPECT_EQ(vertex.y, -4);
  EXPECT_EQ(vertex.z, 6);
  vertex.Subtract({1, 1, 1});
  EXPECT_EQ(vertex.x, 1);
  EXPECT_EQ(vertex.y, -5);
  EXPECT_EQ(vertex.z, 5);
}

// --- Proportions ---

TEST(SlideProportions, TheLongerSideIsOne) {
  CSlideImage wide, tall, square;
  wide.Setup(2000, 1000, false, false);
  EXPECT_EQ(wide.scaleX, 1.0f);
  EXPECT_EQ(wide.scaleY, 0.5f);
  tall.Setup(750, 1000, false, false);
  EXPECT_EQ(tall.scaleX, 0.75f);
  EXPECT_EQ(tall.scaleY, 1.0f);
  square.Setup(640, 640, false, false);
  EXPECT_EQ(square.scaleX, 1.0f);
  EXPECT_EQ(square.scaleY, 1.0f);
}

TEST(SlideProportions, ASizeThatIsNoneCountsAsSquare) {
  for (const auto& [width, height] : {std::pair{0u, 5u}, std::pair{5u, 0u}, std::pair{0u, 0u}}) {
    CSlideImage slide;
    slide.Setup(width, height, false, false);
    EXPECT_EQ(slide.scaleX, 1.0f);
    EXPECT_EQ(slide.scaleY, 1.0f);
  }
}

TEST(SlideProportions, SetupKeepsTheFlags) {
  CSlideImage slide;
  slide.Setup(1, 1, true, false);
  EXPECT_TRUE(slide.focusXOnly);
  EXPECT_FALSE(slide.focusYOnly);
  slide.Setup(1, 1, false, true);
  EXPECT_FALSE(slide.focusXOnly);
  EXPECT_TRUE(slide.focusYOnly);
}

// --- Tiles ---

TEST(SlideTiles, DoneCountsUpToAll) {
  CSlideImage slide;
  slide.MakeTiles(3, 2);
  EXPECT_EQ(slide.TileCount(), 6);
  EXPECT_FALSE(slide.AllDone());
  slide.AddDone(5);
  EXPECT_EQ(slide.GetDone(), 5);
  EXPECT_FALSE(slide.AllDone());
  slide.AddDone(1);
  EXPECT_TRUE(slide.AllDone());
}

TEST(SlideTiles, ATileHasItsTextureCornersAndIndices) {
  const SlideTile tile;
  const float expected[4][2] = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
  for (int corner = 0; corner < 4; ++corner) {
    EXPECT_EQ(tile.corners[corner].u, expected[corner][0]);
    EXPECT_EQ(tile.corners[corner].v, expected[corner][1]);
  }
  const std::uint16_t indices[6] = {0, 1, 2, 0, 2, 3};
  EXPECT_TRUE(std::equal(std::begin(indices), std::end(indices), std::begin(tile.indices)));
  EXPECT_EQ(tile.texture, nullptr);
}

// --- Mesh ---

TEST(SlideMesh, ASquarePictureIsAsWideAsItsSize) {
  CSlideImage slide;
  SetUpSlide(slide, 500, 500);
  slide.size = 1.5f;
  slide.Build();
  EXPECT_FLOAT_EQ(BoxOf(slide).Width(), 1.5f);
  EXPECT_FLOAT_EQ(BoxOf(slide).Height(), 1.5f);
}

TEST(SlideMesh, TheSizeIsTheShorterSide) {
  CSlideImage wide, tall;
  SetUpSlide(wide, 2000, 1000);
  wide.size = 1.5f;
  wide.Build();
  EXPECT_FLOAT_EQ(BoxOf(wide).Width(), 3.0f);
  EXPECT_FLOAT_EQ(BoxOf(wide).Height(), 1.5f);
  SetUpSlide(tall, 1000, 2000);
  tall.size = 1.5f;
  tall.Build();
  EXPECT_FLOAT_EQ(BoxOf(tall).Width(), 1.5f);
  EXPECT_FLOAT_EQ(BoxOf(tall).Height(), 3.0f);
}

TEST(SlideMesh, IsCentredWhereverTheFocusIs) {
  CSlideImage slide;
  SetUpSlide(slide, 1600, 1000, 4, 3);
  slide.size = 1.5f;
  slide.focus = {0.7f, -0.3f, 0};
  slide.Build();
  const Box box = BoxOf(slide);
  EXPECT_FLOAT_EQ(box.left, -box.right);
  EXPECT_FLOAT_EQ(box.bottom, -box.top);
}

TEST(SlideMesh, VerticesRunFromTheBottomLeftRowByRow) {
  CSlideImage slide;
  SetUpSlide(slide, 300, 200, 3, 2);
  slide.size = 2.0f;
  slide.Build();
  EXPECT_EQ(slide.vertexCount, 12);
  for (int row = 0; row <= 2; ++row) {
    for (int column = 0; column <= 3; ++column) {
      const Vertex_xyz& vertex = slide.vertices[static_cast<std::size_t>(4 * row + column)];
      EXPECT_FLOAT_EQ(vertex.x, static_cast<float>(column) - 1.5f);
      EXPECT_FLOAT_EQ(vertex.y, static_cast<float>(row) - 1.0f);
      EXPECT_EQ(vertex.z, 0.0f);
    }
  }
}

TEST(SlideMesh, DirectionsPointFromTheFocusToTheStart) {
  CSlideImage slide;
  SetUpSlide(slide, 300, 200, 3, 2);
  slide.size = 2.0f;
  slide.focus = {0.5f, 0.25f, 0};
  slide.Build();
  for (std::size_t n = 0; n < 12; ++n) {
    EXPECT_EQ(slide.directions[n].x, slide.vertices[n].x - 0.5f);
    EXPECT_EQ(slide.directions[n].y, slide.vertices[n].y - 0.25f);
    EXPECT_EQ(slide.directions[n].z, 0.0f);
  }
}

TEST(SlideMesh, TileZeroIsAtTheBottomLeft) {
  CSlideImage slide;
  SetUpSlide(slide, 300, 200, 3, 2);
  slide.size = 2.0f;
  slide.Build();
  const SlideCorner* corners = slide.tiles[0].corners;
  EXPECT_FLOAT_EQ(corners[0].x, -1.5f);  // top left
  EXPECT_FLOAT_EQ(corners[0].y, 0.0f);
  EXPECT_FLOAT_EQ(corners[1].x, -1.5f);  // bottom left
  EXPECT_FLOAT_EQ(corners[1].y, -1.0f);
  EXPECT_FLOAT_EQ(corners[2].x, -0.5f);  // bottom right
  EXPECT_FLOAT_EQ(corners[2].y, -1.0f);
  EXPECT_FLOAT_EQ(corners[3].x, -0.5f);  // top right
  EXPECT_FLOAT_EQ(corners[3].y, 0.0f);
  EXPECT_FLOAT_EQ(slide.tiles[3 * 1 + 2].corners[3].x, 1.5f);
  EXPECT_FLOAT_EQ(slide.tiles[3 * 1 + 2].corners[3].y, 1.0f);
}

// Every inner edge of the grid: both tiles have the very same corners there.
void ExpectNoGaps(const CSlideImage& slide) {
  for (int row = 0; row < slide.rows; ++row) {
    for (int column = 0; column < slide.columns; ++column) {
      const auto tile = [&](int c, int r) -> const SlideTile& {
        return slide.tiles[static_cast<std::size_t>(slide.columns * r + c)];
      };
      const SlideCorner* here = tile(column, row).corners;
      if (column + 1 < slide.columns) {
        const SlideCorner* right = tile(column + 1, row).corners;
        ASSERT_EQ(here[3].x, right[0].x);
        ASSERT_EQ(here[3].y, right[0].y);
        ASSERT_EQ(here[2].x, right[1].x);
        ASSERT_EQ(here[2].y, right[1].y);
      }
      if (row + 1 < slide.rows) {
        const SlideCorner* above = tile(column, row + 1).corners;
        ASSERT_EQ(here[0].x, above[1].x);
        ASSERT_EQ(here[0].y, above[1].y);
        ASSERT_EQ(here[3].x, above[2].x);
        ASSERT_EQ(here[3].y, above[2].y);
      }
    }
  }
}

TEST(SlideMesh, NeighbouringTilesShareTheirCornersHoweverFarTheyMove) {
  CSlideImage slide;
  SetUpSlide(slide, 2816, 1792, 11, 7);
  slide.size = 1.5f;
  slide.focus = {0.37f, -0.61f, 0};
  slide.Build();
  ExpectNoGaps(slide);
  for (int frame = 0; frame < 2000; ++frame) {
    slide.Move(MotionAmount(frame % 40, 0.00024f));
    if (frame % 100 == 0) ExpectNoGaps(slide);
  }
}

TEST(SlideMesh, BuiltAnewItStartsAnew) {
  CSlideImage slide;
  SetUpSlide(slide, 300, 200, 3, 2);
  slide.size = 2.0f;
  slide.Move(0.5f);
  slide.Build();
  EXPECT_FLOAT_EQ(BoxOf(slide).Width(), 3.0f);
}

// --- Motion ---

TEST(SlideMovement, GrowsOrShrinksAboutTheFocus) {
  for (const float sign : {1.0f, -1.0f}) {
    CSlideImage slide;
    SetUpSlide(slide, 400, 400, 2, 2);
    slide.size = 2.0f;
    slide.zoomSign = sign;
    slide.focus = {0.5f, 0.25f, 0};
    slide.Move(0.1f);
    // Each edge by a tenth of its distance from the focus.
    const Box box = BoxOf(slide);
    EXPECT_FLOAT_EQ(box.left, -1 - sign * 0.15f);
    EXPECT_FLOAT_EQ(box.right, 1 + sign * 0.05f);
    EXPECT_FLOAT_EQ(box.bottom, -1 - sign * 0.125f);
    EXPECT_FLOAT_EQ(box.top, 1 + sign * 0.075f);
  }
}

TEST(SlideMovement, TheVertexAtTheFocusStandsStill) {
  CSlideImage slide;
  SetUpSlide(slide, 400, 400, 4, 4);
  slide.size = 2.0f;
  slide.focus = {0.5f, -0.5f, 0};  // vertex 3 of row 1
  slide.Build();
  const Vertex_xyz before = slide.vertices[5 * 1 + 3];
  for (int n = 0; n < 100; ++n) slide.Move(0.01f);
  EXPECT_EQ(slide.vertices[5 * 1 + 3].x, before.x);
  EXPECT_EQ(slide.vertices[5 * 1 + 3].y, before.y);
  EXPECT_NE(slide.vertices[0].x, -1.0f);
}

TEST(SlideMovement, IsLinearInTheAmount) {
  CSlideImage once, often;
  for (CSlideImage* slide : {&once, &often}) {
    SetUpSlide(*slide, 400, 300, 4, 3);
    slide->size = 1.5f;
    slide->focus = {0.3f, 0.2f, 0};
  }
  once.Move(0.12f);
  for (int n = 0; n < 1000; ++n) often.Move(0.00012f);
  EXPECT_NEAR(BoxOf(once).left, BoxOf(often).left, 1e-4);
  EXPECT_NEAR(BoxOf(once).top, BoxOf(often).top, 1e-4);
}

TEST(SlideMovement, DepthNeverChanges) {
  CSlideImage slide;
  SetUpSlide(slide, 400, 300, 4, 3);
  slide.Move(0.5f);
  for (int n = 0; n < slide.vertexCount; ++n)
    EXPECT_EQ(slide.vertices[static_cast<std::size_t>(n)].z, 0.0f);
}

TEST(SlideMovement, CornersFollowTheVertices) {
  CSlideImage slide;
  SetUpSlide(slide, 400, 400, 1, 1);
  slide.size = 2.0f;
  slide.Move(0.25f);
  EXPECT_FLOAT_EQ(slide.tiles[0].corners[0].x, -1.25f);
  EXPECT_FLOAT_EQ(slide.tiles[0].corners[0].y, 1.25f);
}

TEST(SlideMovement, TwelvePercentInOneDelayWhateverItIs) {
  for (const int delaySeconds : {1, 8, 10, 60}) {
    const float zoomRate = static_cast<float>((8.0 / delaySeconds) * 0.0003);
    EXPECT_NEAR(MotionAmount(delaySeconds * 1000, zoomRate), 0.12, 1e-6);
  }
}

// --- PrepareMotion ---

TEST(SlideStart, AWidePictureCoversAFourToThreeScreenWhenAnimated) {
  CSlideImage slide;
  SetUpSlide(slide, 2000, 1000);
  PrepareMotion(slide, nullptr, Motion43());
  EXPECT_FLOAT_EQ(slide.size, 1.5f);
  slide.Build();
  EXPECT_FLOAT_EQ(BoxOf(slide).Width(), 3.0f);
  EXPECT_FLOAT_EQ(BoxOf(slide).Height(), 1.5f);
}

TEST(SlideStart, AWidePictureFitsAFourToThreeScreenWhenStill) {
  CSlideImage slide;
  SetUpSlide(slide, 2000, 1000);
  PrepareMotion(slide, nullptr, Motion43(false));
  EXPECT_FLOAT_EQ(slide.size, 1.0f);
  slide.Build();
  EXPECT_FLOAT_EQ(BoxOf(slide).Width(), 2.0f);
  EXPECT_FLOAT_EQ(BoxOf(slide).Height(), 1.0f);
}

TEST(SlideStart, APortraitCoversTheScreensWidthWhenAnimated) {
  CSlideImage slide;
  SetUpSlide(slide, 750, 1000);
  PrepareMotion(slide, nullptr, Motion43());
  EXPECT_FLOAT_EQ(slide.size, 2.0f);
  slide.Build();
  EXPECT_FLOAT_EQ(BoxOf(slide).Width(), 2.0f);
  EXPECT_NEAR(BoxOf(slide).Height(), 2.667f, 0.001f);
}

TEST(SlideStart, APortraitFitsTheScreensHeightWhenStill) {
  CSlideImage slide;
  SetUpSlide(slide, 750, 1000);
  PrepareMotion(slide, nullptr, Motion43(false));
  slide.Build();
  EXPECT_FLOAT_EQ(BoxOf(slide).Height(), 1.5f);
  EXPECT_FLOAT_EQ(BoxOf(slide).Width(), 1.125f);
}

// Over many shapes of pictures and screens: a moving picture covers the screen,
// a still one lies within it and touches two of its edges.
TEST(SlideStart, CoversOrFitsEveryScreen) {
  for (const float top : {0.45f, 0.5625f, 0.75f, 0.8f, 1.0f, 1.6f}) {
    for (const auto& [width, height] :
         {std::pair{4000u, 1000u}, std::pair{1600u, 900u}, std::pair{1200u, 900u},
          std::pair{1000u, 1000u}, std::pair{900u, 1200u}, std::pair{1000u, 4000u}}) {
      for (const bool animate : {true, false}) {
        CSlideImage slide;
        SetUpSlide(slide, width, height);
        SlideMotion motion = Motion43(animate);
        motion.topEdge = top;
        motion.bottomEdge = -top;
        PrepareMotion(slide, nullptr, motion);
        slide.Build();
        const float across = BoxOf(slide).Width() / 2.0f;
        const float down = BoxOf(slide).Height() / (2 * top);
        SCOPED_TRACE(testing::Message() << width << "x" << height << " top " << top
                                        << (animate ? " moving" : " still"));
        EXPECT_NEAR(animate ? std::min(across, down) : std::max(across, down), 1.0f, 1e-5);
      }
    }
  }
}

TEST(SlideStart, DirectionsAlternateFromGrowing) {
  CSlideImage first, second, third;
  for (CSlideImage* slide : {&first, &second, &third}) SetUpSlide(*slide, 400, 300);
  PrepareMotion(first, nullptr, Motion43());
  PrepareMotion(second, &first, Motion43());
  PrepareMotion(third, &second, Motion43());
  EXPECT_EQ(first.zoomSign, 1.0f);
  EXPECT_EQ(second.zoomSign, -1.0f);
  EXPECT_EQ(third.zoomSign, 1.0f);
}

TEST(SlideStart, TheFirstSlideHasNoPreRoll) {
  CSlideImage first;
  SetUpSlide(first, 400, 300);
  PrepareMotion(first, nullptr, Motion43());
  EXPECT_EQ(first.vertices, nullptr);
}

TEST(SlideStart, AShrinkingSlideEndsAtItsBaseSize) {
  CSlideImage first, second;
  SetUpSlide(first, 400, 300);
  SetUpSlide(second, 400, 300, 4, 3);
  const SlideMotion motion = Motion43();
  PrepareMotion(first, nullptr, motion);
  PrepareMotion(second, &first, motion);
  ASSERT_NE(second.vertices, nullptr);
  const float preRolled = 1 + MotionAmount(18000, motion.zoomRate);
  EXPECT_NEAR(BoxOf(second).Width(), 2.0f * preRolled, 1e-5);
  for (int ms = 0; ms < 18000; ms += 20) second.Move(MotionAmount(20, motion.zoomRate));
  EXPECT_NEAR(BoxOf(second).Width(), 2.0f, 1e-4);
  EXPECT_NEAR(BoxOf(second).Height(), 1.5f, 1e-4);
}

TEST(SlideStart, AGrowingSlideHasNoPreRoll) {
  CSlideImage second, third;
  SetUpSlide(second, 400, 300);
  SetUpSlide(third, 400, 300);
  second.zoomSign = -1.0f;
  PrepareMotion(third, &second, Motion43());
  EXPECT_EQ(third.zoomSign, 1.0f);
  EXPECT_EQ(third.vertices, nullptr);
}

TEST(SlideStart, AStillSlideHasNoFocusAndNoPreRoll) {
  CSlideImage first, second;
  SetUpSlide(first, 400, 300);
  SetUpSlide(second, 400, 300);
  PrepareMotion(first, nullptr, Motion43(false));
  PrepareMotion(second, &first, Motion43(false));
  EXPECT_EQ(second.focus.x, 0.0f);
  EXPECT_EQ(second.focus.y, 0.0f);
  EXPECT_EQ(second.vertices, nullptr);
}

TEST(SlideFocus, TakesXThenYFromTheGenerator) {
  std::srand(17);
  const float x = static_cast<float>((std::rand() % 200) / 100.0 - 1.0);
  const float y = static_cast<float>((std::rand() % 150) / 100.0 - 0.75);
  std::srand(17);
  CSlideImage slide;
  SetUpSlide(slide, 400, 300);
  PrepareMotion(slide, nullptr, Motion43());
  EXPECT_EQ(slide.focus.x, x);
  EXPECT_EQ(slide.focus.y, y);
  EXPECT_EQ(slide.focus.z, 0.0f);
}

TEST(SlideFocus, MovesAlongOneAxisIfThePictureSaysSo) {
  std::srand(3);
  const float x = static_cast<float>((std::rand() % 200) / 100.0 - 1.0);
  std::srand(3);
  const float y = static_cast<float>((std::rand() % 150) / 100.0 - 0.75);
  CSlideImage onlyX, onlyY, both;
  onlyX.Setup(400, 300, true, false);
  onlyY.Setup(400, 300, false, true);
  both.Setup(400, 300, true, true);
  for (CSlideImage* slide : {&onlyX, &onlyY, &both}) {
    slide->MakeTiles(1, 1);
    std::srand(3);
    PrepareMotion(*slide, nullptr, Motion43());
  }
  EXPECT_EQ(onlyX.focus.x, x);
  EXPECT_EQ(onlyX.focus.y, 0.0f);
  EXPECT_EQ(onlyY.focus.x, 0.0f);
  EXPECT_EQ(onlyY.focus.y, y);
  EXPECT_EQ(both.focus.x, x);
  EXPECT_EQ(both.focus.y, 0.0f);
}

TEST(SlideFocus, StaysOnTheScreen) {
  std::srand(1);
  for (int n = 0; n < 2000; ++n) {
    CSlideImage slide;
    SetUpSlide(slide, 400, 300);
    PrepareMotion(slide, nullptr, Motion43());
    ASSERT_GE(slide.focus.x, -1.0f);
    ASSERT_LT(slide.focus.x, 1.0f);
    ASSERT_GE(slide.focus.y, -0.75f);
    ASSERT_LT(slide.focus.y, 0.75f);
  }
}

TEST(SlideFocus, AScreenOfHardlyAnyHeightStillHasOne) {
  CSlideImage slide;
  SetUpSlide(slide, 400, 300);
  SlideMotion motion = Motion43();
  motion.topEdge = 0.001f;
  motion.bottomEdge = -0.001f;
  PrepareMotion(slide, nullptr, motion);
  EXPECT_FLOAT_EQ(slide.focus.y, -0.001f);
}

}  // namespace

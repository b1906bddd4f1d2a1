// The wipes' geometry is played on small arrays and compared, after every
// single step, with a closed form of what the screen shows at that position.

#include "slideshow/Wipes.h"

#include "unit/slideshow/WipeModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

using wipe_model::Dot;
using wipe_model::New;
using wipe_model::Old;

namespace {

struct Screen {
  Screen(int w, int h, const std::function<Dot(int, int)>& dotAt) : width(w), height(h) {
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) dots.push_back(dotAt(x, y));
  }
  Dot& At(int x, int y) { return dots[static_cast<std::size_t>(y * width + x)]; }
  const Dot& At(int x, int y) const { return dots[static_cast<std::size_t>(y * width + x)]; }

  int width;
  int height;
  std::vector<Dot> dots;
};

// Copies as BitBlt does: clipped to the screen, and as if by way of a third
// place, so that overlapping copies work.
class ArrayTarget final : public WipeTarget {
 public:
  ArrayTarget(int width, int height) : screen(width, height, Old) {}

  void Copy(const WipeCopy& copy) override {
    ++copies;
    beyondRight |= copy.x >= screen.width;
    beyondBottom |= copy.y >= screen.height;
    EXPECT_GE(copy.width, 0);
    EXPECT_GE(copy.height, 0);
    const Screen before = screen;
    for (int y = 0; y < copy.height; ++y)
      for (int x = 0; x < copy.width; ++x) {
        const int toX = copy.x + x;
        const int toY = copy.y + y;
        if (toX < 0 || toY < 0 || toX >= screen.width || toY >= screen.height) continue;
        screen.At(toX, toY) = Source(before, copy, copy.fromX + x, copy.fromY + y);
      }
  }

  Screen screen;
  int copies = 0;
  bool beyondRight = false;   // a copy began outside the screen
  bool beyondBottom = false;

 private:
  static Dot Source(const Screen& before, const WipeCopy& copy, int x, int y) {
    const bool inside = x >= 0 && y >= 0 && x < before.width && y < before.height;
    EXPECT_TRUE(inside) << "reads from outside the source";
    if (!inside) return {'?', x, y};
    return copy.source == WipeCopy::FromCanvas ? New(x, y) : before.At(x, y);
  }
};

Screen ExpectedAt(int effect, int width, int height, int p) {
  return Screen(width, height,
                [&](int x, int y) { return wipe_model::DotAt(effect, width, height, x, y, p); });
}

testing::AssertionResult SameDots(const Screen& actual, const Screen& expected) {
  for (int y = 0; y < expected.height; ++y)
    for (int x = 0; x < expected.width; ++x)
      if (actual.At(x, y) != expected.At(x, y))
        return testing::AssertionFailure() << "at (" << x << "," << y << "): " << actual.At(x, y)
                                           << " instead of " << expected.At(x, y);
  return testing::AssertionSuccess();
}

Screen Canvas(int width, int height) { return Screen(width, height, New); }

// Plays a wipe to its end, `advance` positions a step; `check` sees the screen
// after each step's drawing.
ArrayTarget Play(int effect, int width, int height, int advance,
                 const std::function<void(const Screen&, int previous, int position)>& check) {
  ArrayTarget target(width, height);
  const WipePlan plan = PlanWipe(effect, width, height);
  if (!plan.runs) return target;
  std::vector<int> order(plan.oneByOne ? static_cast<std::size_t>(plan.steps) : 0);
  MixOrder(order);
  int previous = plan.previous;
  for (int position = plan.first; position < plan.end;) {
    DrawWipeStep(effect, width, height, previous, position, order, target);
    check(target.screen, previous, position);
    if (position + advance >= plan.end) DrawWipeRest(effect, width, height, position, target);
    previous = position;
    position += advance;
  }
  return target;
}

void NoCheck(const Screen&, int, int) {}

struct Size {
  int width, height;
};

constexpr Size kSizes[] = {{2, 2},  {3, 3},   {4, 4},  {5, 7},   {8, 6},   {7, 8},
                           {1, 16}, {16, 1},  {2, 17}, {17, 2},  {64, 48}, {33, 21},
                           {1, 1},  {20, 200}};

std::string Name(const Size& size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

// --- Every step ---

class WipeEffect : public testing::TestWithParam<int> {};

// Effects whose every step has a closed form; 1, 2, 5 and 6 are random.
INSTANTIATE_TEST_SUITE_P(Wipes, WipeEffect, testing::Values(3, 4, 7, 8, 9, 10, 11, 12));

TEST_P(WipeEffect, ShowsWhatItsPositionSaysAfterEachStep) {
  for (const Size& size : kSizes) {
    SCOPED_TRACE(Name(size));
    Play(GetParam(), size.width, size.height, 1, [&](const Screen& screen, int, int position) {
      ASSERT_TRUE(SameDots(screen, ExpectedAt(GetParam(), size.width, size.height, position)))
          << "at position " << position;
    });
  }
}

TEST_P(WipeEffect, ShowsTheSameWithBiggerSteps) {
  for (const Size& size : kSizes)
    for (const int advance : {2, 3, 5, 31}) {
      SCOPED_TRACE(Name(size) + " by " + std::to_string(advance));
      Play(
          GetParam(), size.width, size.height, advance,
          [&](const Screen& screen, int, int position) {
            ASSERT_TRUE(SameDots(screen, ExpectedAt(GetParam(), size.width, size.height, position)))
                << "at position " << position;
          });
    }
}

TEST_P(WipeEffect, HalfWayShowsBothPictures) {
  bool bothSeen = false;
  Play(GetParam(), 64, 48, 1, [&](const Screen& screen, int, int position) {
    const WipePlan plan = PlanWipe(GetParam(), 64, 48);
    if (position != (plan.first + plan.end) / 2) return;
    const auto old = std::count_if(screen.dots.begin(), screen.dots.end(),
                                   [](const Dot& dot) { return dot.picture == 'o'; });
    EXPECT_NEAR(static_cast<double>(old), 64 * 48 / 2, 64 * 3);
    bothSeen = true;
  });
  EXPECT_TRUE(bothSeen);
}

// --- The end ---

class AnyEffect : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Wipes, AnyEffect, testing::Range(1, 13));

TEST_P(AnyEffect, EndsWithTheNewPictureExactly) {
  for (const Size& size : kSizes)
    for (const int advance : {1, 2, 7, 1000}) {
      if (PlanWipe(GetParam(), size.width, size.height).oneByOne && advance > 1) continue;
      if (!PlanWipe(GetParam(), size.width, size.height).runs) continue;
      SCOPED_TRACE(Name(size) + " by " + std::to_string(advance));
      const ArrayTarget target = Play(GetParam(), size.width, size.height, advance, NoCheck);
      ASSERT_TRUE(SameDots(target.screen, Canvas(size.width, size.height)));
    }
}

TEST_P(AnyEffect, StaysOffAScreenWithoutPixels) {
  EXPECT_EQ(Play(GetParam(), 0, 0, 1, NoCheck).copies, 0);
}

// --- Screens that are too small ---

bool Runs(int effect, int width, int height) {
  const ArrayTarget target = Play(effect, width, height, 1, NoCheck);
  EXPECT_EQ(target.copies > 0, PlanWipe(effect, width, height).runs);
  return target.copies > 0;
}

TEST(WipesOnSmallScreens, OnePixelInTheirDirectionIsTooLittleForAllButRandomLines) {
  for (int effect = 3; effect <= 12; ++effect) {
    const bool vertical = effect % 2 == 0;
    EXPECT_FALSE(vertical ? Runs(effect, 100, 1) : Runs(effect, 1, 100)) << effect;
  }
  EXPECT_TRUE(Runs(1, 1, 100));
  EXPECT_TRUE(Runs(2, 100, 1));
}

TEST(WipesOnSmallScreens, TheLeastLengthIsTwoThreeOrFour) {
  const std::pair<int, int> leastLength[] = {{3, 2}, {4, 2},  {5, 2}, {6, 2},  {7, 2},
                                             {8, 2}, {9, 3}, {10, 3}, {11, 4}, {12, 4}};
  for (const auto& [effect, least] : leastLength) {
    const bool vertical = effect % 2 == 0;
    const auto runs = [&, e = effect](int length) {
      return vertical ? Runs(e, 10, length) : Runs(e, length, 10);
    };
    EXPECT_TRUE(runs(least)) << effect;
    EXPECT_FALSE(runs(least - 1)) << effect;
  }
}

TEST(WipesOnSmallScreens, ASinglePixelAcrossIsEnough) {
  for (int effect = 3; effect <= 12; ++effect) {
    const bool vertical = effect % 2 == 0;
    const ArrayTarget target =
        vertical ? Play(effect, 1, 30, 1, NoCheck) : Play(effect, 30, 1, 1, NoCheck);
    EXPECT_TRUE(SameDots(target.screen, vertical ? Canvas(1, 30) : Canvas(30, 1))) << effect;
  }
}

// --- Plans ---

TEST(WipePlans, StandAsTheirEffectsNeedThem) {
  constexpr int kWidth = 101;
  constexpr int kHeight = 60;
  struct Row {
    int effect, steps, first, previous, end;
    unsigned sleepMs;
  };
  const Row rows[] = {
      {1, 101, 0, 0, 101, 1}, {2, 60, 0, 0, 60, 1},    {3, 101, 1, 0, 101, 1},
      {4, 60, 1, 0, 60, 1},   {5, 101, 1, 0, 101, 1},  {6, 60, 1, 0, 60, 1},
      {7, 101, 1, 0, 101, 2}, {8, 60, 1, 0, 60, 2},    {9, 50, 51, 50, 101, 2},
      {10, 30, 31, 30, 60, 2}, {11, 50, 1, 0, 50, 2},  {12, 30, 1, 0, 30, 1},
  };
  for (const Row& row : rows) {
    const WipePlan plan = PlanWipe(row.effect, kWidth, kHeight);
    EXPECT_TRUE(plan.runs) << row.effect;
    EXPECT_EQ(plan.steps, row.steps) << row.effect;
    EXPECT_EQ(plan.first, row.first) << row.effect;
    EXPECT_EQ(plan.previous, row.previous) << row.effect;
    EXPECT_EQ(plan.end, row.end) << row.effect;
    EXPECT_EQ(plan.sleepMs, row.sleepMs) << row.effect;
    EXPECT_EQ(plan.oneByOne, row.effect <= 2) << row.effect;
    EXPECT_EQ(plan.resetsFrameTime, row.effect != 2) << row.effect;
  }
}

TEST(WipePlans, AnyOtherNumberHasNone) {
  for (const int effect : {0, -1, 13, 14, 1000}) EXPECT_FALSE(PlanWipe(effect, 100, 100).runs);
}

// --- Random lines ---

TEST(RandomLines, EachStepShowsTheNextColumnOrRowOfTheOrder) {
  const std::vector<int> order = {2, 0, 3, 1};
  ArrayTarget columns(4, 3);
  ArrayTarget rows(3, 4);
  for (int step = 0; step < 4; ++step) {
    DrawWipeStep(1, 4, 3, 0, step, order, columns);
    DrawWipeStep(2, 3, 4, 0, step, order, rows);
    const auto shown = [&](int line) {
      return std::find(order.begin(), order.begin() + step + 1, line) != order.begin() + step + 1;
    };
    EXPECT_TRUE(SameDots(columns.screen, Screen(4, 3, [&](int x, int y) {
                           return shown(x) ? New(x, y) : Old(x, y);
                         })));
    EXPECT_TRUE(SameDots(rows.screen, Screen(3, 4, [&](int x, int y) {
                           return shown(y) ? New(x, y) : Old(x, y);
                         })));
  }
  EXPECT_EQ(columns.copies, 4);
  EXPECT_EQ(rows.copies, 4);
}

TEST(RandomLines, HaveNoFinalCopy) {
  ArrayTarget target(10, 10);
  DrawWipeRest(1, 10, 10, 9, target);
  DrawWipeRest(2, 10, 10, 9, target);
  EXPECT_EQ(target.copies, 0);
}

TEST(RandomLines, TheOrderHoldsEachLineOnce) {
  for (const std::size_t count : {0u, 1u, 2u, 1024u}) {
    std::vector<int> order(count, -1);
    MixOrder(order);
    std::vector<int> all(count);
    std::iota(all.begin(), all.end(), 0);
    EXPECT_THAT(order, testing::UnorderedElementsAreArray(all));
  }
}

TEST(RandomLines, TheOrderComesFromAsManySwapsAsThereAreLines) {
  constexpr int kLines = 640;
  std::vector<int> order(kLines);
  std::srand(77);
  MixOrder(order);

  std::srand(77);
  std::vector<int> expected(kLines);
  for (int n = 0; n < kLines; ++n) expected[static_cast<std::size_t>(n)] = n;
  for (int n = 0; n < kLines; ++n) {
    const auto a = static_cast<std::size_t>(std::rand() % kLines);
    const auto b = static_cast<std::size_t>(std::rand() % kLines);
    const int kept = expected[a];
    expected[a] = expected[b];
    expected[b] = kept;
  }
  EXPECT_EQ(order, expected);
}

// --- Torn edges ---

// Plays the torn edge's blocks with the same random numbers.
class TornEdge {
 public:
  TornEdge(int width, int height) : expected(width, height, Old) {}

  void StepRight(int previous, int p) {
    for (int i = 0; i < 4 * expected.height; ++i) {
      const int x = std::min(p + std::rand() % 200, expected.width);
      Block(x, i / 4);
    }
    for (int y = 0; y < expected.height; ++y)
      for (int x = previous; x < p; ++x) expected.At(x, y) = New(x, y);
  }
  void StepDown(int p) {
    for (int i = 0; i < 4 * expected.width; ++i) {
      const int y = std::min(p + std::rand() % 200, expected.height);
      Block(i / 4, y);
    }
    for (int y = 0; y < p; ++y)
      for (int x = 0; x < expected.width; ++x) expected.At(x, y) = New(x, y);
  }

  Screen expected;

 private:
  void Block(int left, int top) {
    for (int y = top; y < std::min(top + 4, expected.height); ++y)
      for (int x = left; x < std::min(left + 4, expected.width); ++x) expected.At(x, y) = New(x, y);
  }
};

TEST(TornEdges, TheRaggedWipeToTheRightThrowsBlocksAheadOfItsEdge) {
  constexpr int kWidth = 300;
  constexpr int kHeight = 20;
  for (const std::vector<int>& positions : {std::vector<int>{1, 2, 3, 40}, {1, 100, 250, 299}}) {
    ArrayTarget target(kWidth, kHeight);
    TornEdge model(kWidth, kHeight);
    int previous = 0;
    for (const int p : positions) {
      std::srand(static_cast<unsigned>(p));
      DrawWipeStep(5, kWidth, kHeight, previous, p, {}, target);
      std::srand(static_cast<unsigned>(p));
      model.StepRight(previous, p);
      ASSERT_TRUE(SameDots(target.screen, model.expected)) << "at position " << p;
      previous = p;
    }
  }
}

TEST(TornEdges, TheRaggedWipeDownwardsThrowsBlocksAheadOfItsEdge) {
  constexpr int kWidth = 20;
  constexpr int kHeight = 300;
  for (const std::vector<int>& positions : {std::vector<int>{1, 2, 3, 40}, {1, 100, 250, 299}}) {
    ArrayTarget target(kWidth, kHeight);
    TornEdge model(kWidth, kHeight);
    int previous = 0;
    for (const int p : positions) {
      std::srand(static_cast<unsigned>(p));
      DrawWipeStep(6, kWidth, kHeight, previous, p, {}, target);
      std::srand(static_cast<unsigned>(p));
      model.StepDown(p);
      ASSERT_TRUE(SameDots(target.screen, model.expected)) << "at position " << p;
      previous = p;
    }
  }
}

TEST(TornEdges, ABlockMayLieJustBeyondTheScreen) {
  ArrayTarget right(50, 20);
  DrawWipeStep(5, 50, 20, 0, 40, {}, right);
  EXPECT_TRUE(right.beyondRight);
  ArrayTarget down(20, 50);
  DrawWipeStep(6, 20, 50, 0, 40, {}, down);
  EXPECT_TRUE(down.beyondBottom);
}

// Unlike the wipe to the right it draws its whole band again at each step.
TEST(TornEdges, TheRaggedWipeDownwardsRedrawsItsWholeBand) {
  ArrayTarget target(10, 300);
  target.screen.At(5, 0) = {'x', 0, 0};
  DrawWipeStep(6, 10, 300, 50, 51, {}, target);
  EXPECT_EQ(target.screen.At(5, 0), New(5, 0));

  ArrayTarget right(300, 10);
  right.screen.At(0, 5) = {'x', 0, 0};
  DrawWipeStep(5, 300, 10, 50, 51, {}, right);
  EXPECT_EQ(right.screen.At(0, 5).picture, 'x');
}

}  // namespace

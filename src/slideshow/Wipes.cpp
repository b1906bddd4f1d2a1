// Most wipes come in pairs, one sideways and one up and down, that are mirror
// images about the diagonal. So each pair is written once, in coordinates
// along the direction of the wipe and across it; Brush turns them into x and y.

#include "slideshow/Wipes.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace {

enum Effect {
  kRandomColumns = 1,
  kRandomRows,
  kWipeRight,
  kWipeDown,
  kRaggedRight,
  kRaggedDown,
  kSlidingRows,
  kSlidingColumns,
  kSplitSideways,
  kSplitUpDown,
  kDoorsSideways,
  kDoorsUpDown,
};

constexpr int kRaggedReach = 200;  // how far torn blocks run ahead of the edge, px
constexpr int kRaggedBlock = 4;    // side of a torn block, px

// Effects of even number run up and down.
bool IsVertical(int effect) { return effect % 2 == 0; }

// Draws for one wipe in its own coordinates: `length` is the screen's extent
// in the direction of the wipe, `breadth` the extent across it.
class Brush {
 public:
  Brush(int effect, int width, int height, WipeTarget& target)
      : length(IsVertical(effect) ? height : width),
        breadth(IsVertical(effect) ? width : height),
        vertical_(IsVertical(effect)),
        target_(target) {}

  const int length;
  const int breadth;

  // Canvas to screen at the same place.
  void Canvas(int along, int across, int size, int thickness) {
    CanvasFrom(along, along, across, size, thickness);
  }
  // Canvas to screen, the full breadth.
  void CanvasBand(int along, int size) { Canvas(along, 0, size, breadth); }
  // Canvas to screen, from another place in the direction of the wipe.
  void CanvasFrom(int fromAlong, int toAlong, int across, int size, int thickness) {
    Emit(WipeCopy::FromCanvas, fromAlong, toAlong, across, size, thickness);
  }
  // Moves what the screen shows in the direction of the wipe.
  void Shift(int fromAlong, int toAlong, int across, int size, int thickness) {
    Emit(WipeCopy::FromScreen, fromAlong, toAlong, across, size, thickness);
  }

 private:
  void Emit(WipeCopy::Source source, int fromAlong, int toAlong, int across, int size,
            int thickness) {
    if (vertical_)
      target_.Copy({source, across, toAlong, thickness, size, across, fromAlong});
    else
      target_.Copy({source, toAlong, across, size, thickness, fromAlong, across});
  }

  const bool vertical_;
  WipeTarget& target_;
};

// Torn blocks ahead of the edge at `position`, one try for each quarter of a
// pixel row. A block may come to lie at the screen's very end, where it is
// clipped.
void DrawTornEdge(Brush& brush, int position) {
  for (int i = 0; i < kRaggedBlock * brush.breadth; ++i) {
    const int along = std::min(position + std::rand() % kRaggedReach, brush.length);
    brush.Canvas(along, i / kRaggedBlock, kRaggedBlock, kRaggedBlock);
  }
}

// Two halves of the screen slide apart in opposite directions, and the new
// picture comes in behind them.
void DrawSlidingHalves(Brush& brush, int previous, int position) {
  const int half = brush.breadth / 2;
  const int kept = brush.length - position;
  const int step = position - previous;
  brush.Shift(previous, position, 0, kept, half);
  brush.Canvas(previous, 0, step, half);
  brush.Shift(step, 0, half, kept, half);
  brush.Canvas(kept, half, step, half);
}

// The old picture is torn in the middle and pulled to both sides.
void DrawSplit(Brush& brush, int previous, int position) {
  const int kept = brush.length - position;
  const int step = position - previous;
  brush.Shift(previous, position, 0, kept, brush.breadth);
  brush.CanvasBand(previous, step);
  brush.Shift(step, 0, 0, kept, brush.breadth);
  brush.CanvasBand(brush.length / 2 * 2 - position, step);
}

// The new picture's halves slide in from both sides.
void DrawDoors(Brush& brush, int position) {
  const int half = brush.length / 2;
  brush.CanvasFrom(half - position, 0, 0, position, brush.breadth);
  brush.CanvasFrom(half, brush.length - position, 0, position, brush.breadth);
}

WipePlan RandomLinesPlan(int lines, bool resetsFrameTime) {
  WipePlan plan;
  plan.steps = plan.end = lines;
  plan.sleepMs = 1;
  plan.oneByOne = true;
  plan.resetsFrameTime = resetsFrameTime;
  plan.runs = lines > 0;
  return plan;
}

WipePlan PlanFromEdge(int length, unsigned sleepMs) {
  WipePlan plan;
  plan.steps = plan.end = length;
  plan.first = 1;
  plan.sleepMs = sleepMs;
  plan.runs = plan.end >= 2;
  return plan;
}

WipePlan PlanFromCentre(int length, unsigned sleepMs) {
  WipePlan plan;
  plan.steps = plan.previous = length / 2;
  plan.first = length / 2 + 1;
  plan.end = length;
  plan.sleepMs = sleepMs;
  plan.runs = plan.first < plan.end;
  return plan;
}

}  // namespace

WipePlan PlanWipe(int effect, int width, int height) {
  const int length = IsVertical(effect) ? height : width;
  switch (effect) {
    case kRandomColumns: return RandomLinesPlan(length, true);
    case kRandomRows: return RandomLinesPlan(length, false);
    case kWipeRight:
    case kWipeDown:
    case kRaggedRight:
    case kRaggedDown: return PlanFromEdge(length, 1);
    case kSlidingRows:
    case kSlidingColumns: return PlanFromEdge(length, 2);
    case kSplitSideways:
    case kSplitUpDown: return PlanFromCentre(length, 2);
    case kDoorsSideways: return PlanFromEdge(length / 2, 2);
    case kDoorsUpDown: return PlanFromEdge(length / 2, 1);
    default: return {};
  }
}

void MixOrder(std::span<int> order) {
  std::iota(order.begin(), order.end(), 0);
  const auto count = static_cast<int>(order.size());
  for (int swaps = 0; swaps < count; ++swaps) {
    const int first = std::rand() % count;
    const int second = std::rand() % count;
    std::swap(order[static_cast<std::size_t>(first)], order[static_cast<std::size_t>(second)]);
  }
}

void DrawWipeStep(int effect, int width, int height, int previous, int position,
                  std::span<const int> order, WipeTarget& target) {
  Brush brush(effect, width, height, target);
  switch (effect) {
    case kRandomColumns:
    case kRandomRows:
      brush.CanvasBand(order[static_cast<std::size_t>(position)], 1);
      break;
    case kRaggedRight:
      DrawTornEdge(brush, position);
      [[fallthrough]];
    case kWipeRight:
    case kWipeDown:
      brush.CanvasBand(previous, position - previous);
      break;
    case kRaggedDown:
      DrawTornEdge(brush, position);
      // The whole band, not just its new part: it covers the torn blocks that
      // were drawn across it.
      brush.CanvasBand(0, position);
      break;
    case kSlidingRows:
    case kSlidingColumns:
      DrawSlidingHalves(brush, previous, position);
      break;
    case kSplitSideways:
    case kSplitUpDown:
      DrawSplit(brush, previous, position);
      break;
    case kDoorsSideways:
    case kDoorsUpDown:
      DrawDoors(brush, position);
      break;
    default:
      break;
  }
}

void DrawWipeRest(int effect, int width, int height, int position, WipeTarget& target) {
  Brush brush(effect, width, height, target);
  if (effect <= kRandomRows) return;
  if (effect <= kRaggedDown)
    brush.CanvasBand(position, brush.length - position);
  else
    brush.CanvasBand(0, brush.length);
}

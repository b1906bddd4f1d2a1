#pragma once
// The twelve wipes as pure geometry: which rectangles each step of an effect
// copies. FastRenderer.cpp plays them on device contexts; tests play them on
// arrays.

#include <cstdint>
#include <span>

inline constexpr int kWipeCount = 12;  // effects 1 to 12; any other number is the cut

// One copy of a rectangle to the screen, unscaled.
struct WipeCopy {
  enum Source { FromCanvas, FromScreen };
  Source source;
  int x, y, width, height;  // on the screen, px
  int fromX, fromY;         // in the source, px
};

// Takes the copies of a step in the order they are to be made.
class WipeTarget {
 public:
  virtual void Copy(const WipeCopy& copy) = 0;

 protected:
  ~WipeTarget() = default;
};

// How an effect runs on a screen of a given size. Its position counts pixels,
// or steps for the two effects that show one random column or row at a time.
struct WipePlan {
  int steps = 0;            // the duration divided by this is one step's time
  int first = 0;            // first position
  int previous = 0;         // the position that counts as the one before it
  int end = 0;              // the wipe runs while its position is below this
  unsigned sleepMs = 0;     // slept at a time while a step's time lasts
  bool oneByOne = false;    // one position a step, however slow the machine
  bool resetsFrameTime = true;
  bool runs = false;        // false: the screen is too small, draw nothing
};

// The plan of effect 1 to 12 on a screen of `width` by `height` px.
WipePlan PlanWipe(int effect, int width, int height);

// Fills `order` with 0 to its size - 1, mixed by as many random swaps: the
// columns or rows of effects 1 and 2. Uses rand().
void MixOrder(std::span<int> order);

// Draws the step that brings the wipe from `previous` to `position`. `order`
// serves effects 1 and 2 alone. Effects 5 and 6 use rand().
void DrawWipeStep(int effect, int width, int height, int previous, int position,
                  std::span<const int> order, WipeTarget& target);

// Draws what is left when the next step would reach the end.
void DrawWipeRest(int effect, int width, int height, int position, WipeTarget& target);

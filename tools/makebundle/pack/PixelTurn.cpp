#include "makebundle/pack/PixelTurn.h"

#include <cstddef>

namespace {

// What EXIF's orientation says of the stored rows and columns, taken apart.
struct Turn {
  bool swapsSides;     // stored rows are the picture's columns
  bool fromRight;      // the picture's left is at the right of its stored row (or column)
  bool fromBottom;
};

Turn TurnFor(int orientation) {
  switch (orientation) {
    case 2: return {false, true, false};
    case 3: return {false, true, true};
    case 4: return {false, false, true};
    case 5: return {true, false, false};
    case 6: return {true, false, true};
    case 7: return {true, true, true};
    case 8: return {true, true, false};
    default: return {false, false, false};
  }
}

}  // namespace

Pixels TurnedUpright(const std::uint32_t* source, std::uint32_t width, std::uint32_t height,
                     int orientation) {
  const Turn turn = TurnFor(orientation);
  Pixels upright{turn.swapsSides ? height : width, turn.swapsSides ? width : height, {}};
  upright.values.reserve(std::size_t{width} * height);
  for (std::uint32_t y = 0; y < upright.height; ++y) {
    for (std::uint32_t x = 0; x < upright.width; ++x) {
      const std::uint32_t column = turn.swapsSides ? y : x;
      const std::uint32_t row = turn.swapsSides ? x : y;
      const std::size_t from = std::size_t{turn.fromBottom ? height - 1 - row : row} * width +
                               (turn.fromRight ? width - 1 - column : column);
      upright.values.push_back(source[from]);
    }
  }
  return upright;
}

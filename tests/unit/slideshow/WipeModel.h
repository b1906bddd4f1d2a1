#pragma once
// What the screen shows while a wipe runs, as a closed form of its position:
// the effects with no randomness in them, told without the copies that make
// them.

#include <ostream>

namespace wipe_model {

// One pixel: which picture it is from, and from where in it.
struct Dot {
  char picture;  // 'o' old, 'n' new
  int x, y;
  bool operator==(const Dot&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Dot& dot) {
  return out << dot.picture << "(" << dot.x << "," << dot.y << ")";
}

inline Dot Old(int x, int y) { return {'o', x, y}; }
inline Dot New(int x, int y) { return {'n', x, y}; }

// The sideways wipes, on a screen of `width` by `height`, at position `p`.

inline Dot WipeRight(int, int, int x, int y, int p) { return x < p ? New(x, y) : Old(x, y); }

// Top half to the right, bottom half to the left; a last odd row stands still.
inline Dot SlidingHalves(int width, int height, int x, int y, int p) {
  if (y < height / 2) return x < p ? New(x, y) : Old(x - p, y);
  if (y < height / 2 * 2) return x < width - p ? Old(x + p, y) : New(x, y);
  return Old(x, y);
}

inline Dot Split(int width, int, int x, int y, int p) {
  const int centre = width / 2;
  const int pulled = p - centre;
  if (x < 2 * centre - p) return Old(x + pulled, y);
  if (x < p) return New(x, y);
  return Old(x - pulled, y);
}

inline Dot Doors(int width, int, int x, int y, int p) {
  const int centre = width / 2;
  if (x < p) return New(centre - p + x, y);
  if (x >= width - p) return New(centre + x - (width - p), y);
  return Old(x, y);
}

// Whether an effect has a closed form; 1, 2, 5 and 6 are random.
inline bool HasModel(int effect) { return effect == 3 || effect == 4 || effect >= 7; }

// Effect 3 or 4, or 7 to 12. Those of even number run up and down: mirror
// images of their siblings about the diagonal.
inline Dot DotAt(int effect, int width, int height, int x, int y, int p) {
  if (effect % 2 == 0) {
    const Dot mirrored = DotAt(effect - 1, height, width, y, x, p);
    return {mirrored.picture, mirrored.y, mirrored.x};
  }
  switch (effect) {
    case 3: return WipeRight(width, height, x, y, p);
    case 7: return SlidingHalves(width, height, x, y, p);
    case 9: return Split(width, height, x, y, p);
    default: return Doors(width, height, x, y, p);
  }
}

}  // namespace wipe_model

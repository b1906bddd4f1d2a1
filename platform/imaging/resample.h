#pragma once
// Resampling of pictures, by SSE2 code that works in whole numbers. Portable.
//
// Both directions are scaled on their own by the same filter. Where a picture
// shrinks, the filter is widened so that every source pixel counts; at the
// picture's edges its weights are scaled up to make one again. So a flat
// picture stays exactly flat.

#include "imaging/picture.h"

namespace imaging {

enum class Filter {
  kNearest,   // the source pixel under the target pixel's centre
  kTriangle,  // bilinear; a widened one when the picture shrinks
  kLanczos3,  // sinc with three lobes: sharp, with a trace of ringing at edges
};

// How one direction is scaled: the source interval of `sourceSize` pixels at
// `sourceStart`, which may reach beyond the picture, becomes `targetSize`
// pixels. Of those the `count` pixels from `first` on are wanted; the centre of
// each has to lie within the picture. Source pixels beside the interval take
// part in the filter, so that neighbouring intervals scaled one by one give the
// same pixels as all scaled at once.
struct Scaling {
  int sourceStart;
  int sourceSize;
  int targetSize;
  int first;
  int count;
};

// Makes `target` the `horizontal.count` by `vertical.count` pixels that are
// wanted. False, with `target` empty, when memory runs out or for a size that
// isn't allowed. `source` isn't empty, and isn't `target`. May throw
// std::bad_alloc.
bool Resample(const Picture& source, const Scaling& horizontal, const Scaling& vertical,
              Filter filter, Picture& target);

// The whole of `source` scaled to `width` by `height`.
bool Resize(const Picture& source, int width, int height, Filter filter, Picture& target);

}  // namespace imaging

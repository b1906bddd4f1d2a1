#pragma once
// What must hold for a picture that any of the decoders has made.

#include "fuzz.h"

#include "imaging/picture.h"

// Reads every pixel, so that the sanitizers see memory that isn't there, and
// requires the fourth byte to be 255.
inline void ReadEveryPixel(const imaging::Picture& picture) {
  Require(imaging::IsSizeAllowed(picture.width(), picture.height()));
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x)
      Require(picture.row(y)[x * imaging::kBytesPerPixel + 3] == 255);
}

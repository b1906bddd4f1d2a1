#pragma once
// How captions lie in their room, in both ways to draw the show.

#include "base/win.h"

#include <cstdint>

// The format of DrawText for the setting CaptionOrientation: left (0), centred
// (1) or right (2), left for any other number, and wrapped at words.
inline UINT CaptionFormat(std::int32_t orientation) {
  static_assert(DT_LEFT == 0 && DT_CENTER == 1 && DT_RIGHT == 2);
  const bool known = orientation >= DT_LEFT && orientation <= DT_RIGHT;
  return DT_WORDBREAK | static_cast<UINT>(known ? orientation : DT_LEFT);
}

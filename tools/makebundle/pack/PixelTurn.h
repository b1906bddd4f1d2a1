#pragma once
// Turning pixels upright by EXIF's orientation.

#include <cstdint>
#include <vector>

struct Pixels {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint32_t> values;  // rows from the top, without padding
};

// `source` points at `width` times `height` pixels as they are stored;
// `orientation` is 1 to 8.
Pixels TurnedUpright(const std::uint32_t* source, std::uint32_t width, std::uint32_t height,
                     int orientation);

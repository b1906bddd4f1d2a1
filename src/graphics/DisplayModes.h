#pragma once
// The display modes that the card offers, filtered and sorted for the list box
// of the configuration dialog.

#include "base/LinkedList.h"
#include "base/win.h"

#include <cstdint>
#include <ddraw.h>
#include <sstream>

struct DISPMODE {
  std::uint32_t width = 0;   // px
  std::uint32_t height = 0;  // px
  std::uint32_t depth = 0;   // bits a pixel
  std::ostringstream label;  // "widthxheightxdepth"
};

class DisplayModeList {
 public:
  ~DisplayModeList();

  // Asks DirectDraw for its modes and adds those that pass the filters.
  HRESULT Collect(IDirectDraw7* directDraw);
  // Adds one mode if it passes the filters.
  void Consider(std::uint32_t width, std::uint32_t height, std::uint32_t depth);
  // By depth, then width, then height. The last pass compares neighbours of
  // one width without regard to depth: where the last mode of one depth and
  // the first of the next have the same width, they may change places.
  void Sort();

  // Filters; a negative value turns one off.
  std::int32_t excludedDepth = -1;
  std::int32_t minWidth = -1;
  std::int32_t minHeight = -1;
  std::int32_t minDepth = -1;
  LinkedList<DISPMODE*> modes;  // owns its elements
};

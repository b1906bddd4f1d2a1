#include "graphics/DisplayModes.h"

#include <utility>

namespace {

bool IsBelow(std::uint32_t value, std::int32_t limit) {
  return limit >= 0 && value < static_cast<std::uint32_t>(limit);
}

HRESULT WINAPI AddMode(DDSURFACEDESC2* description, void* list) {
  static_cast<DisplayModeList*>(list)->Consider(description->dwWidth, description->dwHeight,
                                                description->ddpfPixelFormat.dwRGBBitCount);
  return DDENUMRET_OK;
}

// Bubbles until a walk swaps nothing. A swap exchanges the nodes' data.
template <class MustSwap>
void BubbleSort(LinkedList<DISPMODE*>& modes, MustSwap mustSwap) {
  bool swapped = true;
  while (swapped) {
    swapped = false;
    for (auto* node = modes.head; node && node->next; node = node->next) {
      if (!mustSwap(*node->data, *node->next->data)) continue;
      std::swap(node->data, node->next->data);
      swapped = true;
    }
  }
}

}  // namespace

DisplayModeList::~DisplayModeList() { DeleteAll(modes); }

HRESULT DisplayModeList::Collect(IDirectDraw7* directDraw) {
  return directDraw->EnumDisplayModes(0, nullptr, this, AddMode);
}

void DisplayModeList::Consider(std::uint32_t width, std::uint32_t height, std::uint32_t depth) {
  if (IsBelow(width, minWidth) || IsBelow(height, minHeight) || IsBelow(depth, minDepth)) return;
  if (excludedDepth >= 0 && depth == static_cast<std::uint32_t>(excludedDepth)) return;
  auto* mode = new DISPMODE;
  mode->width = width;
  mode->height = height;
  mode->depth = depth;
  mode->label << width << "x" << height << "x" << depth;
  modes.AddTail(mode);
}

void DisplayModeList::Sort() {
  BubbleSort(modes, [](const DISPMODE& a, const DISPMODE& b) { return a.depth > b.depth; });
  BubbleSort(modes, [](const DISPMODE& a, const DISPMODE& b) {
    return a.width > b.width && a.depth == b.depth;
  });
  BubbleSort(modes, [](const DISPMODE& a, const DISPMODE& b) {
    return a.height > b.height && a.width == b.width;
  });
}

#include "support/GdiGauge.h"

#include "base/win.h"

#include <vector>

namespace support {

namespace {

// The first context of a process makes some objects that stay.
void MakeFirstContext() {
  DeleteDC(CreateCompatibleDC(nullptr));
  ReleaseDC(nullptr, GetDC(nullptr));
}

}  // namespace

int GdiHeadroom() {
  MakeFirstContext();
  // More than any system gives one process; a system without a limit of its
  // own must not be drained.
  constexpr std::size_t kMost = 70000;
  std::vector<HBRUSH> brushes;
  brushes.reserve(kMost);
  while (brushes.size() < kMost) {
    const HBRUSH brush = CreateSolidBrush(RGB(1, 2, 3));
    if (!brush) break;
    brushes.push_back(brush);
  }
  for (const HBRUSH brush : brushes) DeleteObject(brush);
  return static_cast<int>(brushes.size());
}

}  // namespace support

#include "support/GdiGauge.h"

#include "base/win.h"

#include <gtest/gtest.h>

#include <vector>

using support::GdiGauge;
using support::GdiHeadroom;

namespace {

TEST(GdiGauge, CountsEveryObjectThatIsNotDeleted) {
  const GdiGauge gauge;
  std::vector<HBITMAP> leaked;
  for (int n = 0; n < 25; ++n) leaked.push_back(CreateBitmap(4, 4, 1, 1, nullptr));
  EXPECT_EQ(gauge.Leaked(), 25);
  for (const HBITMAP bitmap : leaked) DeleteObject(bitmap);
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST(GdiGauge, CountsContextAndBitmapApart) {
  const GdiGauge gauge;
  const HDC dc = CreateCompatibleDC(nullptr);
  SelectObject(dc, CreateBitmap(4, 4, 1, 1, nullptr));
  EXPECT_EQ(gauge.Leaked(), 2);
  const HGDIOBJ bitmap = GetCurrentObject(dc, OBJ_BITMAP);
  DeleteDC(dc);
  DeleteObject(bitmap);
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST(GdiGauge, MeasuringUsesNothingUp) {
  const int first = GdiHeadroom();
  EXPECT_GT(first, 1000);
  EXPECT_EQ(GdiHeadroom(), first);
}

}  // namespace

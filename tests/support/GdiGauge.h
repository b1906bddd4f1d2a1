#pragma once
// Tells leaked GDI objects by the room that is left for new ones, since the
// system's own counters aren't kept everywhere: solid brushes are made until
// that fails, counted and deleted.
//
//   DrawOnce();  // what is made at first use and kept isn't a leak
//   const GdiGauge gauge;
//   for (int n = 0; n < 50; ++n) DrawOnce();
//   EXPECT_EQ(gauge.Leaked(), 0);

namespace support {

// How many GDI objects this process can still make. About 10 ms.
int GdiHeadroom();

class GdiGauge {
 public:
  GdiGauge() : atStart_(GdiHeadroom()) {}
  // Objects made and not deleted since the gauge was made.
  int Leaked() const { return atStart_ - GdiHeadroom(); }

 private:
  int atStart_;
};

}  // namespace support

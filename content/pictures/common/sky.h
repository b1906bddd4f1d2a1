// Daylight from first principles: sunlight scattered once by air and haze, thinned by ozone.
// Low suns give the reds, greens and violets of a real dusk without choosing any colour by hand.
#pragma once

#include <vector>

#include "common/vec.h"

namespace pictures {

class Sky {
 public:
  // `sun`: unit vector towards the sun (may lie some degrees below the horizon). `haze`: 1 is a
  // clear day, 5 a misty one.
  Sky(Vec3 sun, double haze);

  // Light from a direction (below the horizon: that of the horizon). No sun disc.
  Vec3 operator()(Vec3 direction) const;
  // Light of the sun itself where it reaches the ground, 0 once it has set.
  Vec3 SunLight() const { return sun_light_; }
  Vec3 SunDirection() const { return sun_; }
  // Mean light of the upper half, the light in shadows.
  Vec3 Ambient() const { return ambient_; }

 private:
  Vec3 Scattered(Vec3 direction) const;
  Vec3 Depth(double height, double cosine) const;

  Vec3 sun_;
  double haze_;
  Vec3 sun_light_, ambient_;
  std::vector<Vec3> table_;
};

}  // namespace pictures

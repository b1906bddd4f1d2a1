// What the iteration z*z + c tells about a point of the plane.
#pragma once

#include "common/vec.h"

namespace pictures {

struct Escape {
  bool escaped = false;
  double smooth = 0;    // iterations until it left, without steps
  double distance = 0;  // to the set, in units of the plane
  double angle = 0;     // direction away from the set, radians
};

// For the Mandelbrot set: c varies, z starts at 0.
Escape FollowMandelbrot(Vec2 c, int limit);
// For a Julia set: z varies, c is fixed.
Escape FollowJulia(Vec2 z, Vec2 c, int limit);

}  // namespace pictures

#pragma once
// The device context of a surface, for the length of one scope. While it stands the
// surface must neither be locked nor copied. Main thread only.

#include "graphics/DirectX7.h"

class SurfaceDc {
 public:
  // `surface` must outlive the context.
  explicit SurfaceDc(IDirectDrawSurface7* surface) : surface_(surface) {
    held_ = SUCCEEDED(surface->GetDC(&dc_));
  }
  ~SurfaceDc() {
    if (held_) surface_->ReleaseDC(dc_);
  }
  SurfaceDc(const SurfaceDc&) = delete;
  SurfaceDc& operator=(const SurfaceDc&) = delete;

  // Whether there is anything to draw in.
  explicit operator bool() const { return held_; }
  HDC get() const { return dc_; }

 private:
  IDirectDrawSurface7* surface_;
  HDC dc_ = nullptr;
  bool held_ = false;
};

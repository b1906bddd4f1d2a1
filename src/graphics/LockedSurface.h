#pragma once
// A surface's memory, locked for the length of one scope. A device context of
// the surface must have been released before. Main thread only.

#include "graphics/DirectX7.h"
#include "graphics/MipMaps.h"

class LockedSurface {
 public:
  // `surface` must outlive the lock.
  explicit LockedSurface(IDirectDrawSurface7* surface) : surface_(surface) {
    locked_ = SUCCEEDED(surface->Lock(nullptr, &description_, DDLOCK_WAIT, nullptr));
  }
  ~LockedSurface() {
    if (locked_) surface_->Unlock(nullptr);
  }
  LockedSurface(const LockedSurface&) = delete;
  LockedSurface& operator=(const LockedSurface&) = delete;

  // Whether there is any memory to touch.
  explicit operator bool() const { return locked_; }
  const DDSURFACEDESC2& Description() const { return description_; }
  PixelBlock Pixels() const {
    return {static_cast<unsigned char*>(description_.lpSurface), description_.lPitch,
            description_.dwWidth, description_.dwHeight};
  }

 private:
  IDirectDrawSurface7* surface_;
  DDSURFACEDESC2 description_ = EmptyDescription();
  bool locked_ = false;
};

#pragma once
// The one door to the DirectX headers, which settles the version. D3D_OVERLOADS
// must stay undefined: it changes the layout of D3DMATRIX in these headers.
#include "base/win.h"

#ifdef D3D_OVERLOADS
#error D3D_OVERLOADS changes D3DMATRIX: nothing would be drawn
#endif
#define DIRECTDRAW_VERSION 0x0700
#define DIRECT3D_VERSION 0x0700
#include <ddraw.h>
#include <d3d.h>

// Ready to be filled, or to be filled in by the system.
inline DDSURFACEDESC2 EmptyDescription() {
  DDSURFACEDESC2 description{};
  static_assert(sizeof description == 124);
  description.dwSize = sizeof description;
  return description;
}

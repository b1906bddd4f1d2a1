#pragma once
// The z-buffers' formats that the tests offer.

#include "graphics/DirectX7.h"

namespace graphics_test {

// A z-buffer's format with so many bits of depth and, among them, of stencil.
inline DDPIXELFORMAT ZFormat(DWORD bits, DWORD stencil = 0) {
  DDPIXELFORMAT format{};
  format.dwSize = sizeof format;
  format.dwFlags = DDPF_ZBUFFER | (stencil ? DDPF_STENCILBUFFER : 0u);
  format.dwZBufferBitDepth = bits;
  format.dwStencilBitDepth = stencil;
  return format;
}

}  // namespace graphics_test

#pragma once
// What the tests of the graphics layer share: a window, a layer on it, the
// interfaces' method tables before any layer exists, and the debugger's view.

#include "base/ComRef.h"
#include "graphics/DirectX7.h"
#include "graphics/cGameError.h"
#include "graphics/cGraphicsLayer.h"
#include "support/ImportHook.h"
#include "support/PixelHelpers.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace graphics_test {

inline constexpr int kWindowWidth = 320;
inline constexpr int kWindowHeight = 240;

// The error that `action` throws; "nothing thrown" if it doesn't.
template <class Action>
std::string ErrorOf(Action action) {
  try {
    action();
  } catch (const cGameError& error) {
    return error.Text();
  }
  return "nothing thrown";
}

// All that is told to the debugger while it lives.
class DebugOutput {
 public:
  bool Has(const std::string& text) const { return Text().find(text) != std::string::npos; }
  const std::string& Text() const { return Collected(); }

  DebugOutput() { Collected().clear(); }

 private:
  static std::string& Collected() {
    static std::string text;
    return text;
  }
  static void WINAPI Collect(const char* text) { Collected() += text; }
  support::ImportHook hook_{"kernel32.dll", "OutputDebugStringA", &Collect};
};

class GraphicsTest : public testing::Test {
 protected:
  GraphicsTest();
  ~GraphicsTest() override;

  // Each replaces the layer of the test.
  cGraphicsLayer& Windowed(std::uint32_t flags = 0, cGraphicsLayer::DeviceCheck check = nullptr);
  cGraphicsLayer& FullScreen(std::uint32_t flags = 0, cGraphicsLayer::DeviceCheck check = nullptr);
  // In the window, ready for what the show draws: its fixed state, and the world two
  // units before the eye.
  cGraphicsLayer& WindowedForShow();
  void DropLayer() { layer_.reset(); }

  HWND window = nullptr;
  int screenWidth = 0;   // px
  int screenHeight = 0;

  // Objects whose method tables all others of their kind share: the layer's if
  // there is one, else of no layer. Borrowed.
  IDirectDraw7* AnyDDraw();
  IDirectDrawSurface7* AnySurface();
  IDirect3D7* AnyD3D();
  IDirect3DDevice7* AnyDevice();

 private:
  ComRef<IDirectDraw7> anyDDraw_;
  ComRef<IDirectDrawSurface7> anySurface_;
  ComRef<IDirect3D7> anyD3D_;
  ComRef<IDirect3DDevice7> anyDevice_;
  std::unique_ptr<cGraphicsLayer> layer_;
};

// A whole surface of 16 (565) or 32 bits.
support::Pixels ReadSurface(IDirectDrawSurface7* surface);
// The same, drawn: `Pattern` colours become the surface's pixels.
void PaintSurface(IDirectDrawSurface7* surface, const support::Pattern& pattern);
DDSURFACEDESC2 DescriptionOf(IDirectDrawSurface7* surface);
// The level `steps` below in a mip chain; empty if there is none.
ComRef<IDirectDrawSurface7> MipLevel(IDirectDrawSurface7* surface, int steps);

}  // namespace graphics_test

// How fast this machine's OpenGL draws the tiles of one slide by itself.

#include "base/win.h"
#include "show/Modes.h"
#include "show/Samples.h"

#include <GL/gl.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kTileSide = 256;  // px
constexpr int kMipLevels = 4;
constexpr DWORD kSleepMs = 5;   // as the saver's main loop

HWND OpenWindow() {
  return CreateWindowExA(WS_EX_TOPMOST, "STATIC", "OpenGL", WS_POPUP | WS_VISIBLE, 0, 0,
                         GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN), nullptr,
                         nullptr, GetModuleHandleA(nullptr), nullptr);
}

HGLRC OpenContext(HDC dc) {
  PIXELFORMATDESCRIPTOR format{};
  format.nSize = sizeof format;
  format.nVersion = 1;
  format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
  format.cColorBits = 32;
  SetPixelFormat(dc, ChoosePixelFormat(dc, &format), &format);
  const HGLRC context = wglCreateContext(dc);
  wglMakeCurrent(dc, context);
  return context;
}

std::vector<GLuint> MakeTextures(int count) {
  std::vector<GLuint> textures(static_cast<std::size_t>(count));
  glGenTextures(count, textures.data());
  std::vector<std::uint32_t> pixels(kTileSide * kTileSide);
  for (const GLuint texture : textures) {
    for (std::uint32_t& pixel : pixels)
      pixel = 0xFF000000u | static_cast<std::uint32_t>(std::rand());
    glBindTexture(GL_TEXTURE_2D, texture);
    constexpr GLenum kMaxLevel = 0x813D;  // GL_TEXTURE_MAX_LEVEL
    glTexParameteri(GL_TEXTURE_2D, kMaxLevel, kMipLevels - 1);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    for (int level = 0; level < kMipLevels; ++level)
      glTexImage2D(GL_TEXTURE_2D, level, GL_RGBA, kTileSide >> level, kTileSide >> level, 0,
                   GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  }
  return textures;
}

void DrawQuad(float left, float bottom, float side) {
  glBegin(GL_QUADS);
  glTexCoord2f(0, 0), glVertex2f(left, bottom);
  glTexCoord2f(1, 0), glVertex2f(left + side, bottom);
  glTexCoord2f(1, 1), glVertex2f(left + side, bottom + side);
  glTexCoord2f(0, 1), glVertex2f(left, bottom + side);
  glEnd();
}

// A square grid over the whole window.
void DrawFrame(const std::vector<GLuint>& textures) {
  int columns = 1;
  while (columns * columns < static_cast<int>(textures.size())) ++columns;
  const float side = 2.0f / static_cast<float>(columns);
  glClear(GL_COLOR_BUFFER_BIT);
  for (int n = 0; n < static_cast<int>(textures.size()); ++n) {
    glBindTexture(GL_TEXTURE_2D, textures[static_cast<std::size_t>(n)]);
    DrawQuad(-1 + side * static_cast<float>(n % columns),
             -1 + side * static_cast<float>(n / columns), side);
  }
}

}  // namespace

int RunOpenGlLoop(int tiles, double seconds) {
  const HWND window = OpenWindow();
  const HDC dc = GetDC(window);
  const HGLRC context = OpenContext(dc);
  if (!context) return 1;
  glEnable(GL_TEXTURE_2D);
  const std::vector<GLuint> textures = MakeTextures(tiles);
  Samples samples("opengl");
  const Clock run;
  while (run.Ms() < seconds * 1000) {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
    const Clock frame;
    DrawFrame(textures);
    SwapBuffers(dc);
    glFinish();
    samples.Add("steady", frame.Ms());
    Sleep(kSleepMs);
  }
  samples.Print();
  PrintPeakMemory();
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
  ReleaseDC(window, dc);
  return 0;
}

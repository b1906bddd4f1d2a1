#pragma once
// What the show benchmark can do, one kind of measurement a process.

#include <cstdint>

struct SessionOptions {
  const char* bundle = nullptr;
  int changes = 6;              // of slides
  bool baselines = false;       // draw their frames between those of the show
  float delaySeconds = 4;       // a picture stands
  std::int32_t cramSize = 1024; // px
  bool captions = false;
};

// Each prints its lines and returns the process's exit code.
int RunSessionBench(const SessionOptions& options);
// Loads every picture of a bundle as the show does, and times each state of the
// loader and each texture.
int RunLoaderBench(const char* bundlePath, std::int32_t cramSize);
// Draws `tiles` textured quads with OpenGL for `seconds`, without Direct3D.
int RunOpenGlLoop(int tiles, double seconds);

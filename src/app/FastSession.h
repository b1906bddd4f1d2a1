#pragma once
// A session's side of fast mode: its contexts, the steps from picture to picture,
// and its frames. The drawing itself is slideshow/FastRenderer.h. Main thread.

#include <cstdint>

// Milliseconds since the end of the last wipe.
extern std::int32_t SlideMs;

// Makes the contexts for a screen of that size, px, shows the first good picture,
// and prepares the one after it. gSlideshow must stand. Without any good picture
// it asks for the session's end.
void StartFastShow(int width, int height);

// Moves the session on by `dt` ms. Once the picture's delay is over it brings the
// prepared one to the screen, which takes as long as the wipe does, and prepares
// the next. Asks for the session's end where none is left.
void RunFastStep(std::int32_t dt);

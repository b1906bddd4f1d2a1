#pragma once
// A session's side of Direct3D: its device, the fixed state that all drawing
// rests on, and its frames. The layer itself is gGraphicsLayer. Main thread.

#include <cstdint>

// Largest side of a texture in this session, px: what the card takes, and 256 at
// most, so that weak cards can keep up.
extern std::int32_t MaxTextureSize;

// The desktop has sunk into black: what comes now is the show.
extern bool OpeningDone;

// Makes the layer for a screen of that size, px, learns the card's limits, and
// brings the depth of RequestedMode to what the screen really has. False, with
// the reason in the log, if there is no device.
bool CreateGraphicsDevice(int width, int height);

// Sets the fixed state for a screen of that size, px, and readies the opening:
// where the desktop is to sink into black, a copy of it is taken. False without
// a layer.
bool initD3D(int width, int height);

// Moves the session on by `dt` ms and shows one frame: of the desktop that sinks
// into black, or of the show. Does nothing once the layer is invalidated. A
// surface that can't be made throws cGameError.
void RenderDirect3DFrame(std::int32_t dt);

// Deletes the layer and what is left of the opening.
void DeleteGraphics();

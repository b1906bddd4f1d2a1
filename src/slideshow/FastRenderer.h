#pragma once
// Fast mode's drawing: a picture is decoded on the main thread, stretched onto
// an off-screen canvas of the screen's size, and carried to the window by a
// wipe of plain BitBlt calls. For weak machines; no Direct3D, no other thread.
//
// The canvas and the black pixel are made by initStates and deleted by CleanUp.

#include "base/win.h"
#include "imaging/BTNexgenIPL.h"

#include <cstdint>
#include <string>

struct PlaylistElement;

extern HDC BlackPixelDC;               // memory context with one black pixel
extern HDC FastCanvasDC;               // memory context of ScreenWidth by ScreenHeight
extern HFONT CaptionFontHandle;        // of the captions; null if they are off
extern BTCImageObject FastImage;       // the picture that will show next
extern std::int32_t FastImageWidth;    // its size on the screen, px
extern std::int32_t FastImageHeight;
extern std::int32_t TransitionPos;     // of the wipe under way, px or steps

// Makes the two contexts, for a canvas of `width` by `height`. False if memory
// is out.
bool CreateFastContexts(int width, int height);
// Deletes those that exist, and the caption font.
void DeleteFastContexts();

// Makes the caption font from the settings and readies the canvas for it.
// False if there is no such font; the canvas then keeps its default.
bool CreateCaptionFont(int quality);

// The test of a good picture: reads it, decodes it into `image` and works out its
// size on the screen. False, for a null element too, if it can't be read or decoded.
bool LoadSlideImage(const PlaylistElement* element, BTCImageObject& image);

void ClearFastCanvas();
// FastImage, centred on the canvas.
void DrawFastImage();
// The caption near the canvas's bottom, with a shadow.
void DrawFastCaption(const std::string& text);

// Brings the canvas to the window with effect 1 to 12 over about `durationMs`;
// effects 1 and 2, a line a step, may take longer. Any other number shows it at
// once, as does a machine that has no performance counter to keep the time by.
// Blocks, handling one message after each step: a quit ends the main loop, yet
// the wipe runs to its end.
void Transition(int effect, int durationMs);

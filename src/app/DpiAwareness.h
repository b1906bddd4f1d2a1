#pragma once
// On Windows Vista and later a program that says nothing is shown a screen of 96
// dots an inch and is stretched by the system. The show wants the real pixels;
// the configuration window, a picture of fixed size, wants the stretching.

// For the whole process, before its first window: coordinates are real pixels.
// Nothing on systems that don't know of it.
void UseRealPixels();

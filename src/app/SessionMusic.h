#pragma once
// The music of the saver session: what it is made of, and the keys that steer
// it. Main thread.

#include "app/ExitRules.h"

#include <cstdint>

// Builds the music list from the user's playlist and the built-in tracks, as
// the settings say, and starts to play. Needs the opened SlideBundle. False if
// there is no sound to be had. PlayMusic is off afterwards if nothing plays for
// want of a device or of tracks.
bool initSound();

// Does what an arrow key asks for; nothing while PlayMusic is off.
void SteerMusic(KeyAction action);

// The player's resolver: the member of the bundle's category `music` named
// behind the "?" of `entry`. 0 if its bytes are at `data`, which stay the
// bundle's; 2 if there is no such member.
std::int32_t ResolveBundleMusic(const char* entry, const void** data, std::int32_t* length);

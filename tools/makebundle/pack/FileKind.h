#pragma once
// Tells files apart by their first bytes; a name says nothing about what is
// inside.

#include "makebundle/pack/Bytes.h"

enum class PictureKind { kNone, kJpeg, kPng, kGif, kBmp, kWebp, kTiff };

// The first 16 bytes are enough.
PictureKind PictureKindOf(Bytes start);

// True for what the player plays from a bundle: MPEG audio layers 1 to 3, with
// or without an ID3 tag in front, Ogg, and RIFF wave.
bool IsMusic(Bytes start);

#pragma once
// Tells files apart by their first bytes; a name says nothing about what is
// inside.

#include "imaging/picture_format.h"
#include "makebundle/pack/Bytes.h"

using imaging::PictureFormat;

// As the show tells them apart, but that a text which begins with "BM" is no
// picture. The first 16 bytes are enough.
PictureFormat PictureFormatOf(Bytes start);

// True for what the player plays from a bundle: MPEG audio layers 1 to 3, with
// or without an ID3 tag in front, Ogg, and wave (RIFF or RF64).
bool IsMusic(Bytes start);

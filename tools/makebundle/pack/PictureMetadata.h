#pragma once
// What a picture file says of itself beside its pixels.

#include "makebundle/pack/Bytes.h"

#include <string>

struct PictureMetadata {
  int orientation = 1;      // EXIF's: 1 to 8, 1 is upright
  std::string description;  // UTF-8, or the ANSI code page if it isn't that; empty if there is none
  std::string dateTaken;    // "YYYY:MM:DD HH:MM:SS", empty if unknown
};

// Reads the EXIF of a JPEG, PNG, WebP or TIFF file and the IPTC of a JPEG or
// TIFF file. The description is the IPTC caption, else EXIF's description,
// else EXIF's user comment: only people write the first, while cameras leave
// their maker's name in the second. Bytes of another kind, and damaged ones,
// give defaults.
PictureMetadata ReadPictureMetadata(Bytes file);
